// SPDX-License-Identifier: Apache-2.0
//
// The lag as an unknown of the joint solve, on captures whose samples are late by a known time. How
// it enters the equations is compared with the textbook in restricted_likelihood_test.cpp.
#include "rigsync/solve/lag_solve.h"
#include "rigsync/solve/joint_solve.h"
#include "tests/rigsync/solve/lag_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using lag_rig::Make_Rig;
using lag_rig::Motion;
using pose_rig::Options;
using pose_rig::Rig;
using pose_rig::Standing;
using rigsync::Evidence_Of;
using rigsync::Joint_Options;
using rigsync::Joint_Solution;
using rigsync::Lag_Estimate;
using rigsync::Lag_Evidence;
using rigsync::Solve_Status;

Joint_Solution Solve_With_Lag(const Rig& Of) {
  Joint_Options Options;
  Options.Lag.Is_Solved = true;
  return rigsync::Solve_Mounts(Of.Seen, Options);
}

Joint_Solution Solve_With_Known_Lag(const Rig& Of, double Seconds) {
  Joint_Options Options;
  Options.Lag.Seconds = Seconds;
  return rigsync::Solve_Mounts(Of.Seen, Options);
}

double Error_Mm(const Joint_Solution& Solution, const Rig& Of) {
  return 1e3 * pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Of.Cam_Tc).tail<3>().norm();
}

Options Without_Noise() {
  Options Of;
  Of.Position_Mm = Of.Rotation_Deg = 0;
  Of.Pose_Deg = Of.Pose_Mm = Of.Depth_Mm = 1e-5;
  return Of;
}

// Bodies that turn on leave the straight line by 1e-8 m in these times, which at their speeds is a
// microsecond.
TEST(LagSolve, RowsWithoutNoiseGiveTheLagWithItsSign) {
  for (const double Lag_Seconds : {0.1, -0.06, 0.0}) {
    Motion Moving;
    Moving.Lag_Seconds = Lag_Seconds;
    const Rig Made = Make_Rig(Without_Noise(), Moving);
    const Joint_Solution Solution = Solve_With_Lag(Made);
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    ASSERT_TRUE(Solution.Lag);
    EXPECT_NEAR(Solution.Lag->Seconds, Lag_Seconds, 2e-6);
    EXPECT_LE(Error_Mm(Solution, Made), 1e-4);
  }
}

TEST(LagSolve, TurnsAloneGiveTheLagToo) {
  Motion Moving;
  Moving.Lag_Seconds = 0.08;
  Moving.Speed_Mm = 0;
  Moving.Speed_Deg = 2;
  const Joint_Solution Solution = Solve_With_Lag(Make_Rig(Without_Noise(), Moving));
  ASSERT_TRUE(Solution.Lag);
  EXPECT_NEAR(Solution.Lag->Seconds, 0.08, 2e-6);
}

TEST(LagSolve, ALagThatIsNotSolvedMovesTheMount) {
  Motion Moving;
  Moving.Lag_Seconds = 0.1;
  const Rig Made = Make_Rig(Without_Noise(), Moving);
  const Joint_Solution Solution = rigsync::Solve_Mounts(Made.Seen);
  EXPECT_FALSE(Solution.Lag);
  EXPECT_GT(Error_Mm(Solution, Made), 0.1);
}

// Nobody asked for a lag: what is known of the motion changes nothing, to the last bit.
TEST(LagSolve, VelocitiesAloneChangeNoResult) {
  const Rig Made = Make_Rig({}, {});
  Rig Unknown = Made;
  for (auto& Row : Unknown.Seen.Rows) Row.Motion.reset();
  const Joint_Solution With = rigsync::Solve_Mounts(Made.Seen);
  const Joint_Solution Without = rigsync::Solve_Mounts(Unknown.Seen);
  EXPECT_EQ(With.At.Transform_Cam_Tc.matrix(), Without.At.Transform_Cam_Tc.matrix());
  EXPECT_EQ(With.Camera_Mount.Covariance, Without.Camera_Mount.Covariance);
}

