// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync verify' as a user runs it, on results of simulated captures and on results written by
// hand.
#include "rigsync/engine/solved_camera.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/verify/opentrackio_reader.h"
#include "rigsync/verify/pixel_proof.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/sanitized.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <utility>

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
                                 Not(HasSubstr("not exported")),
                                 HasSubstr("corners: it has no camera to prove")));
  EXPECT_LE(Widest_Line(Text.Output.substr(Text.Output.find("mount, px"))), 80u);

  const nlohmann::json Root = nlohmann::json::parse(Verify(Scratch.String(), {"--json"}).Output);
  EXPECT_EQ(Root["holds"], true);
  EXPECT_EQ(Root["samples"], 14);
  for (const char* Name : {"ue4", "ue5", "ue5-xn", "aximmetry", "blender", "unreal-lens",
                           "opentrackio", "opencv", "kalibr"}) {
    const nlohmann::json& Of = Target(Root, Name);
    EXPECT_EQ(Of["outcome"], "within") << Name;
    EXPECT_EQ(Of["mount"]["holds"], true) << Name;
    EXPECT_LT(Of["mount"]["px"].get<double>(), 0.001) << Name;
    EXPECT_LT(Of["mount"]["allowed_px"].get<double>(), 0.01) << Name;
  }
  // It proves and leaves nothing behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Scratch.Path()), {}), Files_Before);
}

const std::vector<std::string> All_Targets = {"ue4",         "ue5",     "ue5-xn",
                                              "aximmetry",   "blender", "unreal-lens",
                                              "opentrackio", "opencv",  "kalibr"};

// Every target is exported and within its bound, but those of Left_Out, which can't have the axes.
void Expect_Proven(const std::string& Result, const std::vector<std::string>& Flags,
                   const std::vector<std::string>& Left_Out = {}) {
  std::vector<std::string> Arguments = {"verify", Result, "--json"};
  Arguments.insert(Arguments.end(), Flags.begin(), Flags.end());
  const Finished Made = Rigsync(Arguments);
  ASSERT_EQ(Made.Status, 0) << Made.Output << Made.Error;
  const nlohmann::json Root = nlohmann::json::parse(Made.Output);
  EXPECT_EQ(Root["targets"].size(), All_Targets.size() + 1);
  EXPECT_EQ(Target(Root, "corners")["outcome"], "no_camera");
  for (const std::string& Name : All_Targets) {
    const bool Is_Left_Out = std::find(Left_Out.begin(), Left_Out.end(), Name) != Left_Out.end();
    EXPECT_EQ(Target(Root, Name)["outcome"], Is_Left_Out ? "not_exported" : "within")
        << Name << " " << Made.Output;
  }
}

// With either mount and every name of axes. A left-handed target can be as-tracked only where the
// result knows the body's labels.
void Expect_Proven_With_Every_Labelling(const std::filesystem::path& Out) {
  const std::vector<std::string> Left_Handed = {"ue4", "aximmetry", "unreal-lens"};
  nlohmann::json Root = Read_Json(Out / "result.json");
  EXPECT_TRUE(Root["inputs"]["camera_tracker_axes"].is_null());
  Root["inputs"]["camera_tracker_axes"] = "right_forward_up";
  const std::filesystem::path Labelled = Out / "labelled.json";
  std::ofstream(Labelled) << Root;
  // One round of them takes a minute under the sanitizers, which look for other faults.
  const std::vector<std::string> Solutions = Is_Sanitized
                                                 ? std::vector<std::string>{"joint"}
                                                 : std::vector<std::string>{"library", "joint"};
  for (const std::string& Solution : Solutions) {
    for (const std::string Axes : {"z-up", "y-up"}) {
      Expect_Proven(Out.string(), {"--solution", Solution, "--tracker-axes", Axes});
    }
    const std::vector<std::string> As_Tracked = {"--solution", Solution, "--tracker-axes",
                                                 "as-tracked"};
    Expect_Proven(Out.string(), As_Tracked, Left_Handed);
    Expect_Proven(Labelled.string(), As_Tracked);
    Expect_Proven(Labelled.string(), {"--solution", Solution});
  }
}

