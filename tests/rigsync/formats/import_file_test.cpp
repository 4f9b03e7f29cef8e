// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/import_file.h"

#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using testing::HasSubstr;

// A number in another unit is rounded on its way.
constexpr double Unit_Rounding = 1e-12;

Body_Reading Reading(double X) {
  Body_Reading Made;
  Made.Sample = {{X, 1.0 / 3.0, -0.25}, {0.5, -0.5, 0.1, 0.7}};
  Made.Sample_Count = 101;
  Made.Spread_Mm = 0.11;
  Made.Spread_Deg = 0.013;
  Made.Velocity = {{0.001, -0.002, X}, {0.01, 0.02, 0.03}};
  return Made;
}

Import_File Example() {
  Import_File File;
  File.Csv = "capture.csv";
  File.Csv_Sha256 = std::string(64, 'a');
  Import_Record& Record = File.Record;
  Record.Takes = {"take.csv", "second.csv"};
  Record.Format = "Motive CSV";
  Record.Camera_Body = "cam";
  Record.Board_Body = "slate";
  Record.Facts = {{"length unit", "millimetres, by the header"}};
  Record.Pictures = "clip.mp4";
  Record.Picture_Times = "the frames of a clip";
  Record.Camera = {11000, 12, 100.0, {0.1, 0.02}, {0.010, 0.0087}};
  Record.Board = {11012, 0, 99.5, {0.2, 0.03}, {0.012, 0.0090}};
  Record.Camera_Labels = Body_Labels::Right_Forward_Up;
  Record.Pose = Pose_Choice::Picture;
  Record.Hold_Count = 24;
  Record.Clock = {Clock_Method::Correlation, -12.345, 0.93, 0.41, 7.5, true};
  Imported_Row Kept, Refused;
  Kept.Picture = "images/frame_000012.png";
  Kept.Picture_Seconds = 0.48;
  Kept.Csv_Line = 2;
  Kept.Begin_Seconds = 1.25;
  Kept.End_Seconds = 3.5;
  Kept.Camera = Reading(1.5);
  Kept.Board = Reading(-2.5);
  Refused.Picture = "clip.mp4";
  Refused.Picture_Seconds = 7.0;
  Refused.Refusal = "'cam' moved: 9.0 mm/s";
  Record.Rows = {Kept, Refused};
  return File;
}

class Scratch_File {
 public:
  explicit Scratch_File(const std::string& Text) { std::ofstream(Path) << Text; }
  ~Scratch_File() { std::filesystem::remove(Path); }
  Scratch_File(const Scratch_File&) = delete;
  Scratch_File& operator=(const Scratch_File&) = delete;

  const std::filesystem::path Path =
      std::filesystem::path(testing::TempDir()) /
      ("rigsync_import_file_test_" +
       std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + ".json");
};

void Expect_Same(const Body_Reading& Read, const Body_Reading& Written) {
  EXPECT_EQ(Read.Sample, Written.Sample);
  EXPECT_EQ(Read.Sample_Count, Written.Sample_Count);
  EXPECT_EQ(Read.Spread_Mm, Written.Spread_Mm);
  EXPECT_EQ(Read.Spread_Deg, Written.Spread_Deg);
  EXPECT_EQ(Read.Velocity.Linear, Written.Velocity.Linear);
  EXPECT_EQ(Read.Velocity.Angular, Written.Velocity.Angular);
}

void Expect_Same(const Body_Facts& Read, const Body_Facts& Written) {
  EXPECT_EQ(Read.Samples, Written.Samples);
  EXPECT_EQ(Read.Lost, Written.Lost);
  EXPECT_EQ(Read.Rate_Hz, Written.Rate_Hz);
  EXPECT_EQ(Read.Noise.Position_Mm, Written.Noise.Position_Mm);
  EXPECT_EQ(Read.Noise.Rotation_Deg, Written.Noise.Rotation_Deg);
  EXPECT_NEAR(Read.Rest.Linear, Written.Rest.Linear, Unit_Rounding);
  EXPECT_NEAR(Read.Rest.Angular, Written.Rest.Angular, Unit_Rounding);
}

