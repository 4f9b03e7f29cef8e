// SPDX-License-Identifier: Apache-2.0
//
// What surrounds a calibration: progress, interruption, runs that share an output folder, disks
// without space, and the images and quality in result.json.
#include "rigsync/system/platform.h"
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/sanitized.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <optional>
#include <regex>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t Terminal_Width = 80;

std::vector<std::string> Lines_Of(const std::string& Text) {
  std::vector<std::string> Lines;
  std::istringstream Stream(Text);
  for (std::string Line; std::getline(Stream, Line);) Lines.push_back(Line);
  return Lines;
}

std::string Shell_Words(const std::vector<std::string>& Arguments) {
  std::string Words = RIGSYNC_PROGRAM;
  for (const std::string& Word : Arguments) Words += " '" + Word + "'";
  return Words;
}

// The result of checking a file against docs/result.schema.json.
Finished Check_Schema(const fs::path& File) {
  const fs::path Top = RIGSYNC_SOURCE_DIR;
  return Run_Program("/usr/bin/env",
                     {"python3", (Top / "tests/rigsync/formats/check_schema.py").string(),
                      (Top / "docs/result.schema.json").string(), File.string()});
}

TEST(CalibrateRun, AnnouncesItsStepsWhereStandardErrorIsNoTerminal) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out"));
  EXPECT_THAT(
      Lines_Of(Result.Error),
      ElementsAre("rigsync: checking the capture: 14 images",
                  "rigsync: finding boards in 14 images",
                  "rigsync: 14 boards found, solving the lens", "rigsync: solving the mount",
                  StartsWith("rigsync: writing reprojection images of ")));
  EXPECT_THAT(Result.Error + Result.Output, Not(HasSubstr("\x1b")));
}

TEST(CalibrateRun, ShowsNoProgressWhenAskedToBeQuietOrVerbose) {
  for (const char* Flag : {"--quiet", "--verbose"}) {
    const Scratch_Folder Scratch;
    std::vector<std::string> Arguments =
        Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
    Arguments.emplace_back(Flag);
    const Finished Result = Rigsync(Arguments);
    EXPECT_EQ(Result.Error, "") << Flag;
    EXPECT_THAT(Result.Output, HasSubstr("Code 0.")) << Flag;
    EXPECT_THAT(Rigsync_On_Terminal(Arguments).Shown, Not(HasSubstr("Finding boards"))) << Flag;
  }
  const Scratch_Folder Scratch;
  std::vector<std::string> Both =
      Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out");
  Both.insert(Both.end(), {"--quiet", "--verbose"});
  EXPECT_EQ(Rigsync(Both).Status, 2);
}

TEST(CalibrateRun, RewritesOneLineOnATerminalAndRemovesItAtTheEnd) {
  const Scratch_Folder Scratch;
  const Terminal_Run Result = Rigsync_On_Terminal(
      Calibrate_Arguments(Write_Long_Csv(Scratch.Path(), 3), Scratch.Path() / "out"));
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Shown, HasSubstr("\rFinding boards: "));
  EXPECT_TRUE(std::regex_search(
      Result.Shown,
      std::regex("\rFinding boards: [1-9][0-9]* of 42 images, [0-9]+ found, a(bout )?")))
      << Result.Shown;
  // At the end the terminal shows the result and no remains of the line.
  EXPECT_THAT(Result.Lines().front(), StartsWith("Usable. "));
  for (const std::string& Line : Result.Lines()) EXPECT_THAT(Line, Not(HasSubstr("Finding")));
  const std::string Progress = Result.Shown.substr(0, Result.Shown.find('\n'));
  std::istringstream Steps(Progress);
  for (std::string Step; std::getline(Steps, Step, '\r');) {
    EXPECT_LT(std::regex_replace(Step, std::regex("\x1b\\[[0-9;]*[mK]"), "").size(),
              Terminal_Width);
  }
}

TEST(CalibrateRun, IsInColourOnATerminalUnlessTheEnvironmentForbidsIt) {
  const Scratch_Folder Scratch;
  const std::vector<std::string> Arguments =
      Calibrate_Arguments(Scratch.Path() / "none.csv", Scratch.Path() / "out");
  constexpr const char* Red = "\x1b[31m";
  EXPECT_THAT(Rigsync_On_Terminal(Arguments).Shown, HasSubstr(Red));
  EXPECT_THAT(Rigsync_On_Terminal(Arguments, {"NO_COLOR=1"}).Shown, Not(HasSubstr(Red)));
  EXPECT_THAT(Rigsync_On_Terminal(Arguments, {"TERM=dumb"}).Shown, Not(HasSubstr(Red)));
  EXPECT_THAT(Rigsync(Arguments).Output, Not(HasSubstr(Red)));
}

