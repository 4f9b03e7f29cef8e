// SPDX-License-Identifier: Apache-2.0
//
// The estimate of the board's place beside what was measured, which is written down here: limits,
// texts, and what is passed over.
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

// A board of 11x8 with squares of 30 mm, flat on its tracker but for a turn about its normal; its
// middle is 150 and 105 mm from the first corner.
Agreement Measured_With(double Turn_Deg, const Eigen::Vector3d& First_Corner) {
  const double Cosine = std::cos(Turn_Deg / rigsync::Degrees_Per_Radian),
               Sine = std::sin(Turn_Deg / rigsync::Degrees_Per_Radian);
  Agreement Measured;
  Eigen::Matrix3d Rotation;
  Rotation << Cosine, -Sine, 0, Sine, Cosine, 0, 0, 0, 1;
  Measured.Rotation_Tr_Chart = Rotation;
  Measured.Middle_Tr = First_Corner + Eigen::Vector3d(0.15 * Cosine - 0.105 * Sine,
                                                      0.15 * Sine + 0.105 * Cosine, 0.0);
  Measured.Typical_Turn_Deg = 0.02;
  Measured.Typical_Axis_Deg = 0.03;
  Measured.Typical_Position = 0.001;
  return Measured;
}

const Eigen::Vector3d Corner(-0.17, 0.05, 0.04);

Board_Estimate Estimated(double Turn_Deg) {
  Board_Estimate Estimate;
  Estimate.Board = {11, 8};
  Estimate.Square_Size = 0.03;
  Estimate.Euler = {0.0, 0.0, Turn_Deg};
  Estimate.Offset = {-0.17, 0.05, 0.04};
  return Estimate;
}

std::vector<Finding> Told_Of(const Board_Estimate& Estimate, const Agreement& Measured,
                             bool Distance_Is_Told = true) {
  Findings Told;
  rigsync::Judge_Estimate(Estimate, Measured, Distance_Is_Told, Told);
  return Told.Sorted();
}

TEST(BoardEstimate, IsNotTalkedAboutWhenItIsRight) {
  for (const double Turn : {0.0, 30.0, -75.0, 90.0, 180.0}) {
    EXPECT_TRUE(Told_Of(Estimated(Turn), Measured_With(Turn, Corner)).empty()) << Turn;
  }
}

TEST(BoardEstimate, IsNotJudgedInAxesOfTheWrongHand) {
  Agreement Measured = Measured_With(30.0, Corner);
  EXPECT_EQ(Told_Of(Estimated(0.0), Measured).size(), 1u);
  for (const rigsync::Mirrored Hand : {rigsync::Mirrored::Everything, rigsync::Mirrored::Positions,
                                       rigsync::Mirrored::Quaternions}) {
    Measured.Hand = Hand;
    EXPECT_TRUE(Told_Of(Estimated(0.0), Measured).empty());
  }
}

TEST(BoardEstimate, AnglesAreJudgedAtHalfADegreeAndFailAtTwo) {
  EXPECT_TRUE(Told_Of(Estimated(8.49), Measured_With(8.0, Corner)).empty());
  const auto Off = Told_Of(Estimated(8.51), Measured_With(8.0, Corner));
  ASSERT_EQ(Off.size(), 1u);
  EXPECT_EQ(Off[0].Id, "board_euler");
  EXPECT_EQ(Off[0].Severity, Level::Warning);
  EXPECT_THAT(Off[0].What, HasSubstr("0.5 degrees off what --board-euler says"));
  EXPECT_EQ(Told_Of(Estimated(9.99), Measured_With(8.0, Corner))[0].Severity, Level::Warning);
  const auto Far = Told_Of(Estimated(10.01), Measured_With(8.0, Corner));
  ASSERT_EQ(Far.size(), 1u);
  EXPECT_EQ(Far[0].Severity, Level::Error);
  EXPECT_THAT(Far[0].Advice, HasSubstr("they make it about 0.0,0.0,8.0."));
}

TEST(BoardEstimate, AnglesThatImagesAndSamplesDoubtAreJudgedByTheDoubt) {
  Agreement Noisy = Measured_With(8.0, Corner);
  Noisy.Typical_Axis_Deg = 0.6;
  EXPECT_TRUE(Told_Of(Estimated(10.99), Noisy).empty());
  EXPECT_EQ(Told_Of(Estimated(11.01), Noisy).size(), 1u);
  Noisy.Typical_Axis_Deg = 0.01;
  Noisy.Typical_Turn_Deg = 0.6;
  EXPECT_TRUE(Told_Of(Estimated(10.99), Noisy).empty());
  EXPECT_EQ(Told_Of(Estimated(11.01), Noisy).size(), 1u);
}

