// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync simulate': each flag reaches its option, the files are there, and what is said
// meanwhile.
#include "simulate/simulate.h"
#include "rigsync/system/platform.h"
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(Simulate, EveryFlagReachesItsOption) {
  const Scratch_Folder Scratch;
  const Finished Result = Rigsync({"simulate",
                                   Scratch.String(),
                                   "--seed=7",
                                   "--images=9",
                                   "--size=320x240",
                                   "--board=5x4",
                                   "--square=4cm",
                                   "--focal=1.5,2",
                                   "--principal-point=0.51,0.48",
                                   "--distortion=-0.02,0.01",
                                   "--camera-mount-euler=10,20,30",
                                   "--camera-mount-offset=1cm,2cm,3cm",
                                   "--board-mount-euler=5,6,7",
                                   "--board-mount-offset=4cm,5cm,6cm",
                                   "--position-noise=1mm",
                                   "--rotation-noise=0.25",
                                   "--stale=1",
                                   "--stale-offset=25mm",
                                   "--stale-angle=1.5",
                                   "--jumped=2",
                                   "--jump-offset=50mm",
                                   "--jump-angle=3",
                                   "--missing=1",
                                   "--blank=1",
                                   "--truncated=1",
                                   "--cut=1",
                                   "--markers=60",
                                   "--marker-size=0.4",
                                   "--estimate-error-angle=0.5",
                                   "--estimate-error-offset=2mm",
                                   "--spread=centred",
                                   "--blur=0.5",
                                   "--sensor-noise=1.5",
                                   "--lighting=0.125",
                                   "--format=jpg",
                                   "--jpeg-quality=80",
                                   "--paths=relative",
                                   "--no-header"});
  ASSERT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_THAT(Result.Output,
              AllOf(HasSubstr("Simulated 9 images of 320 x 240 pixels with seed 7"),
                    HasSubstr("stale tracker sample: 1"), HasSubstr("rigsync calibrate ")));

  const nlohmann::json Options = Read_Json(Scratch.Path() / "truth.json")["options"];
  EXPECT_EQ(Options["seed"], 7);
  EXPECT_EQ(Options["image_count"], 9);
  EXPECT_EQ(Options["width"], 320);
  EXPECT_EQ(Options["height"], 240);
  EXPECT_EQ(Options["board_cols"], 5);
  EXPECT_EQ(Options["board_rows"], 4);
  EXPECT_EQ(Options["square_size_m"], 0.04);
  EXPECT_EQ(Options["norm_fx"], 1.5);
  EXPECT_EQ(Options["norm_fy"], 2.0);
  EXPECT_EQ(Options["norm_cx"], 0.51);
  EXPECT_EQ(Options["norm_cy"], 0.48);
  EXPECT_EQ(Options["k1"], -0.02);
  EXPECT_EQ(Options["k2"], 0.01);
  EXPECT_EQ(Options["camera_mount_euler_deg"], (std::vector<double>{10, 20, 30}));
  EXPECT_EQ(Options["camera_mount_offset_m"], (std::vector<double>{0.01, 0.02, 0.03}));
  EXPECT_EQ(Options["board_mount_euler_deg"], (std::vector<double>{5, 6, 7}));
  EXPECT_EQ(Options["board_mount_offset_m"], (std::vector<double>{0.04, 0.05, 0.06}));
  EXPECT_EQ(Options["position_noise_mm"], 1.0);
  EXPECT_EQ(Options["rotation_noise_deg"], 0.25);
  EXPECT_EQ(Options["stale_count"], 1);
  EXPECT_EQ(Options["stale_mm"], 25.0);
  EXPECT_EQ(Options["stale_deg"], 1.5);
  EXPECT_EQ(Options["jump_count"], 2);
  EXPECT_EQ(Options["jump_mm"], 50.0);
  EXPECT_EQ(Options["jump_deg"], 3.0);
  EXPECT_EQ(Options["missing_count"], 1);
  EXPECT_EQ(Options["blank_count"], 1);
  EXPECT_EQ(Options["truncated_count"], 1);
  EXPECT_EQ(Options["cut_count"], 1);
  EXPECT_EQ(Options["first_marker"], 60);
  EXPECT_EQ(Options["marker_size"], 0.4);
  EXPECT_EQ(Options["estimate_error_deg"], 0.5);
  EXPECT_EQ(Options["estimate_error_mm"], 2.0);
  EXPECT_EQ(Options["pose_spread"], "centred");
  EXPECT_EQ(Options["blur_pixels"], 0.5);
  EXPECT_EQ(Options["sensor_noise"], 1.5);
  EXPECT_EQ(Options["lighting_gradient"], 0.125);
  EXPECT_EQ(Options["image_format"], "jpg");
  EXPECT_EQ(Options["jpeg_quality"], 80);
  EXPECT_EQ(Options["paths"], "relative");
  EXPECT_EQ(Options["header"], false);
  // One image was to be missing.
  std::size_t Images = 0;
  for (const auto& Entry : fs::directory_iterator(Scratch.Path() / "images")) {
    EXPECT_EQ(Entry.path().extension(), ".jpg");
    ++Images;
  }
  EXPECT_EQ(Images, 8u);
}

