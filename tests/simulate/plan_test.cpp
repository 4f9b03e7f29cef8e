// SPDX-License-Identifier: Apache-2.0
//
// The plan of a capture: all poses, the tracker samples, and the bad rows.
#include "simulate/simulate.h"
#include "simulate/tracker.h"

#include "tests/simulate/opencv_view.h"
#include "tests/support/largest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace {

using simulate::Image_Truth;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Plan;
using simulate::Row_Kind;
using simulate::Sample;
using simulate::Spread;

constexpr double Degrees = 180.0 / 3.14159265358979323846;

// Poses are products of a few rotation matrices with elements up to 1 and lengths of a few metres.
// Each rounding is below 5e-16 of that, and some dozens add up.
constexpr double Pose_Tolerance = 1e-13;

Options Small_Capture(unsigned Seed = 1) {
  Options Settings;
  Settings.Seed = Seed;
  Settings.Width = 640;
  Settings.Height = 480;
  return Settings;
}

int Count_Of(const Plan& Capture, Row_Kind Kind) {
  return static_cast<int>(
      std::count_if(Capture.Images.begin(), Capture.Images.end(),
                    [&](const Image_Truth& Image) { return Image.Kind == Kind; }));
}

bool Same_Sample(const Sample& A, const Sample& B) {
  return A.Position == B.Position && A.Rotation.coeffs() == B.Rotation.coeffs();
}

bool Same_Truth(const Image_Truth& A, const Image_Truth& B) {
  return A.Name == B.Name && A.Transform_Cam_Chart == B.Transform_Cam_Chart &&
         A.Transform_Base_Tc == B.Transform_Base_Tc && A.Transform_Base_Tr == B.Transform_Base_Tr;
}

Eigen::Matrix4d Pose(const Eigen::Vector3d& X_Axis, const Eigen::Vector3d& Y_Axis,
                     const Eigen::Vector3d& Z_Axis, const Eigen::Vector3d& Origin) {
  Eigen::Matrix4d Built = Eigen::Matrix4d::Identity();
  Built.block<3, 1>(0, 0) = X_Axis;
  Built.block<3, 1>(0, 1) = Y_Axis;
  Built.block<3, 1>(0, 2) = Z_Axis;
  Built.block<3, 1>(0, 3) = Origin;
  return Built;
}

// The pose of a sample in relabelled axes, computed per axis: the conjugate quaternion takes a body
// direction to Base, and x, y, z of the relabelled frame are body -x, -z, -y.
Eigen::Matrix4d Pose_Of(const Sample& Reported) {
  const auto In_Base = [&](const Eigen::Vector3d& Direction_Body) -> Eigen::Vector3d {
    const Eigen::Quaterniond Pure(0, Direction_Body.x(), Direction_Body.y(), Direction_Body.z());
    return (Reported.Rotation.conjugate() * Pure * Reported.Rotation).vec();
  };
  return Pose(In_Base({-1, 0, 0}), In_Base({0, 0, -1}), In_Base({0, -1, 0}), Reported.Position);
}

double Angle_Deg_Between(const Eigen::Matrix4d& A, const Eigen::Matrix4d& B) {
  const Eigen::Matrix3d Turn = A.topLeftCorner<3, 3>().transpose() * B.topLeftCorner<3, 3>();
  // The sine comes from the antisymmetric part of the matrix: an arc cosine alone is inaccurate
  // near 0.
  const Eigen::Vector3d Odd(Turn(2, 1) - Turn(1, 2), Turn(0, 2) - Turn(2, 0),
                            Turn(1, 0) - Turn(0, 1));
  return std::atan2(Odd.norm(), Turn.trace() - 1.0) * Degrees;
}

// The orientation of the board to the camera: the tilt of its normal about the camera's x and y
// axes, and the angle between the camera's x axis and a board row without the tilt.
struct Lie {
  double About_X_Deg, About_Y_Deg, Roll_Deg;
};

Lie Lie_Of(const Image_Truth& Image) {
  const Eigen::Matrix4d& T = Image.Transform_Cam_Chart;
  return {std::atan2(-T(1, 2), T(2, 2)) * Degrees, std::atan2(T(0, 2), T(2, 2)) * Degrees,
          std::atan2(T(1, 0) - T(0, 1), T(0, 0) + T(1, 1)) * Degrees};
}

double Largest(const Plan& Capture, const std::function<double(const Image_Truth&)>& Measure) {
  double Value = -std::numeric_limits<double>::infinity();
  for (const Image_Truth& Image : Capture.Images) Value = std::max(Value, Measure(Image));
  return Value;
}

double Smallest(const Plan& Capture, const std::function<double(const Image_Truth&)>& Measure) {
  return -Largest(Capture, [&](const Image_Truth& Image) { return -Measure(Image); });
}

// The names of the options that are refused; none when all are met.
std::vector<std::string> Refused_Names(const Options& Settings) {
  try {
    Make_Plan(Settings);
  } catch (const simulate::Refused_Options& Refusal) {
    // Who doesn't look at the names finds them in the message.
    for (const std::string& Name : Refusal.Names) {
      EXPECT_THAT(Refusal.what(), testing::HasSubstr(Name));
    }
    EXPECT_THAT(Refusal.what(), testing::EndsWith(" " + Refusal.Rule));
    return Refusal.Names;
  }
  return {};
}

// What they have to be; empty when all are met.
std::string Refused_Rule(const Options& Settings) {
  try {
    Make_Plan(Settings);
  } catch (const simulate::Refused_Options& Refusal) {
    return Refusal.Rule;
  }
  return "";
}

// ---- One seed, one capture -------------------------------------------------------------------

TEST(MakePlan, DrawsTheSamePlanFromTheSameSeed) {
  Options Settings = Small_Capture(7);
  Settings.Position_Noise_Mm = 0.5;
  Settings.Rotation_Noise_Deg = 0.1;
  Settings.Stale_Count = 2;
  Settings.Jump_Count = 3;
  Settings.Blank_Count = 2;
  Settings.Estimate_Error_Deg = 1.0;
  const Plan First = Make_Plan(Settings), Second = Make_Plan(Settings);
  ASSERT_EQ(First.Images.size(), 24u);
  ASSERT_EQ(Second.Images.size(), 24u);
  EXPECT_EQ(First.Transform_Cam_Tc, Second.Transform_Cam_Tc);
  EXPECT_EQ(First.Transform_Chart_Tr, Second.Transform_Chart_Tr);
  EXPECT_EQ(First.Chart_Euler_Deg, Second.Chart_Euler_Deg);
  EXPECT_EQ(First.Chart_Translation, Second.Chart_Translation);
  for (size_t i = 0; i < First.Images.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_TRUE(Same_Truth(First.Images[i], Second.Images[i]));
    EXPECT_EQ(First.Images[i].Kind, Second.Images[i].Kind);
    EXPECT_TRUE(Same_Sample(First.Images[i].Tc, Second.Images[i].Tc));
    EXPECT_TRUE(Same_Sample(First.Images[i].Tr, Second.Images[i].Tr));
  }
}