// Other lenses, boards and seeds, and the mount of either solution. The captures tell the mount to
// a third of the limits, so that every build calls them usable.
TEST(Verify, HoldOutsAreProvenWithEveryNamedLabelling) {
  struct Hold_Out {
    std::vector<std::string> Flags;
    std::string Sensor;
  };
  std::vector<Hold_Out> Captures = {
      {{"--size", "640x360", "--focal", "0.9,1.6", "--board", "9x6", "--seed", "21"}, "24x13.5"},
      {{"--size", "640x480", "--focal", "1.1,1.4667", "--principal-point", "0.53,0.46", "--board",
        "8x5", "--seed", "22"},
       "24x18"}};
  if (Is_Sanitized) Captures.resize(1);
  for (const Hold_Out& Of : Captures) {
    const Scratch_Folder Scratch;
    const std::string Folder = (Scratch.Path() / "capture").string();
    std::vector<std::string> Arguments = {"simulate", Folder, "--images", "24"};
    Arguments.insert(Arguments.end(), Of.Flags.begin(), Of.Flags.end());
    ASSERT_EQ(Rigsync(Arguments).Status, 0);
    const std::filesystem::path Out = Scratch.Path() / "out";
    const Finished Calibrated =
        Rigsync({"calibrate", Folder + "/capture.csv", "--config", Folder + "/stage.json", "--out",
                 Out.string(), "--sensor", Of.Sensor});
    ASSERT_EQ(Calibrated.Status, 0) << Calibrated.Output << Calibrated.Error;
    Expect_Proven_With_Every_Labelling(Out);
  }
}

// How the proof of an exported sample of OpenTrackIO comes out, at the pose of the tracker that the
// file itself has.
bool Own_Sample_Holds(const rigsync::Calibration_Result& Result, const std::string& Text) {
  const rigsync::Solved_Camera Solved = rigsync::Solved_Camera_Of(Result);
  const rigsync::Exported_Camera Camera = rigsync::Read_Opentrackio_Sample(
      Text, {Result, rigsync::Tracker_Axes::Identity(), *Result.Inputs.Sensor_Size_Mm});
  EXPECT_TRUE(Camera.Own_Sample);
  const auto Points =
      rigsync::Points_Over_Frame(Solved.Lens_Px, Solved.Width, Solved.Height, 5, 3, {0.5, 10.0});
  return rigsync::Prove_Pixels({rigsync::Matrix_From_List(Result.Transform_Cam_Tc), Solved.Lens_Px},
                               Camera, {}, Points.Points_Cam)
      .Holds();
}