TEST(Simulate, EveryFlagOfTakeAndClipReachesItsOption) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Rigsync({"simulate", Scratch.String(), "--images=2", "--size=320x240", "--board=5x4",
               "--take=motive", "--take-unit=mm", "--take-rate=50", "--hold=0.5,0.75",
               "--move=0.25,0.5", "--regular-holds", "--clock-offset=-1500ms", "--lost=3",
               "--drift=10mm", "--drift-angle=0.5", "--lag=100ms", "--one-body", "--clip"});
  ASSERT_EQ(Result.Status, 0) << Result.Error;
  const nlohmann::json Recording = Read_Json(Scratch.Path() / "truth.json")["options"]["recording"];
  EXPECT_EQ(Recording["format"], "motive");
  EXPECT_EQ(Recording["unit"], "mm");
  EXPECT_EQ(Recording["rate_hz"], 50.0);
  EXPECT_EQ(Recording["hold_s"], (std::vector<double>{0.5, 0.75}));
  EXPECT_EQ(Recording["move_s"], (std::vector<double>{0.25, 0.5}));
  EXPECT_EQ(Recording["regular_holds"], true);
  EXPECT_EQ(Recording["clock_offset_s"], -1.5);
  EXPECT_EQ(Recording["lost_percent"], 3.0);
  EXPECT_EQ(Recording["drift_mm_per_s"], 10.0);
  EXPECT_EQ(Recording["drift_deg_per_s"], 0.5);
  EXPECT_EQ(Recording["lag_s"], 0.1);
  EXPECT_EQ(Recording["one_body"], true);
  EXPECT_EQ(Recording["clip"], true);
  for (const char* Name : {"take.csv", "times.csv", "clip.avi"}) {
    EXPECT_TRUE(fs::is_regular_file(Scratch.Path() / Name)) << Name;
    EXPECT_THAT(Result.Output, HasSubstr((Scratch.Path() / Name).string()));
  }
}

TEST(Simulate, EveryFormatOfATakeHasItsFiles) {
  const std::pair<const char*, std::vector<const char*>> Formats[] = {
      {"motive", {"take.csv"}},
      {"vicon", {"take.csv"}},
      {"vicon-quaternion", {"take.csv"}},
      {"qualisys", {"take.tsv"}},
      {"tum", {"camera.txt", "board.txt"}},
      {"eth", {"camera.csv", "board.csv"}},
      {"euroc", {"camera.csv", "board.csv"}},
      {"csv", {"take.csv", "take.toml"}}};
  for (const auto& [Format, Names] : Formats) {
    const Scratch_Folder Scratch;
    const Finished Result = Rigsync({"simulate", Scratch.String(), "--images=1", "--size=160x120",
                                     "--board=5x4", "--take", Format});
    ASSERT_EQ(Result.Status, 0) << Result.Error;
    for (const char* Name : Names) {
      EXPECT_TRUE(fs::is_regular_file(Scratch.Path() / Name)) << Format << ": " << Name;
      EXPECT_THAT(Result.Output, HasSubstr((Scratch.Path() / Name).string()));
    }
  }
}

