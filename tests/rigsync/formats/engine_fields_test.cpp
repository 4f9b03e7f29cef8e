// SPDX-License-Identifier: Apache-2.0
//
// The engines and their fields, on a mount whose exported pose can be worked out by hand: the
// tracker's frame is the camera's, rotated by 30 degrees about the camera's x axis and shifted by
// 0.1, 0.2 and 0.3 m. Rotations with a pitch of 90 degrees are in export_test.cpp.
#include "rigsync/formats/engine_fields.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/take/base_axes.h"
#include "tests/support/quiet_output.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace {

using rigsync::Engine;
using rigsync::Engine_Export;
using rigsync::Solution_Choice;
using rigsync::Tracker_Axes;
using testing::ElementsAre;

// Centimetres of the single-precision exports are good to about 2e-6 at this size.
constexpr double Centimetre_Tolerance = 5e-6;

rigsync::Calibration_Result Mounted_Camera() {
  rigsync::Calibration_Result Result;
  Result.Code = 0;
  Result.Norm_Fxy = {0.5, 0.9};
  Result.Norm_Cxy = {0.52, 0.47};
  const double Cosine = std::sqrt(0.75), Sine = 0.5;
  Result.Transform_Cam_Tc = {1, 0, 0, 0.1, 0, Cosine, -Sine, 0.2, 0, Sine, Cosine, 0.3, 0, 0, 0, 1};
  return Result;
}

const Engine& Engine_Named(const std::string& Name) {
  for (const Engine& Target : rigsync::Engines()) {
    if (Target.Name == Name) return Target;
  }
  throw std::invalid_argument(Name);
}

Engine_Export Export_To(const std::string& Name,
                        const rigsync::Calibration_Result& Result = Mounted_Camera()) {
  const Scratch_Folder Scratch;
  const Quiet_Output Quiet;
  return Engine_Named(Name).Export(Result, Scratch.String());
}

TEST(EngineFields, EveryEngineHasANameATitleAndAxes) {
  std::vector<std::string> Names;
  for (const Engine& Target : rigsync::Engines()) {
    Names.push_back(Target.Name);
    EXPECT_FALSE(Target.Title.empty());
    EXPECT_THAT(Target.Axes, testing::MatchesRegex("camera axes: x .*; (left|right)-handed"));
  }
  EXPECT_THAT(Names, ElementsAre("ue4", "ue5", "ue5-xn", "aximmetry"));
}

// Keys, units and names as docs/engines.md and the JSON of 'rigsync export' have them.
TEST(EngineFields, GroupsHaveTheKeysUnitsAndNamesOfTheEngine) {
  struct Group_Form {
    const char *Label, *Key, *Unit;
    std::vector<std::string> Names;
  };
  const std::vector<std::string> Xyz = {"X", "Y", "Z"};
  const Group_Form Location = {"Location", "location_cm", "cm", Xyz};
  const Group_Form Quaternion = {"Quaternion", "quaternion", "", {"X", "Y", "Z", "W"}};
  const std::pair<const char*, std::vector<Group_Form>> Engines[] = {
      {"ue4", {Location, {"Rotation", "rotation_deg", "deg", {"Roll", "Pitch", "Yaw"}}}},
      {"ue5", {Location, Quaternion}},
      {"ue5-xn", {Location, Quaternion}},
      {"aximmetry",
       {{"Position", "position_cm", "cm", Xyz},
        {"Rotation", "rotation_deg", "deg", Xyz},
        {"Field of view", "field_of_view_deg", "deg", {"Horizontal"}},
        {"Centre shift", "centre_shift", "of the image side", {"X", "Y"}}}},
  };
  for (const auto& [Name, Forms] : Engines) {
    SCOPED_TRACE(Name);
    const Engine_Export Export = Export_To(Name);
    EXPECT_EQ(Export.Code, 0);
    ASSERT_EQ(Export.Groups.size(), Forms.size());
    for (std::size_t i = 0; i < Forms.size(); ++i) {
      SCOPED_TRACE(Forms[i].Key);
      EXPECT_EQ(Export.Groups[i].Label, Forms[i].Label);
      EXPECT_EQ(Export.Groups[i].Key, Forms[i].Key);
      EXPECT_EQ(Export.Groups[i].Unit, Forms[i].Unit);
      EXPECT_EQ(Export.Groups[i].Names, Forms[i].Names);
      EXPECT_EQ(Export.Groups[i].Values.size(), Forms[i].Names.size());
    }
  }
}