TEST(BoardEstimate, ARightAngleInTheBoardsPlaneLeadsToSwappedCounts) {
  for (const double Turn : {98.0, -82.0, 98.0 + 9.5, 98.0 - 9.5}) {
    SCOPED_TRACE(Turn);
    const auto Told = Told_Of(Estimated(8.0), Measured_With(Turn, Corner));
    ASSERT_EQ(Told.size(), 1u);
    EXPECT_EQ(Told[0].Id, "board_turned");
    EXPECT_EQ(Told[0].Severity, Level::Error);
    EXPECT_THAT(Told[0].What, HasSubstr("swapped, 11x8 for 8x11, look like this"));
  }
  EXPECT_EQ(Told_Of(Estimated(8.0), Measured_With(98.0 + 10.5, Corner))[0].Id, "board_euler");
  // A right angle about another axis is none of the counts.
  Agreement Upright = Measured_With(0.0, Corner);
  *Upright.Rotation_Tr_Chart << 1, 0, 0, 0, 0, -1, 0, 1, 0;
  const auto Told = Told_Of(Estimated(0.0), Upright);
  ASSERT_EQ(Told.size(), 1u);
  EXPECT_EQ(Told[0].Id, "board_euler");
  EXPECT_THAT(Told[0].Advice, HasSubstr("about 90.0,"));
}

TEST(BoardEstimate, NamesTheAnglesInTheOrderInWhichTheyAreTyped) {
  // Rx(30) Ry(45) Rz(60), multiplied by hand.
  const double R3 = std::sqrt(3.0), R2 = std::sqrt(2.0);
  Agreement Measured = Measured_With(0.0, Corner);
  *Measured.Rotation_Tr_Chart << R2 / 4, -R2 * R3 / 4, R2 / 2,  //
      R2 / 8 + 3.0 / 4, R3 / 4 - R2 * R3 / 8, -R2 / 4,          //
      R3 / 4 - R2 * R3 / 8, 1.0 / 4 + 3 * R2 / 8, R2 * R3 / 4;
  ASSERT_NEAR(Measured.Rotation_Tr_Chart->determinant(), 1.0, 1e-12);
  EXPECT_THAT(Told_Of(Estimated(0.0), Measured)[0].Advice,
              HasSubstr("they make it about 30.0,45.0,60.0."));
}

TEST(BoardEstimate, AnOffsetIsNotJudgedInMetresThatAreNone) {
  Agreement Measured = Measured_With(8.0, Corner * 0.8);
  Measured.Scale = 1.0;
  EXPECT_EQ(Told_Of(Estimated(8.0), Measured).size(), 1u);
  Measured.Scale = 0.8;
  EXPECT_TRUE(Told_Of(Estimated(8.0), Measured).empty());
  // A scale in doubt is none that is known to be wrong.
  Measured.Scale_Deviation = 0.1;
  EXPECT_EQ(Told_Of(Estimated(8.0), Measured).size(), 1u);
}

TEST(BoardEstimate, AnOffsetIsJudgedAtTenMillimetresWhereTheAnglesAreRight) {
  const Eigen::Vector3d Aside(0.6, 0.0, 0.8);
  EXPECT_TRUE(Told_Of(Estimated(8.0), Measured_With(8.0, Corner + 0.0099 * Aside)).empty());
  const auto Told = Told_Of(Estimated(8.0), Measured_With(8.0, Corner + 0.0101 * Aside));
  ASSERT_EQ(Told.size(), 1u);
  EXPECT_EQ(Told[0].Id, "board_offset");
  EXPECT_EQ(Told[0].Severity, Level::Warning);
  EXPECT_THAT(Told[0].What, HasSubstr("10 mm off where --board-offset puts it"));
  EXPECT_THAT(Told[0].Advice, HasSubstr("they make it about -164mm,50mm,48mm."));
  // Noisier positions are doubted further.
  Agreement Noisy = Measured_With(8.0, Corner + 0.029 * Aside);
  Noisy.Typical_Position = 0.006;
  EXPECT_TRUE(Told_Of(Estimated(8.0), Noisy).empty());
  // Wrong angles come first, and a distance that isn't told comes not at all.
  const Agreement Moved = Measured_With(8.0, Corner + 0.1 * Aside);
  EXPECT_EQ(Told_Of(Estimated(18.0), Moved)[0].Id, "board_euler");
  EXPECT_EQ(Told_Of(Estimated(18.0), Moved).size(), 1u);
  EXPECT_TRUE(Told_Of(Estimated(8.0), Moved, /*Distance_Is_Told=*/false).empty());
}

TEST(BoardEstimate, NothingIsSaidWithoutAnEstimateOrAMeasurement) {
  const Agreement Moved = Measured_With(40.0, Corner + Eigen::Vector3d(1, 0, 0));
  Board_Estimate Without = Estimated(0.0);
  Without.Euler = std::nullopt;
  EXPECT_TRUE(Told_Of(Without, Moved).empty());
  Agreement Open = Moved;
  Open.Rotation_Tr_Chart = std::nullopt;
  EXPECT_TRUE(Told_Of(Estimated(0.0), Open).empty());
  Agreement Contradictory = Moved;
  Contradictory.Typical_Turn_Deg = 1.01;  // samples and images don't agree at all
  ASSERT_FALSE(Contradictory.Is_Good());
  EXPECT_TRUE(Told_Of(Estimated(0.0), Contradictory).empty());
  Board_Estimate Angles_Only = Estimated(40.0);
  Angles_Only.Offset = std::nullopt;
  EXPECT_TRUE(Told_Of(Angles_Only, Moved).empty());
}

}  // namespace
