// SPDX-License-Identifier: Apache-2.0
//
// Boards of which a part is seen, in the solve of the mounts: which parts have a pose, that it is
// as accurate as it says, what the mounts gain by them, and that a wrong one does no harm. The
// truth is the simulator's.
#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/cross_check.h"
#include "rigsync/solve/lens_refinement.h"
#include "tests/rigsync/solve/corner_rig.h"
#include "tests/support/largest.h"

#include <gtest/gtest.h>
#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using corner_rig::Between;
using corner_rig::Make_Rig;
using corner_rig::Rig;
using Eigen::Isometry3d;
using rigsync::Board_Size;
using rigsync::Capture_Solution;
using rigsync::Corner_List;
using rigsync::Lens;
using rigsync::Row_Facts;
using rigsync::Seen_Corner;
using rigsync::Vector6d;

constexpr Board_Size Board{11, 8};
constexpr double Square_Size = 0.03;

// ---- One board -------------------------------------------------------------------------------

simulate::Plan Small_Plan() {
  simulate::Options Options;
  Options.Image_Count = 6;
  Options.Width = 960;
  Options.Height = 540;
  return simulate::Make_Plan(Options);
}

Lens Lens_Of(const simulate::Plan& Plan) {
  const simulate::Lens& True = Plan.True_Lens;
  return {True.Fx, True.Fy, True.Cx, True.Cy, True.K1, True.K2};
}

std::size_t At(int Col, int Row) {
  return static_cast<std::size_t>(Row * Board.Cols + Col);
}

std::vector<std::size_t> Block(int Cols, int Rows) {
  std::vector<std::size_t> Indices;
  for (int r = 0; r < Rows; ++r) {
    for (int c = 0; c < Cols; ++c) Indices.push_back(At(c, r));
  }
  return Indices;
}

// Of one image of the plan, with noise.
std::vector<Seen_Corner> Part(const simulate::Plan& Plan, std::size_t Image,
                              const std::vector<std::size_t>& Indices, double Deviation_Px,
                              simulate::Random& Random) {
  const std::vector<Eigen::Vector2d> All = simulate::Project_Board(Plan, Plan.Images[Image]);
  std::vector<Seen_Corner> Seen;
  for (const std::size_t Index : Indices) {
    const double X = All[Index].x() + Deviation_Px * Random.Gaussian();
    const double Y = All[Index].y() + Deviation_Px * Random.Gaussian();
    Seen.push_back({Index, {static_cast<float>(X), static_cast<float>(Y)}});
  }
  return Seen;
}

std::optional<rigsync::Board_Observation> Pose_Of(const simulate::Plan& Plan,
                                                  const std::vector<Seen_Corner>& Corners) {
  return rigsync::Solve_Board_Pose(Corners, Board, Square_Size, Lens_Of(Plan));
}

TEST(CutOffBoards, ExactCornersOfAPartGiveTheTruePose) {
  const simulate::Plan Plan = Small_Plan();
  simulate::Random Random(1, 1);
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    for (const auto& Indices : {Block(5, 8), Block(11, 3), Block(6, 4)}) {
      const auto Seen = Pose_Of(Plan, Part(Plan, i, Indices, 0.0, Random));
      ASSERT_TRUE(Seen) << i << " " << Indices.size();
      const Vector6d Error = rigsync::Motion_Between(Isometry3d(Plan.Images[i].Transform_Cam_Chart),
                                                     Seen->Transform_Cam_Chart);
      // Corners are rounded to 6e-5 pixels; a small part turns by ten times as much as the board.
      EXPECT_LE(Error.norm(), 1e-5);
      EXPECT_EQ(Seen->Corner_Count, Indices.size());
      EXPECT_TRUE(Seen->Is_Cut_Off);
    }
  }
}

TEST(CutOffBoards, AllCornersOfAPartAreTheBoard) {
  const simulate::Plan Plan = Small_Plan();
  simulate::Random Random(1, 1);
  const auto Corners = Part(Plan, 2, Block(11, 8), 0.05, Random);
  Corner_List Whole;
  for (const Seen_Corner& Corner : Corners) Whole.push_back(Corner.Pixel);
  const auto By_Part = Pose_Of(Plan, Corners);
  const auto By_Board = rigsync::Solve_Board_Pose(Whole, Board, Square_Size, Lens_Of(Plan));
  ASSERT_TRUE(By_Part && By_Board);
  EXPECT_TRUE(By_Part->Transform_Cam_Chart.isApprox(By_Board->Transform_Cam_Chart, 1e-9));
  EXPECT_TRUE(By_Part->Unit_Covariance.isApprox(By_Board->Unit_Covariance, 1e-6));
  EXPECT_FALSE(By_Board->Is_Cut_Off);
}