TEST(Simulate, AFlagThatNeedsATakeOrAClipIsRefusedWithoutOne) {
  const Scratch_Folder Scratch;
  const auto Error_Of = [&](std::vector<std::string> Flags) {
    Flags.insert(Flags.begin(),
                 {"simulate", Scratch.String(), "--images=1", "--size=160x120", "--board=5x4"});
    const Finished Result = Rigsync(Flags);
    return Result.Status == 2 ? Result.Error : "status " + std::to_string(Result.Status);
  };
  for (const char* Flag : {"--take-unit=mm", "--take-rate=50", "--lost=3"}) {
    EXPECT_THAT(Error_Of({Flag}), HasSubstr("requires --take")) << Flag;
    EXPECT_THAT(Error_Of({Flag, "--take=none"}), HasSubstr("requires --take")) << Flag;
    EXPECT_THAT(Error_Of({Flag, "--clip"}), HasSubstr("requires --take")) << Flag;
  }
  for (const char* Flag : {"--hold=1,2", "--move=1,2", "--clock-offset=1", "--regular-holds"}) {
    EXPECT_THAT(Error_Of({Flag}), HasSubstr("requires --take, --clip or --stream")) << Flag;
    EXPECT_EQ(Error_Of({Flag, "--take=tum"}), "status 0") << Flag;
  }
  EXPECT_THAT(Error_Of({"--take=tum", "--take-unit=mm"}),
              HasSubstr("--take-unit can be chosen for a Motive take only"));
  EXPECT_THAT(Error_Of({"--take=tum", "--hold=2,1"}), HasSubstr("--hold (shortest)"));
  EXPECT_THAT(Error_Of({"--lag=500ms"}), HasSubstr("--lag has to be at most two fifths"));
  EXPECT_THAT(Error_Of({"--take=mocap"}), HasSubstr("'mocap' is wrong"));
}

TEST(Simulate, WithoutFlagsTheDefaultsAreThoseThatHelpShows) {
  // Read from help instead of drawing 24 large images.
  const std::string Help = Rigsync({"simulate", "--help"}).Output;
  const simulate::Options Default;
  EXPECT_THAT(Help, AllOf(HasSubstr("[" + std::to_string(Default.Image_Count) + "]"),
                          HasSubstr("[1920x1080]"), HasSubstr("[11x8]"), HasSubstr("[good]"),
                          HasSubstr("[35,-25,20]"), HasSubstr("[80mm]"), HasSubstr("[absolute]")));
}

TEST(Simulate, TheStageFileHoldsTheEstimateToTheBit) {
  const simulate::Truth Truth = simulate::Read_Truth(Capture_File("truth.json"));
  const nlohmann::json Stage = Read_Json(Capture_File("stage.json"));
  EXPECT_EQ(Stage["board"], "7x5");
  const auto Values = [](const std::string& List) {
    std::istringstream Fields(List);
    std::vector<double> Numbers;
    for (std::string Field; std::getline(Fields, Field, ',');) Numbers.push_back(std::stod(Field));
    return Numbers;
  };
  EXPECT_EQ(Values(Stage["board-euler"]),
            std::vector<double>(Truth.Chart_Euler_Deg.begin(), Truth.Chart_Euler_Deg.end()));
  EXPECT_EQ(Values(Stage["board-offset"]),
            std::vector<double>(Truth.Chart_Translation.begin(), Truth.Chart_Translation.end()));
}

const std::vector<std::string> Small = {"--images", "3", "--size", "320x240", "--board", "5x4"};