// In Tc the camera is at -R^T t. docs/conventions.md lists the axes of Tc that each engine's
// position fields run along.
TEST(EngineFields, ValuesAreThoseOfTheCallForThisEngine) {
  const double Cosine = std::sqrt(0.75), Sine = 0.5;
  const double X = -10.0, Y = -(20.0 * Cosine + 30.0 * Sine), Z = -(30.0 * Cosine - 20.0 * Sine);
  const std::pair<const char*, std::vector<double>> Cases[] = {
      {"ue4", {-Y, X, -Z}},
      {"ue5", {X, Z, -Y}},
      {"ue5-xn", {-Z, -Y, -X}},
      {"aximmetry", {X, Z, Y}},
  };
  for (const auto& [Name, Centimetres] : Cases) {
    SCOPED_TRACE(Name);
    const Engine_Export Export = Export_To(Name);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(Export.Groups.at(0).Values.at(i), Centimetres[i], Centimetre_Tolerance) << i;
    }
  }
  // A focal length of half the width sees 45 degrees to each side. The library's pi has eleven
  // digits, so its angles are too large by a fraction of 3e-11.
  EXPECT_NEAR(Export_To("aximmetry").Groups.at(2).Values.at(0), 90.0, 90.0 * 1e-10);
  EXPECT_THAT(Export_To("aximmetry").Groups.at(3).Values,
              ElementsAre(testing::DoubleNear(0.02, 1e-12), testing::DoubleNear(0.03, 1e-12)));
}

// The joint mount is 0.2 m further along the x axis of the camera, which is that of the tracker.
TEST(EngineFields, ValuesAreThoseOfTheChosenSolution) {
  rigsync::Calibration_Result Result = Mounted_Camera();
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  Result.Joint_Transform_Cam_Tc[3] += 0.2;
  const std::pair<const char*, std::size_t> Cases[] = {
      {"ue4", 1}, {"ue5", 0}, {"ue5-xn", 2}, {"aximmetry", 0}};
  for (const auto& [Name, Field] : Cases) {
    SCOPED_TRACE(Name);
    const auto Centimetres = [&, Engine = Name, Index = Field](Solution_Choice Solution) {
      Result.Inputs.Solution = Solution;
      return std::abs(Export_To(Engine, Result).Groups.at(0).Values.at(Index));
    };
    EXPECT_NEAR(Centimetres(Solution_Choice::Library), 10.0, Centimetre_Tolerance);
    EXPECT_NEAR(Centimetres(Solution_Choice::Joint), 30.0, Centimetre_Tolerance);
  }
}

// Where the camera of Mounted_Camera is along the axes of an engine's tracker object, from its
// position fields: Aximmetry's second and third run against its axes.
Eigen::Vector3d Position_In_Object(const std::string& Name, const Engine_Export& Export) {
  const std::vector<double>& Cm = Export.Groups.at(0).Values;
  const double Sign = Name == "aximmetry" ? -1.0 : 1.0;
  const Eigen::Vector3d Position =
      Eigen::Vector3d(Cm.at(0), Sign * Cm.at(1), Sign * Cm.at(2)) / 100.0;
  // So it is stated, too.
  EXPECT_EQ(Engine_Named(Name).Position_Axes * Position,
            Eigen::Vector3d(Cm.at(0), Cm.at(1), Cm.at(2)) / 100.0);
  return Position;
}

