// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/verification.h"

#include "rigsync/formats/engine_fields.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/verify/random_rig.h"
#include "tests/support/read_text.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using rigsync::Target_Outcome;
using rigsync::Target_Proof;
using rigsync::Verification;
using rigsync::Verify_Exports;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

Random_Rig Plain_Rig() {
  Dice Thrown(3);
  return Make_Random_Rig(Rig_Kind::Any, Thrown);
}

Verification Verified(const rigsync::Calibration_Result& Result, const std::string& Axes = "") {
  return Verify_Exports({"result.json", Result, rigsync::Fixed_Samples(), Axes});
}

const Target_Proof& Named(const Verification& Of, const std::string& Name) {
  for (const Target_Proof& Target : Of.Targets) {
    if (Target.Name == Name) return Target;
  }
  throw std::invalid_argument(Name);
}

TEST(Verification, EveryTargetOfNumbersIsProven) {
  const Verification Of = Verified(Plain_Rig().Result);
  EXPECT_TRUE(Of.Holds());
  for (const rigsync::Engine& Target : rigsync::Engines()) {
    const Target_Proof& Proof = Named(Of, Target.Name);
    EXPECT_EQ(Proof.Reason, "");
    EXPECT_GE(Proof.Proof.Mount.Worst.Px, 0.0);
    EXPECT_EQ(Proof.Axes, rigsync::Tracker_Axes_Text(Target.Library_Axes));
  }
  EXPECT_GT(Of.Points.Points_Cam.size(), 300u);
}

TEST(Verification, AxesThatAreAskedForAreThoseOfTheProof) {
  const Verification Of = Verified(Plain_Rig().Result, "y-up");
  EXPECT_TRUE(Of.Holds());
  EXPECT_EQ(Named(Of, "ue4").Axes, "x, z, y");
  EXPECT_EQ(Named(Of, "ue5").Axes, "x, -z, y");
}

// Axes of one hand suit the engines of that hand.
TEST(Verification, AnEngineOfTheOtherHandIsLeftOut) {
  const Verification Of = Verified(Plain_Rig().Result, "z,-x,y");
  EXPECT_TRUE(Of.Holds());
  EXPECT_EQ(Named(Of, "ue4").Reason, "");
  EXPECT_THAT(Named(Of, "ue5").Reason, HasSubstr("left-handed"));
}

TEST(Verification, AxesThatNoTargetCanHaveAreRefused) {
  EXPECT_THROW(Verified(Plain_Rig().Result, "upwards"), rigsync::Usage_Error);
}

// With a radius of 5 and more in the image, where r (1 - r^2) ends at 0.385, no pixel has a point,
// and every target would hold because nothing is compared.
TEST(Verification, ALensThatShowsNothingInTheImageIsRefused) {
  rigsync::Calibration_Result Result = Plain_Rig().Result;
  Result.Norm_Cxy = {10.0, 10.0};
  Result.Distortion = {-1.0, 0.0, 0.0, 0.0, 0.0};
  try {
    Verified(Result);
    ADD_FAILURE() << "is proven";
  } catch (const rigsync::Usage_Error& Refusal) {
    EXPECT_THAT(Refusal.what(), AllOf(StartsWith("result.json: 'lens' shows nothing"),
                                      HasSubstr("calibrate again")));
  }
}

TEST(Verification, AGimbalLockIsToldAndIsNoFailure) {
  rigsync::Calibration_Result Result = Plain_Rig().Result;
  Result.Transform_Cam_Tc = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Verification Of = Verified(Result);
  EXPECT_TRUE(Of.Holds());
  EXPECT_THAT(Named(Of, "ue4").Reason, HasSubstr("code 3. Gimbal lock"));
  EXPECT_TRUE(Named(Of, "aximmetry").Proof.Holds());
}

// A camera that is pitched by 89.9 degrees in the axes of Unreal Engine 4.
TEST(Verification, AMountNearALockIsToldAbout) {
  rigsync::Calibration_Result Result = Plain_Rig().Result;
  EXPECT_TRUE(Named(Verified(Result), "ue4").Notes.empty());
  const Eigen::Matrix3d Tc_Cam =
      Tc_Cam_Of(Turn_Deg(Eigen::Vector3d::UnitY(), -89.9), "z,-x,y", "z,x,-y");
  Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
  Transform.topLeftCorner<3, 3>() = Tc_Cam.transpose();
  Result.Transform_Cam_Tc = rigsync::List_From_Matrix(Transform);
  const Verification Of = Verified(Result);
  EXPECT_TRUE(Of.Holds());
  EXPECT_THAT(Named(Of, "ue4").Notes, ElementsAre(HasSubstr("gimbal lock")));
  EXPECT_GT(Named(Of, "ue4").Proof.Mount.Worst.Allowed_Px,
            10.0 * Named(Of, "ue5").Proof.Mount.Worst.Allowed_Px);
  EXPECT_TRUE(Named(Verified(Result, "z-up"), "ue4").Notes.empty());
}

// The file targets with one more, which writes so.
std::vector<rigsync::File_Target> Files_With(
    const std::string& Name, rigsync::File_Text (*Write)(const rigsync::File_Request& Request)) {
  std::vector<rigsync::File_Target> Files = rigsync::File_Targets();
  Files.push_back(
      {Name, Name, rigsync::Engine_Space::Right_Handed_Z_Up, {rigsync::File_Option::Axes}, Write});
  return Files;
}