std::vector<std::string> Small_Capture(const std::string& Directory,
                                       const std::vector<std::string>& More = {}) {
  std::vector<std::string> Arguments = {"simulate", Directory};
  Arguments.insert(Arguments.end(), Small.begin(), Small.end());
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Arguments;
}

TEST(Simulate, AFolderThatTakesNoFilesIsRefusedByNameBeforeTheWork) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("file", "");
  for (const std::string& Wrong :
       {std::string("/proc/rigsync"), File, File + "/below", std::string()}) {
    SCOPED_TRACE(Wrong);
    const Finished Result = Rigsync(Small_Capture(Wrong));
    EXPECT_EQ(Result.Status, 2);
    EXPECT_EQ(Result.Output, "");
    EXPECT_THAT(Result.Said, AllOf(HasSubstr("rigsync: DIR: '" + Wrong + "' is wrong"),
                                   HasSubstr("expected a folder"), Not(HasSubstr("rendering"))));
  }
}

TEST(Simulate, ADiskThatIsReadOnlyOrFullIsToldBeforeTheWork) {
  if (Run_Program("/usr/bin/env", {"unshare", "--mount", "mount", "-t", "tmpfs", "none", "/mnt"})
          .Status != 0) {
    GTEST_SKIP() << "this user may not mount a disk";
  }
  const Scratch_Folder Scratch;
  const std::string Disk = Scratch.String();
  std::string Words = RIGSYNC_PROGRAM;
  for (const std::string& Word : Small_Capture(Disk + "/new/capture")) Words += " '" + Word + "'";
  for (const auto& [Options, Why] : {std::pair{"ro", "Read-only"}, {"size=100k", "of space"}}) {
    SCOPED_TRACE(Options);
    const Finished Result = Run_Program(
        "/usr/bin/env", {"unshare", "--mount", "sh", "-c",
                         std::string("mount -t tmpfs -o ") + Options + " none '" + Disk + "'; " +
                             Words + "; status=$?; ls '" + Disk + "'; exit $status"});
    EXPECT_EQ(Result.Status, 2);
    EXPECT_EQ(Result.Output, "");
    EXPECT_THAT(Result.Said,
                AllOf(HasSubstr("DIR: "), HasSubstr(Why), Not(HasSubstr("rendering"))));
  }
}

TEST(Simulate, AFolderThatNoCsvCanNameIsRefusedBeforeTheWork) {
  const Scratch_Folder Scratch;
  const std::string Folder = Scratch.String() + "/a, b";
  const Finished Refused = Rigsync(Small_Capture(Folder));
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("DIR: '" + Folder + "'"), HasSubstr("no comma"),
                                  HasSubstr("--paths relative")));
  EXPECT_FALSE(fs::exists(Folder));
  EXPECT_EQ(Rigsync(Small_Capture(Folder, {"--paths", "relative"})).Status, 0);
}

TEST(Simulate, TheCommandThatItOffersRunsInAShell) {
  const Scratch_Folder Scratch;
  const std::string Folder = Scratch.String() + "/a it's";
  const Finished Result = Rigsync(Small_Capture(Folder));
  ASSERT_EQ(Result.Status, 0);
  std::string Command = Result.Output.substr(Result.Output.find("rigsync calibrate "));
  Command.replace(0, std::string("rigsync").size(), RIGSYNC_PROGRAM);
  Command.replace(Command.find("RESULT_DIR"), std::string("RESULT_DIR").size(), "/proc/none");
  // It gets as far as the folder for the result.
  const Finished Offered = Run_Program("/bin/sh", {"-c", Command});
  EXPECT_EQ(Offered.Status, 2);
  EXPECT_THAT(Offered.Said, HasSubstr("--out: '/proc/none' is wrong"));
}