TEST(MakePlan, DrawsOtherPosesFromAnotherSeed) {
  const Plan First = Make_Plan(Small_Capture(1)), Second = Make_Plan(Small_Capture(2));
  for (size_t i = 0; i < First.Images.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_NE(First.Images[i].Transform_Cam_Chart, Second.Images[i].Transform_Cam_Chart);
    EXPECT_NE(First.Images[i].Transform_Base_Tc, Second.Images[i].Transform_Base_Tc);
  }
}

TEST(MakePlan, KeepsTheTruePosesWhenNoiseAndBadRowsAreAskedFor) {
  const Plan Clean = Make_Plan(Small_Capture(3));
  Options Settings = Small_Capture(3);
  Settings.Position_Noise_Mm = 1.0;
  Settings.Rotation_Noise_Deg = 0.2;
  Settings.Stale_Count = 3;
  Settings.Jump_Count = 3;
  Settings.Missing_Count = 2;
  Settings.Blank_Count = 2;
  Settings.Truncated_Count = 2;
  Settings.Estimate_Error_Mm = 5.0;
  const Plan Dirty = Make_Plan(Settings);
  for (size_t i = 0; i < Clean.Images.size(); ++i) {
    // In a stale row the camera has moved on from the row before, but its view of the board is the
    // same.
    EXPECT_EQ(Same_Truth(Clean.Images[i], Dirty.Images[i]), Dirty.Images[i].Kind != Row_Kind::Stale)
        << i;
    EXPECT_EQ(Clean.Images[i].Transform_Cam_Chart, Dirty.Images[i].Transform_Cam_Chart) << i;
  }
}

TEST(MakePlan, NamesImagesByTheirNumberAndFormat) {
  Options Settings = Small_Capture();
  Settings.Image_Format = "jpg";
  const Plan Capture = Make_Plan(Settings);
  EXPECT_EQ(Capture.Images.front().Name, "0001.jpg");
  EXPECT_EQ(Capture.Images.back().Name, "0024.jpg");
}

TEST(MakePlan, MakesAnEmptyCaptureOfNoImages) {
  Options Settings = Small_Capture();
  Settings.Image_Count = 0;
  EXPECT_TRUE(Make_Plan(Settings).Images.empty());
}

// ---- Conventions, computed by hand -----------------------------------------------------------

// A body whose axes are Base's own reports no rotation. Its relabelled x, y, z are then Base -x, -z
// and -y.
TEST(MakeSample, IsTheIdentityForABodyAlignedWithBase) {
  const Sample Reported =
      simulate::Make_Sample(Pose({-1, 0, 0}, {0, 0, -1}, {0, -1, 0}, {0.1, 0.2, 0.3}));
  EXPECT_EQ(Reported.Position, Eigen::Vector3d(0.1, 0.2, 0.3));
  EXPECT_EQ(Reported.Rotation.w(), 1.0);
  EXPECT_EQ(Reported.Rotation.vec(), Eigen::Vector3d(0, 0, 0));
}

// The body is rotated by 90 degrees about Base z: its x points along Base y, its y along Base -x.
// In relabelled axes x is Base -y, y (body -z) is Base -z, z (body -y) is Base x. The quaternion
// takes Base directions to body directions by the inverse rotation, -90 degrees about z:
// w = cos(-45), z = sin(-45).
TEST(MakeSample, TurnsBaseDirectionsIntoBodyDirections) {
  const Sample Reported =
      simulate::Make_Sample(Pose({0, -1, 0}, {0, 0, -1}, {1, 0, 0}, {-1.5, 0.0, 2.0}));
  const double Half = std::sqrt(0.5);
  EXPECT_EQ(Reported.Position, Eigen::Vector3d(-1.5, 0.0, 2.0));
  EXPECT_NEAR(Reported.Rotation.w(), Half, 1e-15);
  EXPECT_NEAR(Reported.Rotation.x(), 0.0, 1e-15);
  EXPECT_NEAR(Reported.Rotation.y(), 0.0, 1e-15);
  EXPECT_NEAR(Reported.Rotation.z(), -Half, 1e-15);
}

// Body x along Base y, y along Base z, z along Base x: relabelled x is Base -y, y is Base -x, z is
// Base -z. Base to body takes Base x to body z, y to x, z to y, a rotation by -120 degrees about
// (1, 1, 1): w = cos(60) = 1/2 and each vector component -sin(60) / sqrt(3) = -1/2.
TEST(MakeSample, HoldsAThirdOfATurnAboutTheDiagonal) {
  const Sample Reported =
      simulate::Make_Sample(Pose({0, -1, 0}, {-1, 0, 0}, {0, 0, -1}, {0, 0, 0}));
  EXPECT_NEAR(Reported.Rotation.w(), 0.5, 1e-15);
  EXPECT_NEAR(Reported.Rotation.x(), -0.5, 1e-15);
  EXPECT_NEAR(Reported.Rotation.y(), -0.5, 1e-15);
  EXPECT_NEAR(Reported.Rotation.z(), -0.5, 1e-15);
}

// A quaternion and its negative are the same rotation; trackers report the one with w above 0, and
// 0 where it is.
TEST(MakeSample, HasNoNegativeZeroInHalfATurn) {
  const Sample Reported = simulate::Make_Sample(Pose({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 0, 0}));
  EXPECT_EQ(Reported.Rotation.w(), 0.0);
  EXPECT_FALSE(std::signbit(Reported.Rotation.w()));
}

// Base to body is Rx(90), which takes y to z and z to -y. Rz(90) along the body's own axes then
// takes x to y and y to -x: of Base, x comes to y, y to z and z to x, a third of a turn.
TEST(MovedSample, TurnsAboutAxesOfTheBodyAndShiftsAlongThoseOfBase) {
  Sample From;
  From.Position = {0.5, 0.25, 0.125};
  From.Rotation = Eigen::Quaterniond(std::sqrt(0.5), std::sqrt(0.5), 0.0, 0.0);
  const Sample To = simulate::Moved(From, {1.0, 2.0, 3.0}, {0.0, 0.0, std::acos(0.0)});
  EXPECT_EQ(To.Position, Eigen::Vector3d(1.5, 2.25, 3.125));
  EXPECT_TRUE(To.Rotation.coeffs().isApprox(Eigen::Vector4d::Constant(0.5), 1e-12));
}

