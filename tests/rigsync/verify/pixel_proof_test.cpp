// SPDX-License-Identifier: Apache-2.0
//
// Differences and bounds that can be worked out by hand: a camera of 1000 pixels focal length.
#include "rigsync/verify/pixel_proof.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/take/base_axes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Composed_Camera;
using rigsync::Exported_Camera;
using rigsync::Lens;
using rigsync::Pixel_Proof;
using rigsync::Reference_Camera;
using rigsync::Tracker_Sample;

constexpr Lens Pinhole = {1000, 1000, 500, 300, 0, 0};

// The library's axes of Tc are those of Cam, with the camera at the tracker.
Reference_Camera At_Tracker() {
  return {Eigen::Matrix4d::Identity(), Pinhole};
}

// A target with one field, the camera's shift along x of Cam in centimetres.
Exported_Camera Shifted_Camera(double Shift_Cm, double Rounding_Cm) {
  Exported_Camera Camera;
  Camera.Fields = {{"x", Shift_Cm, Rounding_Cm}};
  Camera.Compose = [](const std::vector<double>& Values) {
    Composed_Camera Made;
    Made.Transform_Object_Cam = rigsync::Rotation_Tc_Body().transpose();
    Made.Transform_Object_Cam.translate(Eigen::Vector3d(Values.at(0) / 100.0, 0, 0));
    return Made;
  };
  return Camera;
}

const std::vector<Tracker_Sample> One_Sample = {{{1.0, -2.0, 0.5}, {0.8, 0.2, -0.4, 0.4}}};
const std::vector<Eigen::Vector3d> Two_Metres_Ahead = {{0, 0, 2}};

// The library's pi of eleven digits turns by 1.4e-10 rad, which is 1.4e-7 pixels here.
constexpr double Short_Pi_Px = 2e-7;

// 1 cm at 2 m is 1000 * 0.01 / 2 = 5 pixels.
TEST(PixelProof, ADifferenceIsThatOfTheTwoPixels) {
  const Pixel_Proof Proof =
      Prove_Pixels(At_Tracker(), Shifted_Camera(1.0, 0.0), One_Sample, Two_Metres_Ahead);
  EXPECT_NEAR(Proof.Mount.Worst.Px, 5.0, Short_Pi_Px);
  EXPECT_NEAR(Proof.Mount.Worst.Pixel.x(), 500.0, Short_Pi_Px);
  EXPECT_FALSE(Proof.Holds());
}

TEST(PixelProof, TheBoundIsWhatTheRoundingOfAFieldMovesThePixelBy) {
  const auto Worst = [](double Shift_Cm, double Rounding_Cm) {
    return Prove_Pixels(At_Tracker(), Shifted_Camera(Shift_Cm, Rounding_Cm), One_Sample,
                        Two_Metres_Ahead)
        .Mount.Worst;
  };
  EXPECT_NEAR(Worst(0.01, 0.01).Allowed_Px, 0.05, 0.001);
  EXPECT_TRUE(Worst(0.01, 0.01).Is_Within());
  EXPECT_FALSE(Worst(0.0102, 0.01).Is_Within());
  EXPECT_LT(Worst(0.0, 0.0).Allowed_Px, 1e-6);
}

// The library's relabelling of the axes is up to 1.4e-10 rad off, and the exports take it for
// exact: 1e-7 pixels of 1000.
TEST(PixelProof, ExactNumbersDifferByTheLibrarysRelabelling) {
  const rigsync::Compared_Pixel Worst =
      Prove_Pixels(At_Tracker(), Shifted_Camera(0.0, 0.0), One_Sample, Two_Metres_Ahead)
          .Mount.Worst;
  EXPECT_GT(Worst.Px, 1e-8);
  EXPECT_TRUE(Worst.Is_Within());
}

// A turn by 0.001 rad is 1 pixel of 1000, a shift of 1 mm at 2 m half a pixel.
TEST(PixelProof, ATurnAndAShiftOfTheWholeCameraWidenTheBound) {
  Exported_Camera Camera = Shifted_Camera(0.0, 0.0);
  Camera.Turn_Rad = 0.001;
  const auto Allowed = [&] {
    return Prove_Pixels(At_Tracker(), Camera, One_Sample, Two_Metres_Ahead).Mount.Worst.Allowed_Px;
  };
  // About either axis of the image, so the root of two.
  EXPECT_NEAR(Allowed(), std::sqrt(2.0), 0.03);
  Camera.Turn_Rad = 0.0;
  Camera.Shift_M = 0.001;
  EXPECT_NEAR(Allowed(), 0.5 * std::sqrt(2.0), 0.02);
}

// Minus the point has the pixel of the point, so a camera with its back to the stage is told by
// what is in front of it.
TEST(PixelProof, APointBehindTheTargetsCameraIsBeyondAnyBound) {
  Exported_Camera Camera = Shifted_Camera(0.0, 1e6);
  const auto Exact = Camera.Compose;
  Camera.Compose = [Exact](const std::vector<double>& Values) {
    Composed_Camera Made = Exact(Values);
    Made.Transform_Object_Cam.linear() *= -1.0;
    return Made;
  };
  const Pixel_Proof Proof = Prove_Pixels(At_Tracker(), Camera, One_Sample, Two_Metres_Ahead);
  EXPECT_FALSE(Proof.Holds());
  EXPECT_TRUE(std::isnan(Proof.Mount.Worst.Px));
}