TEST(Simulate, SaysPlainlyWhatBeginsWhereNobodyWatchesAndNothingWhenQuiet) {
  const Scratch_Folder Scratch;
  const Finished Plain = Rigsync(Small_Capture(Scratch.String()));
  EXPECT_EQ(Plain.Status, 0);
  EXPECT_EQ(Plain.Error, "rigsync: rendering 3 photographs\n");
  const Finished Quiet = Rigsync(Small_Capture(Scratch.String(), {"--quiet"}));
  EXPECT_EQ(Quiet.Status, 0);
  EXPECT_EQ(Quiet.Error, "");
  EXPECT_THAT(Quiet.Output, HasSubstr("Simulated 3 images"));
  EXPECT_THAT(Rigsync_On_Terminal(Small_Capture(Scratch.String(), {"--quiet"})).Shown,
              Not(HasSubstr("photographs")));
}

TEST(Simulate, WritesOneLineAnewOnATerminalAndTakesItOffAtTheEnd) {
  const Scratch_Folder Scratch;
  const Terminal_Run Result = Rigsync_On_Terminal(Small_Capture(Scratch.String()));
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Shown, HasSubstr("\rRendering photographs: 1 of 3, a few seconds left"));
  EXPECT_THAT(Result.Lines().front(), StartsWith("Simulated 3 images"));
  for (const std::string& Line : Result.Lines()) EXPECT_THAT(Line, Not(HasSubstr("Rendering")));
}

TEST(Simulate, EndedByAPersonSaysThatTheCaptureIsNotWhole) {
  const Scratch_Folder Scratch;
  const std::string Folder = Scratch.String() + "/capture";
  // As when the tests are a background job: the command has to get the signal all the same.
  const auto Before = std::signal(SIGINT, SIG_IGN);
  const Terminal_Run Result = Rigsync_On_Terminal(
      {"simulate", Folder, "--images", "2000", "--size", "320x240", "--board", "5x4"}, {},
      [](const std::string& Shown) { return Shown.find("Rendering") != std::string::npos; });
  std::signal(SIGINT, Before);
  constexpr int Interrupted = 128 + 2;
  EXPECT_EQ(Result.Status, Interrupted);
  EXPECT_THAT(Result.Lines(), Contains(HasSubstr("rigsync: interrupted; what is written so far")));
  EXPECT_THAT(Result.Lines(), Contains("  " + Folder));
  for (const std::string& Line : Result.Lines()) EXPECT_THAT(Line, Not(HasSubstr("Rendering")));
  EXPECT_FALSE(fs::exists(Folder + "/capture.csv"));
  EXPECT_FALSE(fs::exists(Folder + "/stage.json"));
}

TEST(Simulate, WhatIsNotFromASimulationIsLeftAsItIs) {
  for (const char* Name : {"capture.csv", "stage.json", "images/0002.png"}) {
    SCOPED_TRACE(Name);
    const Scratch_Folder Scratch;
    fs::create_directory(Scratch.Path() / "images");
    const std::string Taken = Scratch.Write(Name, "taken on the stage");
    const Finished Result = Rigsync(Small_Capture(Scratch.String()));
    EXPECT_EQ(Result.Status, 2);
    EXPECT_THAT(Result.Said, AllOf(HasSubstr(Taken), HasSubstr("not from a simulation"),
                                   HasSubstr("Name another folder")));
    EXPECT_EQ(Read_Text(Taken), "taken on the stage");
    EXPECT_FALSE(fs::exists(Scratch.Path() / "truth.json"));
  }
}

TEST(Simulate, OneRunAtATimeWritesToAFolder) {
  const Scratch_Folder Scratch;
  {
    const rigsync::Folder_Lock Other_Run(Scratch.Path(), 0.0);
    const Finished Result = Rigsync(Small_Capture(Scratch.String()));
    EXPECT_EQ(Result.Status, 2);
    EXPECT_THAT(Result.Said, AllOf(HasSubstr("another 'rigsync simulate' writes to"),
                                   HasSubstr("or name another folder")));
    EXPECT_TRUE(fs::is_empty(Scratch.Path()));
  }
  EXPECT_EQ(Rigsync(Small_Capture(Scratch.String())).Status, 0);
}

}  // namespace