// Rz(90) takes x to y and y to -x; Rx(90) then takes y to z and z to -y. So Rx * Rz takes x to z,
// y to -x and z to -y. Ry(90) takes x to -z and z to x.
TEST(MakePlan, BuildsMountsAsRxTimesRyTimesRz) {
  Options Settings = Small_Capture();
  Settings.Camera_Mount_Euler_Deg = {90, 0, 90};
  Settings.Camera_Mount_Offset = {0.1, 0.2, 0.3};
  Settings.Board_Mount_Euler_Deg = {0, 90, 0};
  Settings.Board_Mount_Offset = {0.4, 0.5, 0.6};
  const Plan Capture = Make_Plan(Settings);
  EXPECT_TRUE(Capture.Transform_Cam_Tc.isApprox(
      Pose({0, 0, 1}, {-1, 0, 0}, {0, -1, 0}, {0.1, 0.2, 0.3}), 1e-15));
  // Transform_Tr_Chart takes Chart x to Tr -z and Chart z to Tr x, its origin to the offset. The
  // inverse takes Tr x to Chart z and Tr z to Chart -x, and Tr's origin to minus the offset in
  // Chart's axes: x is Tr -z, 0.6; y -0.5; z is Tr x, -0.4.
  EXPECT_TRUE(Capture.Transform_Chart_Tr.isApprox(
      Pose({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}, {0.6, -0.5, -0.4}), 1e-15));
}

// Rz(90) takes x to y, y to -x; Ry(90) takes x to -z, z to x; Rx(90) takes y to z, z to -y. In that
// order x goes to y, y and z; y to -x, z and -y; z to z, x and x. The other orders of Rx and Ry
// take x elsewhere.
TEST(MakePlan, TurnsAboutXLast) {
  Options Settings = Small_Capture();
  Settings.Camera_Mount_Euler_Deg = {90, 90, 90};
  Settings.Camera_Mount_Offset = {0, 0, 0};
  EXPECT_TRUE(Make_Plan(Settings).Transform_Cam_Tc.isApprox(
      Pose({0, 0, 1}, {0, -1, 0}, {1, 0, 0}, {0, 0, 0}), 1e-15));
}

TEST(MakePlan, ClosesTheChainFromCameraToItsTrackerInEveryRow) {
  for (unsigned Seed = 1; Seed <= 3; ++Seed) {
    const Plan Capture = Make_Plan(Small_Capture(Seed));
    for (const Image_Truth& Image : Capture.Images) {
      SCOPED_TRACE(Image.Name);
      const Eigen::Matrix4d From_Truth = Image.Transform_Cam_Chart * Capture.Transform_Chart_Tr *
                                         Image.Transform_Base_Tr.inverse() *
                                         Image.Transform_Base_Tc;
      EXPECT_LE(Largest_Element(From_Truth - Capture.Transform_Cam_Tc), Pose_Tolerance);
      const Eigen::Matrix4d From_Samples = Image.Transform_Cam_Chart * Capture.Transform_Chart_Tr *
                                           Pose_Of(Image.Tr).inverse() * Pose_Of(Image.Tc);
      EXPECT_LE(Largest_Element(From_Samples - Capture.Transform_Cam_Tc), Pose_Tolerance);
    }
  }
}

TEST(MakePlan, DrawsRigidPosesAndUnitQuaternions) {
  Options Settings = Small_Capture();
  Settings.Rotation_Noise_Deg = 0.5;
  Settings.Jump_Count = 5;
  for (const Image_Truth& Image : Make_Plan(Settings).Images) {
    SCOPED_TRACE(Image.Name);
    for (const Eigen::Matrix4d* Held :
         {&Image.Transform_Cam_Chart, &Image.Transform_Base_Tc, &Image.Transform_Base_Tr}) {
      const Eigen::Matrix3d Rotation = Held->topLeftCorner<3, 3>();
      EXPECT_LE((Rotation * Rotation.transpose() - Eigen::Matrix3d::Identity()).norm(),
                Pose_Tolerance);
      EXPECT_GT(Rotation.determinant(), 0.0);
      EXPECT_EQ(Held->row(3), Eigen::RowVector4d(0, 0, 0, 1));
    }
    EXPECT_NEAR(Image.Tc.Rotation.norm(), 1.0, 1e-15);
    EXPECT_NEAR(Image.Tr.Rotation.norm(), 1.0, 1e-15);
  }
}

TEST(ProjectBoard, AgreesWithOpencvsCameraModel) {
  for (const double K1 : {-0.25, -0.09, 0.0, 0.12}) {
    Options Settings = Small_Capture(4);
    Settings.K1 = K1;
    Settings.Norm_Fy = 1.3;  // not square pixels
    const Plan Capture = Make_Plan(Settings);
    std::vector<cv::Point2d> Squares;
    for (int r = 0; r < Settings.Board_Rows; ++r) {
      for (int c = 0; c < Settings.Board_Cols; ++c) Squares.emplace_back(c, r);
    }
    for (const Image_Truth& Image : Capture.Images) {
      SCOPED_TRACE(Image.Name);
      const std::vector<Eigen::Vector2d> Ours = simulate::Project_Board(Capture, Image);
      const std::vector<cv::Point2d> Theirs = Opencv_Project(Capture, Image, Squares);
      ASSERT_EQ(Ours.size(), Theirs.size());
      for (size_t k = 0; k < Ours.size(); ++k) {
        // The rotation goes through a rotation vector, which keeps about 1e-15 of a radian; at
        // 640 pixels and a tilted board that is below 1e-11 pixels.
        ASSERT_NEAR(Ours[k].x(), Theirs[k].x, 1e-10);
        ASSERT_NEAR(Ours[k].y(), Theirs[k].y, 1e-10);
      }
    }
  }
}

TEST(MakePlan, TurnsTheNormalisedLensIntoPixels) {
  Options Settings = Small_Capture();
  Settings.Norm_Fx = 1.25;
  Settings.Norm_Cx = 0.5;
  Settings.Norm_Cy = 0.25;
  EXPECT_EQ(Make_Plan(Settings).True_Lens.Fx, 800.0);
  EXPECT_EQ(Make_Plan(Settings).True_Lens.Fy, 800.0) << "square pixels";
  EXPECT_EQ(Make_Plan(Settings).True_Lens.Cx, 320.0);
  EXPECT_EQ(Make_Plan(Settings).True_Lens.Cy, 120.0);
  Settings.Norm_Fy = 1.5;
  EXPECT_EQ(Make_Plan(Settings).True_Lens.Fy, 720.0);
}