TEST(CalibrateRun, AnInterruptedRunLeavesNoResultAndSaysSo) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out)).Status, 0);
  const std::string Earlier = Read_Text(Out / "result.json");
  // Long enough to be interrupted on any machine.
  const fs::path Csv = Write_Long_Csv(Scratch.Path(), 200);
  std::vector<std::string> Arguments = Calibrate_Arguments(Csv, Out);
  Arguments.insert(Arguments.end(), {"--library-only", "--many-images"});
  const Terminal_Run Result = Rigsync_On_Terminal(Arguments, {}, [](const std::string& Shown) {
    return Shown.find(" found, a") != std::string::npos;
  });
  constexpr int Interrupted = 128 + 2;  // SIGINT itself ended it, so that a shell's loop ends too
  EXPECT_EQ(Result.Status, Interrupted);
  const std::vector<std::string> Lines = Result.Lines();
  EXPECT_THAT(Lines, Contains(HasSubstr("rigsync: interrupted; no result was written.")));
  EXPECT_THAT(Lines, Contains("  " + (fs::canonical(Run_Folders(Out).back())).string()));
  for (const std::string& Line : Lines) EXPECT_THAT(Line, Not(HasSubstr("Finding boards")));
  // The earlier run is unchanged, and the interrupted one has a log only.
  EXPECT_EQ(Read_Text(Out / "result.json"), Earlier);
  ASSERT_EQ(Run_Folders(Out).size(), 2u);
  EXPECT_FALSE(fs::exists(Run_Folders(Out).back() / "result.json"));
  for (const auto& Entry : fs::directory_iterator(Out)) {
    EXPECT_NE(Entry.path().filename().string().front(), '.') << Entry.path();
  }
}

// Whether the newest result and the newest page were written by the same run.
bool Are_Of_One_Run(const fs::path& Out) {
  const std::string Result = Read_Text(Out / "result.json"), Page = Read_Text(Out / "report.html");
  for (const fs::path& Run : Run_Folders(Out)) {
    if (!fs::exists(Run / "report.html") || Read_Text(Run / "result.json") != Result) continue;
    return Read_Text(Run / "report.html") == Page;
  }
  return false;
}

TEST(CalibrateRun, TwoSimultaneousRunsInOneFolderAreSeparate) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  const std::string Words = Shell_Words(Calibrate_Arguments(Capture_File("capture.csv"), Out));
  const Finished Both =
      Run_Program("/bin/sh", {"-c", Words + " & one=$!; " + Words + " && wait $one"});
  EXPECT_EQ(Both.Status, 0) << Both.Error;
  const std::vector<fs::path> Runs = Run_Folders(Out);
  ASSERT_EQ(Runs.size(), 2u);
  std::vector<nlohmann::json> Results;
  for (const fs::path& Run : Runs) {
    Results.push_back(Read_Json(Run / "result.json"));
    EXPECT_EQ(Results.back()["code"], 0);
    EXPECT_EQ(Results.back()["run_folder"], fs::canonical(Run).string());
    // One complete log has the version once.
    const std::string Log = Read_Text(Results.back()["run_log"].get<std::string>());
    EXPECT_EQ(Log.find("Version : "), Log.rfind("Version : "));
    EXPECT_THAT(Log, HasSubstr("Camera and Tracker Calibration successful."));
  }
  EXPECT_EQ(Results[0]["transform_cam_tc"], Results[1]["transform_cam_tc"]);
  EXPECT_THAT(Results, Contains(Read_Json(Out / "result.json")));
  EXPECT_TRUE(Are_Of_One_Run(Out));
}

