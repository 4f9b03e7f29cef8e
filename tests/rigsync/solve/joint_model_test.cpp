// SPDX-License-Identifier: Apache-2.0
//
// The equation of both mounts: derivatives against differences, noise against perturbed samples,
// and one case worked out by hand.
#include "rigsync/solve/joint_model.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;
using rigsync::Matrix6d;
using rigsync::Mounts;
using rigsync::Observation;
using rigsync::Unknown_Vector;
using rigsync::Vector6d;

// Central differences of this step are exact to its square, and divide roundings of a few 1e-16.
constexpr double Step = 1e-6;
constexpr double Difference_Tolerance = 2e-9;

Isometry3d Shifted(double X, double Y, double Z) {
  Isometry3d Pose = Isometry3d::Identity();
  Pose.translation() = Vector3d(X, Y, Z);
  return Pose;
}

// A row with residuals of several degrees and centimetres, as a stale one has.
Observation Row_Off() {
  pose_rig::Options Options;
  Options.Stale = {0};
  return pose_rig::Make_Rig(Options).Seen.Rows[0];
}

Mounts True_Mounts() {
  const pose_rig::Rig Rig = pose_rig::Make_Rig({});
  return {Rig.Cam_Tc.As_Transform(), Rig.Tr_Chart.As_Transform(), 1.004};
}

TEST(JointModel, TheResidualIsZeroAtTheTruth) {
  pose_rig::Options Options;
  Options.Position_Mm = Options.Rotation_Deg = 0;
  Options.Pose_Deg = Options.Pose_Mm = Options.Depth_Mm = 0;
  Options.Square_Scale = 1.004;
  for (const Observation& Row : pose_rig::Make_Rig(Options).Seen.Rows) {
    EXPECT_LE(rigsync::Linearise(Row, True_Mounts()).Residual.norm(), 1e-12);
  }
}

void Expect_Derivative_Of_Differences(const Observation& Row, const Mounts& At) {
  for (int k = 0; k < rigsync::Unknowns; ++k) {
    const Unknown_Vector Change = Step * Unknown_Vector::Unit(k);
    const Vector6d After = rigsync::Linearise(Row, rigsync::Moved(At, Change)).Residual;
    const Vector6d Before = rigsync::Linearise(Row, rigsync::Moved(At, -Change)).Residual;
    const Vector6d Difference = (After - Before) / (2 * Step);
    EXPECT_LE((rigsync::Linearise(Row, At).Derivative.col(k) + Difference).norm(),
              Difference_Tolerance)
        << k;
  }
}

TEST(JointModel, TheDerivativeIsThatOfDifferences) {
  const Observation Row = Row_Off();
  const Mounts At = True_Mounts();
  ASSERT_GT(rigsync::Linearise(Row, At).Residual.norm(), 0.03);
  Expect_Derivative_Of_Differences(Row, At);
}

rigsync::Row_Motion Some_Motion() {
  rigsync::Row_Motion Motion;
  Motion.Camera = {Vector3d(0.02, -0.05, 0.03), Vector3d(0.3, 0.1, -0.2)};
  Motion.Board = {Vector3d(-0.04, 0.01, 0.06), Vector3d(-0.1, 0.4, 0.2)};
  return Motion;
}

TEST(JointModel, TheDerivativeByTheLagIsThatOfDifferences) {
  Observation Row = Row_Off();
  Row.Motion = Some_Motion();
  for (const double Lag_Seconds : {0.0, 0.2, -0.1}) {
    Mounts At = True_Mounts(), Before = At, After = At;
    At.Lag_Seconds = Lag_Seconds;
    Before.Lag_Seconds = Lag_Seconds - Step;
    After.Lag_Seconds = Lag_Seconds + Step;
    const Vector6d Difference =
        (rigsync::Linearise(Row, After).Residual - rigsync::Linearise(Row, Before).Residual) /
        (2 * Step);
    ASSERT_GT(Difference.norm(), 0.1);
    EXPECT_LE((rigsync::Linearise(Row, At).By_Lag + Difference).norm(), Difference_Tolerance);
  }
}

TEST(JointModel, TheOtherDerivativesFollowTheLag) {
  Observation Row = Row_Off();
  Row.Motion = Some_Motion();
  Mounts At = True_Mounts();
  At.Lag_Seconds = 0.2;
  Expect_Derivative_Of_Differences(Row, At);
}