// ---- Spreads ---------------------------------------------------------------------------------

TEST(MakePlan, SpreadsGoodPosesOverTiltsRollsPlacesAndDistances) {
  for (unsigned Seed = 1; Seed <= 5; ++Seed) {
    SCOPED_TRACE(Seed);
    Options Settings;
    Settings.Seed = Seed;
    const Plan Capture = Make_Plan(Settings);

    const auto About_X = [](const Image_Truth& Image) { return Lie_Of(Image).About_X_Deg; };
    const auto About_Y = [](const Image_Truth& Image) { return Lie_Of(Image).About_Y_Deg; };
    EXPECT_GT(Largest(Capture, About_X), 35.0);
    EXPECT_LT(Smallest(Capture, About_X), -35.0);
    EXPECT_GT(Largest(Capture, About_Y), 35.0);
    EXPECT_LT(Smallest(Capture, About_Y), -35.0);
    EXPECT_LT(Largest(Capture, [&](const Image_Truth& I) { return std::abs(About_X(I)); }), 50.0);
    EXPECT_LT(Largest(Capture, [&](const Image_Truth& I) { return std::abs(About_Y(I)); }), 50.0);

    // Rolls leave no gap of 60 degrees in the circle, so every quadrant has some.
    std::set<double> Rolls;
    for (const Image_Truth& Image : Capture.Images) Rolls.insert(Lie_Of(Image).Roll_Deg);
    double Before = *Rolls.rbegin() - 360.0;
    for (const double Roll : Rolls) {
      EXPECT_LT(Roll - Before, 60.0) << "between rolls " << Before << " and " << Roll;
      Before = Roll;
    }

    // Some inner corner comes as close to each corner of the frame as the board's two outer squares
    // allow: within a seventh of the frame's diagonal.
    const double Diagonal = std::hypot(Settings.Width, Settings.Height);
    for (const double X : {0.0, Settings.Width - 1.0}) {
      for (const double Y : {0.0, Settings.Height - 1.0}) {
        const double Nearest = Smallest(Capture, [&](const Image_Truth& Image) {
          double Distance = Diagonal;
          for (const Eigen::Vector2d& Corner : simulate::Project_Board(Capture, Image)) {
            Distance = std::min(Distance, (Corner - Eigen::Vector2d(X, Y)).norm());
          }
          return Distance;
        });
        EXPECT_LT(Nearest, Diagonal / 7.0) << "frame corner " << X << ", " << Y;
      }
    }

    const auto Distance = [](const Image_Truth& Image) { return Image.Transform_Cam_Chart(2, 3); };
    EXPECT_GT(Largest(Capture, Distance), 1.8 * Smallest(Capture, Distance));
  }
}

TEST(MakePlan, MovesAndTurnsBothTrackersBetweenImages) {
  for (unsigned Seed = 1; Seed <= 3; ++Seed) {
    SCOPED_TRACE(Seed);
    const Plan Capture = Make_Plan(Small_Capture(Seed));
    for (const auto Held : {&Image_Truth::Transform_Base_Tc, &Image_Truth::Transform_Base_Tr}) {
      double Turned_Deg = 0.0, Moved = 0.0;
      for (const Image_Truth& A : Capture.Images) {
        for (const Image_Truth& B : Capture.Images) {
          Turned_Deg = std::max(Turned_Deg, Angle_Deg_Between(A.*Held, B.*Held));
          Moved = std::max(Moved, ((A.*Held) - (B.*Held)).col(3).norm());
        }
      }
      EXPECT_GT(Turned_Deg, 40.0);
      EXPECT_GT(Moved, 0.8);
    }
  }
}

TEST(MakePlan, KeepsTheBoardAndItsMarginInsideTheFrame) {
  const int Sizes[][2] = {{320, 240}, {640, 480},   {720, 1280}, {1280, 720},
                          {640, 64},  {1920, 1080}, {3840, 2160}};
  for (const auto& Size : Sizes) {
    for (const Spread Manner :
         {Spread::Good, Spread::Frontal, Spread::Centred, Spread::One_Axis, Spread::Same_Pose}) {
      for (unsigned Seed = 1; Seed <= 3; ++Seed) {
        SCOPED_TRACE(testing::Message() << Size[0] << "x" << Size[1] << " seed " << Seed
                                        << " spread " << static_cast<int>(Manner));
        Options Settings;
        Settings.Seed = Seed;
        Settings.Width = Size[0];
        Settings.Height = Size[1];
        Settings.Pose_Spread = Manner;
        const Plan Capture = Make_Plan(Settings);
        // The outer edge of the white margin, one square outside the outer squares. The points are
        // dense enough that a curved edge cannot leave the frame between them.
        std::vector<cv::Point2d> Edge;
        const double Right = Settings.Board_Cols + 1.0, Bottom = Settings.Board_Rows + 1.0;
        for (int k = 0; k <= 60; ++k) {
          const double Across = -2.0 + (Right + 2.0) * k / 60.0;
          const double Down = -2.0 + (Bottom + 2.0) * k / 60.0;
          Edge.insert(Edge.end(), {{Across, -2.0}, {Across, Bottom}, {-2.0, Down}, {Right, Down}});
        }
        for (const Image_Truth& Image : Capture.Images) {
          for (const cv::Point2d& Pixel : Opencv_Project(Capture, Image, Edge)) {
            ASSERT_GE(Pixel.x, 0.0) << Image.Name;
            ASSERT_GE(Pixel.y, 0.0) << Image.Name;
            ASSERT_LE(Pixel.x, Settings.Width - 1.0) << Image.Name;
            ASSERT_LE(Pixel.y, Settings.Height - 1.0) << Image.Name;
          }
        }
      }
    }
  }
}

TEST(MakePlan, KeepsFrontalPosesNearlySquareToTheCamera) {
  Options Settings = Small_Capture();
  Settings.Pose_Spread = Spread::Frontal;
  const Plan Capture = Make_Plan(Settings);
  for (const Image_Truth& Image : Capture.Images) {
    EXPECT_LT(std::acos(Image.Transform_Cam_Chart(2, 2)) * Degrees, 4.5) << Image.Name;
  }
}

