// SPDX-License-Identifier: Apache-2.0
//
// The estimate of the board's place against solutions that are made by hand and solved: limits,
// texts, and what is not judged.
#include "rigsync/inspect/board_estimate.h"
#include "rigsync/geometry/angle.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using Eigen::Vector3d;
using rigsync::Board_Estimate;
using rigsync::Capture_Solution;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Level;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const Vector3d Corner(-0.17, 0.05, 0.04);

// Many degrees of freedom: half-widths are 1.96 standard deviations.
constexpr double Many = 1e6, Deviations_In_Half_Width = 1.96;

// A board of 11x8 with squares of 30 mm, flat on its tracker except for a rotation about its
// normal, known to these half-widths.
Capture_Solution Solved_With(double Angle_Deg, const Vector3d& First_Corner,
                             double Half_Width_Deg = 0.03, double Half_Width_Mm = 0.5) {
  const double Cosine = std::cos(Angle_Deg / rigsync::Degrees_Per_Radian),
               Sine = std::sin(Angle_Deg / rigsync::Degrees_Per_Radian);
  Capture_Solution Solution;
  Solution.Joint.Status = rigsync::Solve_Status::Solved;
  Eigen::Isometry3d& Place = Solution.Joint.At.Transform_Tr_Chart;
  Place.linear() << Cosine, -Sine, 0, Sine, Cosine, 0, 0, 0, 1;
  Place.translation() = First_Corner;
  rigsync::Mount_Uncertainty& Mount = Solution.Joint.Board_Mount;
  Mount.Widest_Deg.Half_Width = Half_Width_Deg;
  Mount.Freedom.setConstant(Many);
  Mount.Covariance.setZero();
  Mount.Covariance.diagonal().tail<3>().setConstant(
      std::pow(1e-3 * Half_Width_Mm / Deviations_In_Half_Width, 2));
  return Solution;
}

Board_Estimate Estimated(double Angle_Deg) {
  Board_Estimate Estimate;
  Estimate.Board = {11, 8};
  Estimate.Square_Size = 0.03;
  Estimate.Euler = {0.0, 0.0, Angle_Deg};
  Estimate.Offset = {-0.17, 0.05, 0.04};
  return Estimate;
}

std::vector<Finding> Judged(const Board_Estimate& Estimate, const Capture_Solution& Solution) {
  Findings List;
  rigsync::Judge_Estimate(Estimate, Solution, List);
  return List.Sorted();
}

TEST(BoardEstimate, HasNoFindingWhenItIsRight) {
  for (const double Turn : {0.0, 30.0, -75.0, 90.0, 180.0}) {
    EXPECT_TRUE(Judged(Estimated(Turn), Solved_With(Turn, Corner)).empty()) << Turn;
  }
}

TEST(BoardEstimate, AnglesAreJudgedAtHalfADegree) {
  EXPECT_TRUE(Judged(Estimated(8.49), Solved_With(8.0, Corner)).empty());
  const auto Near = Judged(Estimated(8.51), Solved_With(8.0, Corner));
  ASSERT_EQ(Near.size(), 1u);
  EXPECT_EQ(Near[0].Id, "board_euler");
  EXPECT_EQ(Near[0].Severity, Level::Warning);
  EXPECT_THAT(Near[0].What, HasSubstr("differs by 0.51 degrees from --board-euler"));
}

TEST(BoardEstimate, TheAdviceIsToLeaveItOutAndNamesTheSolvedPlace) {
  const auto Far = Judged(Estimated(12.0), Solved_With(8.0, Corner));
  ASSERT_EQ(Far.size(), 1u);
  EXPECT_THAT(Far[0].Advice, AllOf(HasSubstr("Leave both --board-euler and --board-offset out"),
                                   HasSubstr("0.00,0.00,8.00 (+- 0.030 degrees at 95 percent)"),
                                   HasSubstr("-170.0mm,50.0mm,40.0mm (+- 0.50 mm)")));
}

TEST(BoardEstimate, IsNotJudgedWhereTheCaptureHardlyDeterminesThePlace) {
  EXPECT_TRUE(Judged(Estimated(10.99), Solved_With(8.0, Corner, 1.5)).empty());
  EXPECT_EQ(Judged(Estimated(11.01), Solved_With(8.0, Corner, 1.5)).size(), 1u);
  Board_Estimate Angles_Only = Estimated(40.0);
  Angles_Only.Offset = std::nullopt;
  EXPECT_TRUE(Judged(Angles_Only, Solved_With(8.0, Corner, NAN)).empty());
  const Vector3d Aside(0.0, 0.0, 0.0398);
  EXPECT_TRUE(Judged(Estimated(8.0), Solved_With(8.0, Corner + Aside, 0.03, 20.0)).empty());
  EXPECT_EQ(Judged(Estimated(8.0), Solved_With(8.0, Corner + 1.02 * Aside, 0.03, 20.0)).size(), 1u);
}

