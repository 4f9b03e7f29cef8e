// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/body_axes.h"
#include "rigsync/solve/joint_solve.h"
#include "simulate/simulate.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Vector3d;
using rigsync::Body_Axes;

Matrix3d Rotation(double Angle_Deg, const Vector3d& Axis) {
  return pose_rig::By_Turn(Angle_Deg * pose_rig::Radians_In_Degree * Axis.normalized())
      .toRotationMatrix();
}

TEST(BodyAxes, AMountBetweenTheLimitsIsLeftAsItIs) {
  for (const double Angle_Deg : {30.001, 90.0, 149.999}) {
    const Body_Axes Axes = rigsync::Choose_Body_Axes(Rotation(Angle_Deg, {1, -2, 1}));
    EXPECT_FALSE(Axes.Is_Turned) << Angle_Deg;
    EXPECT_EQ(Axes.Rotation_Chosen_Body, Matrix3d::Identity());
    EXPECT_NEAR(Axes.Chosen_Mount_Angle_Deg, Angle_Deg, 1e-9);
  }
}

TEST(BodyAxes, AMountBeyondTheLimitsIsTurned) {
  for (const double Angle_Deg : {0.0, 29.999, 150.001, 180.0}) {
    const Matrix3d Mount = Rotation(Angle_Deg, {1, -2, 1});
    const Body_Axes Axes = rigsync::Choose_Body_Axes(Mount);
    EXPECT_TRUE(Axes.Is_Turned) << Angle_Deg;
    EXPECT_NEAR(Axes.Mount_Angle_Deg, Angle_Deg, 1e-9);
  }
}

TEST(BodyAxes, WhateverTheMountTheChosenOneIsFarFrom0And180Degrees) {
  simulate::Random Random(1, 1);
  for (int k = 0; k < 2000; ++k) {
    const double Angle_Deg = k % 2 == 0 ? Random.Between(0, 30) : Random.Between(150, 180);
    const Body_Axes Axes = rigsync::Choose_Body_Axes(Rotation(Angle_Deg, Random.Direction()));
    ASSERT_GE(Axes.Chosen_Mount_Angle_Deg, 60.0);
    ASSERT_LE(Axes.Chosen_Mount_Angle_Deg, 120.0);
  }
}

// All 24 ways to call the axes, some of them several times, as products of quarter turns.
std::vector<Matrix3d> All_Namings() {
  std::vector<Matrix3d> All;
  for (int x = 0; x < 4; ++x) {
    for (int y = 0; y < 4; ++y) {
      for (int z = 0; z < 4; ++z) {
        const Matrix3d Naming = Rotation(90.0 * x, Vector3d::UnitX()) *
                                Rotation(90.0 * y, Vector3d::UnitY()) *
                                Rotation(90.0 * z, Vector3d::UnitZ());
        All.emplace_back(Naming.array().round());
      }
    }
  }
  return All;
}

// Mounts whose six angles near a right one differ by some millionths of a degree.
TEST(BodyAxes, TheChosenMountIsTheNearestTo90DegreesToAMillionth) {
  simulate::Random Random(2, 1);
  const std::vector<Matrix3d> Namings = All_Namings();
  for (int k = 0; k < 500; ++k) {
    const Matrix3d Mount = Rotation(Random.Between(1e-6, 5e-6), Random.Direction());
    double Least = INFINITY;
    for (const Matrix3d& Naming : Namings) {
      const Eigen::AngleAxisd Named(Matrix3d(Mount * Naming));
      Least = std::min(Least, std::abs(Named.angle() / pose_rig::Radians_In_Degree - 90.0));
    }
    const double Chosen = rigsync::Choose_Body_Axes(Mount).Chosen_Mount_Angle_Deg;
    ASSERT_LE(std::abs(Chosen - 90.0), Least + 1.001e-6) << k;
  }
}

TEST(BodyAxes, TheChosenAxesAreTheBodysOwnUnderOtherNames) {
  const Matrix3d Axes = rigsync::Choose_Body_Axes(Matrix3d::Identity()).Rotation_Chosen_Body;
  EXPECT_EQ((Axes * Axes.transpose()), Matrix3d::Identity());
  EXPECT_EQ(Axes.cwiseAbs().rowwise().sum(), Vector3d::Ones());
  EXPECT_NEAR(Axes.col(0).cross(Axes.col(1)).dot(Axes.col(2)), 1.0, 0.0);
}

TEST(BodyAxes, NaNIsNotTurned) {
  Matrix3d Mount = Matrix3d::Identity();
  Mount(1, 1) = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(rigsync::Choose_Body_Axes(Mount).Is_Turned);
}

TEST(BodyAxes, ATrackerThatIsNotTurnedKeepsItsSamplesToTheBit) {
  const rigsync::Tracker_Sample Sample{{1, 2, 3}, {0.1, 0.2, 0.3, 0.5}};
  EXPECT_EQ(rigsync::With_Axes(Sample, {}), Sample);
}

// The simulator's own mounts and conventions: samples with chosen axes have the chosen mount, and
// the way back leads to the true one.
TEST(BodyAxes, SamplesWithChosenAxesGiveTheChosenMountAndTheWayBackTheTrueOne) {
  for (const Vector3d& Euler_Deg :
       {Vector3d(0, 0, 0), Vector3d(0, 180, 0), Vector3d(90, 0, 180), Vector3d(3, -8, 5)}) {
    simulate::Options Options;
    Options.Camera_Mount_Euler_Deg = Euler_Deg;
    Options.Image_Count = 8;
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    const Isometry3d True_Mount(Plan.Transform_Cam_Tc);
    const Body_Axes Axes = rigsync::Choose_Body_Axes(True_Mount.linear());
    ASSERT_TRUE(Axes.Is_Turned);
    for (const simulate::Image_Truth& Image : Plan.Images) {
      const Eigen::Quaterniond& Q = Image.Tc.Rotation;
      const rigsync::Tracker_Sample Sample{
          {Image.Tc.Position.x(), Image.Tc.Position.y(), Image.Tc.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
      const auto Transform_Base_Chosen =
          rigsync::Transform_Base_Tracker(rigsync::With_Axes(Sample, Axes));
      ASSERT_TRUE(Transform_Base_Chosen);
      const rigsync::Tracker_Sample Own =
          rigsync::With_Own_Axes(rigsync::With_Axes(Sample, Axes), Axes);
      for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(Own.Quaternion[k], Sample.Quaternion[k], 1e-15);
      }
      // Where the camera is, by the true mount and the true pose of its tracker.
      const Isometry3d Transform_Cam_Base =
          True_Mount * Isometry3d(Image.Transform_Base_Tc).inverse();
      const Isometry3d Chosen_Mount = Transform_Cam_Base * *Transform_Base_Chosen;
      EXPECT_NEAR(Eigen::AngleAxisd(Chosen_Mount.linear()).angle() / pose_rig::Radians_In_Degree,
                  Axes.Chosen_Mount_Angle_Deg, 1e-9);
      const Isometry3d Back = rigsync::With_Own_Axes(Chosen_Mount, Axes);
      EXPECT_LE((Back.matrix() - True_Mount.matrix()).norm(), 1e-12);
    }
  }
}

}  // namespace
