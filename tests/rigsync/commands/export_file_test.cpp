// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export' to targets that are files, as a user calls it on a result of this version. What
// the files hold is the matter of tests/rigsync/exports.
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// One result for all tests: a run takes seconds.
class ExportFile : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    Scratch = std::make_unique<Scratch_Folder>();
    const Finished Run =
        Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Scratch->Path() / "result"));
    ASSERT_EQ(Run.Status, 0) << Run.Error;
  }
  static void TearDownTestSuite() { Scratch.reset(); }

  static Finished Export(const std::string& Target, std::vector<std::string> More = {}) {
    std::vector<std::string> Arguments = {
        "export", (Scratch->Path() / "result" / "result.json").string(), "--to", Target};
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    return Rigsync(Arguments);
  }

  static std::string File(const std::string& Name) { return (Scratch->Path() / Name).string(); }

  static std::unique_ptr<Scratch_Folder> Scratch;
};

std::unique_ptr<Scratch_Folder> ExportFile::Scratch;

TEST_F(ExportFile, APointOfALensHasTheFocusAndTheZoomThatAreStated) {
  for (const auto& [Flag, Point] :
       {std::pair<std::string, std::string>{"--focus", "\"focus\": 2.5,\n      \"zoom\": 0.0"},
        {"--zoom", "\"focus\": 0.0,\n      \"zoom\": 2.5"}}) {
    EXPECT_THAT(Export("unreal-lens", {Flag, "2.5"}).Output, HasSubstr(Point)) << Flag;
  }
}

TEST_F(ExportFile, ATerminalShowsHowFarTheSearchForCornersIs) {
  const std::vector<std::string> Words = {
      "export", (Scratch->Path() / "result" / "result.json").string(),
      "--to",   "corners",
      "-o",     File("shown.vnl")};
  EXPECT_THAT(Rigsync_On_Terminal(Words).Shown, HasSubstr("\rSearching for boards: 14 of 14"));
  EXPECT_THAT(Rigsync(Words).Error, Not(HasSubstr("Searching")));
}

TEST_F(ExportFile, GoesToTheNamedFileOrToStandardOutput) {
  const std::tuple<std::string, std::vector<std::string>, std::string, std::string> Targets[] = {
      {"opentrackio", {"--sensor", "36x27"}, "OpenTrackIO 1.0.1", "{\n  \"protocol\": {"},
      {"opencv", {}, "YAML of OpenCV", "%YAML:1.0\n---\ncalibration_time: \""},
      {"kalibr", {}, "camchain of Kalibr", "cam0:\n  T_cam_imu:\n"},
      {"corners", {}, "corners.vnl of mrcal", "## rigsync: the board of 7x5 inner corners in 14"}};
  for (const auto& [Target, Flags, Title, Begin] : Targets) {
    const Finished Shown = Export(Target, Flags);
    EXPECT_EQ(Shown.Status, 0) << Shown.Error;
    EXPECT_THAT(Shown.Output, StartsWith(Begin));
    std::vector<std::string> With_File = Flags;
    With_File.insert(With_File.end(), {"-o", File(Target)});
    const Finished Written = Export(Target, With_File);
    EXPECT_EQ(Written.Status, 0) << Written.Error;
    EXPECT_EQ(Written.Output, Title + ": " + File(Target) + "\n");
    EXPECT_EQ(Read_Text(File(Target)), Shown.Output);
  }
}

// The images of the run and the capture's CSV are where they were, so every row has its poses.
TEST_F(ExportFile, HasTheRowsThatTheRunKept) {
  const nlohmann::json Result = Read_Json(Scratch->Path() / "result" / "result.json");
  const Finished Shown = Export("opencv");
  EXPECT_EQ(Shown.Error, "");
  for (const auto& Image : Result["images"]["kept"]) {
    EXPECT_THAT(Shown.Output, HasSubstr("image: \"" + Image["image"].get<std::string>() + "\"\n"));
  }
  for (const auto& Image : Result["images"]["dropped"]) {
    EXPECT_THAT(Shown.Output, Not(HasSubstr(Image["image"].get<std::string>())));
  }
}