TEST(LagSolve, AKnownLagIsTakenOut) {
  Motion Moving;
  Moving.Lag_Seconds = 0.1;
  const Rig Late = Make_Rig({}, Moving);
  Moving.Lag_Seconds = 0;
  const Rig On_Time = Make_Rig({}, Moving);
  const Joint_Solution Solution = Solve_With_Known_Lag(Late, 0.1);
  const Joint_Solution Expected = rigsync::Solve_Mounts(On_Time.Seen);
  // Both settle to within what a fit leaves to gain.
  EXPECT_LE((Solution.At.Transform_Cam_Tc.matrix() - Expected.At.Transform_Cam_Tc.matrix()).norm(),
            1e-6);
  EXPECT_NEAR(Solution.Camera_Mount.Widest_Mm.Half_Width,
              Expected.Camera_Mount.Widest_Mm.Half_Width, 1e-3);
  ASSERT_TRUE(Solution.Lag);
  EXPECT_TRUE(Solution.Lag->Is_Stated);
  EXPECT_EQ(Solution.Lag->Seconds, 0.1);
  EXPECT_EQ(Solution.Lag->Half_Width_Seconds, 0.0);
}

// A tracker on a tripod moves by its noise alone, however fast that seems.
TEST(LagSolve, AStillTrackersVelocitiesDoNotCount) {
  for (const Standing Still : {Standing::Camera, Standing::Board}) {
    Options Of;
    Of.Still = Still;
    Motion Moving;
    Moving.Lag_Seconds = 0.1;
    const Rig Made = Make_Rig(Of, Moving);
    Rig Restless = Made;
    simulate::Random Random(3, 4);
    for (auto& Row : Restless.Seen.Rows) {
      auto& Body = Still == Standing::Camera ? Row.Motion->Camera : Row.Motion->Board;
      Body.Linear = 0.05 * Random.Gaussian_Vector();
    }
    const Joint_Solution Solution = Solve_With_Lag(Restless), Expected = Solve_With_Lag(Made);
    ASSERT_TRUE(Solution.Lag && Expected.Lag);
    EXPECT_EQ(Solution.Lag->Seconds, Expected.Lag->Seconds);
    EXPECT_NEAR(Solution.Lag->Seconds, 0.1, 2 * Solution.Lag->Half_Width_Seconds);
  }
}

TEST(LagSolve, RowsWithoutVelocitiesSayNothingOfTheLag) {
  Motion Moving;
  Moving.Lag_Seconds = 0.1;
  Rig Made = Make_Rig(Without_Noise(), Moving);
  Motion Stands = Moving;
  Stands.Speed_Mm = Stands.Speed_Deg = 0;
  const Rig Standing_Rig = Make_Rig(Without_Noise(), Stands);
  for (std::size_t i = 0; i < Made.Seen.Rows.size(); i += 2) {
    Made.Seen.Rows[i] = Standing_Rig.Seen.Rows[i];
    Made.Seen.Rows[i].Motion.reset();
  }
  const Joint_Solution Solution = Solve_With_Lag(Made);
  ASSERT_TRUE(Solution.Lag);
  EXPECT_NEAR(Solution.Lag->Seconds, 0.1, 2e-6);
}

// Then the lag is where it was before anything was seen, and the mounts are those without one.
TEST(LagSolve, WithoutAnyMotionNothingIsToldOfTheLag) {
  Rig Made = pose_rig::Make_Rig({});
  const Joint_Solution Expected = rigsync::Solve_Mounts(Made.Seen);
  const Joint_Solution Solution = Solve_With_Lag(Made);
  ASSERT_TRUE(Solution.Lag);
  EXPECT_EQ(Solution.Lag->Seconds, 0.0);
  // What is expected of a lag before anything is seen: a deviation of half a second.
  EXPECT_NEAR(Solution.Lag->Half_Width_Seconds, 1.960 * 0.5, 0.001);
  EXPECT_EQ(Evidence_Of(*Solution.Lag), Lag_Evidence::Open);
  EXPECT_LE((Solution.At.Transform_Cam_Tc.matrix() - Expected.At.Transform_Cam_Tc.matrix()).norm(),
            1e-9);
  EXPECT_NEAR(Solution.Camera_Mount.Widest_Mm.Half_Width,
              Expected.Camera_Mount.Widest_Mm.Half_Width, 1e-9);
}