// The result in the run's own folder is written before, and that of the output folder only when
// nobody else writes there.
TEST(CalibrateRun, TheNewestResultWaitsForAnotherRunThatWritesIts) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  fs::create_directory(Out);
  const auto Has_Own_Result = [&Out] {
    const std::vector<fs::path> Runs = Run_Folders(Out);
    return !Runs.empty() && fs::exists(Runs.front() / "result.json");
  };
  auto Writer = std::make_optional<rigsync::Folder_Lock>(Out, 0.0);
  ASSERT_FALSE(Writer->Is_Taken());
  auto Running = std::async(std::launch::async, [&Out] {
    return Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out));
  });
  const auto Is_Over = [&Running] {
    return Running.wait_for(std::chrono::milliseconds(10)) == std::future_status::ready;
  };
  while (!Has_Own_Result() && !Is_Over()) {
  }
  constexpr int Looks = 100;  // in a second
  for (int Look = 0; Look < Looks && !Is_Over(); ++Look) {
    ASSERT_FALSE(fs::exists(Out / "result.json")) << Look;
  }
  EXPECT_FALSE(Is_Over());
  Writer.reset();
  EXPECT_EQ(Running.get().Status, 0);
  EXPECT_TRUE(fs::exists(Out / "result.json"));
  EXPECT_TRUE(Are_Of_One_Run(Out));
}

// The signal comes when the newest result.json is there, before its page.
TEST(CalibrateRun, AnInterruptionLeavesResultAndPageOfTheSameRun) {
  if (Is_Sanitized) GTEST_SKIP() << "a sanitizer has to be the first library";
  const Scratch_Folder Scratch;
  const fs::path Out = fs::canonical(Scratch.Path()) / "out";
  const std::vector<std::string> Arguments = Calibrate_Arguments(Capture_File("capture.csv"), Out);
  ASSERT_EQ(Rigsync(Arguments).Status, 0);
  const std::string Earlier = Read_Text(Out / "result.json");
  const Finished Result = Run_Program(
      "/bin/sh", {"-c", "LD_PRELOAD='" RIGSYNC_SIGNAL_AT_RENAME "' RIGSYNC_SIGNAL_AT='" +
                            (Out / "result.json").string() + "' " + Shell_Words(Arguments) +
                            "; echo status $?"});
  EXPECT_THAT(Result.Output, HasSubstr("status 143"));  // 128 and SIGTERM
  EXPECT_NE(Read_Text(Out / "result.json"), Earlier);
  EXPECT_TRUE(Are_Of_One_Run(Out));
  for (const auto& Entry : fs::directory_iterator(Out)) {
    EXPECT_NE(Entry.path().filename().string().front(), '.') << Entry.path();
  }
}

TEST(CalibrateRun, ADiskThatIsFullOrReadOnlyIsReportedBeforeTheRun) {
  const Scratch_Folder Scratch;
  const fs::path Disk = Scratch.Path() / "disk";
  fs::create_directory(Disk);
  const std::string Words =
      Shell_Words(Calibrate_Arguments(Capture_File("capture.csv"), Disk / "out"));
  const auto On_Disk = [&](const std::string& Options) {
    return Run_Program("/usr/bin/env", {"unshare", "--mount", "sh", "-c",
                                        "mount -t tmpfs -o " + Options + " none '" + Disk.string() +
                                            "' && mkdir -p '" + Disk.string() + "/out'; " + Words});
  };
  if (Run_Program("/usr/bin/env", {"unshare", "--mount", "mount", "-t", "tmpfs", "none", "/mnt"})
          .Status != 0) {
    GTEST_SKIP() << "this user may not mount a disk";
  }
  // Two files: the disk's own folder and the one for the results.
  const Finished No_File = On_Disk("nr_inodes=2");
  EXPECT_EQ(No_File.Status, 2);
  EXPECT_THAT(No_File.Said,
              AllOf(HasSubstr("'" + fs::canonical(Disk).string() + "/out' is wrong"),
                    HasSubstr("files can be written (No space left"), Not(HasSubstr("probe"))));
  const Finished Full = On_Disk("size=100k");
  EXPECT_EQ(Full.Status, 2);
  EXPECT_THAT(Full.Said, AllOf(HasSubstr("--out"), HasSubstr("of space for run log and result"),
                               Not(HasSubstr("finding boards"))));
  const Finished Read_Only = On_Disk("ro");
  EXPECT_EQ(Read_Only.Status, 2);
  EXPECT_THAT(Read_Only.Said,
              AllOf(HasSubstr("--out"), HasSubstr("Read-only"), Not(HasSubstr("finding boards"))));
  // Room for log and result, but not for the reprojection images.
  const Finished Narrow = On_Disk("size=1500k");
  EXPECT_EQ(Narrow.Status, 0) << Narrow.Error;
  EXPECT_THAT(Narrow.Said, AllOf(HasSubstr("warning"), HasSubstr("reprojection images")));
}