TEST(MakePlan, KeepsCentredPosesInTheMiddleOfTheFrame) {
  Options Settings = Small_Capture();
  Settings.Pose_Spread = Spread::Centred;
  const Plan Capture = Make_Plan(Settings);
  for (const Image_Truth& Image : Capture.Images) {
    Eigen::Vector2d Sum(0, 0);
    const std::vector<Eigen::Vector2d> Corners = simulate::Project_Board(Capture, Image);
    for (const Eigen::Vector2d& Corner : Corners) Sum += Corner;
    const Eigen::Vector2d Centre = Sum / static_cast<double>(Corners.size());
    // Corners are denser on the far side of a tilted board, which shifts their mean a little.
    EXPECT_LT(std::abs(Centre.x() - 320.0), 0.1 * Settings.Width) << Image.Name;
    EXPECT_LT(std::abs(Centre.y() - 240.0), 0.1 * Settings.Height) << Image.Name;
  }
}

TEST(MakePlan, TiltsOneAxisPosesAboutTheVerticalAlone) {
  Options Settings = Small_Capture();
  Settings.Pose_Spread = Spread::One_Axis;
  const Plan Capture = Make_Plan(Settings);
  for (const Image_Truth& Image : Capture.Images) {
    EXPECT_LT(std::abs(Lie_Of(Image).About_X_Deg), 1e-9) << Image.Name;
    EXPECT_LT(std::abs(Lie_Of(Image).Roll_Deg), 1e-9) << Image.Name;
  }
  const auto About_Y = [](const Image_Truth& Image) { return Lie_Of(Image).About_Y_Deg; };
  EXPECT_GT(Largest(Capture, About_Y), 30.0);
  EXPECT_LT(Smallest(Capture, About_Y), -30.0);
}

TEST(MakePlan, RepeatsNearlyTheSamePoseWhenAsked) {
  Options Settings = Small_Capture();
  Settings.Pose_Spread = Spread::Same_Pose;
  const Plan Capture = Make_Plan(Settings);
  for (const auto Held : {&Image_Truth::Transform_Cam_Chart, &Image_Truth::Transform_Base_Tc,
                          &Image_Truth::Transform_Base_Tr}) {
    for (const Image_Truth& Image : Capture.Images) {
      const Eigen::Matrix4d& First = Capture.Images.front().*Held;
      EXPECT_LT(Angle_Deg_Between(First, Image.*Held), 2.0) << Image.Name;
      EXPECT_LT((First - Image.*Held).col(3).norm(), 0.05) << Image.Name;
    }
  }
}

// 15 degrees, give or take 0.3.
TEST(MakePlan, TiltsNearlyTheSamePosesByLittleEitherWay) {
  Options Settings = Small_Capture();
  Settings.Pose_Spread = Spread::Same_Pose;
  Settings.Image_Count = 200;
  const Plan Capture = Make_Plan(Settings);
  const auto Off_Deg = [](const Image_Truth& Image) {
    const Eigen::Vector3d Normal_Cam = Image.Transform_Cam_Chart.block<3, 1>(0, 2);
    return std::atan2(Normal_Cam.head<2>().norm(), Normal_Cam.z()) * 180.0 / std::acos(-1.0) - 15.0;
  };
  EXPECT_GE(Smallest(Capture, Off_Deg), -0.3 - 1e-9);
  EXPECT_LT(Smallest(Capture, Off_Deg), -0.28);
  EXPECT_LE(Largest(Capture, Off_Deg), 0.3 + 1e-9);
  EXPECT_GT(Largest(Capture, Off_Deg), 0.28);
}

// ---- Tracker samples -------------------------------------------------------------------------

TEST(MakePlan, DealsAsManyBadRowsOfEachKindAsAskedFor) {
  for (unsigned Seed = 1; Seed <= 20; ++Seed) {
    SCOPED_TRACE(Seed);
    Options Settings = Small_Capture(Seed);
    Settings.Image_Count = 16;
    Settings.Stale_Count = 5;
    Settings.Jump_Count = 4;
    Settings.Missing_Count = 3;
    Settings.Blank_Count = 2;
    Settings.Truncated_Count = 1;
    const Plan Capture = Make_Plan(Settings);
    // A row has one kind, so correct counts show that no row was assigned twice.
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Stale), 5);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Jumped), 4);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Missing_Image), 3);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Blank_Image), 2);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Truncated_Image), 1);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Good), 1);
    EXPECT_NE(Capture.Images.front().Kind, Row_Kind::Stale);
  }
}

// From a fifth to half of the inner corners are outside of the frame, and all others are inside.
TEST(MakePlan, CutsOffUpToHalfOfTheCornersOfAsManyBoardsAsWereAskedFor) {
  for (unsigned Seed = 1; Seed <= 20; ++Seed) {
    SCOPED_TRACE(Seed);
    Options Settings = Small_Capture(Seed);
    Settings.Cut_Count = 7;
    const Plan Capture = Make_Plan(Settings);
    EXPECT_EQ(Count_Of(Capture, Row_Kind::Cut_Board), 7);
    for (const Image_Truth& Image : Capture.Images) {
      const auto Corners = Project_Board(Capture, Image);
      const auto Outside = std::count_if(Corners.begin(), Corners.end(), [&](const auto& Pixel) {
        return Pixel.x() < 0 || Pixel.y() < 0 || Pixel.x() > 639 || Pixel.y() > 479;
      });
      // One row of corners of the eleven by eight leaves at once where it is parallel to the edge.
      const bool Is_Cut = Image.Kind == Row_Kind::Cut_Board;
      EXPECT_GE(Outside, Is_Cut ? 7 : 0) << Image.Name;
      EXPECT_LE(Outside, Is_Cut ? 44 : 0) << Image.Name;
    }
  }
}

TEST(MakePlan, MovesCameraAndBoardAlikeWhereTheBoardIsCutOff) {
  Options Settings = Small_Capture();
  const Plan Whole = Make_Plan(Settings);
  Settings.Cut_Count = 5;
  const Plan Capture = Make_Plan(Settings);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    const Image_Truth &Image = Capture.Images[i], &Before = Whole.Images[i];
    EXPECT_EQ(Same_Truth(Image, Before), Image.Kind != Row_Kind::Cut_Board);
    EXPECT_EQ(Image.Transform_Base_Tc, Before.Transform_Base_Tc);
    const Eigen::Matrix4d Transform_Base_Cam =
        Image.Transform_Base_Tc * Capture.Transform_Cam_Tc.inverse();
    EXPECT_LE(Largest_Element(Transform_Base_Cam * Image.Transform_Cam_Chart *
                                  Capture.Transform_Chart_Tr -
                              Image.Transform_Base_Tr),
              Pose_Tolerance);
  }
}

