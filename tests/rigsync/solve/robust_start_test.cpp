// SPDX-License-Identifier: Apache-2.0
//
// The start alone, which no later step can mend when it is among the bad rows.
#include "rigsync/solve/robust_start.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

namespace {

// 11 of 24 rows are bad. Five drawn rows are all good in 1 of 33, so that 250 draws all fail in 1
// of 2,200 captures; 80 draws would in 1 of 12.
TEST(RobustStart, IsAmongTheGoodRowsWhenElevenOf24AreBad) {
  for (unsigned Seed = 1; Seed <= 60; ++Seed) {
    pose_rig::Options Options;
    Options.Seed = Seed;
    Options.Stale = {0, 2, 3, 7, 8, 11, 12, 15, 16, 20, 23};
    const pose_rig::Rig Made = Make_Rig(Options);
    const auto Start = rigsync::Find_Start(Made.Seen.Rows);
    ASSERT_TRUE(Start);
    for (const std::size_t i : Start->Nearest_Half) {
      EXPECT_EQ(Options.Stale.count(static_cast<int>(i)), 0u) << Seed;
    }
    EXPECT_LE(pose_rig::Error_Of(Start->At.Transform_Cam_Tc, Made.Cam_Tc).tail<3>().norm(), 0.004)
        << Seed;
  }
}

}  // namespace
