// SPDX-License-Identifier: Apache-2.0
//
// The solve as a whole, on captures made of quaternions, and on corners that the simulator projects
// through lenses that OpenCV then solves.
#include "rigsync/solve/joint_solve.h"
#include "simulate/simulate.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using pose_rig::Make_Rig;
using pose_rig::Options;
using pose_rig::Rig;
using pose_rig::Standing;
using rigsync::Joint_Options;
using rigsync::Joint_Solution;
using rigsync::Motion_Weakness;
using rigsync::Solve_Status;
using rigsync::Vector6d;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Radian_In_Degrees = 57.29577951308232;

Joint_Solution Solve(const Rig& Of, const Joint_Options& With = {}) {
  return rigsync::Solve_Mounts(Of.Seen, With);
}

double Error_Mm(const Joint_Solution& Solution, const Rig& Of) {
  return 1e3 * pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Of.Cam_Tc).tail<3>().norm();
}

double Error_Deg(const Joint_Solution& Solution, const Rig& Of) {
  return Radian_In_Degrees *
         pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Of.Cam_Tc).head<3>().norm();
}

std::set<int> Dropped_Rows(const Joint_Solution& Solution) {
  std::set<int> Dropped;
  for (const rigsync::Solved_Row& Row : Solution.Rows) {
    if (!Row.Is_Kept) Dropped.insert(static_cast<int>(Row.Row));
  }
  return Dropped;
}

TEST(JointSolve, RowsWithoutNoiseGiveTheTruth) {
  Options Options;
  Options.Position_Mm = Options.Rotation_Deg = 0;
  Options.Pose_Deg = Options.Pose_Mm = Options.Depth_Mm = 1e-5;
  const Rig Made = Make_Rig(Options);
  const Joint_Solution Solution = Solve(Made);
  ASSERT_EQ(Solution.Status, Solve_Status::Solved);
  // Ten times what each board's pose is off by, which is 1.7e-7 rad or 1e-8 m.
  EXPECT_LE(Error_Mm(Solution, Made), 1e-4);
  EXPECT_LE(Error_Deg(Solution, Made), 1e-5);
  EXPECT_LE(pose_rig::Error_Of(Solution.At.Transform_Tr_Chart, Made.Tr_Chart).norm(), 2e-7);
}

// Inside a stated 95 % as often as chance allows: more than 4 standard deviations beyond is once in
// 16,000 checks.
void Expect_95_Percent(int Inside, int Draws, double Lowest = 0.95) {
  const double Deviation = std::sqrt(Draws * 0.95 * 0.05);
  EXPECT_GE(Inside, Lowest * Draws - 4 * Deviation);
  EXPECT_LE(Inside, 0.95 * Draws + 4 * Deviation);
}

struct Coverage {
  int Draws = 0;
  int Axes[6] = {}, Camera = 0, Board = 0, Scale = 0;
  // Sums of the probability, of its square, and of it where the square was exact.
  double Exact_Probability = 0, Exact_Probability_Squared = 0, Exact_Probability_If_Exact = 0;

  Coverage& operator+=(const Coverage& Other) {
    Draws += Other.Draws;
    for (int k = 0; k < 6; ++k) Axes[k] += Other.Axes[k];
    Camera += Other.Camera;
    Board += Other.Board;
    Scale += Other.Scale;
    Exact_Probability += Other.Exact_Probability;
    Exact_Probability_Squared += Other.Exact_Probability_Squared;
    Exact_Probability_If_Exact += Other.Exact_Probability_If_Exact;
    return *this;
  }
};

void Count(const Joint_Solution& Solution, const Rig& Made, double True_Scale, Coverage& Sum) {
  const Vector6d Error = pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Made.Cam_Tc);
  for (int k = 0; k < 3; ++k) {
    const auto& Stated = Solution.Camera_Mount;
    if (Radian_In_Degrees * std::abs(Error[k]) <= Stated.Half_Width_Deg[k]) ++Sum.Axes[k];
    if (1e3 * std::abs(Error[3 + k]) <= Stated.Half_Width_Mm[k]) ++Sum.Axes[3 + k];
  }
  const Vector6d Board_Error = pose_rig::Error_Of(Solution.At.Transform_Tr_Chart, Made.Tr_Chart);
  if (Solution.Camera_Mount.Probability_Nearer(Error) <= 0.95) ++Sum.Camera;
  if (Solution.Board_Mount.Probability_Nearer(Board_Error) <= 0.95) ++Sum.Board;
  if (std::abs(Solution.At.Square_Scale - True_Scale) <= 1.96 * Solution.Scale_Deviation) {
    ++Sum.Scale;
  }
}