TEST(ImportFile, IsReadBackAsItWasWritten) {
  const Import_File Written = Example();
  const Import_File Read = Read_Import(Scratch_File(Import_Json(Written)).Path);
  EXPECT_EQ(Read.Csv, Written.Csv);
  EXPECT_EQ(Read.Csv_Sha256, Written.Csv_Sha256);
  EXPECT_EQ(Read.Record.Takes, Written.Record.Takes);
  EXPECT_EQ(Read.Record.Format, Written.Record.Format);
  EXPECT_EQ(Read.Record.Camera_Body, "cam");
  EXPECT_EQ(Read.Record.Board_Body, "slate");
  EXPECT_EQ(Read.Record.Facts, Written.Record.Facts);
  EXPECT_EQ(Read.Record.Pictures, Written.Record.Pictures);
  EXPECT_EQ(Read.Record.Picture_Times, Written.Record.Picture_Times);
  Expect_Same(Read.Record.Camera, Written.Record.Camera);
  Expect_Same(Read.Record.Board, Written.Record.Board);
  EXPECT_EQ(Read.Record.Camera_Labels, Body_Labels::Right_Forward_Up);
  EXPECT_EQ(Read.Record.Pose, Pose_Choice::Picture);
  EXPECT_EQ(Read.Record.Hold_Count, 24U);
  EXPECT_EQ(Read.Record.Clock.Method, Clock_Method::Correlation);
  EXPECT_EQ(Read.Record.Clock.Offset_Seconds, -12.345);
  EXPECT_EQ(Read.Record.Clock.Score, 0.93);
  EXPECT_EQ(Read.Record.Clock.Second_Score, 0.41);
  EXPECT_EQ(Read.Record.Clock.Second_Offset_Seconds, 7.5);
  EXPECT_TRUE(Read.Record.Clock.Is_Certain);
  ASSERT_EQ(Read.Record.Rows.size(), 2U);
  const Imported_Row& Row = Read.Record.Rows[0];
  EXPECT_EQ(Row.Picture, "images/frame_000012.png");
  EXPECT_EQ(Row.Picture_Seconds, 0.48);
  EXPECT_EQ(Row.Csv_Line, std::optional<std::size_t>(2));
  EXPECT_EQ(Row.Refusal, "");
  EXPECT_EQ(Row.Begin_Seconds, 1.25);
  EXPECT_EQ(Row.End_Seconds, 3.5);
  Expect_Same(Row.Camera, Written.Record.Rows[0].Camera);
  Expect_Same(Row.Board, Written.Record.Rows[0].Board);
  EXPECT_FALSE(Read.Record.Rows[1].Csv_Line);
  EXPECT_EQ(Read.Record.Rows[1].Refusal, "'cam' moved: 9.0 mm/s");
}

TEST(ImportFile, HasNoBodyForABoardThatStandsStill) {
  Import_File Written = Example();
  Written.Record.Board_Body.clear();
  Written.Record.Clock.Method = Clock_Method::Timecode;
  const Import_File Read = Read_Import(Scratch_File(Import_Json(Written)).Path);
  EXPECT_EQ(Read.Record.Board_Body, "");
  EXPECT_EQ(Read.Record.Board.Samples, 0U);
  EXPECT_EQ(Read.Record.Clock.Score, 0.0);
}

TEST(ImportFile, OfUnknownAxesHasNullAndOneOfAnEarlierVersionHasUnknownAxes) {
  Import_File Written = Example();
  Written.Record.Camera_Labels = Body_Labels::Unknown;
  auto Root = nlohmann::ordered_json::parse(Import_Json(Written));
  EXPECT_TRUE(Root.at("camera_tracker_axes").is_null());
  EXPECT_EQ(Read_Import(Scratch_File(Root.dump()).Path).Record.Camera_Labels, Body_Labels::Unknown);
  Root.erase("camera_tracker_axes");
  EXPECT_EQ(Read_Import(Scratch_File(Root.dump()).Path).Record.Camera_Labels, Body_Labels::Unknown);
}

// A capture with its import.json, after Spoil has changed the latter.
Body_Labels Labels_After(const std::function<void(Import_File&)>& Spoil) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", "T\n1,a.png\n");
  Import_File Beside = Example();
  Beside.Csv_Sha256 = File_Sha256(Csv);
  Spoil(Beside);
  Scratch.Write("import.json", Import_Json(Beside));
  return Labels_Of_Capture(Csv);
}