// The first transform of an export of a whole calibration, and what a slip in it would be.
TEST(Verify, TheTrackersSampleOfACalibratedCaptureIsProven) {
  const Scratch_Folder Scratch;
  const std::filesystem::path Csv = Scratch.Path() / "capture.csv";
  Rewrite_Csv(Csv, [](std::size_t, std::vector<std::string>& Fields) {
    Fields[1] = (Capture_File("images").parent_path() / Fields[1]).string();
  });
  const std::string Out = (Scratch.Path() / "out").string();
  std::vector<std::string> Arguments = Calibrate_Arguments(Csv, Out);
  Arguments.insert(Arguments.end(), {"--sensor", "24x18"});
  ASSERT_EQ(Rigsync(Arguments).Status, 0);
  const std::string File = Out + "/sample.json";
  ASSERT_EQ(Rigsync({"export", Out, "--to", "opentrackio", "-o", File}).Status, 0);

  const rigsync::Calibration_Result Result = rigsync::Read_Result(Out + "/result.json");
  const nlohmann::json Sample = Read_Json(File);
  EXPECT_TRUE(Own_Sample_Holds(Result, Sample.dump()));
  const auto Expect_Seen = [&](const char* What,
                               const std::function<void(nlohmann::json&)>& Change) {
    nlohmann::json Slipped = Sample;
    Change(Slipped["transforms"][0]);
    EXPECT_FALSE(Own_Sample_Holds(Result, Slipped.dump())) << What;
  };
  Expect_Seen("the identity", [](nlohmann::json& T) {
    T["translation"] = {{"x", 0.0}, {"y", 0.0}, {"z", 0.0}};
    T["rotation"] = {{"pan", 0.0}, {"tilt", 0.0}, {"roll", 0.0}};
  });
  Expect_Seen("pan the other way", [](nlohmann::json& T) {
    T["rotation"]["pan"] = -T["rotation"]["pan"].get<double>();
  });
  Expect_Seen("another order",
              [](nlohmann::json& T) { std::swap(T["rotation"]["pan"], T["rotation"]["roll"]); });

  const auto Notes = [&] {
    return Target(nlohmann::json::parse(Verify(Out, {"--json"}).Output), "opentrackio")["notes"]
        .dump();
  };
  EXPECT_THAT(Notes(), Not(HasSubstr("not proven")));
  std::ofstream(Csv, std::ios::app) << "\n";
  EXPECT_THAT(Notes(), HasSubstr("the tracker's sample is the identity and is not proven"));
  EXPECT_EQ(Verify(Out).Status, 0);
}

TEST(Verify, AResultThatMustNotBeUsedIsProvenWithAWarning) {
  const Scratch_Folder Scratch;
  nlohmann::json Root = nlohmann::json::parse(Result_Text(Reference_Pose));
  Root["code"] = 13;
  Root["message"] = "Far off.";
  const Finished Made = Verify(Scratch.Write("result.json", Root.dump()));
  EXPECT_EQ(Made.Status, 0) << Made.Output;
  EXPECT_THAT(Made.Said, HasSubstr("warning: this result must not be used: Far off."));
}

// No run writes such a lens; hands can.
TEST(Verify, ALensThatNoCameraHasIsRefusedByItsKey) {
  const Scratch_Folder Scratch;
  const std::vector<std::pair<const char*, nlohmann::json>> Lenses = {
      {"image_size", nullptr},      {"image_size", {0, 1080}},     {"image_size", {1920, -1080}},
      {"norm_fxy", {0, 1.3333333}}, {"norm_fxy", {0.75, -1.3333}}, {"distortion", nullptr},
  };
  for (const auto& [Key, Value] : Lenses) {
    nlohmann::json Root = nlohmann::json::parse(Result_Text(Reference_Pose));
    Root["lens"][Key] = Value;
    const std::string File = Scratch.Write("result.json", Root.dump());
    const Finished Made = Verify(File);
    EXPECT_EQ(Made.Status, 2) << Root["lens"] << Made.Output;
    EXPECT_THAT(Made.Said, AllOf(HasSubstr(File), HasSubstr(Key)));
    EXPECT_EQ(Made.Output, "");
  }
}

TEST(Verify, AResultWithoutASensorIsProvenWithANote) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  EXPECT_EQ(Rigsync({"export", File, "--to", "opentrackio"}).Status, 2);
  const Finished Made = Verify(File, {"--json"});
  EXPECT_EQ(Made.Status, 0);
  EXPECT_THAT(Target(nlohmann::json::parse(Made.Output), "opentrackio")["notes"].dump(),
              HasSubstr("the result has no sensor size, so 'rigsync export' asks for --sensor"));
}

TEST(Verify, AMountThatIsNoRotationIsRefused) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write(
      "result.json",
      Result_Text("[-0.8,0.36,0.48,0.1, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.3, 0,0,0,1]"));
  const Finished Refused = Verify(File);
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_EQ(Refused.Output, "");
  EXPECT_THAT(Refused.Said, HasSubstr("'transform_cam_tc' is no rotation with a position"));
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