Coverage Draw(Options Options, int Draws, bool Forget_The_Lens = false) {
  Coverage Sum;
  Sum.Draws = Draws;
  for (int k = 0; k < Draws; ++k) {
    Options.Seed = 1000 + static_cast<unsigned>(k);
    simulate::Random Random(Options.Seed, 99);
    // Half of the squares are exact and half are not, as the solve expects.
    const bool Is_Exact = k % 2 == 0;
    Options.Square_Scale = std::exp((Is_Exact ? 0.0002 : 0.003) * Random.Gaussian());
    Rig Made = Make_Rig(Options);
    if (Forget_The_Lens) Made.Seen.Lens_Covariance.setZero();
    const Joint_Solution Solution = Solve(Made);
    EXPECT_EQ(Solution.Status, Solve_Status::Solved);
    Count(Solution, Made, Options.Square_Scale, Sum);
    Sum.Exact_Probability += Solution.Exact_Square_Probability;
    Sum.Exact_Probability_Squared += std::pow(Solution.Exact_Square_Probability, 2);
    if (Is_Exact) Sum.Exact_Probability_If_Exact += Solution.Exact_Square_Probability;
  }
  return Sum;
}

Options With_A_Lens() {
  Options Of;
  Of.Lens_Mm = 1.0;
  return Of;
}

// Captures that several tests look at: 12 images, and noise of a millimetre.
constexpr int Shared_Draws = 60;

const Coverage& Of_Few_Images() {
  static const Coverage Sum = [] {
    Options Few;
    Few.Images = 12;
    return Draw(Few, Shared_Draws);
  }();
  return Sum;
}

const Coverage& Of_Noisy_Trackers() {
  static const Coverage Sum = [] {
    Options Noisy;
    Noisy.Position_Mm = 1.0;
    Noisy.Rotation_Deg = 0.1;
    return Draw(Noisy, Shared_Draws);
  }();
  return Sum;
}

// Each kind of capture, and all together, where chance leaves less room.
TEST(JointSolve, TheTruthIsInTheStated95Percent) {
  const Coverage With_Lens = Draw(With_A_Lens(), Shared_Draws);
  Coverage All = With_Lens;
  All += Of_Few_Images();
  All += Of_Noisy_Trackers();
  for (const Coverage& Sum : {With_Lens, Of_Few_Images(), Of_Noisy_Trackers(), All}) {
    for (const int Inside : Sum.Axes) Expect_95_Percent(Inside, Sum.Draws);
    // All six together rest on a covariance of which each number is estimated.
    Expect_95_Percent(Sum.Camera, Sum.Draws, 0.93);
    Expect_95_Percent(Sum.Board, Sum.Draws, 0.93);
    Expect_95_Percent(Sum.Scale, Sum.Draws, 0.93);
  }
}

// Half of the squares are exact, so the probabilities' mean is a half. Of squares with a
// probability p the part p is exact, so the exact ones' probabilities add up to the squares of all.
TEST(JointSolve, TheProbabilityOfAnExactSquareIsThatOfTheDraws) {
  Coverage Sum = Of_Few_Images();
  Sum += Of_Noisy_Trackers();
  // A probability is at most a half from its mean: the mean of 120 is good to 0.046. p or 0 by the
  // toss of p deviates from p^2 by 0.38 at most, 0.035 in the mean.
  EXPECT_NEAR(Sum.Exact_Probability / Sum.Draws, 0.5, 0.138);
  EXPECT_NEAR(Sum.Exact_Probability_If_Exact / Sum.Draws, Sum.Exact_Probability_Squared / Sum.Draws,
              0.105);
  EXPECT_GT(Sum.Exact_Probability_If_Exact, 0.55 * Sum.Exact_Probability);
}

TEST(JointSolve, WithoutTheLensTheStatedUncertaintyWouldBeTooSmall) {
  Options Options = With_A_Lens();
  Options.Position_Mm = 0.1;
  Options.Rotation_Deg = 0.01;
  Options.Lens_Mm *= 2.0;  // so that most of the doubt is the lens's
  // Of 30 draws with 95 % fewer than 24 are inside once in 1,500 times.
  EXPECT_LT(Draw(Options, 30, /*Forget_The_Lens=*/true).Camera, 22);
  EXPECT_GE(Draw(Options, 30).Camera, 24);
}