TEST_F(ExportFile, TakesACaptureThatWasMovedAndRefusesOneThatWasChanged) {
  const std::string Csv = Read_Text(Capture_File("capture.csv"));
  const Finished Moved = Export("opencv", {"--capture", Scratch->Write("moved.csv", Csv)});
  EXPECT_EQ(Moved.Status, 0);
  EXPECT_EQ(Moved.Error, "");
  EXPECT_EQ(Moved.Output, Export("opencv").Output);
  const Finished Changed =
      Export("opencv", {"--capture", Scratch->Write("changed.csv", Csv + "\n")});
  EXPECT_EQ(Changed.Status, 2);
  EXPECT_THAT(Changed.Said, HasSubstr("changed.csv is not the file that the result was made from"));
  const Finished Missing =
      Export("opentrackio", {"--sensor", "36x27", "--capture", File("missing.csv")});
  EXPECT_EQ(Missing.Status, 2);
  EXPECT_THAT(Missing.Said, AllOf(HasSubstr("--capture: "), HasSubstr("missing.csv")));
  EXPECT_EQ(Changed.Output + Missing.Output, "");
}

TEST_F(ExportFile, RefusesFlagsThatMeanNothingForIt) {
  const auto Refused = [](const std::string& Target, const std::vector<std::string>& Flags,
                          const std::string& Text) {
    const Finished Done = Export(Target, Flags);
    EXPECT_EQ(Done.Status, 2) << Target << " " << Flags.front();
    EXPECT_EQ(Done.Output, "");
    EXPECT_THAT(Done.Said, HasSubstr(Text));
  };
  Refused("kalibr", {"--json"}, "--json: the export to camchain of Kalibr has no use for it");
  Refused("kalibr", {"--out", "."}, "--out: the export to camchain of Kalibr has no use for it");
  for (const char* const Target : {"opencv", "kalibr", "corners"}) {
    Refused(Target, {"--tracker-axes", "z-up"}, "--tracker-axes: the export to ");
  }
  for (const char* const Target : {"opentrackio", "opencv", "kalibr", "corners"}) {
    Refused(Target, {"--zoom", "35"}, "--zoom: the export to ");
  }
  for (const char* const Target : {"opencv", "kalibr", "corners", "ue5"}) {
    Refused(Target, {"--sensor", "36x27"}, "--sensor: the export to ");
  }
  for (const char* const Target : {"blender", "unreal-lens", "kalibr", "ue4"}) {
    Refused(Target, {"--capture", "c.csv"}, "--capture: the export to ");
  }
  for (const char* const Target : {"opencv", "opentrackio", "aximmetry"}) {
    Refused(Target, {"--image-root", "."}, "--image-root: the export to ");
  }
  Refused("ue5", {"--output", File("s.json")},
          "--output: the export to Unreal Engine 5 has no use");
  Refused("opentrackio", {"--output", File("s.json")}, "--sensor: missing.");
  Refused("opentrackio", {"--sensor", "36x27", "--tracker-axes", "x,y,-z"}, "left-handed");
  EXPECT_FALSE(fs::exists(File("s.json")));
}

TEST_F(ExportFile, AFileThatCannotBeWrittenIsNamed) {
  const Finished Done = Export("kalibr", {"-o", File("none/camchain.yaml")});
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, AllOf(HasSubstr("--output "), HasSubstr("none/camchain.yaml")));
}

TEST_F(ExportFile, ADeviceOrAPipeIsNotReplacedByAFile) {
  ASSERT_EQ(mkfifo(File("pipe").c_str(), 0600), 0);
  const Finished Piped = Export("kalibr", {"-o", File("pipe")});
  EXPECT_EQ(Piped.Status, 2);
  EXPECT_THAT(Piped.Said,
              HasSubstr("pipe: is no regular file; name a file, or leave the flag out"));
  EXPECT_TRUE(fs::is_fifo(File("pipe")));
}

TEST_F(ExportFile, TheFileThatALinkLeadsToIsWritten) {
  Scratch->Write("linked.yaml", "earlier");
  fs::create_symlink("linked.yaml", File("link.yaml"));
  EXPECT_EQ(Export("kalibr", {"-o", File("link.yaml")}).Status, 0);
  EXPECT_TRUE(fs::is_symlink(File("link.yaml")));
  EXPECT_EQ(Read_Text(File("linked.yaml")), Export("kalibr").Output);
}

TEST_F(ExportFile, ADashIsStandardOutput) {
  const Finished Dash = Export("kalibr", {"-o", "-"});
  EXPECT_EQ(Dash.Status, 0) << Dash.Error;
  EXPECT_EQ(Dash.Output, Export("kalibr").Output);
}