Eigen::Vector3d Position_In_Body() {
  rigsync::Calibration_Result Result = Mounted_Camera();
  Result.Image_Size = {1920, 1080};
  Result.Distortion = {0, 0, 0, 0, 0};
  return rigsync::Solved_Camera_Of(Result).Transform_Body_Cam.translation();
}

// What each call's labelling is follows from the table of docs/conventions.md, too: x of Tc is the
// body's -x, y its -z, z its -y.
TEST(EngineFields, TheLibrarysTrackerObjectHasTheAxesThatAreStated) {
  const std::pair<const char*, const char*> Cases[] = {
      {"ue4", "z, -x, y"}, {"ue5", "-x, -y, z"}, {"ue5-xn", "y, z, x"}, {"aximmetry", "-x, y, z"}};
  for (const auto& [Name, Axes] : Cases) {
    SCOPED_TRACE(Name);
    const Engine& Target = Engine_Named(Name);
    EXPECT_EQ(rigsync::Tracker_Axes_Text(Target.Library_Axes), Axes);
    EXPECT_EQ(Target.Library_Axes.determinant(), rigsync::Is_Left_Handed(Target.Space) ? -1 : 1);
    const Eigen::Vector3d Expected = Target.Library_Axes * Position_In_Body();
    EXPECT_LE((Position_In_Object(Name, Export_To(Name)) - Expected).norm(), 5e-8);
  }
}

TEST(EngineFields, OtherTrackerAxesAreThoseOfTheFields) {
  for (const Engine& Target : rigsync::Engines()) {
    for (const char* Asked : {"z-up", "y-up"}) {
      SCOPED_TRACE(Target.Name + " " + Asked);
      const Tracker_Axes Axes =
          rigsync::Parse_Tracker_Axes("", Asked, Target.Space, rigsync::Body_Labels::Unknown);
      const Scratch_Folder Scratch;
      const Quiet_Output Quiet;
      const Engine_Export Export =
          Export_With_Axes(Target, Mounted_Camera(), Axes, Scratch.String());
      ASSERT_EQ(Export.Code, 0);
      const Eigen::Vector3d Expected = Axes * Position_In_Body();
      EXPECT_LE((Position_In_Object(Target.Name, Export) - Expected).norm(), 5e-8);
    }
  }
}

// Without a word about axes, and with the library's own, every bit is the library's.
TEST(EngineFields, TheLibrarysOwnAxesChangeNoBit) {
  for (const Engine& Target : rigsync::Engines()) {
    const Scratch_Folder Scratch;
    const Quiet_Output Quiet;
    const Engine_Export Plain = Target.Export(Mounted_Camera(), Scratch.String());
    for (const std::optional<Tracker_Axes>& Axes :
         {std::optional<Tracker_Axes>(), std::optional<Tracker_Axes>(Target.Library_Axes)}) {
      const Engine_Export Same = Export_With_Axes(Target, Mounted_Camera(), Axes, Scratch.String());
      for (std::size_t i = 0; i < Plain.Groups.size(); ++i) {
        EXPECT_EQ(Same.Groups.at(i).Values, Plain.Groups[i].Values) << Target.Name;
      }
    }
  }
}

// The axes of a mount at the gimbal lock are a quarter turn away from others that are not.
TEST(EngineFields, OtherTrackerAxesLeadOutOfAGimbalLock) {
  rigsync::Calibration_Result Result = Mounted_Camera();
  Result.Transform_Cam_Tc = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Engine& Target = Engine_Named("ue4");
  const Scratch_Folder Scratch;
  const Quiet_Output Quiet;
  EXPECT_EQ(Export_With_Axes(Target, Result, std::nullopt, Scratch.String()).Code, 3);
  const Tracker_Axes Z_Up =
      rigsync::Parse_Tracker_Axes("", "z-up", Target.Space, rigsync::Body_Labels::Unknown);
  EXPECT_EQ(Export_With_Axes(Target, Result, Z_Up, Scratch.String()).Code, 0);
}