TEST(JointSolve, TheNoiseOfTheTrackersComesOut) {
  Options Options;
  Options.Images = 60;
  double Rotation = 0, Position = 0;
  for (Options.Seed = 1; Options.Seed <= 20; ++Options.Seed) {
    const Joint_Solution Solution = Solve(Make_Rig(Options));
    Rotation += Solution.Noise.Rotation_Rad * Radian_In_Degrees / 20;
    Position += 1e3 * Solution.Noise.Position / 20;
  }
  // Two trackers of 0.3 mm together. 20 times 60 images resolve about a hundredth.
  EXPECT_NEAR(Rotation, 0.03, 0.002);
  EXPECT_NEAR(Position, 0.3 * std::sqrt(2.0), 0.03);
}

TEST(JointSolve, ASquareHalfAPercentOffIsFound) {
  Options Options;
  Options.Square_Scale = 1.005;
  const Rig Made = Make_Rig(Options);
  const Joint_Solution Solution = Solve(Made);
  EXPECT_NEAR(Solution.At.Square_Scale, 1.005, 4 * Solution.Scale_Deviation);
  EXPECT_LE(Solution.Scale_Deviation, 0.001);
  EXPECT_LE(Error_Mm(Solution, Made), 1.5);
}

TEST(JointSolve, AnExactPriorOfTheSquareHoldsIt) {
  const Rig Made = Make_Rig({});
  EXPECT_NEAR(Solve(Made, {1e-9, {}, 0.0}).At.Square_Scale, 1.0, 1e-9);
}

TEST(JointSolve, TenStaleRowsOf24AreNamedAndDoNoHarm) {
  for (unsigned Seed = 1; Seed <= 12; ++Seed) {
    Options Options;
    Options.Seed = Seed;
    Options.Stale = {0, 2, 3, 7, 8, 11, 15, 16, 20, 23};
    const Rig Made = Make_Rig(Options);
    const Joint_Solution Solution = Solve(Made);
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    const std::set<int> Dropped = Dropped_Rows(Solution);
    EXPECT_TRUE(
        std::includes(Dropped.begin(), Dropped.end(), Options.Stale.begin(), Options.Stale.end()))
        << Seed;
    EXPECT_LE(Error_Mm(Solution, Made), 2.0) << Seed;
  }
}

TEST(JointSolve, HalfOfTheRowsStaleIsToldAndNotSolved) {
  Options Options;
  for (int i = 0; i < 24; i += 2) Options.Stale.insert(i);
  for (Options.Seed = 1; Options.Seed <= 10; ++Options.Seed) {
    EXPECT_NE(Solve(Make_Rig(Options)).Status, Solve_Status::Solved) << Options.Seed;
  }
}

TEST(JointSolve, GoodRowsAreDroppedInFewCaptures) {
  // One capture of 400 by the limit: of 40 captures three rows are dropped once in 6,000 times.
  int Dropped = 0;
  for (unsigned Seed = 1; Seed <= 40; ++Seed) {
    Options Options;
    Options.Seed = Seed;
    Dropped += static_cast<int>(Dropped_Rows(Solve(Make_Rig(Options))).size());
  }
  EXPECT_LE(Dropped, 2);
}

TEST(JointSolve, ARowOfNaNIsLeftOutAndChangesNothing) {
  Rig Made = Make_Rig({});
  const Joint_Solution Without = Solve(Made);
  for (const auto Break :
       {+[](rigsync::Observation& Row) { Row.Board.Transform_Cam_Chart.translation().z() = NaN; },
        +[](rigsync::Observation& Row) { Row.Transform_Tc_Base.linear()(0, 0) = NaN; },
        +[](rigsync::Observation& Row) { Row.Transform_Base_Tr.translation().x() = INFINITY; },
        +[](rigsync::Observation& Row) { Row.Board.Unit_Covariance(2, 2) = NaN; },
        +[](rigsync::Observation& Row) { Row.Board.Lens_Sensitivity(5, 0) = NaN; }}) {
    Rig Broken = Made;
    Broken.Seen.Rows.insert(Broken.Seen.Rows.begin() + 3, Broken.Seen.Rows[10]);
    Broken.Seen.Rows[3].Row = 77;
    Break(Broken.Seen.Rows[3]);
    const Joint_Solution Solution = Solve(Broken);
    EXPECT_EQ(Solution.At.Transform_Cam_Tc.matrix(), Without.At.Transform_Cam_Tc.matrix());
    for (const rigsync::Solved_Row& Row : Solution.Rows) EXPECT_NE(Row.Row, 77u);
  }
}

