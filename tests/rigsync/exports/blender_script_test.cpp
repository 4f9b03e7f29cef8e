// SPDX-License-Identifier: Apache-2.0
//
// The numbers of the script for Blender, worked out by hand. scripts/checks/blender has Blender run
// the script, and compares pixels.
#include "rigsync/exports/blender_script.h"

#include "rigsync/exports/script_text.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/exports/script_numbers.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace {

using rigsync::Calibration_Result;
using rigsync::File_Request;
using rigsync::File_Text;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Json = nlohmann::ordered_json;

// A few roundings of numbers near 1.
constexpr double Rounding = 1e-14;

const std::vector<double> Identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// fx 1440, fy 1620, cx 960, cy 270 pixels.
Calibration_Result Result_Of(const std::vector<double>& Transform_Cam_Tc = Identity) {
  Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {0.75, 1.5};
  Result.Norm_Cxy = {0.5, 0.25};
  Result.Distortion = {0, 0, 0, 0, 0};
  Result.Transform_Cam_Tc = Transform_Cam_Tc;
  return Result;
}

File_Request Request_Of(const Calibration_Result& Result) {
  return rigsync::Request_From("result.json", Result);
}

Json Numbers_Of(const File_Request& Request) {
  return Numbers_In(rigsync::Write_Blender_Script(Request).Text);
}

TEST(BlenderScript, TheNumbersHaveAFormatItsVersionAndWhereTheyAreFrom) {
  const Json Numbers = Numbers_Of(Request_Of(Result_Of()));
  EXPECT_EQ(Numbers["format"], "rigsync-blender");
  EXPECT_EQ(Numbers["format_version"], 1);
  EXPECT_EQ(Numbers["result"], "result.json");
  EXPECT_EQ(Numbers["solution"], "library");
}

TEST(BlenderScript, ThePrincipalPointIsAShiftFromTheFramesCentre) {
  const Calibration_Result Result = Result_Of();
  const Json Numbers = Numbers_Of(Request_Of(Result));
  // The centre of the frame is between the pixels 959 and 960, at 959.5, and between 539 and 540.
  EXPECT_NEAR(Numbers["shift_x"].get<double>(), (959.5 - 960.0) / 1920.0, Rounding);
  // Down the image, and in parts of the width although it is vertical: 269.5 pixels, each
  // 1440 / 1620 of a pixel's width high.
  EXPECT_NEAR(Numbers["shift_y"].get<double>(), (270.0 - 539.5) * (8.0 / 9.0) / 1920.0, Rounding);
}

TEST(BlenderScript, AnAspectIsNeverBelowOne) {
  Calibration_Result Result = Result_Of();
  Json Numbers = Numbers_Of(Request_Of(Result));
  EXPECT_NEAR(Numbers["pixel_aspect_x"].get<double>(), 1.125, Rounding);  // fy / fx
  EXPECT_EQ(Numbers["pixel_aspect_y"].get<double>(), 1.0);
  Result.Norm_Fxy = {0.9, 1.2};  // fx 1728, fy 1296
  Numbers = Numbers_Of(Request_Of(Result));
  EXPECT_EQ(Numbers["pixel_aspect_x"].get<double>(), 1.0);
  EXPECT_NEAR(Numbers["pixel_aspect_y"].get<double>(), 4.0 / 3.0, Rounding);
}

TEST(BlenderScript, TheFocalLengthIsThatOfTheStatedSensor) {
  const Calibration_Result Result = Result_Of();
  File_Request Request = Request_Of(Result);
  Request.Sensor_Mm = {{24.0, 13.5}};
  const Json Numbers = Numbers_Of(Request);
  EXPECT_EQ(Numbers["sensor_width_mm"].get<double>(), 24.0);
  EXPECT_EQ(Numbers["sensor_height_mm"].get<double>(), 13.5);
  EXPECT_NEAR(Numbers["lens_mm"].get<double>(), 18.0, Rounding);
  EXPECT_EQ(Numbers["width_px"].get<int>(), 1920);
  EXPECT_EQ(Numbers["height_px"].get<int>(), 1080);
  EXPECT_THAT(rigsync::Write_Blender_Script(Request).Warnings, IsEmpty());
}

TEST(BlenderScript, WithoutASensorItIs36MmWideAndTheFileSaysSo) {
  const Calibration_Result Result = Result_Of();
  const File_Text Written = rigsync::Write_Blender_Script(Request_Of(Result));
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["sensor_width_mm"].get<double>(), 36.0);
  EXPECT_EQ(Numbers["sensor_height_mm"].get<double>(), 20.25);
  EXPECT_NEAR(Numbers["lens_mm"].get<double>(), 27.0, Rounding);
  ASSERT_THAT(Written.Warnings, SizeIs(1));
  EXPECT_THAT(Written.Warnings[0], AllOf(HasSubstr("36 mm"), HasSubstr("--sensor")));
  EXPECT_THAT(Written.Text, HasSubstr("# The size of the sensor is not known"));
}

