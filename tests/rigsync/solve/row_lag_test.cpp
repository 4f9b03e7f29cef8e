// SPDX-License-Identifier: Apache-2.0
//
// The direction of a lag, on cases worked by hand.
#include "rigsync/solve/row_lag.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;
using rigsync::Observation;
using rigsync::Tracker_Poses;
using rigsync::Vector6d;

constexpr double Lag_Rounding = 1e-12;

Isometry3d At(const Vector3d& Position) {
  Isometry3d Pose = Isometry3d::Identity();
  Pose.translation() = Position;
  return Pose;
}

// The camera's tracker at 1 m along x, the board's at 2 m along y.
Observation Two_Bodies() {
  Observation Row;
  Row.Transform_Tc_Base = At({1, 0, 0}).inverse();
  Row.Transform_Base_Tr = At({0, 2, 0});
  Row.Motion.emplace();
  return Row;
}

TEST(RowLag, ABodyIsFurtherOnInThePictureThanInItsLateSample) {
  Observation Row = Two_Bodies();
  Row.Motion->Camera.Linear = {0, 0, 0.02};
  Row.Motion->Board.Linear = {-0.01, 0, 0};
  const Tracker_Poses Late = rigsync::Poses_At_Picture(Row, 0.5);
  EXPECT_LE((Late.Transform_Tc_Base.inverse().translation() - Vector3d(1, 0, 0.01)).norm(),
            Lag_Rounding);
  EXPECT_LE((Late.Transform_Base_Tr.translation() - Vector3d(-0.005, 2, 0)).norm(), Lag_Rounding);
  const Tracker_Poses Early = rigsync::Poses_At_Picture(Row, -0.5);
  EXPECT_LE((Early.Transform_Base_Tr.translation() - Vector3d(0.005, 2, 0)).norm(), Lag_Rounding);
}

// Half a second at pi radians per second about z: what pointed along x points along y, and the
// bodies stay where they are.
TEST(RowLag, ABodyTurnsOnAboutItsOwnOriginAlongTheAxesOfBase) {
  Observation Row = Two_Bodies();
  Row.Motion->Camera.Angular = Row.Motion->Board.Angular = {0, 0, std::acos(-1.0)};
  const Tracker_Poses Late = rigsync::Poses_At_Picture(Row, 0.5);
  for (const Isometry3d& Pose : {Late.Transform_Tc_Base.inverse(), Late.Transform_Base_Tr}) {
    EXPECT_LE((Pose.linear() * Vector3d::UnitX() - Vector3d::UnitY()).norm(), Lag_Rounding);
  }
  EXPECT_LE((Late.Transform_Tc_Base.inverse().translation() - Vector3d(1, 0, 0)).norm(),
            Lag_Rounding);
  EXPECT_LE((Late.Transform_Base_Tr.translation() - Vector3d(0, 2, 0)).norm(), Lag_Rounding);
}

TEST(RowLag, ARowWithoutVelocitiesStaysWhereItIs) {
  Observation Row = Two_Bodies();
  Row.Motion.reset();
  const Tracker_Poses Late = rigsync::Poses_At_Picture(Row, 10.0);
  EXPECT_EQ(Late.Transform_Tc_Base.matrix(), Row.Transform_Tc_Base.matrix());
  EXPECT_EQ(Late.Transform_Base_Tr.matrix(), Row.Transform_Base_Tr.matrix());
}

// The velocity of the board's tracker at 2 m along y is that of a room that turns about the
// camera's tracker.
TEST(RowLag, ACameraThatMovesWithTheBoardSeesNoMotion) {
  Observation Row = Two_Bodies();
  const Vector3d Turn(0, 0, 0.3);
  Row.Motion->Camera = {Vector3d(0.1, 0.2, 0.3), Turn};
  Row.Motion->Board = {Vector3d(0.1, 0.2, 0.3) + Turn.cross(Vector3d(-1, 2, 0)), Turn};
  const Vector6d Motion = rigsync::Motion_Seen_By_Camera(
      Row, {Row.Transform_Tc_Base, Row.Transform_Base_Tr}, Vector3d(0.3, 1.8, -0.4));
  EXPECT_LE(Motion.norm(), Lag_Rounding);
}

// A camera that turns at 0.3 rad/s about z sees a corner 2 m along y of it go the other way: 0.6
// m/s along x.
TEST(RowLag, ACameraThatTurnsSeesTheBoardGoTheOtherWay) {
  Observation Row = Two_Bodies();
  Row.Motion->Camera.Angular = {0, 0, 0.3};
  Vector6d Expected;
  Expected << 0, 0, -0.3, 0.6, 0, 0;
  const Vector6d Motion = rigsync::Motion_Seen_By_Camera(
      Row, {Row.Transform_Tc_Base, Row.Transform_Base_Tr}, Vector3d(1, 2, 0));
  EXPECT_LE((Motion - Expected).norm(), Lag_Rounding);
}

// Two rows of which one stands: root mean squares are 1 over the root of two.
TEST(RowLag, TheSpeedIsTheRootMeanSquareOverAllRows) {
  Observation Moving = Two_Bodies(), Standing = Two_Bodies();
  Moving.Motion->Board = {Vector3d(0.01, 0, 0), Vector3d(0, 0.02, 0)};
  Standing.Motion.reset();
  const rigsync::Seen_Speed Speed =
      rigsync::Measure_Speed({Moving, Standing}, Isometry3d::Identity());
  EXPECT_NEAR(Speed.Shift, 0.01 / std::sqrt(2.0), Lag_Rounding);
  EXPECT_NEAR(Speed.Turn, 0.02 / std::sqrt(2.0), Lag_Rounding);
}

}  // namespace
