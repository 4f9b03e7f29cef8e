// SPDX-License-Identifier: Apache-2.0
//
// The numbers of the script for a LensFile, worked out by hand. lens_script_check.py runs the
// scripts.
#include "rigsync/exports/unreal_lens_script.h"

#include "rigsync/system/usage_error.h"
#include "tests/rigsync/exports/script_numbers.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace {

using rigsync::Calibration_Result;
using rigsync::File_Request;
using rigsync::File_Text;
using rigsync::Tracker_Axes;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using Json = nlohmann::ordered_json;

// A few roundings of numbers near 1, and of centimetres.
constexpr double Rounding = 1e-14, Centimetre_Rounding = 1e-12;

// fx 1440, fy 1620, cx 960, cy 270 pixels; Tc has the axes of Cam, and the camera is at (0.1, 0.3,
// 0.2) along the body's own axes, looks along the body's -y and has the body's z up.
Calibration_Result Worked_Result() {
  Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {0.75, 1.5};
  Result.Norm_Cxy = {0.5, 0.25};
  Result.Distortion = {-0.125, 0.0625, 0, 0, 0};
  Result.Transform_Cam_Tc = {1, 0, 0, 0.1, 0, 1, 0, 0.2, 0, 0, 1, 0.3, 0, 0, 0, 1};
  return Result;
}

File_Request Request_Of(const Calibration_Result& Result) {
  return {"result.json", Result, std::nullopt, {{36.0, 20.25}}, std::nullopt, "", "", false, ""};
}

Json Point_Of(const File_Request& Request) {
  const Json Numbers = Numbers_In(rigsync::Write_Unreal_Lens_Script(Request).Text);
  EXPECT_THAT(Numbers["points"], SizeIs(1));
  return Numbers["points"][0];
}

void Expect_Near(const Json& Numbers, const std::vector<double>& Expected, double Tolerance) {
  ASSERT_THAT(Numbers, SizeIs(Expected.size()));
  for (std::size_t i = 0; i < Expected.size(); ++i) {
    EXPECT_NEAR(Numbers[i].get<double>(), Expected[i], Tolerance) << i;
  }
}

TEST(UnrealLensScript, TheNumbersHaveAFormatAndItsVersion) {
  const Json Numbers =
      Numbers_In(rigsync::Write_Unreal_Lens_Script(Request_Of(Worked_Result())).Text);
  EXPECT_EQ(Numbers["format"], "rigsync-unreal-lens");
  EXPECT_EQ(Numbers["format_version"], 1);
  EXPECT_EQ(Numbers["image_dimensions_px"], Json({1920, 1080}));
  EXPECT_EQ(Numbers["sensor_dimensions_mm"], Json({36.0, 20.25}));
}

TEST(UnrealLensScript, NormalisedNumbersAreFromTheFramesCorner) {
  const Calibration_Result Result = Worked_Result();
  const Json Point = Point_Of(Request_Of(Result));
  Expect_Near(Point["fx_fy"], {0.75, 1.5}, Rounding);
  Expect_Near(Point["principal_point"], {960.5 / 1920.0, 270.5 / 1080.0}, Rounding);
  Expect_Near(Point["k1_k2_k3_p1_p2"], {-0.125, 0.0625, 0, 0, 0}, 0.0);
}

// The object's x is the body's z, its y the body's -x, its z the body's y.
TEST(UnrealLensScript, WithoutLabelsTheAxesAreThoseOfUE4AndAWarningSaysSo) {
  const Calibration_Result Result = Worked_Result();
  const File_Text Written = rigsync::Write_Unreal_Lens_Script(Request_Of(Result));
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["tracker_axes"], Json({"z", "-x", "y"}));
  Expect_Near(Numbers["points"][0]["location_cm"], {20.0, -10.0, 30.0}, Centimetre_Rounding);
  EXPECT_THAT(Written.Warnings, Contains(HasSubstr("are those of --to ue4")));
  EXPECT_THAT(Written.Text, HasSubstr("# Nothing says which way the axes of the tracked body"));
}