Target_Proof Last_Of(const Verification& Of) {
  return Of.Targets.back();
}

TEST(Verification, ARefusalThatIsNotOneOfTheAxesIsAFailure) {
  const auto Files = Files_With("blender", [](const rigsync::File_Request&) -> rigsync::File_Text {
    throw rigsync::Usage_Error("--focus", "--focus: missing");
  });
  const rigsync::Calibration_Result Result = Plain_Rig().Result;
  const Verification Of =
      Verify_Exports({"result.json", Result, rigsync::Fixed_Samples(), ""}, Files);
  EXPECT_EQ(Last_Of(Of).Outcome, Target_Outcome::Not_Proven);
  EXPECT_EQ(Last_Of(Of).Reason, "--focus: missing");
  EXPECT_FALSE(Of.Holds());
  // Axes of the other hand are refused before the file is asked for.
  const Verification Left =
      Verify_Exports({"result.json", Result, rigsync::Fixed_Samples(), "z,-x,y"}, Files);
  EXPECT_EQ(Last_Of(Left).Outcome, Target_Outcome::Not_Exported);
  EXPECT_TRUE(Left.Holds());
}

TEST(Verification, AFileThatCantBeReadBackIsAFailure) {
  const rigsync::Calibration_Result Result = Plain_Rig().Result;
  for (const char* Name : {"blender", "unreal-lens", "opentrackio", "opencv", "kalibr"}) {
    const auto Files = Files_With(Name, [](const rigsync::File_Request&) {
      return rigsync::File_Text{"no such file", {}};
    });
    const Verification Of =
        Verify_Exports({"result.json", Result, rigsync::Fixed_Samples(), ""}, Files);
    EXPECT_EQ(Last_Of(Of).Outcome, Target_Outcome::Not_Proven) << Name;
    EXPECT_THAT(Last_Of(Of).Reason, StartsWith("its file can't be read back: ")) << Name;
    EXPECT_FALSE(Of.Holds()) << Name;
  }
}

TEST(Verification, ATargetWithoutACameraIsTold) {
  const Verification Of = Verified(Plain_Rig().Result);
  EXPECT_EQ(Named(Of, "corners").Outcome, Target_Outcome::No_Camera);
  EXPECT_TRUE(Of.Holds());
}

// The proof of a sample in millimetres needs a sensor, and 'rigsync export' asks for it.
TEST(Verification, ASensorThatTheResultDoesNotHaveIsTold) {
  rigsync::Calibration_Result Result = Plain_Rig().Result;
  Result.Image_Size = {1920, 1080};
  EXPECT_THAT(Named(Verified(Result), "opentrackio").Notes,
              Contains(AllOf(HasSubstr("asks for --sensor"), HasSubstr("36 x 20.25 mm"))));
  EXPECT_THAT(Named(Verified(Result), "blender").Notes, Not(Contains(HasSubstr("--sensor"))));
  Result.Inputs.Sensor_Size_Mm = {24.0, 13.5};
  EXPECT_THAT(Named(Verified(Result), "opentrackio").Notes, Not(Contains(HasSubstr("--sensor"))));
}

// docs/verify.md has a line of the table for each target, with the axes that it has by itself, and
// tells the figures of each.
TEST(Verification, ThePageHasEveryTarget) {
  const std::string Page = Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/verify.md");
  for (const Target_Proof& Target : Verified(Plain_Rig().Result).Targets) {
    const bool Is_Compared = Target.Outcome == Target_Outcome::Compared;
    EXPECT_THAT(Page, HasSubstr(fmt::format("\n  {:<14}{}", Target.Name,
                                            Is_Compared ? Target.Axes : "no camera\n")));
    EXPECT_THAT(Page, HasSubstr("`" + Target.Name + "`"));
  }
}

// Square pixels: fy * height is fx * width, and what is left is the distortion.
TEST(Verification, WhatALensCantHaveIsToldInPixels) {
  rigsync::Calibration_Result Result = Plain_Rig().Result;
  Result.Image_Size = {1000, 1000};
  Result.Norm_Fxy = {1.0, 1.0};
  Result.Norm_Cxy = {0.4995, 0.4995};
  Result.Distortion = {0, 0, 0, 0, 0};
  const auto Notes = [&] { return Named(Verified(Result), "aximmetry").Notes; };
  EXPECT_THAT(Notes(), ElementsAre(HasSubstr("half a pixel")));
  // 500 pixels from the centre, one in a hundred.
  Result.Norm_Fxy = {1.0, 1.01};
  EXPECT_THAT(Notes(), ElementsAre(HasSubstr("up to 4.950 px"), HasSubstr("half a pixel")));
  // The corners of the image are at the radius 0.5 * sqrt(2), where r (1 + 0.1 r^2) ends.
  Result.Norm_Fxy = {1.0, 1.0};
  Result.Distortion = {0.1, 0, 0, 0, 0};
  const double Radius = 0.6757;  // r (1 + 0.1 r^2) is 0.7066; its distance from 0.7071 is small
  EXPECT_NEAR(Radius * (1 + 0.1 * Radius * Radius), 0.7071, 0.001);
  EXPECT_THAT(Notes(), ElementsAre(HasSubstr("no distortion, which is up to 30."),
                                   HasSubstr("half a pixel")));
}

}  // namespace