// The reprojection images are written before the result and would take all the space.
TEST(CalibrateRun, ReprojectionImagesThatFillTheDiskDontTakeTheResult) {
  if (Run_Program("/usr/bin/env", {"unshare", "--mount", "mount", "-t", "tmpfs", "none", "/mnt"})
          .Status != 0) {
    GTEST_SKIP() << "this user may not mount a disk";
  }
  const Scratch_Folder Scratch;
  const std::string Capture = (Scratch.Path() / "capture").string();
  const fs::path Disk = Scratch.Path() / "disk";
  fs::create_directory(Disk);
  ASSERT_EQ(Rigsync({"simulate", Capture, "--images", "20", "--size", "960x540", "--board", "7x5",
                     "--format", "jpg"})
                .Status,
            0);
  const std::string Words = Shell_Words({"calibrate", Capture + "/capture.csv", "--config",
                                         Capture + "/stage.json", "--out", Disk.string()});
  const std::string Kept = Scratch.String() + "/kept";
  const Finished Result =
      Run_Program("/usr/bin/env",
                  {"unshare", "--mount", "sh", "-c",
                   "mount -t tmpfs -o size=1500k none '" + Disk.string() + "' && " + Words +
                       "; status=$?; cp -r '" + Disk.string() + "' '" + Kept + "'; exit $status"});
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_EQ(Read_Json(Kept + "/result.json")["code"], 0);
  EXPECT_THAT(Result.Said, AllOf(HasSubstr("reprojection images could not be written"),
                                 HasSubstr("calibrate again to have them")));
  const fs::path Run = Run_Folders(Kept).at(0);
  for (const auto& Entry : fs::recursive_directory_iterator(Run)) {
    if (Entry.path().extension() != ".jpg") continue;
    const std::string Bytes = Read_Text(Entry.path());
    EXPECT_EQ(Bytes.substr(Bytes.size() - 2), "\xFF\xD9") << Entry.path();
  }
}

TEST(CalibrateRun, TheResultListsTheDroppedImagesWithStageAndReason) {
  const Scratch_Folder Scratch;
  const std::string Capture = (Scratch.Path() / "troubled").string();
  ASSERT_EQ(Rigsync({"simulate", Capture, "--images", "20", "--size", "640x480", "--board", "7x5",
                     "--missing", "1", "--blank", "1", "--jumped", "1"})
                .Status,
            0);
  const fs::path Out = Scratch.Path() / "out";
  const Finished Result = Rigsync({"calibrate", Capture + "/capture.csv", "--config",
                                   Capture + "/stage.json", "--out", Out.string()});
  // The jumped sample moves the library's mount by more than the limit.
  ASSERT_EQ(Result.Status, 21) << Result.Error;
  const nlohmann::json File = Read_Json(Out / "result.json");
  std::vector<std::string> Stages;
  for (const auto& Image : File["images"]["dropped"]) {
    Stages.push_back(Image["stage"]);
    // The line is the one that names the image in the CSV.
    const std::vector<std::string> Csv = Lines_Of(Read_Text(Capture + "/capture.csv"));
    EXPECT_THAT(Csv.at(Image["line"].get<std::size_t>() - 1),
                HasSubstr(Image["image"].get<std::string>()));
    EXPECT_THAT(Result.Output,
                HasSubstr("line " + std::to_string(Image["line"].get<int>()) + ": "));
  }
  EXPECT_THAT(Stages, AllOf(Contains("reading").Times(1), Contains("board").Times(1),
                            Contains("outliers")));
  EXPECT_EQ(File["images"]["given"], 20);
  EXPECT_EQ(File["images"]["kept"].size() + Stages.size(), 20u);
  const double Error_Px = File["quality"]["reprojection_px"];
  constexpr double Log_Digits = 1e-3;  // six decimals of the normalised error, times 1080
  EXPECT_NEAR(File["quality"]["reprojection_1080p_px"], Error_Px * 1080.0 / 480.0, Log_Digits);
  EXPECT_EQ(File["versions"]["rigsync_core"], "v0.0.9");
}

