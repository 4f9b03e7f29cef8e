// SPDX-License-Identifier: Apache-2.0
//
// The start alone, which no later step can mend when it is among the bad rows.
#include "rigsync/solve/robust_start.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

pose_rig::Rig Ten_Bad_Rows_Of_24(unsigned Seed) {
  pose_rig::Options Options;
  Options.Seed = Seed;
  Options.Slipped_From = 14;
  simulate::Random Random(Seed, 61);
  Options.Camera_Slip = {pose_rig::By_Turn(0.1 * Random.Direction()), 0.1 * Random.Direction()};
  return Make_Rig(Options);
}

// 10 of 24 rows are bad, and all alike: a start from all rows is between both, and no step from
// there leads to the good ones. Five drawn rows are all good in 1 of 21.
TEST(RobustStart, IsAmongTheGoodRowsWhenTenOf24AgreeOnAnotherMount) {
  for (unsigned Seed = 1; Seed <= 40; ++Seed) {
    const pose_rig::Rig Made = Ten_Bad_Rows_Of_24(Seed);
    const auto Start = rigsync::Find_Start(Made.Seen.Rows);
    ASSERT_TRUE(Start);
    for (const std::size_t i : Start->Nearest_Half) EXPECT_LT(i, 14u) << Seed;
    EXPECT_LE(pose_rig::Error_Of(Start->At.Transform_Cam_Tc, Made.Cam_Tc).tail<3>().norm(), 0.004)
        << Seed;
  }
}

// A draw has no favourites: it is no worse when the first row is bad, or the last.
TEST(RobustStart, IsAmongTheGoodRowsWhereverTheBadOnesAre) {
  for (unsigned Seed = 1; Seed <= 40; ++Seed) {
    pose_rig::Rig Made = Ten_Bad_Rows_Of_24(Seed);
    std::reverse(Made.Seen.Rows.begin(), Made.Seen.Rows.end());
    const auto Start = rigsync::Find_Start(Made.Seen.Rows);
    ASSERT_TRUE(Start);
    for (const std::size_t i : Start->Nearest_Half) EXPECT_GE(i, 10u) << Seed;
  }
}

}  // namespace
