// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/float_rounding.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/verify/single_precision.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::In_Single;
using rigsync::Rounded;

constexpr double Step_At_One = 1.0 / 8388608.0;  // 2^-23

Eigen::Quaterniond About(const Eigen::Vector3d& Axis, double Angle_Deg) {
  return Eigen::Quaterniond(Eigen::AngleAxisd(Angle_Deg / rigsync::Degrees_Per_Radian, Axis));
}

TEST(SinglePrecision, ARoundingIsHalfAStep) {
  // The numbers from 0.25 to 0.5 have a quarter of the step at 1.
  const Rounded Third = In_Single({1.0 / 3.0, 0.0});
  const double Off = std::abs(static_cast<double>(static_cast<float>(1.0 / 3.0)) - 1.0 / 3.0);
  EXPECT_GE(Third.Error, Off);
  EXPECT_EQ(Third.Error, Step_At_One / 4.0 / 2.0);
}

TEST(SinglePrecision, AStepIsTheDistanceToTheNextNumber) {
  for (const float At : {1.0F, 1.5F, 2.0F, 0.1F, 180.0F, 3e-6F, 1e30F}) {
    EXPECT_EQ(rigsync::Single_Step(At), std::nextafterf(At, 1e38F) - At) << At;
  }
  EXPECT_GT(rigsync::Single_Step(0.0), 0.0);
  EXPECT_LT(rigsync::Single_Step(0.0), 1e-40);
}

TEST(SinglePrecision, ErrorsAddInSumsAndScaleInProducts) {
  const Rounded A = {3.0, 0.01}, B = {-2.0, 0.02};
  EXPECT_DOUBLE_EQ((A + B).Error, 0.03);
  EXPECT_DOUBLE_EQ((A - B).Error, 0.03);
  EXPECT_DOUBLE_EQ((A - B).Value, 5.0);
  EXPECT_DOUBLE_EQ((A * B).Error, 3.0 * 0.02 + 2.0 * 0.01 + 0.01 * 0.02);
  EXPECT_DOUBLE_EQ(Doubled(A).Error, 0.02);
  // (3 + 0.01) * (-2 - 0.02) is as far as the product gets.
  EXPECT_NEAR(std::abs(3.01 * -2.02 + 6.0), (A * B).Error, 1e-12);
}

// 0.3 m arrives in the field as 30.000001907348633 cm (docs/engines.md).
TEST(FloatRounding, CentimetresHaveTwoRoundings) {
  const double Bound = rigsync::Rounding_Of_Single_Cm(0.3);
  EXPECT_GE(Bound, 30.000001907348633 - 30.0);
  EXPECT_LE(Bound, 4.0 * 30.0 * Step_At_One);
  EXPECT_LT(rigsync::Rounding_Of_Single_Cm(0.0), 1e-40);
}

// Far from a lock every angle is good to a hundred-thousandth of a degree and a few of them.
TEST(FloatRounding, AnglesFarFromALockAreGoodToTheirLastDigits) {
  const Eigen::Quaterniond Q =
      About(Eigen::Vector3d::UnitZ(), 30.0) * About(Eigen::Vector3d::UnitX(), 20.0);
  for (const rigsync::Angle_Rounding& Bound :
       {rigsync::Rounding_Of_UE4(Q, 0.0), rigsync::Rounding_Of_Aximmetry(Q, 0.0)}) {
    for (const double Deg : Bound.Deg) {
      EXPECT_GT(Deg, 30.0 * Step_At_One / 8.0);
      EXPECT_LT(Deg, 1e-4);
    }
    EXPECT_EQ(Bound.Turn_Rad, 0.0);
  }
}

// The angle is rounded in radians (half of 2^-22, as it is between 2 and 4), in degrees (half of
// 2^-16), and its factor is too large by 1.2e-8. Quaternions are rounded to 2^-25 for each number.
TEST(FloatRounding, AHalfTurnIsKnownToADozenRoundings) {
  const double Deg = rigsync::Rounding_Of_UE4(About(Eigen::Vector3d::UnitZ(), 178.0), 0.0).Deg[2];
  EXPECT_GT(Deg, 0.5 / 65536.0);
  EXPECT_LT(Deg, 12 * 0.5 / 65536.0);
}

// Pitch p has the slope 1 / cos(p): ten times nearer to the lock, ten times the rounding.
TEST(FloatRounding, TheBoundGrowsTowardsALock) {
  double Before_UE4 = 0.0, Before_Aximmetry = 0.0;
  for (const double From_Lock_Deg : {10.0, 1.0, 0.2}) {
    const double Angle_Deg = 90.0 - From_Lock_Deg;
    const Eigen::Quaterniond Yawed = About(Eigen::Vector3d::UnitZ(), 40.0);
    const double UE4 =
        rigsync::Rounding_Of_UE4(Yawed * About(Eigen::Vector3d::UnitY(), -Angle_Deg), 0.0).Deg[1];
    const double Aximmetry =
        rigsync::Rounding_Of_Aximmetry(
            About(Eigen::Vector3d::UnitY(), 40.0) * About(Eigen::Vector3d::UnitX(), Angle_Deg), 0.0)
            .Deg[0];
    EXPECT_GT(UE4, 3.0 * Before_UE4);
    EXPECT_GT(Aximmetry, 3.0 * Before_Aximmetry);
    Before_UE4 = UE4;
    Before_Aximmetry = Aximmetry;
  }
}

// Within 0.0924 degrees of a right angle, the export takes it for one.
TEST(FloatRounding, WhatAximmetryDropsAtTheLockIsATurn) {
  const Eigen::Quaterniond Turned = About(Eigen::Vector3d::UnitY(), 25.0);
  const auto At = [&](double From_Lock_Deg) {
    return rigsync::Rounding_Of_Aximmetry(
        Turned * About(Eigen::Vector3d::UnitX(), 90.0 - From_Lock_Deg), 0.0);
  };
  const double In_Rad = 0.05 / rigsync::Degrees_Per_Radian;
  EXPECT_GE(At(0.05).Turn_Rad, In_Rad);
  // The sine is known to 5e-7 only, which is a good part of what it is short of 1.
  EXPECT_LE(At(0.05).Turn_Rad, std::sqrt(In_Rad * In_Rad + 2.0 * 5e-7));
  EXPECT_EQ(At(0.05).Deg[0], 0.0);
  EXPECT_EQ(At(0.2).Turn_Rad, 0.0);
  EXPECT_GT(At(0.2).Deg[0], 0.0);
}

TEST(FloatRounding, AQuaternionThatIsLessCertainWidensEveryAngle) {
  const Eigen::Quaterniond Q =
      About(Eigen::Vector3d::UnitZ(), 30.0) * About(Eigen::Vector3d::UnitX(), 20.0);
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_GT(rigsync::Rounding_Of_UE4(Q, 1e-6).Deg[k], rigsync::Rounding_Of_UE4(Q, 0.0).Deg[k]);
    EXPECT_GT(rigsync::Rounding_Of_Aximmetry(Q, 1e-6).Deg[k],
              rigsync::Rounding_Of_Aximmetry(Q, 0.0).Deg[k]);
  }
}

}  // namespace
