// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate --lag' on simulated captures whose samples were moved back along known speeds.
#include "rigsync/capture/capture_file.h"
#include "rigsync/formats/import_file.h"
#include "simulate/random.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <Eigen/Geometry>

#include <cmath>

namespace {

namespace fs = std::filesystem;
using rigsync::Body_Reading;
using rigsync::Capture_Row;
using rigsync::Imported_Row;
using rigsync::Tracker_Sample;
using testing::AllOf;
using testing::HasSubstr;

using Words = std::vector<std::string>;

// A sample's quaternion takes directions of Base into the body, so a body that turned on by some
// angle along an axis of Base since then had the same quaternion times that turn.
Tracker_Sample Before(const Tracker_Sample& Now, const rigsync::Body_Velocity& Velocity,
                      double Seconds) {
  Tracker_Sample Then = Now;
  for (std::size_t k = 0; k < 3; ++k) {
    Then.Position[k] -= Seconds * Velocity.Linear[static_cast<Eigen::Index>(k)];
  }
  const Eigen::Vector3d Half_Turn = 0.5 * Seconds * Velocity.Angular;
  const Eigen::Quaterniond Turn(std::sqrt(1.0 - Half_Turn.squaredNorm()), Half_Turn.x(),
                                Half_Turn.y(), Half_Turn.z());
  const auto& Q = Now.Quaternion;
  const Eigen::Quaterniond Turned = Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]) * Turn;
  Then.Quaternion = {Turned.w(), Turned.x(), Turned.y(), Turned.z()};
  return Then;
}

std::string Fields(const Tracker_Sample& Sample) {
  std::string Text;
  for (const double Value : Sample.Position) Text += fmt::format(",{}", Value);
  for (const double Value : Sample.Quaternion) Text += fmt::format(",{}", Value);
  return Text;
}

Body_Reading Reading(const Tracker_Sample& Sample, double Speed_Mm, double Lag_Seconds,
                     simulate::Random& Random) {
  Body_Reading Body;
  Body.Velocity.Linear = 1e-3 * Speed_Mm * Random.Direction();
  Body.Velocity.Angular = 1e-3 * Speed_Mm * Random.Direction();  // a degree per second for 17 mm/s
  Body.Sample = Before(Sample, Body.Velocity, Lag_Seconds);
  return Body;
}

struct Late_Capture {
  fs::path Csv, Import;
};

// The CSV of a capture with late samples, and the import.json that says how fast the bodies were.
Late_Capture Make_Late(const Scratch_Folder& Scratch, double Speed_Mm, double Lag_Seconds) {
  const fs::path Folder = Scratch.Path() / "capture";
  EXPECT_EQ(Rigsync({"simulate", Folder.string(), "--images", "14", "--size", "640x480", "--board",
                     "7x5", "--position-noise", "0.2mm", "--rotation-noise", "0.02", "--quiet"})
                .Status,
            0);
  Late_Capture Late{Folder / "capture.csv", Folder / "import.json"};
  rigsync::Import_File File;
  File.Csv = "capture.csv";
  File.Record.Format = "Motive CSV";
  simulate::Random Random(11, 12);
  std::string Csv = "Time,Image\n";
  for (const Capture_Row& Row : rigsync::Read_Capture_File(Late.Csv).Rows) {
    Imported_Row New;
    New.Picture = Row.Image;
    New.Csv_Line = Row.Line;
    New.Camera = Reading(Row.Camera, Speed_Mm, Lag_Seconds, Random);
    New.Board = Reading(Row.Board, Speed_Mm, Lag_Seconds, Random);
    Csv += "0," + Row.Image + Fields(New.Camera.Sample) + Fields(New.Board.Sample) + "\n";
    File.Record.Rows.push_back(New);
  }
  Scratch.Write("capture/capture.csv", Csv);
  Scratch.Write("capture/import.json", rigsync::Import_Json(File));
  return Late;
}

Finished Calibrate(const Late_Capture& Of, const Scratch_Folder& Scratch, const Words& More) {
  Words All = {"calibrate", Of.Csv.string(), "--board", "7x5",
               "--square",  "30mm",          "--out",   (Scratch.Path() / "out").string(),
               "--quiet"};
  All.insert(All.end(), More.begin(), More.end());
  return Rigsync(All);
}

