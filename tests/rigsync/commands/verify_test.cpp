// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync verify' as a user runs it, on results of simulated captures and on results written by
// hand.
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Finished Verify(const std::string& Result, std::vector<std::string> More = {}) {
  More.insert(More.begin(), {"verify", Result});
  return Rigsync(More);
}

std::string Result_Text(const std::string& Transform) {
  return R"({"format": "rigsync-result", "format_version": 1, "code": 0, "message": "Good.",
             "lens": {"image_size": [1920, 1080], "norm_fxy": [0.75, 1.3333333],
                      "norm_cxy": [0.52, 0.47], "distortion": [-0.1, 0.02, 0, 0, 0]},
             "transform_cam_tc": )" +
         Transform + "}";
}

const std::string Reference_Pose =
    "[0.8,-0.36,-0.48,0.1, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.3, 0,0,0,1]";

const nlohmann::json& Target(const nlohmann::json& Root, const std::string& Name) {
  const auto Found = std::find_if(Root["targets"].begin(), Root["targets"].end(),
                                  [&](const nlohmann::json& One) { return One["target"] == Name; });
  if (Found == Root["targets"].end()) throw std::invalid_argument(Name);
  return *Found;
}

TEST(Verify, ACalibratedCaptureIsProvenForEveryTarget) {
  const Scratch_Folder Scratch;
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path())).Status, 0);
  const auto Files_Before = std::distance(std::filesystem::directory_iterator(Scratch.Path()), {});
  const Finished Text = Verify(Scratch.String());
  EXPECT_EQ(Text.Status, 0) << Text.Output;
  EXPECT_EQ(Text.Error, "");
  EXPECT_THAT(Text.Output, AllOf(HasSubstr("samples   14 rows of "), HasSubstr("13 x 9 over 640"),
                                 HasSubstr("Every exported target shows"), Not(HasSubstr("BEYOND")),
                                 Not(HasSubstr("not exported"))));
  EXPECT_LE(Widest_Line(Text.Output.substr(Text.Output.find("mount, px"))), 80u);

  const nlohmann::json Root = nlohmann::json::parse(Verify(Scratch.String(), {"--json"}).Output);
  EXPECT_EQ(Root["holds"], true);
  EXPECT_EQ(Root["samples"], 14);
  for (const char* Name : {"ue4", "ue5", "ue5-xn", "aximmetry", "blender", "unreal-lens",
                           "opentrackio", "opencv", "kalibr"}) {
    const nlohmann::json& Of = Target(Root, Name);
    EXPECT_EQ(Of["exported"], true) << Name;
    EXPECT_EQ(Of["mount"]["holds"], true) << Name;
    EXPECT_LT(Of["mount"]["px"].get<double>(), 0.001) << Name;
    EXPECT_LT(Of["mount"]["allowed_px"].get<double>(), 0.01) << Name;
  }
  // It proves and leaves nothing behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Scratch.Path()), {}), Files_Before);
}

// Other lenses, boards and seeds, and the mount of either solution.
TEST(Verify, HoldOutsAreProvenWithEveryNamedLabelling) {
  const std::vector<std::vector<std::string>> Captures = {
      {"--size", "480x270", "--focal", "0.9,1.62", "--seed", "21"},
      {"--size", "320x240", "--focal", "1.4,1.9", "--principal-point", "0.53,0.46", "--seed",
       "22"}};
  for (const std::vector<std::string>& More : Captures) {
    const Scratch_Folder Scratch;
    const std::string Folder = (Scratch.Path() / "capture").string();
    std::vector<std::string> Arguments = {"simulate", Folder, "--images", "14", "--board", "5x4"};
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    ASSERT_EQ(Rigsync(Arguments).Status, 0);
    const std::string Out = (Scratch.Path() / "out").string();
    Rigsync({"calibrate", Folder + "/capture.csv", "--config", Folder + "/stage.json", "--out", Out,
             "--sensor", "24x13.5"});
    for (const char* Solution : {"library", "joint"}) {
      for (const char* Axes : {"z-up", "y-up"}) {
        const Finished Made = Verify(Out, {"--solution", Solution, "--tracker-axes", Axes});
        EXPECT_EQ(Made.Status, 0) << Made.Output << Made.Error;
      }
    }
  }
}

// No pose of a tracker makes a rotation of a reflection.
TEST(Verify, AMountThatIsNoRotationIsBeyondTheBound) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write(
      "result.json",
      Result_Text("[-0.8,0.36,0.48,0.1, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.3, 0,0,0,1]"));
  const Finished Text = Verify(File);
  EXPECT_EQ(Text.Status, 1);
  EXPECT_THAT(Text.Output, AllOf(HasSubstr("BEYOND the rounding of the exported numbers"),
                                 HasSubstr("ue5, mount: "), HasSubstr(" px where ")));
  const Finished Json = Verify(File, {"--json"});
  EXPECT_EQ(Json.Status, 1);
  EXPECT_EQ(nlohmann::json::parse(Json.Output)["holds"], false);
}

TEST(Verify, SamplesAreStatedOrThoseOfTheCalibrationOrFixed) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  EXPECT_THAT(Verify(File).Output, HasSubstr("samples   12 fixed poses"));
  EXPECT_THAT(Verify(File, {"--capture", Capture_File("capture.csv").string()}).Output,
              HasSubstr("samples   14 rows of "));
  const Finished Missing = Verify(File, {"--capture", Scratch.String() + "/none.csv"});
  EXPECT_EQ(Missing.Status, 2);
  EXPECT_THAT(Missing.Said, HasSubstr("none.csv"));
  const std::string Empty = Scratch.Write("empty.csv", "Time,image\n");
  const Finished None = Verify(File, {"--capture", Empty});
  EXPECT_EQ(None.Status, 2);
  EXPECT_THAT(None.Said, HasSubstr("no row has a sample of the camera's tracker"));
}

TEST(Verify, AGimbalLockIsToldAndTheOthersAreProven) {
  const Scratch_Folder Scratch;
  const std::string File =
      Scratch.Write("result.json", Result_Text("[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]"));
  const Finished Text = Verify(File);
  EXPECT_EQ(Text.Status, 0);
  EXPECT_THAT(Text.Output, HasSubstr("ue4 was not exported: code 3. Gimbal lock"));
  EXPECT_THAT(Verify(File, {"--tracker-axes", "z-up"}).Output, Not(HasSubstr("code 3")));
}

TEST(Verify, AWrongFlagIsRefused) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const Finished Axes = Verify(File, {"--tracker-axes", "upwards"});
  EXPECT_EQ(Axes.Status, 2);
  EXPECT_THAT(Axes.Said, HasSubstr("--tracker-axes: 'upwards' is wrong; expected as-tracked"));
  EXPECT_EQ(Verify(File, {"--solution", "joint"}).Status, 2);
  EXPECT_EQ(Verify(Scratch.String() + "/none").Status, 2);
}

}  // namespace