// At 30 mm/s and 100 ms a sample is ten times its noise away, so that without the lag fast rows
// look like bad ones.
TEST(LagSolve, AStaleRowIsLeftOutAndFastRowsAreNot) {
  Options Of;
  Of.Stale = {2, 9, 17};
  Motion Moving;
  Moving.Lag_Seconds = 0.1;
  Moving.Speed_Mm = 30;
  Moving.Speed_Deg = 2;
  const Joint_Solution Solution = Solve_With_Lag(Make_Rig(Of, Moving));
  ASSERT_EQ(Solution.Status, Solve_Status::Solved);
  for (const rigsync::Solved_Row& Row : Solution.Rows) {
    EXPECT_EQ(Row.Is_Kept, Of.Stale.count(static_cast<int>(Row.Row)) == 0) << Row.Row;
  }
  EXPECT_NEAR(Solution.Lag->Seconds, 0.1, 2 * Solution.Lag->Half_Width_Seconds);
}

// More than 4 standard deviations from 95 % is once in 16,000 runs.
void Expect_95_Percent(int Inside, int Draws) {
  const double Deviation = std::sqrt(Draws * 0.95 * 0.05);
  EXPECT_GE(Inside, 0.95 * Draws - 4 * Deviation);
  EXPECT_LE(Inside, 0.95 * Draws + 4 * Deviation);
}

TEST(LagSolve, LagAndMountAreInsideTheirIntervalsIn95Of100Captures) {
  constexpr int Draws = 200;
  int Lag_Inside = 0, Mount_Inside = 0;
  for (int k = 0; k < Draws; ++k) {
    Options Of;
    Of.Seed = 3000 + static_cast<unsigned>(k);
    Of.Images = 14;
    Motion Moving;
    Moving.Lag_Seconds = k % 2 == 0 ? 0.1 : 0.0;
    Moving.Noise_Mm = 0.3;
    Moving.Noise_Deg = 0.03;
    const Rig Made = Make_Rig(Of, Moving);
    const Joint_Solution Solution = Solve_With_Lag(Made);
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    const double Error = std::abs(Solution.Lag->Seconds - Moving.Lag_Seconds);
    if (Error <= Solution.Lag->Half_Width_Seconds) ++Lag_Inside;
    const rigsync::Vector6d Off = pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Made.Cam_Tc);
    if (Solution.Camera_Mount.Probability_Nearer(Off) <= 0.95) ++Mount_Inside;
  }
  Expect_95_Percent(Lag_Inside, Draws);
  Expect_95_Percent(Mount_Inside, Draws);
}

TEST(LagSolve, TheSpeedIsWhatTheCameraSees) {
  Motion Moving;
  Moving.Speed_Deg = 0;
  const Joint_Solution Solution = Solve_With_Lag(Make_Rig(Without_Noise(), Moving));
  // Two bodies at 10 mm/s in directions of their own: 10 times the root of two, and chance.
  EXPECT_NEAR(Solution.Lag->Speed.Shift, 0.01414, 0.003);
  EXPECT_EQ(Solution.Lag->Speed.Turn, 0.0);
}

Lag_Estimate Estimate(double Seconds, double Half_Width_Seconds) {
  Lag_Estimate Lag;
  Lag.Seconds = Seconds;
  Lag.Half_Width_Seconds = Half_Width_Seconds;
  return Lag;
}

TEST(LagSolve, ALagIsFoundWhen0IsOutsideItsInterval) {
  EXPECT_EQ(Evidence_Of(Estimate(0.021, 0.02)), Lag_Evidence::Found);
  EXPECT_EQ(Evidence_Of(Estimate(-0.021, 0.02)), Lag_Evidence::Found);
  EXPECT_EQ(Evidence_Of(Estimate(0.02, 0.02)), Lag_Evidence::Not_Seen);
  EXPECT_EQ(Evidence_Of(Estimate(-0.019, 0.02)), Lag_Evidence::Not_Seen);
}

TEST(LagSolve, AWideIntervalLeavesTheLagOpenWhereverItIs) {
  EXPECT_EQ(Evidence_Of(Estimate(0.3, 0.1)), Lag_Evidence::Found);
  EXPECT_EQ(Evidence_Of(Estimate(0.3, 0.1001)), Lag_Evidence::Open);
  EXPECT_EQ(Evidence_Of(Estimate(0.0, 0.1001)), Lag_Evidence::Open);
  EXPECT_EQ(Evidence_Of(Estimate(0.0, std::nan(""))), Lag_Evidence::Open);
}

TEST(LagSolve, AStatedLagIsNotFound) {
  Lag_Estimate Lag = Estimate(0.3, 0.0);
  Lag.Is_Stated = true;
  EXPECT_EQ(Evidence_Of(Lag), Lag_Evidence::Stated);
}

}  // namespace
