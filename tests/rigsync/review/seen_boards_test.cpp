// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/seen_boards.h"

#include "rigsync/geometry/angle.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

const Board_Size Board{5, 4};
constexpr double Square = 0.1;

// Turned by so many degrees about an axis of Cam, with its centre two metres ahead.
Eigen::Isometry3d Turned(double Deg, const Eigen::Vector3d& Axis_Cam) {
  Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
  Pose.linear() = Eigen::AngleAxisd(Deg / Degrees_Per_Radian, Axis_Cam).toRotationMatrix();
  Pose.translation() = Eigen::Vector3d(0, 0, 2) - Pose.linear() * Eigen::Vector3d(0.2, 0.15, 0);
  return Pose;
}

TEST(SeenBoards, ABoardThatFacesTheCameraHasNoTiltAndNoRoll) {
  const Seen_Board Seen = Describe_Pose(Turned(0, Eigen::Vector3d::UnitX()), Board, Square);
  EXPECT_EQ(Seen.Tilt_Deg, 0.0);
  EXPECT_EQ(Seen.Roll_Deg, 0.0);
  EXPECT_EQ(Seen.Near_Side, Eigen::Vector2d::Zero());
  EXPECT_DOUBLE_EQ(Seen.Distance, 2.0);
}

// The nearest of the four outermost corners and edges is found by its depth.
TEST(SeenBoards, TheNearSideIsTheOneOfTheLeastDepth) {
  for (const double Angle_Deg : {0.0, 45.0, 90.0, 160.0, 225.0, 300.0}) {
    const double Angle = Angle_Deg / Degrees_Per_Radian;
    const Eigen::Isometry3d Pose = Turned(25, Eigen::Vector3d(std::cos(Angle), std::sin(Angle), 0));
    const Seen_Board Seen = Describe_Pose(Pose, Board, Square);
    EXPECT_NEAR(Seen.Tilt_Deg, 25.0, 1e-9);
    EXPECT_NEAR(Seen.Near_Side.norm(), 1.0, 1e-12);
    // A step from the centre towards the near side, on the board.
    const Eigen::Vector3d Step_Chart =
        Pose.linear().transpose() * Eigen::Vector3d(Seen.Near_Side.x(), Seen.Near_Side.y(), 0);
    Eigen::Vector3d On_Board = Step_Chart;
    On_Board.z() = 0;
    EXPECT_NEAR((Pose.linear() * On_Board).z() / On_Board.norm(),
                -std::sin(25 / Degrees_Per_Radian), 1e-9)
        << Angle_Deg;
  }
}

TEST(SeenBoards, ARollGrowsClockwiseInThePicture) {
  // x is to the right and y down in the picture, so a positive turn about z is clockwise.
  EXPECT_NEAR(Describe_Pose(Turned(90, Eigen::Vector3d::UnitZ()), Board, Square).Roll_Deg, 90,
              1e-9);
  EXPECT_NEAR(Describe_Pose(Turned(-45, Eigen::Vector3d::UnitZ()), Board, Square).Roll_Deg, 315,
              1e-9);
}

// A board of 0.4 by 0.3 m two metres away is 200 by 150 pixels at a focal length of 1000.
TEST(SeenBoards, TheShareOfTheFrameIsThatOfTheOutermostCorners) {
  Run_View View;
  View.Width = 1000;
  View.Height = 600;
  View.Lens_Px = Lens{1000, 1000, 500, 300, 0, 0};
  View.Result.Inputs.Board = Board;
  View.Result.Inputs.Square_Size = Square;
  View.Rows.resize(2);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 5; ++c) {
      View.Rows[1].Corners.push_back(
          {static_cast<float>(400 + 50 * c), static_cast<float>(225 + 50 * r)});
    }
  }
  const auto Boards = Measure_Boards(View);
  ASSERT_EQ(Boards.size(), 1u);
  EXPECT_EQ(Boards[0].Row, 1u);
  EXPECT_NEAR(Boards[0].Frame_Share, 200.0 * 150.0 / 600000.0, 1e-9);
  EXPECT_NEAR(Boards[0].Distance, 2.0, 1e-6);
  View.Lens_Px.reset();
  EXPECT_TRUE(Measure_Boards(View).empty());
}

TEST(SeenBoards, ARowIsKeptWhereTheChosenSolutionUsesIt) {
  Run_View View;
  View.Rows.resize(2);
  View.Rows[0].Report.Fate = Image_Fate::Outlier;
  View.Result.Solved.emplace();
  View.Result.Solved->Joint.Rows.resize(2);
  View.Result.Solved->Joint.Rows[0] = {0, true, 1.0, Vector6d::Zero()};
  View.Result.Solved->Joint.Rows[1] = {1, false, 99.0, Vector6d::Zero()};
  EXPECT_FALSE(Is_Row_Kept(View, 0));
  EXPECT_TRUE(Is_Row_Kept(View, 1));
  View.Result.Inputs.Solution = Solution_Choice::Joint;
  EXPECT_TRUE(Is_Row_Kept(View, 0));
  EXPECT_FALSE(Is_Row_Kept(View, 1));
}

}  // namespace
}  // namespace rigsync