nlohmann::json Lag_Of(const Scratch_Folder& Scratch) {
  return Read_Json(Scratch.Path() / "out" / "result.json")["joint"]["lag"];
}

TEST(Lag, IsSolvedFromTheSpeedsOfTheImport) {
  const Scratch_Folder Scratch;
  const Late_Capture Late = Make_Late(Scratch, /*Speed_Mm=*/30, /*Lag_Seconds=*/0.1);
  const Finished Solved = Calibrate(Late, Scratch, {"--lag", "solve", "--solution", "joint"});
  EXPECT_THAT(Solved.Output, AllOf(HasSubstr("Lag between pictures and samples"),
                                   HasSubstr("ms before the pictures")));
  const nlohmann::json Lag = Lag_Of(Scratch);
  EXPECT_EQ(Lag["evidence"], "found");
  // Beyond twice the half-width is once in 10,000.
  EXPECT_NEAR(Lag["ms"].get<double>(), 100.0, 2 * Lag["half_width_ms"].get<double>());
  EXPECT_LT(Lag["half_width_ms"], 25.0);
}

TEST(Lag, OfBodiesThatStandStillIsNotTold) {
  const Scratch_Folder Scratch;
  const Late_Capture Late = Make_Late(Scratch, /*Speed_Mm=*/0, /*Lag_Seconds=*/0.1);
  const Finished Solved = Calibrate(Late, Scratch, {"--lag", "solve"});
  EXPECT_THAT(Solved.Output, HasSubstr("There is nothing to solve a lag from"));
  EXPECT_EQ(Lag_Of(Scratch)["evidence"], "open");
}

TEST(Lag, IsStatedWithItsUnitAndMovesTheJointMountAlone) {
  const Scratch_Folder Scratch;
  const Late_Capture Late = Make_Late(Scratch, 30, 0.1);
  Calibrate(Late, Scratch, {});
  const nlohmann::json Without = Read_Json(Scratch.Path() / "out" / "result.json");
  EXPECT_TRUE(Without["joint"]["lag"].is_null());
  Calibrate(Late, Scratch, {"--lag", "100ms"});
  const nlohmann::json With = Read_Json(Scratch.Path() / "out" / "result.json");
  EXPECT_EQ(With["joint"]["lag"]["evidence"], "stated");
  EXPECT_DOUBLE_EQ(With["inputs"]["lag"]["stated_ms"], 100.0);
  EXPECT_NE(With["joint"]["transform_cam_tc"], Without["joint"]["transform_cam_tc"]);
  EXPECT_EQ(With["lens"], Without["lens"]);
}

TEST(Lag, IsRefusedWithoutARecordingOfTheSpeeds) {
  const Scratch_Folder Scratch;
  const Late_Capture Late = Make_Late(Scratch, 30, 0.1);
  fs::remove(Late.Import);
  const Finished Refused = Calibrate(Late, Scratch, {"--lag", "solve"});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--lag: there is no"), HasSubstr("import.json"),
                                  HasSubstr("'rigsync import'"), HasSubstr("leave out --lag")));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "out"));
}

TEST(Lag, IsRefusedForACsvThatIsNotTheImports) {
  const Scratch_Folder Scratch;
  const Late_Capture Late = Make_Late(Scratch, 30, 0.1);
  std::string Csv = Read_Text(Late.Csv.string());
  const std::size_t Digit = Csv.rfind(',') + 2;
  Csv[Digit] = Csv[Digit] == '1' ? '2' : '1';
  Scratch.Write("capture/capture.csv", Csv);
  const Finished Refused = Calibrate(Late, Scratch, {"--lag", "solve"});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--lag: line 15 of"), HasSubstr("other samples")));
}

TEST(Lag, FlagsAreChecked) {
  const Scratch_Folder Scratch;
  const Late_Capture Any{Capture_File("capture.csv"), {}};
  for (const auto& [More, Message] :
       {std::pair<Words, const char*>{{"--lag", "40"}, "its unit"},
        {{"--lag", "2s"}, "at most a second"},
        {{"--lag", "solve", "--library-only", "--board-euler", "1,2,3", "--board-offset", "0,0,0"},
         "--library-only leaves out"}}) {
    const Finished Refused = Calibrate(Any, Scratch, More);
    EXPECT_EQ(Refused.Status, 2) << More[1];
    EXPECT_THAT(Refused.Said, HasSubstr(Message));
  }
}

}  // namespace