TEST(JointSolve, RowsOfNaNAloneAreNotSolved) {
  Rig Made = Make_Rig({});
  for (auto& Row : Made.Seen.Rows) Row.Transform_Base_Tr.translation().y() = NaN;
  EXPECT_EQ(Solve(Made).Status, Solve_Status::Too_Few_Rows);
}

TEST(JointSolve, ALensOfNaNIsNeverSolved) {
  Rig Made = Make_Rig({});
  Made.Seen.Lens_Covariance(0, 0) = NaN;
  EXPECT_NE(Solve(Made).Status, Solve_Status::Solved);
  Made = Make_Rig({});
  Made.Seen.Corner_Variance = NaN;
  EXPECT_NE(Solve(Made).Status, Solve_Status::Solved);
}

TEST(JointSolve, FourRowsAreTooFewAndFiveAreNot) {
  Rig Made = Make_Rig({});
  Made.Seen.Rows.resize(5);
  EXPECT_EQ(Solve(Made).Status, Solve_Status::Solved);
  Made.Seen.Rows.resize(4);
  EXPECT_EQ(Solve(Made).Status, Solve_Status::Too_Few_Rows);
}

// What isn't solved states nothing that could be taken for an answer.
void Expect_Nothing_Known(const Joint_Solution& Solution) {
  for (const auto* Mount : {&Solution.Camera_Mount, &Solution.Board_Mount}) {
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(Mount->Half_Width_Deg[k], INFINITY);
      EXPECT_EQ(Mount->Half_Width_Mm[k], INFINITY);
      EXPECT_EQ(Mount->Covariance(k, k), INFINITY);
    }
    EXPECT_EQ(Mount->Widest_Deg.Half_Width, INFINITY);
    EXPECT_EQ(Mount->Widest_Mm.Half_Width, INFINITY);
    EXPECT_TRUE(std::isnan(Mount->Probability_Nearer(Vector6d::Zero())));
  }
  EXPECT_EQ(Solution.Scale_Deviation, INFINITY);
  EXPECT_TRUE(std::isnan(Solution.Noise.Position));
}

TEST(JointSolve, WhatIsNotSolvedIsNeverStatedAsKnown) {
  Expect_Nothing_Known({});
  Rig Made = Make_Rig({});
  Made.Seen.Corner_Variance = NaN;
  Expect_Nothing_Known(Solve(Made));
  Made = Make_Rig({});
  Made.Seen.Lens_Covariance(0, 0) = NaN;
  Expect_Nothing_Known(Solve(Made));
  Made.Seen.Rows.resize(4);
  Expect_Nothing_Known(Solve(Made));
}

// Noise of 0.1 mm to 1 mm, in captures in which one tracker stands still or both move.
TEST(JointSolve, TurnsAboutOneAxisLeaveItsDirectionOpen) {
  Options Options;
  Options.Turns_Deg = {0, 30, 0};
  for (Options.Seed = 1; Options.Seed <= 12; ++Options.Seed) {
    SCOPED_TRACE(Options.Seed);
    Options.Position_Mm = Options.Seed % 2 == 0 ? 0.3 : 1.0;
    Options.Rotation_Deg = 0.1 * Options.Position_Mm;
    Options.Still = Options.Seed % 3 == 0 ? Standing::Camera : Standing::None;
    const Rig Made = Make_Rig(Options);
    const Joint_Solution Solution = Solve(Made);
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    EXPECT_EQ(Solution.Motion.Weakness, Motion_Weakness::One_Axis);
    EXPECT_GT(std::abs(Solution.Motion.First_Axis_Cam.y()), 0.99);
    // Nothing tells where along the axis the tracker is.
    EXPECT_GT(Solution.Camera_Mount.Widest_Mm.Half_Width, 200.0);
    EXPECT_GT(std::abs(Solution.Camera_Mount.Widest_Mm.Direction.y()), 0.99);
    const double Error = pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Made.Cam_Tc)[4];
    EXPECT_LE(1e3 * std::abs(Error), Solution.Camera_Mount.Half_Width_Mm.y());
  }
}