TEST(PixelProof, TheOneFurthestBeyondItsBoundIsTold) {
  const std::vector<Eigen::Vector3d> Points = {{0, 0, 10}, {0, 0, 1}, {0, 0, 2}};
  const Pixel_Proof Proof =
      Prove_Pixels(At_Tracker(), Shifted_Camera(1.0, 0.0), One_Sample, Points);
  ASSERT_TRUE(Proof.Mount.Beyond);
  EXPECT_NEAR(Proof.Mount.Worst.Px, 10.0, 1e-6);
  EXPECT_NEAR(Proof.Mount.Beyond->Px, 10.0, 1e-6);
}

// A target's own lens is compared with the solved one as far as the target can have it.
TEST(PixelProof, TheTargetsOwnLensHasAColumnOfItsOwn) {
  Exported_Camera Camera = Shifted_Camera(0.0, 0.0);
  Camera.Lens_Of_Target = Lens{1000, 1000, 500, 300, 0, 0};
  const auto Exact = Camera.Compose;
  Camera.Compose = [Exact](const std::vector<double>& Values) {
    Composed_Camera Made = Exact(Values);
    Made.Own_Lens = Lens{1001, 1000, 500, 300, 0, 0};
    return Made;
  };
  const Pixel_Proof Proof = Prove_Pixels(At_Tracker(), Camera, One_Sample, {{0.5, 0, 1.0}});
  ASSERT_TRUE(Proof.Own_Lens);
  EXPECT_FALSE(Proof.Mount.Beyond);
  EXPECT_NEAR(Proof.Own_Lens->Worst.Px, 0.5, 1e-6);
  EXPECT_FALSE(Proof.Holds());
}

// A scene of the other hand: stage, body and camera are mirrored alike.
TEST(PixelProof, AMirroredSceneShowsTheSamePixels) {
  Exported_Camera Camera = Shifted_Camera(0.0, 0.0);
  const auto Exact = Camera.Compose;
  Camera.Axes = rigsync::Parse_Axes("", "x,-y,z");
  Camera.Compose = [Exact](const std::vector<double>& Values) {
    Composed_Camera Made = Exact(Values);
    Made.Transform_Object_Cam.linear().row(1) *= -1.0;
    Made.Transform_Object_Cam.translation().y() *= -1.0;
    return Made;
  };
  EXPECT_TRUE(Prove_Pixels(At_Tracker(), Camera, One_Sample, {{0.3, -0.2, 1.0}}).Holds());
  Camera.Axes = rigsync::Parse_Axes("", "x,y,z");
  EXPECT_FALSE(Prove_Pixels(At_Tracker(), Camera, One_Sample, {{0.3, -0.2, 1.0}}).Holds());
}

// A file that has a sample of its own stands where that sample puts it. A sample's quaternion turns
// Base's directions into the body's, so the body is turned by 30 degrees about -z.
TEST(PixelProof, TheTargetsOwnSampleIsProvenToo) {
  Exported_Camera Camera = Shifted_Camera(0.0, 0.0);
  const auto Exact = Camera.Compose;
  double Place = 0.5;
  const double Half_Rad = 15.0 / rigsync::Degrees_Per_Radian;
  Camera.Own_Sample = Tracker_Sample{{0.5, 0, 0.5}, {std::cos(Half_Rad), 0, 0, std::sin(Half_Rad)}};
  Camera.Compose = [Exact, &Place, Half_Rad](const std::vector<double>& Values) {
    Composed_Camera Made = Exact(Values);
    Made.Transform_Scene_Object = Eigen::Affine3d(Eigen::Translation3d(0.5, 0, Place)) *
                                  Eigen::AngleAxisd(-2.0 * Half_Rad, Eigen::Vector3d::UnitZ());
    return Made;
  };
  EXPECT_TRUE(Prove_Pixels(At_Tracker(), Camera, One_Sample, Two_Metres_Ahead).Holds());
  Place = 0.51;
  const Pixel_Proof Proof = Prove_Pixels(At_Tracker(), Camera, One_Sample, Two_Metres_Ahead);
  ASSERT_TRUE(Proof.Mount.Beyond);
  EXPECT_NEAR(Proof.Mount.Beyond->Px, 5.0, Short_Pi_Px);
  EXPECT_EQ(Proof.Mount.Beyond->Sample, One_Sample.size());
}

TEST(PixelProof, TheDefectOfARotationIsHowFarItIsFromOne) {
  Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
  EXPECT_EQ(rigsync::Rotation_Defect(Transform), 0.0);
  Transform(0, 0) = 1.0 + 1e-6;  // its square is 1 + 2e-6
  EXPECT_NEAR(rigsync::Rotation_Defect(Transform), 2e-6, 1e-11);
}

}  // namespace
