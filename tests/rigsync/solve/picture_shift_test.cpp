// SPDX-License-Identifier: Apache-2.0
//
// Shifts in the picture, worked by hand for a camera without distortion.
#include "rigsync/solve/picture_shift.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Drawing;
using rigsync::Lens;
using rigsync::Shift_In_Picture;

constexpr double Rounding = 1e-9;
constexpr Lens Pinhole = {1000, 1000, 500, 300, 0, 0};

TEST(PictureShift, APixelIsThatOfThePointThatIsSeenAtIt) {
  const Lens Bent = {1050, 1055, 483, 266, -0.09, 0.03};
  for (const double X : {0.0, 200.0, 959.0}) {
    for (const double Y : {0.0, 266.0, 539.0}) {
      const Eigen::Vector3d Point = rigsync::Point_At(Bent, {X, Y}, 3.0);
      EXPECT_EQ(Point.z(), 3.0);
      EXPECT_NEAR((rigsync::Pixel_Of(Bent, Point) - Eigen::Vector2d(X, Y)).norm(), 0.0, Rounding);
    }
  }
}

// r - r^3 grows to r = 0.577 only, where it is 0.385.
TEST(PictureShift, NoPointIsSeenWhereTheDistortionHasTurnedBack) {
  const Lens Barrel = {1000, 1000, 500, 300, -1.0, 0};
  EXPECT_TRUE(rigsync::Point_At(Barrel, {500 + 380, 300}, 3.0).allFinite());
  EXPECT_FALSE(rigsync::Point_At(Barrel, {500 + 390, 300}, 3.0).allFinite());
  EXPECT_FALSE(rigsync::Pixel_Of(Pinhole, {0, 0, -1}).allFinite());
}

TEST(PictureShift, AShiftOfTheMountIsItselfAtTheObject) {
  const Drawing Then = {Pinhole, Eigen::Isometry3d::Identity()};
  Drawing Now = Then;
  Now.Transform_Cam_Tc.translation() = Eigen::Vector3d(0.005, 0, 0);
  for (const Eigen::Vector2d& Pixel : {Eigen::Vector2d(500, 300), Eigen::Vector2d(0, 0)}) {
    const auto Shift = Shift_In_Picture(Then, Now, Pixel, 3.0);
    EXPECT_NEAR(Shift.Mm, 5.0, Rounding);
    EXPECT_NEAR(Shift.Px.x(), 1000 * 0.005 / 3.0, Rounding);
    EXPECT_NEAR(Shift.Px.y(), 0.0, Rounding);
    EXPECT_EQ(Shift.Pixel, Pixel);
  }
}

// About the axis through the camera that points down: what was straight ahead is now to the right.
TEST(PictureShift, ATurnOfTheMountTurnsThePicture) {
  const double Angle = 0.01;
  const Drawing Then = {Pinhole, Eigen::Isometry3d::Identity()};
  Drawing Now = Then;
  Now.Transform_Cam_Tc.rotate(Eigen::AngleAxisd(Angle, Eigen::Vector3d::UnitY()));
  const auto Shift = Shift_In_Picture(Then, Now, {500, 300}, 3.0);
  EXPECT_NEAR(Shift.Px.x(), 1000 * std::tan(Angle), Rounding);
  EXPECT_NEAR(Shift.Px.y(), 0.0, Rounding);
  EXPECT_NEAR(Shift.Mm, 3000 * std::tan(Angle), Rounding);
}

// What both mounts have in common doesn't count.
TEST(PictureShift, TheTrackersPoseOnTheCameraIsNotAShift) {
  Eigen::Isometry3d Mount = Eigen::Isometry3d::Identity();
  Mount.rotate(Eigen::AngleAxisd(1.0, Eigen::Vector3d(1, 2, 3).normalized()));
  Mount.translation() = Eigen::Vector3d(0.1, -0.2, 0.3);
  const auto Shift = Shift_In_Picture({Pinhole, Mount}, {Pinhole, Mount}, {20, 30}, 2.0);
  EXPECT_NEAR(Shift.Px.norm(), 0.0, Rounding);
}

TEST(PictureShift, ALongerLensMovesThePictureAwayFromItsCentre) {
  const Drawing Then = {Pinhole, Eigen::Isometry3d::Identity()};
  Drawing Now = Then;
  Now.Lens_Px.Fx = Now.Lens_Px.Fy = 1010;
  EXPECT_NEAR(Shift_In_Picture(Then, Now, {500, 300}, 3.0).Px.norm(), 0.0, Rounding);
  const auto Corner = Shift_In_Picture(Then, Now, {0, 0}, 3.0);
  EXPECT_NEAR(Corner.Px.x(), -5.0, Rounding);
  EXPECT_NEAR(Corner.Px.y(), -3.0, Rounding);
  EXPECT_NEAR(Corner.Mm, 3000 * std::hypot(5.0, 3.0) / 1010, Rounding);
}

TEST(PictureShift, AScaledLensSeesTheSamePointsAtScaledPixels) {
  const Lens Bent = {1050, 1055, 483, 266, -0.09, 0.03};
  const Eigen::Vector3d Point(0.4, -0.3, 2.0);
  const Eigen::Vector2d Pixel = rigsync::Pixel_Of(Bent, Point);
  const Eigen::Vector2d Doubled = rigsync::Pixel_Of(rigsync::Scaled(Bent, 2.0, 0.5), Point);
  EXPECT_NEAR(Doubled.x(), 2.0 * Pixel.x(), Rounding);
  EXPECT_NEAR(Doubled.y(), 0.5 * Pixel.y(), Rounding);
}

}  // namespace