TEST(ImportFile, TellsTheAxesOfACaptureThatIsAsItWasWritten) {
  EXPECT_EQ(Labels_After([](Import_File&) {}), Body_Labels::Right_Forward_Up);
  EXPECT_EQ(Labels_After([](Import_File& Of) { Of.Csv = "other.csv"; }), Body_Labels::Unknown);
  EXPECT_EQ(Labels_After([](Import_File& Of) { Of.Csv_Sha256[5] ^= 1; }), Body_Labels::Unknown);
  EXPECT_EQ(Labels_After([](Import_File& Of) { Of.Record.Camera_Labels = Body_Labels::Unknown; }),
            Body_Labels::Unknown);
}

TEST(ImportFile, TellsNoAxesOfACaptureWithoutOneOrWithOneThatCannotBeRead) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", "T\n1,a.png\n");
  EXPECT_EQ(Labels_Of_Capture(Csv), Body_Labels::Unknown);
  Scratch.Write("import.json", "{");
  EXPECT_EQ(Labels_Of_Capture(Csv), Body_Labels::Unknown);
}

std::string Refusal_Of(const std::string& Text) {
  const Scratch_File File(Text);
  try {
    Read_Import(File.Path);
  } catch (const Usage_Error& Error) {
    EXPECT_THAT(Error.what(), testing::StartsWith(File.Path.string() + ": "));
    return Error.what();
  }
  return "";
}

TEST(ImportFile, IsRefusedByTheKeyThatIsWrong) {
  using Json = nlohmann::ordered_json;
  const std::pair<std::function<void(Json&)>, const char*> Faults[] = {
      {[](Json& Root) { Root.erase("csv"); }, "'csv' is missing"},
      {[](Json& Root) { Root["takes"] = "take.csv"; }, "'takes' is not a list"},
      {[](Json& Root) { Root["clock"]["method"] = "guess"; }, "'clock.method' is not one of"},
      {[](Json& Root) { Root["clock"]["offset_s"] = nullptr; },
       "'clock.offset_s' is not a finite number"},
      {[](Json& Root) { Root["camera"]["lost"] = -1; },
       "'camera.lost' is not a whole number from 0"},
      {[](Json& Root) { Root["camera_tracker_axes"] = "up"; },
       "'camera_tracker_axes' is not one of"},
      {[](Json& Root) { Root["rows"][0]["line"] = 1.5; },
       "'rows[0].line' is not a whole number from 0"},
      {[](Json& Root) { Root["rows"][0]["camera"] = nullptr; },
       "'rows[0].camera' is not an object"},
      {[](Json& Root) {
         Root["rows"][0]["board"]["velocity_m_s"] = {1, 2};
       },
       "'rows[0].board.velocity_m_s' is not a list of 3 numbers"},
      {[](Json& Root) { Root["rows"][0]["board"]["velocity_m_s"][1] = "x"; },
       "'rows[0].board.velocity_m_s[1]' is not a finite number"},
      {[](Json& Root) { Root["rows"][1]["picture"] = 5; }, "'rows[1].picture' is not a text"},
      {[](Json& Root) { Root["format_version"] = 2; }, "another version"},
      {[](Json& Root) { Root["format"] = "rigsync-result"; }, "is not an import"}};
  for (const auto& [Spoil, Expected] : Faults) {
    Json Root = Json::parse(Import_Json(Example()));
    Spoil(Root);
    EXPECT_THAT(Refusal_Of(Root.dump()), HasSubstr(Expected));
  }
  EXPECT_THAT(Refusal_Of("{"), HasSubstr("is not an import"));
  EXPECT_THAT(Refusal_Of("[1]"), HasSubstr("is not an import"));
  EXPECT_THROW(Read_Import(testing::TempDir()), Usage_Error);
  EXPECT_THROW(Read_Import("no/such/import.json"), Usage_Error);
}

TEST(ImportFile, IsAsItsSchemaSays) {
  const std::string Top = RIGSYNC_SOURCE_DIR;
  for (const bool Has_Board : {true, false}) {
    Import_File Written = Example();
    if (!Has_Board) Written.Record.Board_Body.clear();
    if (!Has_Board) Written.Record.Camera_Labels = Body_Labels::Unknown;
    const Scratch_File File(Import_Json(Written));
    const Finished Checked = Run_Program(
        "/usr/bin/env", {"python3", "-B", Top + "/tests/rigsync/formats/check_schema.py",
                         Top + "/docs/import.schema.json", File.Path.string()});
    EXPECT_EQ(Checked.Status, 0) << Checked.Output << Checked.Error;
  }
}

}  // namespace
}  // namespace rigsync
