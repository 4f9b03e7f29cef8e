// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/tracker_rest.h"
#include "rigsync/solve/joint_solve.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

namespace {

using Pose_List = std::vector<Eigen::Isometry3d>;

// A tripod whose samples are noisy by 0.3 mm and 0.03 degrees, pushed before a row.
Pose_List On_A_Tripod(unsigned Seed, int Rows, int Pushed_Before, double Push_Mm, double Push_Deg) {
  simulate::Random Random(Seed, 90);
  Pose_List Poses;
  for (int i = 0; i < Rows; ++i) {
    pose_rig::Pose Pose{pose_rig::By_Turn({0.3, 1.2, -0.2}), Eigen::Vector3d(0.5, 1.4, -2.0)};
    if (i >= Pushed_Before) {
      Pose.Shift += 1e-3 * Push_Mm * Eigen::Vector3d(0.6, 0, 0.8);
      Pose.Turn = pose_rig::By_Turn({0, Push_Deg * pose_rig::Radians_In_Degree, 0}) * Pose.Turn;
    }
    Pose.Turn = pose_rig::By_Turn(5e-4 * Random.Gaussian_Vector()) * Pose.Turn;
    Pose.Shift += 3e-4 * Random.Gaussian_Vector();
    Poses.push_back(Pose.As_Transform());
  }
  return Poses;
}

TEST(TrackerRest, ATripodStandsStill) {
  for (unsigned Seed = 1; Seed <= 300; ++Seed) {
    EXPECT_TRUE(rigsync::Measure_Rest(On_A_Tripod(Seed, 24, 24, 0, 0)).Is_Still) << Seed;
  }
}

TEST(TrackerRest, ATripodThatWasPushedOnceMoves) {
  for (unsigned Seed = 1; Seed <= 50; ++Seed) {
    const int Before = 3 + static_cast<int>(Seed % 19);
    EXPECT_FALSE(rigsync::Measure_Rest(On_A_Tripod(Seed, 24, Before, 3, 0)).Is_Still) << Seed;
    EXPECT_FALSE(rigsync::Measure_Rest(On_A_Tripod(Seed, 24, Before, 0, 0.4)).Is_Still) << Seed;
  }
}

TEST(TrackerRest, SamplesThatJumpedOnATripodAreNoPush) {
  for (unsigned Seed = 1; Seed <= 50; ++Seed) {
    Pose_List Poses = On_A_Tripod(Seed, 24, 24, 0, 0);
    for (const std::size_t i : {4, 9, 10, 20}) Poses[i].translation().y() += 0.03;
    const rigsync::Tracker_Rest Rest = rigsync::Measure_Rest(Poses);
    EXPECT_TRUE(Rest.Is_Still) << Seed;
    // The mean of 20 samples of 0.3 mm.
    EXPECT_LE((Rest.Mean.translation() - Eigen::Vector3d(0.5, 1.4, -2.0)).norm(), 4e-4) << Seed;
  }
}

}  // namespace