TEST(MakePlan, RefusesMarkersBeyondTheLastThereIs) {
  Options Settings = Small_Capture();  // 54 white squares
  Settings.First_Marker = 946;
  EXPECT_NO_THROW(Make_Plan(Settings));
  Settings.First_Marker = 947;
  EXPECT_THROW(Make_Plan(Settings), simulate::Refused_Options);
}

TEST(MakePlan, DealsAllRowsWhenAllAreToBeBad) {
  Options Settings = Small_Capture();
  Settings.Image_Count = 12;
  Settings.Stale_Count = 11;
  Settings.Missing_Count = 1;
  const Plan Capture = Make_Plan(Settings);
  EXPECT_EQ(Capture.Images.front().Kind, Row_Kind::Missing_Image);
  EXPECT_EQ(Count_Of(Capture, Row_Kind::Stale), 11);
}

TEST(MakePlan, RepeatsTheCameraSampleOfTheRowBeforeInAStaleRow) {
  Options Settings = Small_Capture();
  Settings.Position_Noise_Mm = 0.3;
  Settings.Rotation_Noise_Deg = 0.05;
  const Plan Without = Make_Plan(Settings);
  Settings.Stale_Count = 9;
  Settings.Jump_Count = 4;
  const Plan Capture = Make_Plan(Settings);
  for (size_t i = 1; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    const bool Repeats = Same_Sample(Capture.Images[i].Tc, Capture.Images[i - 1].Tc);
    EXPECT_EQ(Repeats, Capture.Images[i].Kind == Row_Kind::Stale);
    EXPECT_FALSE(Same_Sample(Capture.Images[i].Tr, Capture.Images[i - 1].Tr))
        << "the board's tracker goes on";
    EXPECT_EQ(Same_Sample(Capture.Images[i].Tr, Without.Images[i].Tr), !Repeats)
        << "rows that aren't stale stay as they are without stale ones";
  }
}

TEST(MakePlan, MovesTheCameraOnByWhatWasAskedForBeforeAStaleRow) {
  Options Settings = Small_Capture();
  Settings.Stale_Count = 6;
  Settings.Stale_Mm = 41.0;
  Settings.Stale_Deg = 3.5;
  const Plan Capture = Make_Plan(Settings);
  for (size_t i = 1; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    if (Capture.Images[i].Kind != Row_Kind::Stale) continue;
    const Eigen::Matrix4d& Before = Capture.Images[i - 1].Transform_Base_Tc;
    const Eigen::Matrix4d& Now = Capture.Images[i].Transform_Base_Tc;
    EXPECT_NEAR((Now - Before).col(3).norm(), 0.041, 1e-14);
    EXPECT_NEAR(Angle_Deg_Between(Now, Before), 3.5, 1e-11);
  }
}

TEST(MakePlan, MovesAndTurnsAJumpedRowByWhatWasAskedFor) {
  Options Settings = Small_Capture();
  Settings.Jump_Count = 10;
  Settings.Jump_Mm = 63.0;
  Settings.Jump_Deg = 7.5;
  const Plan Capture = Make_Plan(Settings);
  std::set<double> Directions;
  for (const Image_Truth& Image : Capture.Images) {
    SCOPED_TRACE(Image.Name);
    const Eigen::Matrix4d Reported = Pose_Of(Image.Tc);
    const Eigen::Vector3d Shift = (Reported - Image.Transform_Base_Tc).col(3).head<3>();
    const bool Jumped = Image.Kind == Row_Kind::Jumped;
    EXPECT_NEAR(Shift.norm(), Jumped ? 0.063 : 0.0, 1e-14);
    EXPECT_NEAR(Angle_Deg_Between(Reported, Image.Transform_Base_Tc), Jumped ? 7.5 : 0.0, 1e-11);
    EXPECT_LE(Largest_Element(Pose_Of(Image.Tr) - Image.Transform_Base_Tr), Pose_Tolerance);
    if (Jumped) Directions.insert(Shift.x());
  }
  EXPECT_EQ(Directions.size(), 10u) << "every jump goes its own way";
}

// With n draws from a normal distribution the mean is within 4 sigma / sqrt(n) and the standard
// deviation within 4 sigma / sqrt(2 n), except in about one of ten thousand cases; the seed is
// fixed.
TEST(MakePlan, ScattersSamplesByTheNoiseAskedForOnEveryAxis) {
  Options Settings = Small_Capture();
  Settings.Image_Count = 1000;
  Settings.Pose_Spread = Spread::Frontal;
  Settings.Position_Noise_Mm = 0.7;
  Settings.Rotation_Noise_Deg = 0.25;
  const Plan Capture = Make_Plan(Settings);
  const double Count = 1000.0;
  const auto Check = [&](const std::vector<double>& Values, double Deviation) {
    double Sum = 0.0, Squares = 0.0;
    for (const double Value : Values) Sum += Value;
    for (const double Value : Values) Squares += std::pow(Value - Sum / Count, 2);
    EXPECT_LE(std::abs(Sum / Count), 4.0 * Deviation / std::sqrt(Count));
    EXPECT_NEAR(std::sqrt(Squares / (Count - 1.0)), Deviation,
                4.0 * Deviation / std::sqrt(2.0 * Count));
  };
  const struct {
    Sample Image_Truth::*Reported;
    Eigen::Matrix4d Image_Truth::*True;
  } Trackers[] = {{&Image_Truth::Tc, &Image_Truth::Transform_Base_Tc},
                  {&Image_Truth::Tr, &Image_Truth::Transform_Base_Tr}};
  for (int Axis = 0; Axis < 3; ++Axis) {
    double Product = 0.0;
    for (const Image_Truth& Image : Capture.Images) {
      Product += 1e6 * (Image.Tc.Position - Image.Transform_Base_Tc.col(3).head<3>())[Axis] *
                 (Image.Tr.Position - Image.Transform_Base_Tr.col(3).head<3>())[Axis];
    }
    EXPECT_LE(std::abs(Product / Count), 4.0 * 0.7 * 0.7 / std::sqrt(Count))
        << "both trackers have the same noise";
  }
  for (const auto& Tracker : Trackers) {
    for (int Axis = 0; Axis < 3; ++Axis) {
      SCOPED_TRACE(Axis);
      std::vector<double> Shifts, Turns;
      for (const Image_Truth& Image : Capture.Images) {
        const Eigen::Matrix4d Reported = Pose_Of(Image.*Tracker.Reported);
        const Eigen::Matrix4d& True = Image.*Tracker.True;
        Shifts.push_back(1e3 * (Reported(Axis, 3) - True(Axis, 3)));
        // For a rotation of at most a degree, half the antisymmetric part of the matrix is the
        // rotation vector, with a relative error of 1e-4.
        const Eigen::Matrix3d Turn =
            True.topLeftCorner<3, 3>().transpose() * Reported.topLeftCorner<3, 3>();
        const int Next = (Axis + 1) % 3, After = (Axis + 2) % 3;
        Turns.push_back(Degrees * 0.5 * (Turn(After, Next) - Turn(Next, After)));
      }
      Check(Shifts, 0.7);
      Check(Turns, 0.25);
    }
  }
}