// What a turn of a tracker in the tracking system does to the predicted pose, by differences.
Matrix6d Shape_By_Differences(const Observation& Row, const Mounts& At, bool Camera, bool Board) {
  Matrix6d Sum = Matrix6d::Zero();
  for (int Axis = 0; Axis < 3; ++Axis) {
    const Isometry3d Turn(pose_rig::By_Turn(Step * Vector3d::Unit(Axis)));
    for (const bool Is_Camera : {true, false}) {
      if (!(Is_Camera ? Camera : Board)) continue;
      Observation Turned = Row;
      // The body turns about its own position, with its attitude multiplied from the left.
      if (Is_Camera) {
        Isometry3d Transform_Base_Tc = Row.Transform_Tc_Base.inverse();
        Transform_Base_Tc.linear() = (Turn.linear() * Transform_Base_Tc.linear()).eval();
        Turned.Transform_Tc_Base = Transform_Base_Tc.inverse();
      } else {
        Turned.Transform_Base_Tr.linear() =
            (Turn.linear() * Turned.Transform_Base_Tr.linear()).eval();
      }
      const Vector6d Motion =
          rigsync::Motion_Between(rigsync::Predicted_Transform_Cam_Chart(Row, At),
                                  rigsync::Predicted_Transform_Cam_Chart(Turned, At)) /
          Step;
      Sum += Motion * Motion.transpose();
    }
  }
  return Sum;
}

rigsync::Moving_Trackers Which_Move(bool Camera, bool Board) {
  rigsync::Moving_Trackers Moving;
  Moving.Camera = Camera;
  Moving.Board = Board;
  return Moving;
}

TEST(JointModel, RotationNoiseActsAtTheEndOfEachLeverArm) {
  const Observation Row = Row_Off();
  const Mounts At = True_Mounts();
  for (const auto& [Camera, Board] : {std::pair{true, true}, {true, false}, {false, true}}) {
    const Matrix6d Shape =
        rigsync::Shape_Noise(Row, At, 1.0, Which_Move(Camera, Board))[rigsync::Rotation_Noise];
    // One-sided differences are off by the step.
    EXPECT_LE((Shape - Shape_By_Differences(Row, At, Camera, Board)).norm(), 1e-5);
  }
}

// All axes alike: the board's tracker is 1 m from the camera's along x, the board 1 m from its
// tracker along y. A turn e about z of the camera's tracker moves the board by e * (-1, 1, 0), one
// of the board's tracker by e * (-1, 0, 0).
TEST(JointModel, NoiseOfACaseWorkedByHand) {
  Observation Row;
  Row.Transform_Base_Tr = Shifted(1, 0, 0);
  Row.Board.Unit_Covariance = 3.0 * Matrix6d::Identity();
  Mounts At;
  At.Transform_Tr_Chart = Shifted(0, 1, 0);
  const rigsync::Noise_Shapes Shapes = rigsync::Shape_Noise(Row, At, 0.5, {});
  EXPECT_EQ(Shapes[rigsync::Corner_Noise], 1.5 * Matrix6d::Identity());
  const Matrix6d& Rotation = Shapes[rigsync::Rotation_Noise];
  EXPECT_EQ(Rotation(2, 2), 2.0);
  EXPECT_EQ(Rotation(2, 3), -2.0);
  EXPECT_EQ(Rotation(2, 4), 1.0);
  EXPECT_EQ(Rotation(3, 3), 2.0);
  EXPECT_EQ(Rotation(5, 5), 3.0);
  Matrix6d Position = Matrix6d::Zero();
  Position.diagonal() << 0, 0, 0, 1, 1, 1;
  EXPECT_EQ(Shapes[rigsync::Position_Noise], Position);
}

// A camera tracker that is turned by 90 degrees about z sees the room's x as y. Nine to one to one,
// with a mean of 1.
TEST(JointModel, ANoisyAxisOfTheRoomIsTurnedIntoTheCamera) {
  rigsync::Observation Row;
  Row.Transform_Tc_Base.linear() << 0, -1, 0, 1, 0, 0, 0, 0, 1;
  rigsync::Moving_Trackers Moving;
  Moving.Noisy_Axis = 0;
  const Matrix6d Shape = rigsync::Shape_Noise(Row, {}, 1.0, Moving)[rigsync::Position_Noise];
  Matrix6d Expected = Matrix6d::Zero();
  Expected.diagonal().tail<3>() << 3.0 / 11, 27.0 / 11, 3.0 / 11;
  EXPECT_LE((Shape - Expected).norm(), 1e-12);
}

TEST(JointModel, TheBalanceSharesTheRotationNoiseOut) {
  rigsync::Observation Row;
  const rigsync::Moving_Trackers Camera = Which_Move(true, false), Board = Which_Move(false, true);
  const auto Shape = [&Row](const rigsync::Moving_Trackers& Moving) {
    return rigsync::Shape_Noise(Row, {}, 1.0, Moving)[rigsync::Rotation_Noise];
  };
  rigsync::Moving_Trackers Uneven;
  Uneven.Rotation_Balance = 0.8;
  EXPECT_LE((Shape(Uneven) - 0.2 * Shape(Camera) - 1.8 * Shape(Board)).norm(), 1e-12);
}

}  // namespace