TEST_F(ExportFile, OfADoubtfulResultItHasTheDoubts) {
  nlohmann::json Document = Read_Json(Scratch->Path() / "result" / "result.json");
  Document["verdict"] = "look";
  Document["usable"] = false;
  Document["second_opinion"]["reasons"] = {"lens_does_not_fit"};
  const std::string Doubtful = Scratch->Write("doubtful.json", Document.dump());
  const Finished Done = Rigsync({"export", Doubtful, "--to", "kalibr"});
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Done.Output, StartsWith("# Warning: check this result on the set before it is used"));
  EXPECT_THAT(Done.Output, testing::EndsWith(Export("kalibr").Output));
}

// A link to a file is that file.
TEST_F(ExportFile, NoInputIsOverwritten) {
  Scratch_Folder Own;
  const std::string Csv = Own.Write("capture.csv", Read_Text(Capture_File("capture.csv")));
  const std::string Import = Own.Write("import.json", "{}");
  nlohmann::json Document = Read_Json(Scratch->Path() / "result" / "result.json");
  Document["inputs"]["csv"] = Csv;
  const std::string Result = Own.Write("result.json", Document.dump());
  fs::create_symlink(Csv, Own.Path() / "link.csv");
  const std::string Stated = Own.Write("stated.csv", Read_Text(Csv));
  const std::pair<std::string, std::string> Cases[] = {
      {Result, "result.json"}, {Own.String() + "/./result.json", "result.json"},
      {Csv, "capture.csv"},    {Own.String() + "/link.csv", "capture.csv"},
      {Import, "import.json"}, {Stated, "stated.csv"}};
  for (const auto& [Output, Named] : Cases) {
    const std::string Before = Read_Text(Output);
    const Finished Done = Rigsync(
        {"export", Result, "--to", "opencv", "--capture", Stated, "-o", Output}, Own.Path());
    EXPECT_EQ(Done.Status, 2) << Output;
    EXPECT_THAT(Done.Said, AllOf(HasSubstr("--output " + Output + ": that is "), HasSubstr(Named)));
    EXPECT_EQ(Read_Text(Output), Before);
  }
  EXPECT_EQ(Rigsync({"export", Result, "--to", "opencv", "-o", "new.yaml"}, Own.Path()).Status, 0);
}

TEST_F(ExportFile, AnEmptyValueIsRefused) {
  for (const char* const Flag : {"--output", "--tracker-axes", "--sensor", "--focus", "--zoom",
                                 "--capture", "--image-root", "--out"}) {
    const Finished Done = Export("blender", {Flag, ""});
    EXPECT_EQ(Done.Status, 2) << Flag;
    EXPECT_EQ(Done.Output, "");
    EXPECT_THAT(Done.Said, HasSubstr(std::string(Flag) + ": '' is wrong; expected a value"));
  }
}

// Each is refused by the key of the file, whatever the target, and never by a crash.
TEST_F(ExportFile, ALensThatNoRunWritesIsRefusedByEveryTarget) {
  const std::pair<const char*, nlohmann::json> Broken[] = {
      {"distortion", nullptr},   {"image_size", nullptr},        {"image_size", {0, 0}},
      {"norm_fxy", {0.0, 0.0}},  {"norm_fxy", {1e-300, 1e-300}}, {"norm_fxy", {-1.0, 1.0}},
      {"image_size", {0.5, 480}}};
  const nlohmann::json Sound = Read_Json(Scratch->Path() / "result" / "result.json");
  for (const auto& [Key, Value] : Broken) {
    nlohmann::json Document = Sound;
    Document["lens"][Key] = Value;
    const std::string Result = Scratch->Write("broken.json", Document.dump());
    const std::string Why = std::string("broken.json: 'lens.") + Key + "' ";
    for (const char* const Target :
         {"blender", "unreal-lens", "opencv", "kalibr", "corners", "aximmetry"}) {
      const Finished Done = Rigsync({"export", Result, "--to", Target});
      EXPECT_EQ(Done.Status, 2) << Target << " " << Key << " " << Value;
      EXPECT_EQ(Done.Output, "");
      EXPECT_THAT(Done.Said, HasSubstr(Why));
    }
    const Finished Verified = Rigsync({"verify", Result});
    EXPECT_EQ(Verified.Status, 2) << Key << " " << Value;
    EXPECT_THAT(Verified.Said, HasSubstr(Why));
    const Finished Table =
        Rigsync({"lens-table", Result, File("result"), "--at", "0,1", "--at", "0,2"});
    EXPECT_EQ(Table.Status, 2) << Key << " " << Value;
    EXPECT_THAT(Table.Said, HasSubstr(Why));
  }
}

}  // namespace