TEST(MakePlan, PutsTheHostsEstimateOffByTheErrorOnEveryAxis) {
  std::set<bool> Sides;
  for (unsigned Seed = 1; Seed <= 8; ++Seed) {
    Options Settings = Small_Capture(Seed);
    Settings.Estimate_Error_Deg = 1.5;
    Settings.Estimate_Error_Mm = 4.0;
    const Plan Capture = Make_Plan(Settings);
    for (int Axis = 0; Axis < 3; ++Axis) {
      const double Turn_Deg = Capture.Chart_Euler_Deg[Axis] - Settings.Board_Mount_Euler_Deg[Axis];
      const double Shift = Capture.Chart_Translation[Axis] - Settings.Board_Mount_Offset[Axis];
      EXPECT_NEAR(std::abs(Turn_Deg), 1.5, 1e-13);
      EXPECT_NEAR(std::abs(Shift), 0.004, 1e-16);
      Sides.insert(Turn_Deg > 0.0);
      Sides.insert(Shift > 0.0);
    }
  }
  EXPECT_EQ(Sides.size(), 2u) << "errors go to both sides";
  EXPECT_EQ(Make_Plan(Small_Capture()).Chart_Euler_Deg, Options().Board_Mount_Euler_Deg);
  EXPECT_EQ(Make_Plan(Small_Capture()).Chart_Translation, Options().Board_Mount_Offset);
}

// ---- Options that can't be met ---------------------------------------------------------------

TEST(MakePlan, NamesTheOptionsThatCantBeMet) {
  const double Nan = std::numeric_limits<double>::quiet_NaN();
  const double Infinite = std::numeric_limits<double>::infinity();
  const std::vector<std::string> Bad_Rows = {"Stale_Count", "Jump_Count",      "Missing_Count",
                                             "Blank_Count", "Truncated_Count", "Cut_Count"};
  const std::vector<std::string> Lens = {"Norm_Fx", "Norm_Fy", "Norm_Cx", "Norm_Cy", "K1", "K2"};
  const struct {
    std::vector<std::string> Names;
    std::function<void(Options&)> Spoil;
  } Cases[] = {
      {{"Image_Count"}, [](Options& Settings) { Settings.Image_Count = -1; }},
      {{"Width"}, [](Options& Settings) { Settings.Width = 15; }},
      {{"Width"}, [](Options& Settings) { Settings.Width = 32768; }},
      {{"Height"}, [](Options& Settings) { Settings.Height = 15; }},
      {{"Height"}, [](Options& Settings) { Settings.Height = -480; }},
      {{"Board_Cols"}, [](Options& Settings) { Settings.Board_Cols = 1; }},
      {{"Board_Rows"}, [](Options& Settings) { Settings.Board_Rows = 1; }},
      {{"Square_Size"}, [](Options& Settings) { Settings.Square_Size = 0.0; }},
      {{"Square_Size"}, [&](Options& Settings) { Settings.Square_Size = Nan; }},
      {{"Norm_Fx"}, [](Options& Settings) { Settings.Norm_Fx = 0.0; }},
      {{"Norm_Fy"}, [](Options& Settings) { Settings.Norm_Fy = -1.0; }},
      {{"Norm_Cx"}, [](Options& Settings) { Settings.Norm_Cx = 1.1; }},
      {{"Norm_Cy"}, [&](Options& Settings) { Settings.Norm_Cy = Nan; }},
      {{"K1"}, [&](Options& Settings) { Settings.K1 = Infinite; }},
      {{"K2"}, [&](Options& Settings) { Settings.K2 = Nan; }},
      {{"Camera_Mount_Euler_Deg"},
       [&](Options& Settings) { Settings.Camera_Mount_Euler_Deg.y() = Nan; }},
      {{"Camera_Mount_Offset"},
       [&](Options& Settings) { Settings.Camera_Mount_Offset.z() = Infinite; }},
      {{"Board_Mount_Euler_Deg"},
       [&](Options& Settings) { Settings.Board_Mount_Euler_Deg.x() = Nan; }},
      {{"Board_Mount_Offset"}, [&](Options& Settings) { Settings.Board_Mount_Offset.x() = Nan; }},
      {{"Position_Noise_Mm"}, [](Options& Settings) { Settings.Position_Noise_Mm = -0.1; }},
      {{"Rotation_Noise_Deg"}, [&](Options& Settings) { Settings.Rotation_Noise_Deg = Nan; }},
      {{"Stale_Count"}, [](Options& Settings) { Settings.Stale_Count = -1; }},
      {{"Stale_Count"}, [](Options& Settings) { Settings.Stale_Count = Settings.Image_Count; }},
      {{"Jump_Count"}, [](Options& Settings) { Settings.Jump_Count = -1; }},
      {{"Stale_Mm"}, [](Options& Settings) { Settings.Stale_Mm = -1.0; }},
      {{"Stale_Deg"}, [](Options& Settings) { Settings.Stale_Deg = -1.0; }},
      {{"Jump_Mm"}, [](Options& Settings) { Settings.Jump_Mm = -1.0; }},
      {{"Jump_Deg"}, [](Options& Settings) { Settings.Jump_Deg = -1.0; }},
      {{"Missing_Count"}, [](Options& Settings) { Settings.Missing_Count = -1; }},
      {{"Blank_Count"}, [](Options& Settings) { Settings.Blank_Count = -1; }},
      {{"Truncated_Count"}, [](Options& Settings) { Settings.Truncated_Count = -1; }},
      {{"Cut_Count"}, [](Options& Settings) { Settings.Cut_Count = -1; }},
      {{"First_Marker"}, [](Options& Settings) { Settings.First_Marker = -2; }},
      {{"Marker_Size"}, [](Options& Settings) { Settings.Marker_Size = 0.91; }},
      {Bad_Rows, [](Options& Settings) { Settings.Jump_Count = 20, Settings.Blank_Count = 5; }},
      {Bad_Rows,
       [](Options& Settings) {
         Settings.Jump_Count = Settings.Blank_Count = std::numeric_limits<int>::max();
       }},
      {{"Estimate_Error_Deg"}, [](Options& Settings) { Settings.Estimate_Error_Deg = -1.0; }},
      {{"Estimate_Error_Mm"}, [](Options& Settings) { Settings.Estimate_Error_Mm = -1.0; }},
      {{"Blur_Pixels"}, [](Options& Settings) { Settings.Blur_Pixels = -0.1; }},
      {{"Blur_Pixels"}, [](Options& Settings) { Settings.Blur_Pixels = 101.0; }},
      {{"Sensor_Noise"}, [](Options& Settings) { Settings.Sensor_Noise = -1.0; }},
      {{"Lighting_Gradient"}, [](Options& Settings) { Settings.Lighting_Gradient = 1.5; }},
      {{"Image_Format"}, [](Options& Settings) { Settings.Image_Format = "gif"; }},
      {{"Jpeg_Quality"}, [](Options& Settings) { Settings.Jpeg_Quality = 101; }},
      // Lines of sight fold back at half the frame's width: the board fits nowhere.
      {Lens, [](Options& Settings) { Settings.K1 = -60.0, Settings.K2 = 0.0; }},
  };
  for (const auto& Case : Cases) {
    Options Settings = Small_Capture();
    Case.Spoil(Settings);
    EXPECT_EQ(Refused_Names(Settings), Case.Names);
  }
}

