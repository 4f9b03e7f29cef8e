// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/cross_check.h"

#include "rigsync/solve/lens_refinement.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using corner_rig::Options;
using corner_rig::Rig;
using rigsync::Capture_Solution;
using rigsync::Cross_Check;
using rigsync::Cross_Status;

constexpr rigsync::Frame_Size Frame{960, 540};
constexpr double Distance = 3.0;

Capture_Solution Solve(const Rig& Made) {
  return rigsync::Solve_Capture(Made.Facts, Made.Board, Made.Square_Size, Made.Lens_Px);
}

Cross_Check Check(const Rig& Made, const Capture_Solution& Whole) {
  return rigsync::Check_Halves(Made.Facts, Made.Board, Made.Square_Size, Whole, Frame, Distance);
}

Cross_Check Check(const Rig& Made) {
  return Check(Made, Solve(Made));
}

// Each row's camera sample as it would be with the tracker moved by a shift along its x axis.
void Move_Camera_Tracker(rigsync::Row_Facts& Row, double Shift) {
  const Eigen::Isometry3d Transform_Base_Tc = *rigsync::Transform_Base_Tracker(Row.Camera);
  const Eigen::Vector3d Moved = Transform_Base_Tc * Eigen::Vector3d(Shift, 0, 0);
  Row.Camera.Position = {Moved.x(), Moved.y(), Moved.z()};
}

// Where a lens draws a point, by the equations of docs/conventions.md.
Eigen::Vector2d Drawn(const rigsync::Lens& By, const Eigen::Vector3d& Point_Cam) {
  const double X = Point_Cam.x() / Point_Cam.z(), Y = Point_Cam.y() / Point_Cam.z();
  const double R2 = X * X + Y * Y, Radial = 1 + R2 * (By.K1 + R2 * By.K2);
  return {By.Fx * X * Radial + By.Cx, By.Fy * Y * Radial + By.Cy};
}

// OpenCV solves lens and all poses at once, from its own start.
TEST(CrossCheck, ALensFromANearOneIsThatOfTheLeastSquares) {
  for (unsigned Seed = 1; Seed <= 3; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    Of.Images = 12;
    const Rig Made = corner_rig::Make_Rig(Of);
    rigsync::Lens Near = Made.Lens_Px;
    Near.Fx *= 1.01;
    Near.Fy *= 0.99;
    Near.Cx += 8;
    Near.Cy -= 5;
    Near.K1 += 0.02;
    const auto Refined = rigsync::Refine_Lens(Made.Facts, Made.Board, Made.Square_Size, Near);
    ASSERT_TRUE(Refined);
    // The corners are rounded to single precision, up to 3e-5 pixels each. A lens from all of them
    // is off by a few times that, and k1 and k2 by what moves a corner as far.
    EXPECT_NEAR(Refined->Fx, Made.Lens_Px.Fx, 0.001);
    EXPECT_NEAR(Refined->Fy, Made.Lens_Px.Fy, 0.001);
    EXPECT_NEAR(Refined->Cx, Made.Lens_Px.Cx, 0.001);
    EXPECT_NEAR(Refined->Cy, Made.Lens_Px.Cy, 0.001);
    EXPECT_NEAR(Refined->K1, Made.Lens_Px.K1, 4e-6);
    EXPECT_NEAR(Refined->K2, Made.Lens_Px.K2, 8e-6);
  }
}

TEST(CrossCheck, TwoBoardsGiveNoLens) {
  Rig Made = corner_rig::Make_Rig({});
  Made.Facts.resize(2);
  EXPECT_FALSE(rigsync::Refine_Lens(Made.Facts, Made.Board, Made.Square_Size, Made.Lens_Px));
}

// Of many captures the region of 95 % leaves out one in twenty, give or take four standard
// deviations of the binomial distribution; mean squares are 1, give or take as much of those of
// three numbers that hang together.
TEST(CrossCheck, HalvesOfSoundCapturesDifferAsMuchAsIsExpectedOfThem) {
  constexpr int Captures = 40;
  int Within = 0;
  double Mm = 0, Deg = 0, Px = 0;
  for (unsigned Seed = 1; Seed <= Captures; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    Of.Images = 20;
    const Cross_Check Made = Check(corner_rig::Make_Rig(Of));
    ASSERT_EQ(Made.Status, Cross_Status::Compared) << Seed;
    EXPECT_EQ(Made.Halves[0].Rows + Made.Halves[1].Rows, 20u);
    Within += Made.Probability_Nearer <= 0.95 ? 1 : 0;
    Mm += std::pow(Made.Mm.Ratio(), 2) / Captures;
    Deg += std::pow(Made.Deg.Ratio(), 2) / Captures;
    Px += std::pow(Made.Px.Ratio(), 2) / Captures;
  }
  EXPECT_NEAR(Within, 0.95 * Captures, 4.0 * std::sqrt(0.95 * 0.05 * Captures));
  const double Margin = 4.0 * std::sqrt(2.0 / Captures);
  EXPECT_NEAR(Mm, 1.0, Margin);
  EXPECT_NEAR(Deg, 1.0, Margin);
  EXPECT_NEAR(Px, 1.0, Margin);
}