TEST(BoardEstimate, IsNotBlamedForADifferenceInsideTheUncertainty) {
  Capture_Solution Solution = Solved_With(8.0, Corner);
  Solution.Place.emplace();
  EXPECT_EQ(Judged(Estimated(12.0), Solution).size(), 1u);
  Solution.Place->Is_Within_Uncertainty = true;
  EXPECT_TRUE(Judged(Estimated(12.0), Solution).empty());
}

TEST(BoardEstimate, AnEstimateThatContradictsItsAccuracyIsSaidToBeUnused) {
  Capture_Solution Solution = Solved_With(8.0, Corner);
  Solution.Place.emplace();
  EXPECT_EQ(
      Judged(Estimated(12.0), Solution).at(0).Example,
      "With an accuracy of 5 mm and 1 degree that is no chance, so the estimate is not used.");
  Board_Estimate Rough = Estimated(12.0);
  Rough.Accuracy = {2.0, 0.01};
  EXPECT_THAT(Judged(Rough, Solution).at(0).Example, HasSubstr("10 mm and 2 degrees"));
  EXPECT_EQ(Judged(Estimated(12.0), Solved_With(8.0, Corner)).at(0).Example, "");
}

// The prior draws the solved place towards the estimate; what is reported is the capture's own.
TEST(BoardEstimate, AnEstimateThatWasAPriorIsComparedWithTheCaptureAlone) {
  pose_rig::Options Options;
  const pose_rig::Rig Rig = pose_rig::Make_Rig(Options);
  Capture_Solution Solution = Solved_With(8.0, Corner);  // drawn away from the truth
  Solution.Seen = Rig.Seen;
  Solution.Place.emplace();
  Solution.Place->Is_Prior = true;
  Board_Estimate Estimate = Estimated(0.0);
  const rigsync::Board_Place Truth = rigsync::Place_From_Transform(Rig.Tr_Chart.As_Transform());
  Estimate.Euler = Truth.Euler_Deg;
  Estimate.Offset = Truth.Offset;
  EXPECT_TRUE(Judged(Estimate, Solution).empty());
  (*Estimate.Euler)[0] += 1.0;
  const auto Found = Judged(Estimate, Solution);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_THAT(Found[0].What, HasSubstr("1.0 degrees"));
}

TEST(BoardEstimate, ARightAngleInTheBoardsPlaneIsReportedAsSwappedCounts) {
  for (const double Turn : {98.0, -82.0, 98.0 + 9.5, 98.0 - 9.5}) {
    SCOPED_TRACE(Turn);
    const auto Found = Judged(Estimated(8.0), Solved_With(Turn, Corner));
    ASSERT_EQ(Found.size(), 1u);
    EXPECT_EQ(Found[0].Id, "board_turned");
    EXPECT_EQ(Found[0].Severity, Level::Error);
    EXPECT_THAT(Found[0].What, HasSubstr("Swapped counts in --board, 11x8 for 8x11,"));
  }
  EXPECT_EQ(Judged(Estimated(8.0), Solved_With(98.0 + 10.5, Corner))[0].Id, "board_euler");
  // A right angle about another axis does not come from swapped counts.
  Capture_Solution Upright = Solved_With(0.0, Corner);
  Upright.Joint.At.Transform_Tr_Chart.linear() << 1, 0, 0, 0, 0, -1, 0, 1, 0;
  const auto Found = Judged(Estimated(0.0), Upright);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_euler");
  EXPECT_THAT(Found[0].Advice, HasSubstr("angles are 90.00,"));
}

TEST(BoardEstimate, NamesTheAnglesInTheOrderInWhichTheyAreTyped) {
  // Rx(30) Ry(45) Rz(60), multiplied by hand.
  const double R3 = std::sqrt(3.0), R2 = std::sqrt(2.0);
  Capture_Solution Solution = Solved_With(0.0, Corner);
  auto Rotation = Solution.Joint.At.Transform_Tr_Chart.linear();
  Rotation << R2 / 4, -R2 * R3 / 4, R2 / 2,             //
      R2 / 8 + 3.0 / 4, R3 / 4 - R2 * R3 / 8, -R2 / 4,  //
      R3 / 4 - R2 * R3 / 8, 1.0 / 4 + 3 * R2 / 8, R2 * R3 / 4;
  ASSERT_NEAR(Rotation.determinant(), 1.0, 1e-12);
  EXPECT_THAT(Judged(Estimated(0.0), Solution)[0].Advice, HasSubstr("are 30.00,45.00,60.00 "));
}