TEST(JointSolve, AcrossTheOneAxisTheMountIsKnown) {
  Options Options;
  Options.Turns_Deg = {0, 30, 0};
  const Joint_Solution Solution = Solve(Make_Rig(Options));
  // Half a degree is how well noise leaves the axis known, of some 3 metres that are open along it.
  EXPECT_LT(Solution.Camera_Mount.Half_Width_Mm.x(), 30.0);
}

TEST(JointSolve, TurnsThatAreTooSmallAreNamedAndStatedAsWide) {
  Options Options;
  for (Options.Seed = 1; Options.Seed <= 8; ++Options.Seed) {
    const double Turn_Deg = Options.Seed % 2 == 0 ? 0.4 : 0.0;
    Options.Turns_Deg = {Turn_Deg, Turn_Deg, Turn_Deg};
    const Rig Made = Make_Rig(Options);
    const Joint_Solution Solution = Solve(Made);
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    EXPECT_EQ(Solution.Motion.Weakness, Motion_Weakness::Turns_Too_Small);
    EXPECT_GT(Solution.Camera_Mount.Widest_Mm.Half_Width, Turn_Deg > 0 ? 10.0 : 1000.0);
    EXPECT_LT(Error_Mm(Solution, Made), 2 * Solution.Camera_Mount.Widest_Mm.Half_Width);
  }
}

TEST(JointSolve, OnePoseManyTimesIsNeverStatedAsKnown) {
  Rig Made = Make_Rig({});
  for (auto& Row : Made.Seen.Rows) Row = Made.Seen.Rows[0];
  EXPECT_GT(Solve(Made).Camera_Mount.Widest_Mm.Half_Width, 1000.0);
}

TEST(JointSolve, ACameraOrABoardThatStandsStillIsSolved) {
  for (const Standing Still : {Standing::Camera, Standing::Board}) {
    int Inside = 0, Board_Inside = 0;
    constexpr int Draws = 45;
    for (unsigned Seed = 1; Seed <= Draws; ++Seed) {
      Options Options;
      Options.Seed = Seed;
      Options.Still = Still;
      Options.Still_Factor = Seed % 3 == 0 ? 0.0 : Seed % 3 == 1 ? 1.0 : 3.0;
      const Rig Made = Make_Rig(Options);
      const Joint_Solution Solution = Solve(Made);
      ASSERT_EQ(Solution.Status, Solve_Status::Solved);
      EXPECT_EQ(Solution.Settings.Moving.Camera, Still != Standing::Camera);
      EXPECT_EQ(Solution.Settings.Moving.Board, Still != Standing::Board);
      EXPECT_LE(Solution.Camera_Mount.Widest_Mm.Half_Width, 3.0);
      const Vector6d Error = pose_rig::Error_Of(Solution.At.Transform_Cam_Tc, Made.Cam_Tc);
      const Vector6d Other = pose_rig::Error_Of(Solution.At.Transform_Tr_Chart, Made.Tr_Chart);
      if (Solution.Camera_Mount.Probability_Nearer(Error) <= 0.95) ++Inside;
      if (Solution.Board_Mount.Probability_Nearer(Other) <= 0.95) ++Board_Inside;
    }
    Expect_95_Percent(Inside, Draws, 0.93);
    Expect_95_Percent(Board_Inside, Draws, 0.93);
  }
}

TEST(JointSolve, AJumpedSampleOfACameraThatStandsStillDoesNoHarm) {
  Options Options;
  Options.Still = Standing::Camera;
  Options.Stale = {4, 9};
  const Rig Made = Make_Rig(Options);
  const Joint_Solution Solution = Solve(Made);
  EXPECT_FALSE(Solution.Settings.Moving.Camera);
  EXPECT_LE(Error_Mm(Solution, Made), 1.5);
}

// Turns of a degree leave the mount open by centimetres; the board's place, measured well, closes
// it.
TEST(JointSolve, APriorOfTheBoardsPlaceHelpsAWeakCapture) {
  Options Options;
  Options.Turns_Deg = {1.5, 1.5, 1.5};
  const Rig Made = Make_Rig(Options);
  Joint_Options With;
  With.Prior = rigsync::Board_Prior{Made.Tr_Chart.As_Transform(), 0.05 / Radian_In_Degrees, 0.0005};
  const Joint_Solution Alone = Solve(Made), Helped = Solve(Made, With);
  EXPECT_LT(Helped.Camera_Mount.Widest_Mm.Half_Width,
            0.5 * Alone.Camera_Mount.Widest_Mm.Half_Width);
  EXPECT_LT(Error_Mm(Helped, Made), Helped.Camera_Mount.Widest_Mm.Half_Width);
}