TEST(CutOffBoards, TheCovarianceOfAPartIsThatOfManyDraws) {
  const simulate::Plan Plan = Small_Plan();
  constexpr double Deviation_Px = 0.05;
  constexpr int Draws = 300;
  simulate::Random Random(3, 1);
  double Sum = 0;
  for (int k = 0; k < Draws; ++k) {
    const auto Seen = Pose_Of(Plan, Part(Plan, 2, Block(5, 6), Deviation_Px, Random));
    ASSERT_TRUE(Seen);
    const Vector6d Error = rigsync::Motion_Between(Isometry3d(Plan.Images[2].Transform_Cam_Chart),
                                                   Seen->Transform_Cam_Chart);
    Sum += Error.dot((Deviation_Px * Deviation_Px * Seen->Unit_Covariance).inverse() * Error);
  }
  // Chi-squared with 6 degrees of freedom: mean 6, standard deviation of the mean of 300 is 0.2.
  EXPECT_NEAR(Sum / Draws, 6.0, 0.8);
}

TEST(CutOffBoards, CornersThatDoNotSpreadOverTwoLinesHaveNoPose) {
  const simulate::Plan Plan = Small_Plan();
  simulate::Random Random(1, 1);
  std::vector<std::size_t> Row = Block(11, 1), Column, Diagonal, Row_And_One = Row;
  for (int r = 0; r < 8; ++r) Column.push_back(At(0, r)), Diagonal.push_back(At(r, r));
  Row_And_One.push_back(At(3, 1));
  for (const auto& Indices : {Row, Column, Diagonal, Row_And_One, Block(5, 1), Block(2, 2)}) {
    EXPECT_FALSE(Pose_Of(Plan, Part(Plan, 1, Indices, 0.0, Random))) << Indices.size();
  }
  EXPECT_TRUE(Pose_Of(Plan, Part(Plan, 1, Block(11, 2), 0.0, Random)));
}

// Two metres away and facing the camera, the tilt of 5 by 3 corners is told by perspective alone:
// one radian moves the outer ones by a pixel. Turned by 40 degrees, foreshortening tells it.
TEST(CutOffBoards, APartThatFacesTheCameraHasNoPoseUntilItIsTilted) {
  simulate::Plan Plan = Small_Plan();
  simulate::Random Random(1, 1);
  for (const double Tilt_Rad : {0.0, 0.7}) {
    Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
    Pose.linear() = Eigen::AngleAxisd(Tilt_Rad, Eigen::Vector3d::UnitY()).toRotationMatrix();
    Pose.translation() = Eigen::Vector3d(-0.06, -0.03, 2.0);
    Plan.Images[0].Transform_Cam_Chart = Pose.matrix();
    const auto Seen = Pose_Of(Plan, Part(Plan, 0, Block(5, 3), 0.0, Random));
    EXPECT_EQ(Seen.has_value(), Tilt_Rad > 0.0);
  }
}

TEST(CutOffBoards, CornersThatAreNotOnTheBoardOrComeTwiceHaveNoPose) {
  const simulate::Plan Plan = Small_Plan();
  simulate::Random Random(1, 1);
  const auto Good = Part(Plan, 1, Block(6, 6), 0.0, Random);
  ASSERT_TRUE(Pose_Of(Plan, Good));
  auto Outside = Good, Twice = Good, Not_A_Number = Good;
  Outside[7].Index = 88;
  Twice[7].Index = Twice[8].Index;
  Not_A_Number[7].Pixel[0] = std::numeric_limits<float>::quiet_NaN();
  for (const auto& Bad : {Outside, Twice, Not_A_Number}) EXPECT_FALSE(Pose_Of(Plan, Bad));
}

