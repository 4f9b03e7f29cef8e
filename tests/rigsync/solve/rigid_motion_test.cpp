// SPDX-License-Identifier: Apache-2.0
//
// Small motions against quaternions and against finite differences.
#include "rigsync/solve/rigid_motion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Quaterniond;
using Eigen::Vector3d;
using rigsync::Vector6d;

// Products of a few rotations in double round by some 1e-16.
constexpr double Motion_Rounding = 1e-14;

// Half the angle's sine and cosine, with w first.
Quaterniond By_Half_Angle(const Vector3d& Turn) {
  const double Half = Turn.norm() / 2;
  const Vector3d Axis = Turn.normalized() * std::sin(Half);
  return {std::cos(Half), Axis.x(), Axis.y(), Axis.z()};
}

TEST(RigidMotion, TurnsAsAQuaternionDoes) {
  const Vector3d Turn(0.4, -1.1, 0.7), Point(0.3, 0.2, -0.9);
  const Vector3d Turned = rigsync::Rotation_From_Turn(Turn) * Point;
  EXPECT_LE((Turned - By_Half_Angle(Turn) * Point).norm(), Motion_Rounding);
}

TEST(RigidMotion, NoTurnIsTheIdentity) {
  EXPECT_EQ(rigsync::Rotation_From_Turn(Vector3d::Zero()), Matrix3d::Identity());
  EXPECT_EQ(rigsync::Turn_From_Rotation(Matrix3d::Identity()), Vector3d::Zero());
}

TEST(RigidMotion, ATurnComesBackFromItsRotation) {
  for (const double Angle_Rad : {1e-9, 1e-3, 0.5, 3.0, 3.14159}) {
    const Vector3d Turn = Angle_Rad * Vector3d(1, -2, 2) / 3;
    const Vector3d Again = rigsync::Turn_From_Rotation(rigsync::Rotation_From_Turn(Turn));
    // Near pi the angle of a rotation resolves some 1e-10.
    EXPECT_LE((Again - Turn).norm(), 1e-9) << Angle_Rad;
  }
}

TEST(RigidMotion, TheDerivativeOfATurnIsThatOfDifferences) {
  constexpr double Step = 1e-6;
  for (const double Angle_Rad : {0.0, 1e-5, 0.9e-3, 1.1e-3, 0.3, 2.5}) {
    const Vector3d Turn = Angle_Rad * Vector3d(2, -1, 2) / 3;
    const Matrix3d Derivative = rigsync::Turn_Derivative(Turn);
    for (int Axis = 0; Axis < 3; ++Axis) {
      const Vector3d Change = Step * Vector3d::Unit(Axis);
      const auto After = [&Turn](const Vector3d& By) {
        return rigsync::Turn_From_Rotation(
            (By_Half_Angle(By) * By_Half_Angle(Turn)).toRotationMatrix());
      };
      const Vector3d Difference = (After(Change) - After(-Change)) / (2 * Step);
      EXPECT_LE((Derivative.col(Axis) - Difference).norm(), 5e-9) << Angle_Rad;
    }
  }
}

TEST(RigidMotion, AMotionLeadsFromAPoseToTheMovedPose) {
  Isometry3d Pose = Isometry3d::Identity();
  Pose.linear() = By_Half_Angle({0.2, 2.0, -0.4}).toRotationMatrix();
  Pose.translation() = Vector3d(0.1, 0.5, 2.0);
  Vector6d Motion;
  Motion << 0.01, -0.02, 0.3, 4, -5, 6;
  const Isometry3d After = rigsync::Moved(Pose, Motion);
  EXPECT_LE((After.translation() - Vector3d(4.1, -4.5, 8.0)).norm(), Motion_Rounding);
  EXPECT_LE((rigsync::Motion_Between(Pose, After) - Motion).norm(), Motion_Rounding);
}

TEST(RigidMotion, TheMeanOfTwoRotationsIsHalfwayBetween) {
  const Vector3d Axis = Vector3d(1, 2, -2) / 3;
  const Matrix3d Mean = rigsync::Mean_Rotation(
      {rigsync::Rotation_From_Turn(0.2 * Axis), rigsync::Rotation_From_Turn(0.6 * Axis)});
  EXPECT_LE((rigsync::Turn_From_Rotation(Mean) - 0.4 * Axis).norm(), Motion_Rounding);
}

TEST(RigidMotion, TheNearestRotationIsNeverAReflection) {
  const Matrix3d Reflected = Vector3d(1, 1, -0.1).asDiagonal();
  EXPECT_LE((rigsync::Nearest_Rotation(Reflected) - Matrix3d::Identity()).norm(), Motion_Rounding);
}

}  // namespace
