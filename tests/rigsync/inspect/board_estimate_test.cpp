// SPDX-License-Identifier: Apache-2.0
//
// The estimate of the board's pose against a measurement that is made by hand: limits, texts, and
// what is not judged.
#include "rigsync/inspect/board_estimate.h"
#include "rigsync/geometry/angle.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using rigsync::Agreement;
using rigsync::Board_Estimate;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Level;
using testing::HasSubstr;

// A board of 11x8 with squares of 30 mm, flat on its tracker except for a rotation about its
// normal; its centre is 150 and 105 mm from the first corner.
Agreement Measured_With(double Angle_Deg, const Eigen::Vector3d& First_Corner) {
  const double Cosine = std::cos(Angle_Deg / rigsync::Degrees_Per_Radian),
               Sine = std::sin(Angle_Deg / rigsync::Degrees_Per_Radian);
  Agreement Measured;
  Eigen::Matrix3d Rotation;
  Rotation << Cosine, -Sine, 0, Sine, Cosine, 0, 0, 0, 1;
  Measured.Rotation_Tr_Chart = Rotation;
  Measured.Centre_Tr = First_Corner + Eigen::Vector3d(0.15 * Cosine - 0.105 * Sine,
                                                      0.15 * Sine + 0.105 * Cosine, 0.0);
  Measured.Median_Rotation_Residual_Deg = 0.02;
  Measured.Median_Axis_Residual_Deg = 0.03;
  Measured.Median_Position_Residual = 0.001;
  return Measured;
}

const Eigen::Vector3d Corner(-0.17, 0.05, 0.04);

Board_Estimate Estimated(double Angle_Deg) {
  Board_Estimate Estimate;
  Estimate.Board = {11, 8};
  Estimate.Square_Size = 0.03;
  Estimate.Euler = {0.0, 0.0, Angle_Deg};
  Estimate.Offset = {-0.17, 0.05, 0.04};
  return Estimate;
}

std::vector<Finding> Judged(const Board_Estimate& Estimate, const Agreement& Measured,
                            bool Is_Distance_Known = true) {
  Findings List;
  rigsync::Judge_Estimate(Estimate, Measured, Is_Distance_Known, List);
  return List.Sorted();
}

TEST(BoardEstimate, HasNoFindingWhenItIsRight) {
  for (const double Turn : {0.0, 30.0, -75.0, 90.0, 180.0}) {
    EXPECT_TRUE(Judged(Estimated(Turn), Measured_With(Turn, Corner)).empty()) << Turn;
  }
}

TEST(BoardEstimate, IsNotJudgedInAxesOfTheWrongHandedness) {
  Agreement Measured = Measured_With(30.0, Corner);
  EXPECT_EQ(Judged(Estimated(0.0), Measured).size(), 1u);
  for (const rigsync::Handedness Axes :
       {rigsync::Handedness::Left, rigsync::Handedness::Mirrored_Positions,
        rigsync::Handedness::Mirrored_Quaternions}) {
    Measured.Axes = Axes;
    EXPECT_TRUE(Judged(Estimated(0.0), Measured).empty());
  }
}

TEST(BoardEstimate, AnglesAreJudgedAtHalfADegreeAndFailAtTwo) {
  EXPECT_TRUE(Judged(Estimated(8.49), Measured_With(8.0, Corner)).empty());
  const auto Near = Judged(Estimated(8.51), Measured_With(8.0, Corner));
  ASSERT_EQ(Near.size(), 1u);
  EXPECT_EQ(Near[0].Id, "board_euler");
  EXPECT_EQ(Near[0].Severity, Level::Warning);
  EXPECT_THAT(Near[0].What, HasSubstr("differs by 0.5 degrees from --board-euler"));
  EXPECT_EQ(Judged(Estimated(9.99), Measured_With(8.0, Corner))[0].Severity, Level::Warning);
  const auto Far = Judged(Estimated(10.01), Measured_With(8.0, Corner));
  ASSERT_EQ(Far.size(), 1u);
  EXPECT_EQ(Far[0].Severity, Level::Error);
  EXPECT_THAT(Far[0].Advice, HasSubstr("it is about 0.0,0.0,8.0."));
}

TEST(BoardEstimate, TheLimitOfTheAnglesGrowsWithTheResiduals) {
  Agreement Noisy = Measured_With(8.0, Corner);
  Noisy.Median_Axis_Residual_Deg = 0.6;
  EXPECT_TRUE(Judged(Estimated(10.99), Noisy).empty());
  EXPECT_EQ(Judged(Estimated(11.01), Noisy).size(), 1u);
  Noisy.Median_Axis_Residual_Deg = 0.01;
  Noisy.Median_Rotation_Residual_Deg = 0.6;
  EXPECT_TRUE(Judged(Estimated(10.99), Noisy).empty());
  EXPECT_EQ(Judged(Estimated(11.01), Noisy).size(), 1u);
}