// The trackers of every other row are read 2 mm beside the others, many times what is expected.
TEST(CrossCheck, AnErrorOfOneHalfIsSeenInItsSize) {
  Options Of;
  Of.Position_Mm = 0.1;
  Of.Rotation_Deg = 0.01;
  Rig Made = corner_rig::Make_Rig(Of);
  for (std::size_t i = 0; i < Made.Facts.size(); i += 2) {
    Move_Camera_Tracker(Made.Facts[i], 0.002);
  }
  const Cross_Check Made_Check = Check(Made);
  ASSERT_EQ(Made_Check.Status, Cross_Status::Compared);
  EXPECT_NEAR(Made_Check.Mm.Seen, 2.0, 3.0 * Made_Check.Mm.Expected);
  EXPECT_LT(Made_Check.Mm.Expected, 0.5);
  EXPECT_GT(Made_Check.Probability_Nearer, 0.999);
}

// Of 25 rows the first half has the 1st, the 3rd and so on. Theirs alone are moved, by 2 mm.
TEST(CrossCheck, TheFirstHalfHasTheFirstRow) {
  Options Of;
  Of.Images = 25;
  Rig Made = corner_rig::Make_Rig(Of);
  for (std::size_t i = 0; i < Made.Facts.size(); i += 2) {
    Move_Camera_Tracker(Made.Facts[i], 0.002);
  }
  const Cross_Check Made_Check = Check(Made);
  ASSERT_EQ(Made_Check.Status, Cross_Status::Compared);
  EXPECT_EQ(Made_Check.Halves[0].Rows, 13u);
  EXPECT_EQ(Made_Check.Halves[1].Rows, 12u);
}

// A virtual object stands where the whole capture draws it in the pixel; both halves draw it with
// the same pose of the tracker.
TEST(CrossCheck, APointIsDrawnByEachHalfWithItsOwnLensAndMount) {
  const Rig Made = corner_rig::Make_Rig({});
  const Capture_Solution Whole = Solve(Made);
  const Cross_Check Made_Check = Check(Made, Whole);
  ASSERT_EQ(Made_Check.Points.size(), 45u);
  EXPECT_EQ(Made_Check.Cols * Made_Check.Rows, 45);
  const rigsync::Cross_Point& Point = Made_Check.Points[11];
  EXPECT_EQ(Point.Pixel, Eigen::Vector2d(2.5 * 960 / 9, 1.5 * 540 / 5));
  // Found by steps of Newton from the pixel without distortion.
  const rigsync::Lens& By = Whole.Lens_Px;
  Eigen::Vector3d Point_Cam(0, 0, Distance);
  for (int k = 0; k < 50; ++k) {
    const Eigen::Vector2d Left = Point.Pixel - Drawn(By, Point_Cam);
    Point_Cam.x() += Distance * Left.x() / By.Fx;
    Point_Cam.y() += Distance * Left.y() / By.Fy;
  }
  const Eigen::Vector3d Point_Tc = Whole.Joint.At.Transform_Cam_Tc.inverse() * Point_Cam;
  const auto& [Odd, Even] = Made_Check.Halves;
  const Eigen::Vector2d Difference = Drawn(Even.Lens_Px, Even.Transform_Cam_Tc * Point_Tc) -
                                     Drawn(Odd.Lens_Px, Odd.Transform_Cam_Tc * Point_Tc);
  EXPECT_LT((Point.Difference_Px - Difference).norm(), 1e-9);
  EXPECT_GT(Difference.norm(), 1e-3);
}

TEST(CrossCheck, PointsOfAnUprightFrameStandInFiveColumns) {
  const Rig Made = corner_rig::Make_Rig({});
  const Cross_Check Upright = rigsync::Check_Halves(Made.Facts, Made.Board, Made.Square_Size,
                                                    Solve(Made), {540, 960}, Distance);
  EXPECT_EQ(Upright.Cols, 5);
  EXPECT_EQ(Upright.Rows, 9);
}

TEST(CrossCheck, AHalfHasThirtyBoardsAtMost) {
  Options Of;
  Of.Images = 66;
  const Cross_Check Made = Check(corner_rig::Make_Rig(Of));
  EXPECT_EQ(Made.Halves[0].Rows, 30u);
  EXPECT_EQ(Made.Halves[1].Rows, 30u);
}

TEST(CrossCheck, ElevenRowsAreTooFewAndTwelveEnough) {
  for (const auto& [Images, Status] :
       {std::pair{11, Cross_Status::Too_Few_Rows}, {12, Cross_Status::Compared}}) {
    Options Of;
    Of.Images = Images;
    EXPECT_EQ(Check(corner_rig::Make_Rig(Of)).Status, Status) << Images;
  }
}

TEST(CrossCheck, WithoutAnAnswerOfTheWholeTheHalvesAreNotSolved) {
  const Rig Made = corner_rig::Make_Rig({});
  Capture_Solution Whole = Solve(Made);
  Whole.Joint.Status = rigsync::Solve_Status::No_Majority;
  EXPECT_EQ(Check(Made, Whole).Status, Cross_Status::Whole_Unsolved);
}

// The corners of all but two boards of the odd half lie in one point, from which no pose comes.
TEST(CrossCheck, AHalfWithoutALensHasNoAnswer) {
  const Rig Made = corner_rig::Make_Rig({});
  const Capture_Solution Whole = Solve(Made);
  Rig Spoiled = Made;
  for (std::size_t i = 4; i < Spoiled.Facts.size(); i += 2) {
    for (auto& Corner : Spoiled.Facts[i].Corners) Corner = {480.0f, 270.0f};
  }
  EXPECT_EQ(Check(Spoiled, Whole).Status, Cross_Status::Half_Unsolved);
}

}  // namespace