TEST(JointSolve, APriorThatIsCertainIsKept) {
  const Rig Made = Make_Rig({});
  pose_rig::Pose Other = Made.Tr_Chart;
  Other.Shift.x() += 0.0005;
  Joint_Options With;
  With.Prior = rigsync::Board_Prior{Other.As_Transform(), 1e-7, 1e-7};
  const Joint_Solution Solution = Solve(Made, With);
  EXPECT_LE((Solution.At.Transform_Tr_Chart.translation() - Other.Shift).norm(), 1e-8);
}

TEST(JointSolve, ThreeHundredRowsAreSolved) {
  Options Options;
  Options.Images = 300;
  const Rig Made = Make_Rig(Options);
  const Joint_Solution Solution = Solve(Made);
  ASSERT_EQ(Solution.Status, Solve_Status::Solved);
  EXPECT_LE(Error_Mm(Solution, Made), 0.3);
}

// The whole way from corners: the simulator plans and projects, OpenCV solves the lens.
rigsync::Observations Observe_Plan(const simulate::Plan& Plan) {
  simulate::Random Random(Plan.Settings.Seed, 50);
  std::vector<cv::Point3f> Board;
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 11; ++c) {
      Board.emplace_back(0.03f * static_cast<float>(c), 0.03f * static_cast<float>(r), 0.0f);
    }
  }
  std::vector<rigsync::Row_Facts> Rows;
  std::vector<std::vector<cv::Point2f>> Corners;
  for (const simulate::Image_Truth& Image : Plan.Images) {
    rigsync::Row_Facts Row;
    Row.Row = Rows.size();
    Corners.emplace_back();
    for (const Eigen::Vector2d& Point : simulate::Project_Board(Plan, Image)) {
      Row.Corners.push_back({static_cast<float>(Point.x() + 0.03 * Random.Gaussian()),
                             static_cast<float>(Point.y() + 0.03 * Random.Gaussian())});
      Corners.back().emplace_back(Row.Corners.back()[0], Row.Corners.back()[1]);
    }
    const auto As_Written = [](const simulate::Sample& Sample) {
      const Eigen::Quaterniond& Q = Sample.Rotation;
      return rigsync::Tracker_Sample{
          {Sample.Position.x(), Sample.Position.y(), Sample.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
    };
    Row.Camera = As_Written(Image.Tc);
    Row.Board = As_Written(Image.Tr);
    Rows.push_back(Row);
  }
  cv::Mat Camera, Distortion;
  std::vector<cv::Mat> Turns, Shifts;
  cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Corners.size(), Board), Corners,
                      {960, 540}, Camera, Distortion, Turns, Shifts,
                      cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K3);
  const rigsync::Lens Lens{Camera.at<double>(0, 0),  Camera.at<double>(1, 1),
                           Camera.at<double>(0, 2),  Camera.at<double>(1, 2),
                           Distortion.at<double>(0), Distortion.at<double>(1)};
  return rigsync::Observe(Rows, {11, 8}, 0.03, Lens);
}

TEST(JointSolve, TheSimulatorsMountIsInTheStatedUncertainty) {
  for (unsigned Seed = 1; Seed <= 4; ++Seed) {
    simulate::Options Options;
    Options.Seed = Seed;
    Options.Width = 960;
    Options.Height = 540;
    Options.Image_Count = 16;
    Options.Position_Noise_Mm = 0.3;
    Options.Rotation_Noise_Deg = 0.03;
    Options.Stale_Count = 3;
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    const Joint_Solution Solution = rigsync::Solve_Mounts(Observe_Plan(Plan));
    ASSERT_EQ(Solution.Status, Solve_Status::Solved);
    const Vector6d Error = rigsync::Motion_Between(Solution.At.Transform_Cam_Tc,
                                                   Eigen::Isometry3d(Plan.Transform_Cam_Tc));
    EXPECT_LE(Solution.Camera_Mount.Probability_Nearer(Error), 0.999) << Seed;
    EXPECT_LE(Error.tail<3>().norm(), 0.002) << Seed;
    for (const rigsync::Solved_Row& Row : Solution.Rows) {
      const bool Is_Stale = Plan.Images[Row.Row].Kind == simulate::Row_Kind::Stale;
      EXPECT_EQ(Row.Is_Kept, !Is_Stale) << Seed << " row " << Row.Row;
    }
  }
}

}  // namespace
