// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/tracker_rest.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/solve/joint_solve.h"
#include "rigsync/solve/rigid_motion.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

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
    for (const std::size_t i : {4U, 9U, 10U, 20U}) Poses[i].translation().y() += 0.03;
    const rigsync::Tracker_Rest Rest = rigsync::Measure_Rest(Poses);
    EXPECT_TRUE(Rest.Is_Still) << Seed;
    // The mean of 20 samples of 0.3 mm.
    EXPECT_LE((Rest.Mean.translation() - Eigen::Vector3d(0.5, 1.4, -2.0)).norm(), 4e-4) << Seed;
  }
}

// The angle whose rotation, measured, is this one to the bit.
double Angle_That_Measures(double Rad) {
  double Low = Rad, High = Rad;
  for (int Step = 0; Step < 1000; ++Step) {
    for (const double Angle : {Low, High}) {
      const Eigen::Isometry3d Turned =
          pose_rig::Pose{pose_rig::By_Turn({Angle, 0, 0}), Eigen::Vector3d::Zero()}.As_Transform();
      const auto Motion = rigsync::Motion_Between(Eigen::Isometry3d::Identity(), Turned);
      if (Motion.head<3>().norm() == Rad) return Angle;
    }
    Low = std::nextafter(Low, 0.0);
    High = std::nextafter(High, 1.0);
  }
  ADD_FAILURE() << "no angle measures as " << Rad;
  return Rad;
}

// One sample in the middle, and the others around it along each axis.
Pose_List Around(double Angle_Rad, double Shift) {
  Pose_List Poses = {Eigen::Isometry3d::Identity()};
  for (int k = 0; k < 3; ++k) {
    for (const double Sign : {1.0, -1.0}) {
      const Eigen::Vector3d Axis = Sign * Eigen::Vector3d::Unit(k);
      const pose_rig::Pose Away{pose_rig::By_Turn(Angle_Rad * Axis), Shift * Axis};
      Poses.push_back(Away.As_Transform());
    }
  }
  return Poses;
}

// Half a degree and five millimetres.
TEST(TrackerRest, ABodyWhoseMedianIsAtTheLimitsIsStill) {
  const double Most_Rad = 0.5 / rigsync::Degrees_Per_Radian;
  const double At_Limit = Angle_That_Measures(Most_Rad);
  EXPECT_TRUE(rigsync::Measure_Rest(Around(At_Limit, 0.005)).Is_Still);
  EXPECT_FALSE(rigsync::Measure_Rest(Around(At_Limit, 0.005 + 1e-12)).Is_Still);
  EXPECT_FALSE(rigsync::Measure_Rest(Around(Most_Rad + 1e-12, 0.005)).Is_Still);
}

}  // namespace