// The camera looks along the body's -y with the body's z up, so Blender's camera, which looks along
// -z, is turned by half a turn about (0, 1, 1): its x is -x of the body, its y is z, its z is y.
TEST(BlenderScript, TheCameraLooksAlongItsMinusZ) {
  const Calibration_Result Result =
      Result_Of({1, 0, 0, 0.1, 0, 1, 0, 0.2, 0, 0, 1, 0.3, 0, 0, 0, 1});
  const Json Numbers = Numbers_Of(Request_Of(Result));
  // Tc (-0.1, -0.2, -0.3) is (0.1, 0.3, 0.2) along the body's own axes.
  EXPECT_EQ(Numbers["location_m"], Json({0.1, 0.3, 0.2}));
  const auto Rotation = Numbers["rotation_wxyz"].get<std::vector<double>>();
  ASSERT_THAT(Rotation, SizeIs(4));
  const double Half = std::sqrt(0.5), Sign = Rotation[2] < 0 ? -1.0 : 1.0;
  EXPECT_NEAR(Rotation[0], 0.0, Rounding);
  EXPECT_NEAR(Rotation[1], 0.0, Rounding);
  EXPECT_NEAR(Rotation[2] * Sign, Half, Rounding);
  EXPECT_NEAR(Rotation[3] * Sign, Half, Rounding);
  EXPECT_EQ(Numbers["tracker_axes"], Json({"x", "y", "z"}));
}

// The same camera below an object whose y is the body's -z and whose z is its y.
TEST(BlenderScript, OtherAxesOfTheTrackerTurnTheCameraBelowIt) {
  const Calibration_Result Result =
      Result_Of({1, 0, 0, 0.1, 0, 1, 0, 0.2, 0, 0, 1, 0.3, 0, 0, 0, 1});
  File_Request Request = Request_Of(Result);
  Request.Axes = rigsync::Tracker_Axes{{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
  const File_Text Written = rigsync::Write_Blender_Script(Request);
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["tracker_axes"], Json({"x", "-z", "y"}));
  EXPECT_EQ(Numbers["location_m"], Json({0.1, -0.2, 0.3}));
  // It looks along -z of the object with -y up: half a turn about z.
  const auto Rotation = Numbers["rotation_wxyz"].get<std::vector<double>>();
  EXPECT_NEAR(std::abs(Rotation[3]), 1.0, Rounding);
  EXPECT_THAT(Written.Text, HasSubstr("its x, y and z are x, -z, y of the"));
}

// At the corner (0, 1079), which is the farthest from the principal point: x is -960 / 1440, y is
// 809 / 1620.
TEST(BlenderScript, DistortionIsLeftToOthersAndTheWorstOfItIsTold) {
  Calibration_Result Result = Result_Of();
  Result.Distortion = {-0.1, 0.05, 0, 0, 0};
  File_Request Request = Request_Of(Result);
  Request.Sensor_Mm = {{36.0, 20.25}};
  const File_Text Written = rigsync::Write_Blender_Script(Request);
  const double R2 = std::pow(960.0 / 1440.0, 2) + std::pow(809.0 / 1620.0, 2);
  const double Px = (0.1 * R2 - 0.05 * R2 * R2) * std::hypot(960.0, 809.0);
  ASSERT_THAT(Written.Warnings, SizeIs(1));
  EXPECT_NEAR(Px, 56.9, 0.05);
  EXPECT_THAT(Written.Warnings[0], HasSubstr("by up to 56.9 pixels"));
  EXPECT_THAT(Written.Text, HasSubstr("# Blender's camera has no distortion."));
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["k1"].get<double>(), -0.1);
  EXPECT_EQ(Numbers["k2"].get<double>(), 0.05);
}

TEST(BlenderScript, NoFileNameCanEndTheLiteral) {
  const Calibration_Result Result = Result_Of();
  File_Request Request = Request_Of(Result);
  const std::string Name = std::string("a\"\n") + rigsync::Numbers_End + "\nimport os #";
  Request.Result_File = Name;
  const std::string Script = rigsync::Write_Blender_Script(Request).Text;
  EXPECT_EQ(Numbers_In(Script)["result"], Name);
  EXPECT_EQ(Script.find("\nimport os"), std::string::npos);
}

// The coefficients make up for each other at the corners, where r^2 is 0.25. Between, k1 r^3 + k2
// r^5 peaks at r^2 = -3 k1 / (5 k2) = 0.15, which is left and right of the centre inside the frame:
// 0.4 * 0.2 * 0.15^1.5 of 1600 pixels.
TEST(BlenderScript, DistortionIsToldWhereItIsMostEvenIfTheCornersHaveNone) {
  Calibration_Result Result = Result_Of();
  Result.Image_Size = {1281, 961};
  Result.Norm_Fxy = {1600.0 / 1281, 1600.0 / 961};
  Result.Norm_Cxy = {640.0 / 1281, 480.0 / 961};
  Result.Distortion = {-0.2, 0.8, 0, 0, 0};
  const double Px = 1600.0 * 0.4 * 0.2 * std::pow(0.15, 1.5);
  EXPECT_NEAR(Px, 7.436, 0.001);
  EXPECT_THAT(rigsync::Write_Blender_Script(Request_Of(Result)).Warnings[0],
              HasSubstr("by up to 7.4 pixels"));
}

TEST(BlenderScript, ALensThatNoRunWritesIsRefusedByItsKey) {
  for (auto Member : {&Calibration_Result::Image_Size, &Calibration_Result::Distortion}) {
    Calibration_Result Result = Result_Of();
    (Result.*Member).clear();
    EXPECT_THROW(rigsync::Write_Blender_Script(Request_Of(Result)), rigsync::Usage_Error);
  }
}

}  // namespace