TEST(CalibrateRun, EveryResultFollowsTheSchema) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Scratch.Path() / "capture.csv", Out = Scratch.Path() / "out";
  std::vector<std::string> Arguments = Calibrate_Arguments(Csv, Out);
  const auto Expect_Schema = [&](const char* What) {
    const Finished Checked = Check_Schema(Out / "result.json");
    EXPECT_EQ(Checked.Status, 0) << What << ": " << Checked.Output << Checked.Error;
    // The next run's result is its own.
    fs::remove(Out / "result.json");
  };
  Rigsync(Arguments);
  Expect_Schema("no CSV");
  const auto Write_Csv =
      [&](const std::function<void(std::size_t, std::vector<std::string>&)>& Change) {
        Rewrite_Csv(Csv, [&](std::size_t Index, std::vector<std::string>& Fields) {
          Fields[1] = (Capture_File("images").parent_path() / Fields[1]).string();
          Change(Index, Fields);
        });
      };
  Write_Csv([](std::size_t Index, std::vector<std::string>& Fields) {
    if (Index == 3) Fields[2] = "nan";
  });
  Rigsync(Arguments);
  Expect_Schema("numbers that are not finite");
  Write_Csv([](std::size_t, std::vector<std::string>&) {});
  Arguments.insert(Arguments.end(), {"--sensor", "24x18"});
  Rigsync(Arguments);
  Expect_Schema("a sensor");
  Write_Csv([](std::size_t, std::vector<std::string>& Fields) { Fields[1] += "\xff"; });
  Rigsync(Arguments);
  Expect_Schema("paths that are no text");
}

TEST(CalibrateRun, OutliersThatTheRunLogDoesNotNameAreNotCalledKept) {
  const Scratch_Folder Scratch;
  const std::string Capture = Scratch.String() + "/noisy";
  // Noise at which half of the axes are beyond their limit, and some positions.
  ASSERT_EQ(Rigsync({"simulate", Capture, "--images", "14", "--size", "640x480", "--board", "7x5",
                     "--rotation-noise", "0.3", "--position-noise", "5mm"})
                .Status,
            0);
  const fs::path Out = Scratch.Path() / "out";
  const Finished Result = Rigsync({"calibrate", Capture + "/capture.csv", "--config",
                                   Capture + "/stage.json", "--out", Out.string()});
  ASSERT_EQ(Result.Status, 13);
  const Finished Checked = Check_Schema(Out / "result.json");
  EXPECT_EQ(Checked.Status, 0) << Checked.Output << Checked.Error;
  const nlohmann::json Images = Read_Json(Out / "result.json")["images"];
  EXPECT_TRUE(Images["kept"].empty());
  EXPECT_GT(Images["unknown"].size(), 0u);
  EXPECT_EQ(Images["unknown"].size() + Images["dropped"].size(), 14u);
  EXPECT_GT(Images["dropped"].size(), 0u);
  // Those in the list are beyond the axis limit; the others are not.
  for (const auto& Image : Images["dropped"]) EXPECT_GT(Image["axis_difference_deg"], 0.5);
  for (const auto& Image : Images["unknown"]) EXPECT_LE(Image["axis_difference_deg"], 0.5);
  EXPECT_THAT(Result.Output,
              HasSubstr("Of the other " + std::to_string(Images["unknown"].size()) + ", "));
}

TEST(CalibrateRun, TheSchemaRefusesWhatIsNoResult) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  Rigsync(Calibrate_Arguments(Scratch.Path() / "none.csv", Out));
  const nlohmann::json Whole = Read_Json(Out / "result.json");
  for (const auto& [Key, Value] : Whole.items()) {
    nlohmann::json Without = Whole;
    Without.erase(Key);
    EXPECT_EQ(Check_Schema(Scratch.Write("without.json", Without.dump())).Status, 1) << Key;
  }
  nlohmann::json More = Whole;
  More["more"] = 1;
  EXPECT_EQ(Check_Schema(Scratch.Write("more.json", More.dump())).Status, 1);
  // Usable without a usable code and a finite transform.
  nlohmann::json Usable = Whole;
  Usable["usable"] = true;
  EXPECT_EQ(Check_Schema(Scratch.Write("usable.json", Usable.dump())).Status, 1);
  Usable["transform_cam_tc"] = std::vector<double>(16, 0.5);
  EXPECT_EQ(Check_Schema(Scratch.Write("usable.json", Usable.dump())).Status, 1);
  Usable["code"] = 99;
  EXPECT_EQ(Check_Schema(Scratch.Write("usable.json", Usable.dump())).Status, 0);
  Usable["transform_cam_tc"][3] = nullptr;
  EXPECT_EQ(Check_Schema(Scratch.Write("usable.json", Usable.dump())).Status, 1);
}

