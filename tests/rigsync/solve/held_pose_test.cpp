// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/held_pose.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;
using rigsync::Board_Distance;
using rigsync::Board_Roll;
using rigsync::Board_View;
using rigsync::Held_Pose;
using rigsync::Near_Part;
using rigsync::Pose_Parts;

constexpr double Radians_In_Degree = 3.14159265358979323846 / 180.0;

Board_View Usual_View() {
  return {{11, 8}, 0.03, 1920, 1080, {2112, 2112, 966, 531, -0.09, 0.03}};
}

// By OpenCV, because the poses are found by a projection of their own.
cv::Point2d Seen_At(const Board_View& View, const Isometry3d& Pose, double Col, double Row) {
  const Vector3d Point = Pose * (View.Square_Size * Vector3d(Col, Row, 0));
  const rigsync::Lens& Lens = View.Lens_Px;
  std::vector<cv::Point2d> Image;
  cv::projectPoints(std::vector<cv::Point3d>{{Point.x(), Point.y(), Point.z()}}, cv::Vec3d(0, 0, 0),
                    cv::Vec3d(0, 0, 0),
                    cv::Mat_<double>({3, 3}, {Lens.Fx, 0, Lens.Cx, 0, Lens.Fy, Lens.Cy, 0, 0, 1}),
                    cv::Mat_<double>({1, 4}, {Lens.K1, Lens.K2, 0, 0}), Image);
  return Image.front();
}

// The box around the board and its margin of a square.
cv::Rect2d Box_Of(const Board_View& View, const Isometry3d& Pose) {
  double Left = 1e9, Right = -1e9, Top = 1e9, Bottom = -1e9;
  for (const double Col : {-2.0, View.Board.Cols + 1.0}) {
    for (const double Row : {-2.0, View.Board.Rows + 1.0}) {
      const cv::Point2d At = Seen_At(View, Pose, Col, Row);
      Left = std::min(Left, At.x);
      Right = std::max(Right, At.x);
      Top = std::min(Top, At.y);
      Bottom = std::max(Bottom, At.y);
    }
  }
  return {Left, Top, Right - Left, Bottom - Top};
}

Held_Pose Made(const Pose_Parts& Parts, double Last_Roll_Deg = 0) {
  return rigsync::Pose_With(Usual_View(), Parts, Last_Roll_Deg).value();
}

TEST(HeldPose, TheNamedPartOfTheBoardIsNearestToTheCamera) {
  const std::map<Near_Part, cv::Point2d> Sides = {
      {Near_Part::Left, {-1, 0}},        {Near_Part::Right, {1, 0}},
      {Near_Part::Top, {0, -1}},         {Near_Part::Bottom, {0, 1}},
      {Near_Part::Upper_Left, {-1, -1}}, {Near_Part::Upper_Right, {1, -1}},
      {Near_Part::Lower_Left, {-1, 1}},  {Near_Part::Lower_Right, {1, 1}}};
  const Board_View View = Usual_View();
  for (const auto& [Nearest, Side] : Sides) {
    Pose_Parts Parts;
    Parts.Nearest = Nearest;
    Parts.Tilt_Deg = 40;
    const Isometry3d Pose = Made(Parts).Transform_Cam_Chart;
    const Vector3d Centre = Pose * (View.Square_Size * Vector3d(5, 3.5, 0));
    // Of the points on a circle around the centre, the nearest one lies on that side.
    Vector3d Closest(0, 0, 1e9);
    for (int k = 0; k < 360; ++k) {
      const Vector3d Point =
          Pose * (View.Square_Size * Vector3d(5 + 3 * std::cos(k * Radians_In_Degree),
                                              3.5 + 3 * std::sin(k * Radians_In_Degree), 0));
      if (Point.z() < Closest.z()) Closest = Point;
    }
    const Eigen::Vector2d Way = (Closest - Centre).head<2>().normalized();
    EXPECT_GT(Way.dot(Eigen::Vector2d(Side.x, Side.y).normalized()), 0.99)
        << Side.x << " " << Side.y;
    const double Tilt = std::acos(Pose.linear().col(2).z()) / Radians_In_Degree;
    EXPECT_NEAR(Tilt, 40, 1e-9);
  }
}