// x right, y forward, z up: the engine's x is forward, its y right.
TEST(UnrealLensScript, KnownLabelsKeepTheAxesAsTheyWereTracked) {
  Calibration_Result Result = Worked_Result();
  Result.Inputs.Camera_Labels = rigsync::Body_Labels::Right_Forward_Up;
  const File_Text Written = rigsync::Write_Unreal_Lens_Script(Request_Of(Result));
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["tracker_axes"], Json({"y", "x", "z"}));
  Expect_Near(Numbers["points"][0]["location_cm"], {30.0, 10.0, 20.0}, Centimetre_Rounding);
  // It looks along the object's -x with z up: half a turn about z.
  const auto Rotation = Numbers["points"][0]["rotation_xyzw"].get<std::vector<double>>();
  EXPECT_NEAR(std::abs(Rotation[2]), 1.0, Rounding);
  EXPECT_NEAR(Rotation[3], 0.0, Rounding);
  EXPECT_THAT(Written.Warnings, Each(Not(HasSubstr("axes"))));
  EXPECT_THAT(Written.Text, HasSubstr("The stream of the tracker says which way"));
}

TEST(UnrealLensScript, StatedAxesGoBeforeKnownOnes) {
  Calibration_Result Result = Worked_Result();
  Result.Inputs.Camera_Labels = rigsync::Body_Labels::Right_Forward_Up;
  File_Request Request = Request_Of(Result);
  Request.Axes = Tracker_Axes{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}};
  Expect_Near(Point_Of(Request)["location_cm"], {10.0, -30.0, 20.0}, Centimetre_Rounding);
}

// One result of a lens does not say which way the axes of the other's tracker point.
TEST(UnrealLensScript, OneResultWithoutLabelsIsEnoughNotToKnowThem) {
  Calibration_Result Known = Worked_Result();
  Known.Inputs.Camera_Labels = rigsync::Body_Labels::Right_Forward_Up;
  const Calibration_Result Unknown = Worked_Result();
  const File_Text Written = rigsync::Unreal_Lens_Script(
      {{"a.json", Known, {0.0, 24.0}, ""}, {"b.json", Unknown, {0.5, 70.0}, ""}}, std::nullopt,
      std::nullopt);
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["tracker_axes"], Json({"z", "-x", "y"}));
  ASSERT_THAT(Numbers["points"], SizeIs(2));
  EXPECT_EQ(Numbers["points"][0]["result"], "a.json");
  EXPECT_EQ(Numbers["points"][0]["zoom"], 24.0);
  EXPECT_EQ(Numbers["points"][1]["focus"], 0.5);
  EXPECT_EQ(Numbers["points"][1]["zoom"], 70.0);
}

TEST(UnrealLensScript, APointIsAtZeroUnlessItsPlaceIsStated) {
  const Calibration_Result Result = Worked_Result();
  File_Request Request = Request_Of(Result);
  EXPECT_EQ(Point_Of(Request)["focus"], 0.0);
  EXPECT_EQ(Point_Of(Request)["zoom"], 0.0);
  Request.At = rigsync::Lens_Position{0.25, 35.0};
  EXPECT_EQ(Point_Of(Request)["focus"], 0.25);
  EXPECT_EQ(Point_Of(Request)["zoom"], 35.0);
}

TEST(UnrealLensScript, TheFileAndAWarningSayThatNoEngineHasRunIt) {
  const Calibration_Result Result = Worked_Result();
  const File_Text Written = rigsync::Write_Unreal_Lens_Script(Request_Of(Result));
  EXPECT_THAT(Written.Text, HasSubstr("# NOT YET TRIED IN AN ENGINE."));
  EXPECT_THAT(Written.Warnings, Contains(HasSubstr("not yet tried in an engine")));
}

TEST(UnrealLensScript, WithoutASensorItIs36MmWideAndTheFileSaysSo) {
  const Calibration_Result Result = Worked_Result();
  File_Request Request = Request_Of(Result);
  Request.Sensor_Mm.reset();
  const File_Text Written = rigsync::Write_Unreal_Lens_Script(Request);
  const Json Numbers = Numbers_In(Written.Text);
  EXPECT_EQ(Numbers["sensor_dimensions_mm"], Json({36.0, 20.25}));
  EXPECT_THAT(Written.Warnings, Contains(AllOf(HasSubstr("36 mm"), HasSubstr("--sensor"))));
  EXPECT_THAT(Written.Text, HasSubstr("# The size of the sensor is not known"));
}

TEST(UnrealLensScript, ALensThatNoRunWritesIsRefusedByItsKey) {
  for (auto Member : {&Calibration_Result::Image_Size, &Calibration_Result::Distortion}) {
    Calibration_Result Result = Worked_Result();
    (Result.*Member).clear();
    EXPECT_THROW(rigsync::Write_Unreal_Lens_Script(Request_Of(Result)), rigsync::Usage_Error);
  }
}

}  // namespace