TEST(CalibrateRun, AClosedPipeDoesNotLoseTheResult) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  const std::string Words = Shell_Words(Calibrate_Arguments(Capture_File("capture.csv"), Out));
  const Finished Result =
      Run_Program("/bin/sh", {"-c", "{ " + Words + "; echo \"status $?\" >&2; } | true"});
  EXPECT_THAT(Result.Error, HasSubstr("status 0"));
  EXPECT_EQ(Read_Json(Out / "result.json")["code"], 0);
}

TEST(CalibrateRun, ARemovedWorkingDirectoryIsNoHindranceOrSaidInAWord) {
  const Scratch_Folder Scratch;
  const auto From_Nowhere = [&](const std::vector<std::string>& Arguments) {
    const std::string Gone = Scratch.String() + "/gone";
    return Run_Program("/bin/sh", {"-c", "mkdir '" + Gone + "' && cd '" + Gone + "' && rmdir '" +
                                             Gone + "' && " + Shell_Words(Arguments)});
  };
  const Finished Absolute =
      From_Nowhere(Calibrate_Arguments(Capture_File("capture.csv"), Scratch.Path() / "out"));
  EXPECT_EQ(Absolute.Status, 0) << Absolute.Error;
  EXPECT_TRUE(fs::exists(Scratch.Path() / "out/result.json"));
  const Finished Relative = From_Nowhere(
      {"board", "--board", "5x4", "--square", "20mm", "--paper", "a4", "-o", "board.svg"});
  EXPECT_EQ(Relative.Status, 70);
  EXPECT_THAT(Relative.Said, HasSubstr("the working directory doesn't exist any more"));
}

TEST(CalibrateRun, AFileThatMayNotGrowIsToldAndNothingIsLeft) {
  const Scratch_Folder Scratch;
  const fs::path Board = Scratch.Path() / "board.pdf";
  const Finished Result = Run_Program(
      "/bin/sh",
      {"-c", "ulimit -f 1; " + Shell_Words({"board", "--board", "5x4", "--square", "20mm",
                                            "--paper", "a4", "-o", Board.string()})});
  EXPECT_EQ(Result.Status, 2);
  EXPECT_THAT(Result.Said, AllOf(HasSubstr("File too large"), HasSubstr("ulimit -f")));
  EXPECT_TRUE(fs::is_empty(Scratch.Path()));
}

// OpenCV's threads once waited for ever for one that the system refused.
TEST(CalibrateRun, LittleMemoryIsToldAndNeitherEndsAProgramNorStopsIt) {
  if (Is_Sanitized) GTEST_SKIP() << "a sanitizer needs more memory than there is";
  const Scratch_Folder Scratch;
  const std::string Words = Shell_Words({"inspect", Capture_File("capture.csv").string(),
                                         "--config", Capture_File("stage.json").string()});
  int Tries = 0;
  for (int Megabytes = 16; Megabytes <= 40; Megabytes += 2) {
    const auto With_Memory = [&](const std::string& Command) {
      return Run_Program("/bin/sh", {"-c", "ulimit -c 0; ulimit -d " +
                                               std::to_string(1024 * Megabytes) + "; " + Command});
    };
    if (With_Memory(Shell_Words({"--version"})).Status != 0) continue;  // it can't even be loaded
    ++Tries;
    const Finished Result = With_Memory("timeout 120 " + Words);
    EXPECT_THAT(Result.Status, testing::AnyOf(0, 1, 70)) << Megabytes;
    if (Result.Status != 70) continue;
    EXPECT_THAT(Result.Said,
                testing::AnyOf(HasSubstr("not enough memory"), HasSubstr("no more threads")))
        << Megabytes;
  }
  EXPECT_GT(Tries, 0) << "under every limit it couldn't even be loaded";
}

TEST(CalibrateRun, OutputThatCantBeWrittenIsReported) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out)).Status, 0);
  const std::string Words = Shell_Words({"export", (Out / "result.json").string(), "--to", "ue5"});
  const Finished Result = Run_Program("/bin/sh", {"-c", Words + " > /dev/full"});
  EXPECT_EQ(Result.Status, 70);
  EXPECT_THAT(Result.Said, HasSubstr("standard output can't be written: No space left"));
}

}  // namespace