TEST(HeldPose, ABoardIsAsLargeAndWhereItWasAskedToBe) {
  const Board_View View = Usual_View();
  const std::pair<Board_Distance, double> Fills[] = {
      {Board_Distance::Near, 0.85}, {Board_Distance::Middle, 0.6}, {Board_Distance::Far, 0.4}};
  for (const auto& [Distance, Fill] : Fills) {
    for (const int Right : {-1, 0, 1}) {
      for (const int Down : {-1, 0, 1}) {
        Pose_Parts Parts;
        Parts.Distance = Distance;
        Parts.Place = {Right, Down};
        const cv::Rect2d Box = Box_Of(View, Made(Parts).Transform_Cam_Chart);
        EXPECT_NEAR(std::max(Box.width / 1920, Box.height / 1080), Fill, 0.04);
        const double Free_Left = Box.x, Free_Right = 1920 - Box.x - Box.width;
        const double Free_Top = Box.y, Free_Bottom = 1080 - Box.y - Box.height;
        // The place is found to 0.002 of the frame's diagonal, 4.4 pixels, on either side.
        const double Least = 0.03 * 1080, Even = 9.0;
        if (Right == -1) {
          EXPECT_LT(Free_Left, Least);
        }
        if (Right == 0) {
          EXPECT_NEAR(Free_Left, Free_Right, Even);
        }
        if (Right == 1) {
          EXPECT_LT(Free_Right, Least);
        }
        if (Down == -1) {
          EXPECT_LT(Free_Top, Least);
        }
        if (Down == 0) {
          EXPECT_NEAR(Free_Top, Free_Bottom, Even);
        }
        if (Down == 1) {
          EXPECT_LT(Free_Bottom, Least);
        }
      }
    }
  }
}

TEST(HeldPose, AQuarterTurnToTheRightTurnsTheRowsOfCornersDown) {
  Pose_Parts Parts;
  Parts.Roll = Board_Roll::Quarter_Right;
  const Board_View View = Usual_View();
  const Isometry3d Pose = Made(Parts).Transform_Cam_Chart;
  const cv::Point2d Along = Seen_At(View, Pose, 10, 0) - Seen_At(View, Pose, 0, 0);
  EXPECT_GT(Along.y, 100);
  EXPECT_NEAR(Along.x, 0, 0.5);
}

TEST(HeldPose, RollIsCountedFromHowTheBoardWasHeldLast) {
  Pose_Parts Parts;
  Parts.Roll = Board_Roll::Quarter_Left;
  Parts.Nearest = Near_Part::Upper_Right;
  Parts.Tilt_Deg = 25;
  const Isometry3d Pose = Made(Parts, 130).Transform_Cam_Chart;
  EXPECT_NEAR(rigsync::Roll_Deg_Of(Pose.linear()), 40, 1e-9);
}

TEST(HeldPose, EveryPossiblePoseShowsTheWholeBoardNoFlatterThanSixtyDegrees) {
  const Board_View View = Usual_View();
  const std::vector<Held_Pose> All = rigsync::Possible_Poses(View, 20);
  EXPECT_GT(All.size(), 300U);
  for (const Held_Pose& Held : All) {
    const cv::Rect2d Box = Box_Of(View, Held.Transform_Cam_Chart);
    EXPECT_TRUE(Box.x > 0 && Box.y > 0 && Box.x + Box.width < 1919 && Box.y + Box.height < 1079);
    const Vector3d Sight = (Held.Transform_Cam_Chart * (0.03 * Vector3d(5, 3.5, 0))).normalized();
    EXPECT_GT(Sight.dot(Held.Transform_Cam_Chart.linear().col(2)), 0.5);
  }
}

TEST(HeldPose, ABoardThatLooksTheSameUpsideDownStaysUpright) {
  Board_View View = Usual_View();
  View.Board = {10, 8};
  for (const double Last_Roll_Deg : {-50.0, 0.0, 30.0}) {
    const std::vector<Held_Pose> All = rigsync::Possible_Poses(View, Last_Roll_Deg);
    EXPECT_GT(All.size(), 100U);
    for (const Held_Pose& Held : All) {
      EXPECT_LE(std::abs(rigsync::Roll_Deg_Of(Held.Transform_Cam_Chart.linear())), 60.001);
    }
  }
}

TEST(HeldPose, ABoardBeyondTheFrameOrTooFlatIsNotSeenWell) {
  const Board_View View = Usual_View();
  Pose_Parts Parts;
  Isometry3d Pose = Made(Parts).Transform_Cam_Chart;
  EXPECT_TRUE(rigsync::Is_Seen_Well(View, Pose));
  Isometry3d Shifted = Pose;
  Shifted.translation().x() += 0.3;
  EXPECT_FALSE(rigsync::Is_Seen_Well(View, Shifted));
  // Facing the camera in the middle of the frame, the squares have fx times the square's length
  // over the distance: 8 pixels, of the half as wide image that is searched, at 3.96 m.
  Isometry3d Far = Isometry3d::Identity();
  for (const auto& [Distance, Is_Large] : {std::pair<double, bool>{3.94, true}, {3.98, false}}) {
    Far.translation() << -0.15, -0.105, Distance;
    const Board_View Plain = {{11, 8}, 0.03, 1440, 1080, {2112, 2112, 720, 540, 0, 0}};
    EXPECT_EQ(rigsync::Is_Seen_Well(Plain, Far), Is_Large) << Distance;
    const Board_View Narrow = {{11, 8}, 0.03, 1439, 1080, {1056, 1056, 720, 540, 0, 0}};
    EXPECT_EQ(rigsync::Is_Seen_Well(Narrow, Far), Is_Large) << Distance;
  }
  Isometry3d Flat = Pose * Eigen::AngleAxisd(65 * Radians_In_Degree, Vector3d::UnitX());
  EXPECT_FALSE(rigsync::Is_Seen_Well(View, Flat));
}

}  // namespace