// Parts of 6 to 12 corners anywhere on the board, nearly in line many of them: what has a pose has
// the right one. Beyond 7 standard deviations a pose leans the other way or is no solution.
TEST(CutOffBoards, NoPartHasAPoseThatIsWrongByMoreThanItsCovarianceSays) {
  const simulate::Plan Plan = Small_Plan();
  constexpr double Deviation_Px = 0.1;
  simulate::Random Random(5, 1);
  int Posed = 0;
  for (int k = 0; k < 600; ++k) {
    std::vector<std::size_t> Indices;
    const int Cols = 2 + Random.Index(5), Rows = 2 + Random.Index(2);
    const int Col = Random.Index(12 - Cols), Row = Random.Index(9 - Rows);
    for (int r = 0; r < Rows; ++r) {
      for (int c = 0; c < Cols; ++c) {
        if (Random.Index(6) > 0) Indices.push_back(At(Col + c, Row + r));
      }
    }
    const auto Image = static_cast<std::size_t>(k % 6);
    const auto Seen = Pose_Of(Plan, Part(Plan, Image, Indices, Deviation_Px, Random));
    if (!Seen) continue;
    ++Posed;
    const Vector6d Error = rigsync::Motion_Between(
        Isometry3d(Plan.Images[Image].Transform_Cam_Chart), Seen->Transform_Cam_Chart);
    const rigsync::Matrix6d Covariance = Deviation_Px * Deviation_Px * Seen->Unit_Covariance;
    EXPECT_LE(Error.dot(Covariance.inverse() * Error), 49.0) << k;
  }
  // Two in three have a pose; corners in one line have none.
  EXPECT_GE(Posed, 300);
}

// ---- A capture -------------------------------------------------------------------------------

Capture_Solution Solve(const Rig& Made, const std::vector<Row_Facts>& Facts) {
  return rigsync::Solve_Capture(Facts, Board, Square_Size, Made.Lens_Px, {});
}

std::vector<Row_Facts> Whole_Only(const Rig& Made) {
  std::vector<Row_Facts> Whole;
  std::copy_if(Made.Facts.begin(), Made.Facts.end(), std::back_inserter(Whole),
               [](const Row_Facts& Row) { return !Row.Corners.empty(); });
  return Whole;
}

// 12 whole boards and 12 that are cut off.
Rig Cut_Rig(unsigned Seed) {
  corner_rig::Options Of;
  Of.Seed = Seed;
  Of.Images = 24;
  Of.Cut_Off = 12;
  return Make_Rig(Of);
}

// With twice the rows a half-width is the square root of a half. That of one capture scatters by a
// fifth, the mean of 12 logarithms by 0.06: within three times that.
TEST(CutOffBoards, TwiceTheBoardsMakeTheMountMoreCertainAndAsCertainAsStated) {
  const double Narrowing = std::log(std::sqrt(0.5)), Narrowing_Tolerance = 0.18;
  double Log_Ratios = 0;
  double Error_With = 0, Error_Without = 0, Off_In_Widths = 0;
  constexpr int Captures = 12;
  for (unsigned Seed = 1; Seed <= Captures; ++Seed) {
    const Rig Made = Cut_Rig(Seed);
    ASSERT_EQ(Whole_Only(Made).size(), 12U);
    const Capture_Solution With = Solve(Made, Made.Facts);
    const Capture_Solution Without = Solve(Made, Whole_Only(Made));
    ASSERT_EQ(With.Joint.Status, rigsync::Solve_Status::Solved);
    EXPECT_GE(With.Seen.Rows.size(), 22U);
    Log_Ratios += std::log(With.Joint.Camera_Mount.Widest_Mm.Half_Width /
                           Without.Joint.Camera_Mount.Widest_Mm.Half_Width);
    const double Mm = Between(With.Joint.At.Transform_Cam_Tc, Made.Transform_Cam_Tc).Mm;
    Error_With += Mm * Mm;
    Error_Without +=
        std::pow(Between(Without.Joint.At.Transform_Cam_Tc, Made.Transform_Cam_Tc).Mm, 2);
    Off_In_Widths = Larger(Off_In_Widths, Mm / With.Joint.Camera_Mount.Widest_Mm.Half_Width);
  }
  EXPECT_NEAR(Log_Ratios / Captures, Narrowing, Narrowing_Tolerance);
  EXPECT_LT(Error_With, 0.8 * Error_Without);
  // At 95 percent, in the widest direction: of 12, none is far outside.
  EXPECT_LE(Off_In_Widths, 1.5);
}