TEST(MakePlan, SaysWhatARefusedOptionHasToBe) {
  const double Nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    std::string Rule;
    std::function<void(Options&)> Spoil;
  } Cases[] = {
      {"has to be at least 0", [](Options& Settings) { Settings.Image_Count = -1; }},
      {"has to be from 16 to 32767 pixels", [](Options& Settings) { Settings.Width = 15; }},
      {"has to be from 16 to 32767 pixels", [](Options& Settings) { Settings.Height = 32768; }},
      {"has to be at least 2", [](Options& Settings) { Settings.Board_Cols = 1; }},
      {"has to be at least 2", [](Options& Settings) { Settings.Board_Rows = 1; }},
      {"has to be above 0", [](Options& Settings) { Settings.Square_Size = 0.0; }},
      {"has to be above 0", [](Options& Settings) { Settings.Norm_Fx = 0.0; }},
      {"has to be a number of at least 0", [](Options& Settings) { Settings.Norm_Fy = -1.0; }},
      {"has to be from 0 to 1", [](Options& Settings) { Settings.Norm_Cx = 1.1; }},
      {"has to be from 0 to 1", [](Options& Settings) { Settings.Norm_Cy = -0.1; }},
      {"has to be a finite number", [&](Options& Settings) { Settings.K1 = Nan; }},
      {"has to be a finite number", [&](Options& Settings) { Settings.K2 = Nan; }},
      {"has to be finite", [&](Options& Settings) { Settings.Camera_Mount_Euler_Deg.x() = Nan; }},
      {"has to be finite", [&](Options& Settings) { Settings.Camera_Mount_Offset.x() = Nan; }},
      {"has to be finite", [&](Options& Settings) { Settings.Board_Mount_Euler_Deg.x() = Nan; }},
      {"has to be finite", [&](Options& Settings) { Settings.Board_Mount_Offset.x() = Nan; }},
      {"has to be at most 100", [](Options& Settings) { Settings.Blur_Pixels = 101.0; }},
      {"has to be from 0 to 1", [](Options& Settings) { Settings.Lighting_Gradient = 1.5; }},
      {"has to be png or jpg, not \"gif\"",
       [](Options& Settings) { Settings.Image_Format = "gif"; }},
      {"has to be from 0 to 100", [](Options& Settings) { Settings.Jpeg_Quality = 101; }},
      {"has to be from 0.1 to 0.9", [](Options& Settings) { Settings.Marker_Size = 0.91; }},
      {"has to be at least 0", [](Options& Settings) { Settings.First_Marker = -2; }},
      {"has to be at least 0", [](Options& Settings) { Settings.Stale_Count = -1; }},
      {"has to be at least 0", [](Options& Settings) { Settings.Cut_Count = -1; }},
      {"has to be below the number of images: the first row has no row before it to repeat",
       [](Options& Settings) { Settings.Stale_Count = Settings.Image_Count; }},
      {"together have to be at most the number of images",
       [](Options& Settings) { Settings.Jump_Count = Settings.Image_Count + 1; }},
      {"has to be from 1 to 2000 samples per second",
       [](Options& Settings) { Settings.Recording.Rate_Hz = 0.9; }},
      {"have to be two times from 0.1 to 60 seconds, the shorter one first",
       [](Options& Settings) { Settings.Recording.Shortest_Hold = 0.09; }},
      {"has to be at most a day, 86400 seconds, either way",
       [](Options& Settings) { Settings.Recording.Clock_Offset = -86401.0; }},
      {"has to be from 0 to 90", [](Options& Settings) { Settings.Recording.Lost_Percent = 91.0; }},
      {"has to be at most two fifths of the shortest hold, so that the sample of a photograph is "
       "one of its own hold",
       [](Options& Settings) { Settings.Recording.Lag_Ms = 401.0; }},
      {"has to be 0 when the board stands still: a stale row moves the camera by a distance of its "
       "own, and the board with it",
       [](Options& Settings) { Settings.Recording.One_Body = true, Settings.Stale_Count = 1; }},
      {"has to be at least 1 for a take or a clip",
       [](Options& Settings) { Settings.Recording.Clip = true, Settings.Image_Count = 0; }},
      {"can be chosen for a Motive take only",
       [](Options& Settings) { Settings.Recording.Unit = simulate::Length_Unit::Millimetres; }},
  };
  for (const auto& Case : Cases) {
    Options Settings = Small_Capture();
    Case.Spoil(Settings);
    EXPECT_EQ(Refused_Rule(Settings), Case.Rule);
  }
}

TEST(MakePlan, MeetsOptionsOnTheirLimits) {
  Options Settings = Small_Capture();
  Settings.Width = Settings.Height = 16;
  Settings.Board_Cols = Settings.Board_Rows = 2;
  Settings.Image_Count = 4;
  Settings.Stale_Count = 3;
  Settings.Jump_Count = 1;
  Settings.Lighting_Gradient = 1.0;
  Settings.Jpeg_Quality = 0;
  EXPECT_EQ(Make_Plan(Settings).Images.size(), 4u);
}

}  // namespace