TEST(BoardEstimate, ARightAngleInTheBoardsPlaneIsReportedAsSwappedCounts) {
  for (const double Turn : {98.0, -82.0, 98.0 + 9.5, 98.0 - 9.5}) {
    SCOPED_TRACE(Turn);
    const auto Found = Judged(Estimated(8.0), Measured_With(Turn, Corner));
    ASSERT_EQ(Found.size(), 1u);
    EXPECT_EQ(Found[0].Id, "board_turned");
    EXPECT_EQ(Found[0].Severity, Level::Error);
    EXPECT_THAT(Found[0].What, HasSubstr("Swapped counts in --board, 11x8 for 8x11,"));
  }
  EXPECT_EQ(Judged(Estimated(8.0), Measured_With(98.0 + 10.5, Corner))[0].Id, "board_euler");
  // A right angle about another axis does not come from swapped counts.
  Agreement Upright = Measured_With(0.0, Corner);
  *Upright.Rotation_Tr_Chart << 1, 0, 0, 0, 0, -1, 0, 1, 0;
  const auto Found = Judged(Estimated(0.0), Upright);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_euler");
  EXPECT_THAT(Found[0].Advice, HasSubstr("about 90.0,"));
}

TEST(BoardEstimate, NamesTheAnglesInTheOrderInWhichTheyAreTyped) {
  // Rx(30) Ry(45) Rz(60), multiplied by hand.
  const double R3 = std::sqrt(3.0), R2 = std::sqrt(2.0);
  Agreement Measured = Measured_With(0.0, Corner);
  *Measured.Rotation_Tr_Chart << R2 / 4, -R2 * R3 / 4, R2 / 2,  //
      R2 / 8 + 3.0 / 4, R3 / 4 - R2 * R3 / 8, -R2 / 4,          //
      R3 / 4 - R2 * R3 / 8, 1.0 / 4 + 3 * R2 / 8, R2 * R3 / 4;
  ASSERT_NEAR(Measured.Rotation_Tr_Chart->determinant(), 1.0, 1e-12);
  EXPECT_THAT(Judged(Estimated(0.0), Measured)[0].Advice, HasSubstr("it is about 30.0,45.0,60.0."));
}

TEST(BoardEstimate, AnOffsetIsNotJudgedWithAWrongScale) {
  Agreement Measured = Measured_With(8.0, Corner * 0.8);
  Measured.Scale = 1.0;
  EXPECT_EQ(Judged(Estimated(8.0), Measured).size(), 1u);
  Measured.Scale = 0.8;
  EXPECT_TRUE(Judged(Estimated(8.0), Measured).empty());
  // A scale with a large deviation is not known to be wrong.
  Measured.Scale_Deviation = 0.1;
  EXPECT_EQ(Judged(Estimated(8.0), Measured).size(), 1u);
}

TEST(BoardEstimate, AnOffsetIsJudgedAtTenMillimetresWhereTheAnglesAreRight) {
  const Eigen::Vector3d Aside(0.6, 0.0, 0.8);
  EXPECT_TRUE(Judged(Estimated(8.0), Measured_With(8.0, Corner + 0.0099 * Aside)).empty());
  const auto Found = Judged(Estimated(8.0), Measured_With(8.0, Corner + 0.0101 * Aside));
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_offset");
  EXPECT_EQ(Found[0].Severity, Level::Warning);
  EXPECT_THAT(Found[0].What, HasSubstr("differs by 10 mm from --board-offset"));
  EXPECT_THAT(Found[0].Advice, HasSubstr("it is about -164mm,50mm,48mm."));
  // The limit grows with the residuals.
  Agreement Noisy = Measured_With(8.0, Corner + 0.029 * Aside);
  Noisy.Median_Position_Residual = 0.006;
  EXPECT_TRUE(Judged(Estimated(8.0), Noisy).empty());
  // Wrong angles come first, and an unknown distance is not judged.
  const Agreement Moved = Measured_With(8.0, Corner + 0.1 * Aside);
  EXPECT_EQ(Judged(Estimated(18.0), Moved)[0].Id, "board_euler");
  EXPECT_EQ(Judged(Estimated(18.0), Moved).size(), 1u);
  EXPECT_TRUE(Judged(Estimated(8.0), Moved, /*Is_Distance_Known=*/false).empty());
}

TEST(BoardEstimate, ThereIsNoFindingWithoutAnEstimateOrAMeasurement) {
  const Agreement Moved = Measured_With(40.0, Corner + Eigen::Vector3d(1, 0, 0));
  Board_Estimate Without = Estimated(0.0);
  Without.Euler = std::nullopt;
  EXPECT_TRUE(Judged(Without, Moved).empty());
  Agreement Open = Moved;
  Open.Rotation_Tr_Chart = std::nullopt;
  EXPECT_TRUE(Judged(Estimated(0.0), Open).empty());
  Agreement Contradictory = Moved;
  Contradictory.Median_Rotation_Residual_Deg = 1.01;  // samples and images disagree
  ASSERT_FALSE(Contradictory.Is_Good());
  EXPECT_TRUE(Judged(Estimated(0.0), Contradictory).empty());
  Board_Estimate Angles_Only = Estimated(40.0);
  Angles_Only.Offset = std::nullopt;
  EXPECT_TRUE(Judged(Angles_Only, Moved).empty());
}

}  // namespace