TEST(EngineFields, EachCallReturnsItsOwnNumbersOnly) {
  const Engine& Target = Engine_Named("ue5");
  const Scratch_Folder Scratch;
  const Quiet_Output Quiet;
  const auto Result = Mounted_Camera();
  Target.Export(Result, Scratch.String());
  EXPECT_EQ(Target.Export(Result, Scratch.String()).Groups.at(0).Values.size(), 3u);
}

TEST(EngineFields, AFailedExportHasItsCodeAndGroupsWithoutValues) {
  rigsync::Calibration_Result Result = Mounted_Camera();
  Result.Transform_Cam_Tc = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Engine_Export Export = Export_To("ue4", Result);
  EXPECT_EQ(Export.Code, 3);
  for (const rigsync::Field_Group& Group : Export.Groups) EXPECT_TRUE(Group.Values.empty());
  const auto Root = nlohmann::json::parse(
      Export_Json(Engine_Named("ue4"), Export, Tracker_Axes::Identity(), Solution_Choice::Library,
                  /*Usable=*/false, {}));
  EXPECT_EQ(Root["code"], 3);
  EXPECT_EQ(Root["usable"], false);
  EXPECT_TRUE(Root["location_cm"].is_null());
  EXPECT_TRUE(Root["rotation_deg"].is_null());
  EXPECT_THAT(Root["message"].get<std::string>(), testing::HasSubstr("Gimbal lock"));
  EXPECT_TRUE(Root["run_log"].is_null());
}

TEST(EngineFields, OneValueThatIsNotFiniteMakesTheExportNotFinite) {
  for (const double Value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    for (std::size_t Group = 0; Group < 4; ++Group) {
      Engine_Export Export = Export_To("aximmetry");
      EXPECT_TRUE(Is_Finite(Export));
      Export.Groups.at(Group).Values.back() = Value;
      EXPECT_FALSE(Is_Finite(Export));
    }
  }
}

TEST(EngineFields, JsonHasEveryGroupInOrderEveryDigitAndNullForWhatIsNotFinite) {
  Engine_Export Export;
  Export.Groups = {{"B", "b_cm", "cm", {"X", "Y"}, {1.0 / 3.0, std::nan("")}},
                   {"A", "a", "", {"Roll"}, {std::nextafter(2.0, 3.0)}}};
  const Tracker_Axes Axes = rigsync::Parse_Axes("", "z,-x,y");
  const std::string Text = Export_Json(Engine_Named("ue5-xn"), Export, Axes, Solution_Choice::Joint,
                                       /*Usable=*/true, "/out/log_x");
  const auto Root = nlohmann::ordered_json::parse(Text);
  std::vector<std::string> Keys;
  for (const auto& [Key, Value] : Root.items()) Keys.push_back(Key);
  EXPECT_THAT(Keys, ElementsAre("engine", "code", "usable", "solution", "tracker_axes",
                                "position_axes", "message", "b_cm", "a", "run_log"));
  EXPECT_EQ(Root["engine"], "ue5-xn");
  EXPECT_EQ(Root["code"], 0);
  EXPECT_EQ(Root["usable"], true);
  EXPECT_EQ(Root["solution"], "joint");
  EXPECT_EQ(Root["tracker_axes"], "z, -x, y");
  EXPECT_EQ(Root["position_axes"], "x, y, z");
  EXPECT_EQ(Root["message"], "Exported.");
  EXPECT_EQ(Root["b_cm"]["x"].get<double>(), 1.0 / 3.0);
  EXPECT_TRUE(Root["b_cm"]["y"].is_null());
  EXPECT_EQ(Root["a"]["roll"].get<double>(), std::nextafter(2.0, 3.0));
  EXPECT_EQ(Root["run_log"], "/out/log_x");
  EXPECT_EQ(Text.back(), '\n');
}

}  // namespace