TEST(BoardEstimate, AnOffsetIsJudgedAtTenMillimetresWhereTheAnglesAreRight) {
  const Vector3d Aside(0.6, 0.0, 0.8);
  EXPECT_TRUE(Judged(Estimated(8.0), Solved_With(8.0, Corner + 0.0099 * Aside)).empty());
  const auto Found = Judged(Estimated(8.0), Solved_With(8.0, Corner + 0.0101 * Aside));
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_offset");
  EXPECT_EQ(Found[0].Severity, Level::Warning);
  EXPECT_THAT(Found[0].What, HasSubstr("differs by 10 mm from --board-offset"));
  EXPECT_THAT(Found[0].Advice, HasSubstr("offset is -163.9mm,50.0mm,48.1mm "));
  // Wrong angles come first.
  const Capture_Solution Moved = Solved_With(8.0, Corner + 0.1 * Aside);
  const auto Turned = Judged(Estimated(18.0), Moved);
  ASSERT_EQ(Turned.size(), 1u);
  EXPECT_EQ(Turned[0].Id, "board_euler");
}

// The centre is 183 mm from the first corner, which angles that are 0.45 degrees off move by 1.4
// mm.
TEST(BoardEstimate, AnOffsetIsComparedAtTheBoardsCentre) {
  Capture_Solution Solution = Solved_With(8.45, Vector3d::Zero());
  const double Angle = 8.45 / rigsync::Degrees_Per_Radian,
               Other = 8.0 / rigsync::Degrees_Per_Radian;
  const auto Centre = [](double Turn) {
    return Vector3d(0.15 * std::cos(Turn) - 0.105 * std::sin(Turn),
                    0.15 * std::sin(Turn) + 0.105 * std::cos(Turn), 0.0);
  };
  // The centres are equal, so the corners are not.
  Solution.Joint.At.Transform_Tr_Chart.translation() = Corner + Centre(Other) - Centre(Angle);
  EXPECT_TRUE(Judged(Estimated(8.0), Solution).empty());
  // With the corners' 1.4 mm this would be more than 10 mm.
  Solution.Joint.At.Transform_Tr_Chart.translation().z() += 0.0099;
  EXPECT_TRUE(Judged(Estimated(8.0), Solution).empty());
  Solution.Joint.At.Transform_Tr_Chart.translation().z() += 0.0002;
  EXPECT_EQ(Judged(Estimated(8.0), Solution).at(0).Id, "board_offset");
}

TEST(BoardEstimate, EitherPartIsJudgedWithoutTheOther) {
  const Capture_Solution Solution = Solved_With(8.0, Corner + Vector3d(0.02, 0, 0));
  Board_Estimate Angles_Only = Estimated(10.0);
  Angles_Only.Offset = std::nullopt;
  const auto Turned = Judged(Angles_Only, Solution);
  ASSERT_EQ(Turned.size(), 1u);
  EXPECT_EQ(Turned[0].Id, "board_euler");
  EXPECT_THAT(Turned[0].Advice,
              AllOf(HasSubstr("Leave --board-euler out"), Not(HasSubstr("offset"))));
  Board_Estimate Offset_Only = Estimated(10.0);
  Offset_Only.Euler = std::nullopt;
  const auto Moved = Judged(Offset_Only, Solution);
  ASSERT_EQ(Moved.size(), 1u);
  EXPECT_EQ(Moved[0].Id, "board_offset");
  EXPECT_THAT(Moved[0].What, HasSubstr("differs by 20 mm"));
  EXPECT_THAT(Moved[0].Advice,
              AllOf(HasSubstr("Leave --board-offset out"), Not(HasSubstr("euler"))));
}

TEST(BoardEstimate, ThereIsNoFindingWithoutAnEstimateOrASolution) {
  const Capture_Solution Moved = Solved_With(40.0, Corner + Vector3d(1, 0, 0));
  EXPECT_EQ(Judged(Estimated(0.0), Moved).size(), 1u);
  Board_Estimate Without = Estimated(0.0);
  Without.Euler = std::nullopt;
  Without.Offset = std::nullopt;
  EXPECT_TRUE(Judged(Without, Moved).empty());
  for (const auto Status : {rigsync::Solve_Status::Too_Few_Rows, rigsync::Solve_Status::No_Majority,
                            rigsync::Solve_Status::Not_Converged}) {
    Capture_Solution Open = Moved;
    Open.Joint.Status = Status;
    EXPECT_TRUE(Judged(Estimated(0.0), Open).empty());
  }
}

}  // namespace
