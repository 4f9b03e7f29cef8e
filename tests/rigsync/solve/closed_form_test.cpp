// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/closed_form.h"
#include "rigsync/solve/robust_start.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

namespace {

pose_rig::Options Exact() {
  pose_rig::Options Options;
  Options.Position_Mm = Options.Rotation_Deg = 0;
  Options.Pose_Deg = Options.Pose_Mm = Options.Depth_Mm = 0;
  return Options;
}

TEST(ClosedForm, SolvesExactRowsExactly) {
  const pose_rig::Rig Rig = pose_rig::Make_Rig(Exact());
  const auto Both = rigsync::Closed_Form_Mounts(Rig.Seen.Rows);
  ASSERT_TRUE(Both);
  EXPECT_LE(pose_rig::Error_Of(Both->Transform_Cam_Tc, Rig.Cam_Tc).norm(), 1e-9);
  EXPECT_LE(pose_rig::Error_Of(Both->Transform_Tr_Chart, Rig.Tr_Chart).norm(), 1e-9);
}

TEST(ClosedForm, NeedsThreeRows) {
  pose_rig::Rig Rig = pose_rig::Make_Rig(Exact());
  Rig.Seen.Rows.resize(2);
  EXPECT_FALSE(rigsync::Closed_Form_Mounts(Rig.Seen.Rows));
}

TEST(ClosedForm, RowsThatAreAllAlikeGiveNumbersAllTheSame) {
  pose_rig::Rig Rig = pose_rig::Make_Rig(Exact());
  for (auto& Row : Rig.Seen.Rows) Row = Rig.Seen.Rows[0];
  const auto Both = rigsync::Closed_Form_Mounts(Rig.Seen.Rows);
  ASSERT_TRUE(Both);
  EXPECT_TRUE(Both->Transform_Cam_Tc.matrix().allFinite());
}

TEST(RobustStart, IsOfTheGoodRowsWhen11Of24AreStale) {
  for (unsigned Seed = 1; Seed <= 20; ++Seed) {
    pose_rig::Options Options;
    Options.Seed = Seed;
    for (int i = 0; i < 22; i += 2) Options.Stale.insert(i);
    const pose_rig::Rig Rig = pose_rig::Make_Rig(Options);
    const auto Start = rigsync::Find_Start(Rig.Seen.Rows);
    ASSERT_TRUE(Start);
    ASSERT_EQ(Start->Nearest_Half.size(), 13u);
    for (const std::size_t Row : Start->Nearest_Half) {
      EXPECT_EQ(Options.Stale.count(static_cast<int>(Row)), 0u) << Seed;
    }
  }
}

TEST(RobustStart, IsTheSameEveryTime) {
  const pose_rig::Rig Rig = pose_rig::Make_Rig({});
  const auto First = rigsync::Find_Start(Rig.Seen.Rows);
  const auto Second = rigsync::Find_Start(Rig.Seen.Rows);
  ASSERT_TRUE(First && Second);
  EXPECT_EQ(First->At.Transform_Cam_Tc.matrix(), Second->At.Transform_Cam_Tc.matrix());
  EXPECT_EQ(First->Nearest_Half, Second->Nearest_Half);
}

TEST(RobustStart, NeedsRows) {
  EXPECT_FALSE(rigsync::Find_Start({}));
}

}  // namespace