// Markers of another board, say: the part sits two squares further on.
TEST(CutOffBoards, APartWithWrongIndicesIsLeftOutByName) {
  Rig Made = Cut_Rig(3);
  const auto First = std::find_if(Made.Facts.begin(), Made.Facts.end(),
                                  [](const Row_Facts& Row) { return Row.Corners.empty(); });
  ASSERT_NE(First, Made.Facts.end());
  std::vector<Seen_Corner> Moved;
  for (Seen_Corner Corner : First->Some_Corners) {
    if (Corner.Index % 11 >= 9) continue;
    Corner.Index += 2;
    Moved.push_back(Corner);
  }
  First->Some_Corners = Moved;
  const Capture_Solution Solved = Solve(Made, Made.Facts);
  ASSERT_EQ(Solved.Joint.Status, rigsync::Solve_Status::Solved);
  const Capture_Solution Good = Solve(Made, Whole_Only(Made));
  for (const rigsync::Solved_Row& Row : Solved.Joint.Rows) {
    if (Row.Row != First->Row) continue;
    EXPECT_FALSE(Row.Is_Kept);
  }
  EXPECT_LE(Between(Solved.Joint.At.Transform_Cam_Tc, Made.Transform_Cam_Tc).Mm,
            2.0 * Good.Joint.Camera_Mount.Widest_Mm.Half_Width);
}

// Strips of two lines of corners, their poses being as uncertain as can be.
TEST(CutOffBoards, NarrowStripsDoNotSpoilTheMount) {
  for (unsigned Seed = 1; Seed <= 6; ++Seed) {
    Rig Made = Cut_Rig(Seed);
    for (Row_Facts& Row : Made.Facts) {
      auto& Some = Row.Some_Corners;
      if (Some.empty()) continue;
      const std::size_t First_Line = Some.front().Index / 11;
      Some.erase(std::remove_if(
                     Some.begin(), Some.end(),
                     [&](const Seen_Corner& Corner) { return Corner.Index / 11 > First_Line + 1; }),
                 Some.end());
    }
    const Capture_Solution With = Solve(Made, Made.Facts), Without = Solve(Made, Whole_Only(Made));
    ASSERT_EQ(With.Joint.Status, rigsync::Solve_Status::Solved);
    EXPECT_LE(With.Joint.Camera_Mount.Widest_Mm.Half_Width,
              1.1 * Without.Joint.Camera_Mount.Widest_Mm.Half_Width);
    EXPECT_LE(Between(With.Joint.At.Transform_Cam_Tc, Made.Transform_Cam_Tc).Mm,
              1.5 * With.Joint.Camera_Mount.Widest_Mm.Half_Width);
  }
}

TEST(CutOffBoards, TheLensAndItsCovarianceAreThoseOfTheWholeBoards) {
  const Rig Made = Cut_Rig(2);
  const auto With = rigsync::Refine_Lens(Made.Facts, Board, Square_Size, Made.Lens_Px);
  const auto Without = rigsync::Refine_Lens(Whole_Only(Made), Board, Square_Size, Made.Lens_Px);
  ASSERT_TRUE(With && Without);
  EXPECT_EQ(With->Fx, Without->Fx);
  EXPECT_EQ(With->K2, Without->K2);
  const auto Seen = rigsync::Observe(Made.Facts, Board, Square_Size, Made.Lens_Px);
  const auto Seen_Whole = rigsync::Observe(Whole_Only(Made), Board, Square_Size, Made.Lens_Px);
  EXPECT_TRUE((Seen.Lens_Covariance / Seen.Corner_Variance)
                  .isApprox(Seen_Whole.Lens_Covariance / Seen_Whole.Corner_Variance, 1e-12));
}

// Whole boards come before the others here: dealt out together, one half would have most of them.
TEST(CutOffBoards, BothHalvesOfTheCrossCheckGetWholeBoards) {
  Rig Made = Cut_Rig(4);
  std::vector<Row_Facts> Alternating;
  std::vector<Row_Facts> Cut;
  for (const Row_Facts& Row : Made.Facts) (Row.Corners.empty() ? Cut : Alternating).push_back(Row);
  for (std::size_t k = 0; k < Cut.size(); ++k) {
    Alternating.insert(Alternating.begin() + static_cast<std::ptrdiff_t>(2 * k + 1), Cut[k]);
  }
  for (std::size_t i = 0; i < Alternating.size(); ++i) Alternating[i].Row = i;
  const Capture_Solution Whole = Solve(Made, Alternating);
  const auto Check = rigsync::Check_Halves(Alternating, Board, Square_Size, Whole, {960, 540}, 3.0);
  ASSERT_EQ(Check.Status, rigsync::Cross_Status::Compared);
  EXPECT_EQ(Check.Halves[0].Rows, Check.Halves[1].Rows);
}

}  // namespace
