// SPDX-License-Identifier: Apache-2.0
//
// From what a tracking system recorded and pictures to the numbers of an engine, in two commands:
// import and calibrate. The simulator writes the same capture in each format, so the samples of the
// imported rows are known to the digits of the format.
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/largest.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// The 14 numbers of a row's samples, by the name of its image.
using Samples = std::map<std::string, std::vector<double>>;

Samples Read_Samples(const fs::path& Csv) {
  Samples All;
  std::ifstream In(Csv);
  for (std::string Line; std::getline(In, Line);) {
    if (Line.rfind('T', 0) == 0) continue;
    std::istringstream Fields(Line);
    std::vector<std::string> Texts;
    for (std::string Field; std::getline(Fields, Field, ',');) Texts.push_back(Field);
    if (Texts.size() != 16) throw std::runtime_error("not 16 fields in " + Csv.string());
    std::vector<double> Numbers;
    for (std::size_t i = 2; i < Texts.size(); ++i) Numbers.push_back(std::stod(Texts[i]));
    All[fs::path(Texts[1]).filename().string()] = Numbers;
  }
  return All;
}

// How far two quaternions are apart, of which both signs are the same rotation.
double Quaternion_Difference(const double* A, const double* B) {
  double Plus = 0, Minus = 0;
  for (int i = 0; i < 4; ++i) {
    Plus = Larger(Plus, std::abs(A[i] + B[i]));
    Minus = Larger(Minus, std::abs(A[i] - B[i]));
  }
  return std::min(Plus, Minus);
}

struct Differences {
  double Position = 0, Quaternion = 0;  // the largest of a coordinate, metres, and of an element
};

Differences Between(const std::vector<double>& A, const std::vector<double>& B) {
  Differences Worst;
  for (const std::size_t Body : {0u, 7u}) {
    for (std::size_t i = 0; i < 3; ++i) {
      Worst.Position = Larger(Worst.Position, std::abs(A[Body + i] - B[Body + i]));
    }
    Worst.Quaternion = Larger(Worst.Quaternion, Quaternion_Difference(&A[Body + 3], &B[Body + 3]));
  }
  return Worst;
}

// A format, how its take is named in 'rigsync import', and what its digits leave of a position and
// of an element of a quaternion.
struct Road {
  std::string Format;
  std::vector<std::string> Takes, Flags;
  double Position_Step = 0, Quaternion_Step = 0;
  std::string Camera = "camera", Board = "board";  // the bodies' names in the take
};

std::vector<Road> Roads() {
  // Half of the last digit. A quaternion whose elements are rounded is set to unit length, which
  // moves an element by no more than the rounding of all four: twice as much.
  constexpr double Micrometre = 0.5e-6, Nanometre = 0.5e-9, Six_Digits = 1e-6;
  // Of angles with six decimals in degrees, or of a matrix with five. An element of a quaternion
  // changes by at most half the angle.
  constexpr double Millionth_Degree = 2e-8, Matrix_Of_Five = 1e-5;
  return {
      {"motive", {"take.csv"}, {}, Micrometre, Six_Digits},
      {"vicon",
       {"take.csv"},
       {"--rotation", "helical"},
       Nanometre,
       Millionth_Degree,
       "camera:camera",
       "board:board"},
      {"vicon-quaternion", {"take.csv"}, {}, Nanometre, Six_Digits, "camera:camera", "board:board"},
      {"qualisys", {"take.tsv"}, {}, 0.5e-8, Matrix_Of_Five},
      {"tum", {"camera.txt", "board.txt"}, {}, Micrometre, Six_Digits},
      {"eth", {"camera.csv", "board.csv"}, {}, Micrometre, Six_Digits},
      {"euroc", {"camera.csv", "board.csv"}, {}, Micrometre, Six_Digits},
      {"csv", {"take.csv"}, {"--map", "take.toml"}, 0.5e-8, Six_Digits}};
}

// In the names of failed tests.
void PrintTo(const Road& By, std::ostream* Out) {
  *Out << By.Format;
}

class Roads_From : public testing::TestWithParam<Road> {};

Finished Simulate(const fs::path& Folder, std::vector<std::string> More) {
  std::vector<std::string> Arguments = {"simulate", Folder.string(), "--size",  "640x480",
                                        "--board",  "7x5",           "--paths", "relative",
                                        "--quiet",  "--seed",        "5"};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Rigsync(Arguments);
}

Finished Import(const fs::path& Folder, const Road& By, std::vector<std::string> Pictures) {
  std::vector<std::string> Arguments = {"import"};
  for (const std::string& Take : By.Takes) Arguments.push_back((Folder / Take).string());
  Arguments.insert(Arguments.end(), {"--camera", By.Camera, "--board", By.Board, "--config",
                                     (Folder / "stage.json").string(), "-o",
                                     (Folder / "imported" / "capture.csv").string()});
  for (const std::string& Flag : By.Flags) {
    Arguments.push_back(Flag == "take.toml" ? (Folder / Flag).string() : Flag);
  }
  Arguments.insert(Arguments.end(), Pictures.begin(), Pictures.end());
  fs::create_directory(Folder / "imported");
  return Rigsync(Arguments);
}

Finished Calibrate(const fs::path& Folder) {
  return Rigsync({"calibrate", (Folder / "imported" / "capture.csv").string(), "--config",
                  (Folder / "stage.json").string(), "--out", (Folder / "result").string(), "--to",
                  "ue5"});
}

// What the result says of the axes of the camera's tracker.
nlohmann::json Tracker_Axes_Of(const fs::path& Folder) {
  return Read_Json(Folder / "result" / "result.json")["inputs"].at("camera_tracker_axes");
}

// With the axes that the tracked body has, which a left-handed engine can have only where they are
// known.
Finished Export_As_Tracked(const fs::path& Folder) {
  return Rigsync({"export", (Folder / "result" / "result.json").string(), "--to", "ue4",
                  "--tracker-axes", "as-tracked"});
}

std::vector<std::string> Photographs_Of(const fs::path& Folder) {
  return {"--images", (Folder / "images").string(), "--times", (Folder / "times.csv").string()};
}

TEST_P(Roads_From, ATakeAndPhotographsLeadToTheRowsOfTheCaptureAndTheNumbersOfAnEngine) {
  const Scratch_Folder Scratch;
  const fs::path Folder = Scratch.Path() / "capture";
  ASSERT_EQ(Simulate(Folder, {"--images", "24", "--take", GetParam().Format, "--lost", "3",
                              "--clock-offset", "100"})
                .Status,
            0);
  const Finished Imported = Import(Folder, GetParam(), Photographs_Of(Folder));
  ASSERT_LE(Imported.Status, 1) << Imported.Error << Imported.Output;

  const Samples True = Read_Samples(Folder / "capture.csv");
  const Samples Rows = Read_Samples(Folder / "imported" / "capture.csv");
  EXPECT_GE(Rows.size(), 20u) << Imported.Output;  // of 24; a lost sample may cost a row
  for (const auto& [Image, Row] : Rows) {
    ASSERT_EQ(True.count(Image), 1u) << Image;
    const Differences Off = Between(Row, True.at(Image));
    EXPECT_LE(Off.Position, GetParam().Position_Step) << Image;
    EXPECT_LE(Off.Quaternion, GetParam().Quaternion_Step) << Image;
  }

  const Finished Calibrated = Calibrate(Folder);
  EXPECT_EQ(Calibrated.Status, 0) << Calibrated.Error << Calibrated.Output;
  EXPECT_THAT(Calibrated.Output, HasSubstr("Unreal Engine 5: the camera as seen from its tracker"));
  // Only a stream says how its axes are labelled.
  EXPECT_TRUE(Tracker_Axes_Of(Folder).is_null());
  EXPECT_THAT(Export_As_Tracked(Folder).Said, HasSubstr("does not say which way they point"));
}

std::string Test_Name(const testing::TestParamInfo<Road>& Info) {
  std::string Name = Info.param.Format;
  std::replace(Name.begin(), Name.end(), '-', '_');
  return Name;
}

INSTANTIATE_TEST_SUITE_P(Formats, Roads_From, testing::ValuesIn(Roads()), Test_Name);

// The frames of a clip are not the photographs, so only the samples can be compared: each row's are
// those of one row of the capture.
TEST(Road, FromATakeAndAClipLeadsToTheNumbersOfAnEngine) {
  const Scratch_Folder Scratch;
  const fs::path Folder = Scratch.Path() / "capture";
  const Finished Made =
      Simulate(Folder, {"--take", "motive", "--clip", "--clock-offset=-3", "--images", "16",
                        "--hold", "0.8,2.5", "--move", "0.8,2"});
  ASSERT_EQ(Made.Status, 0) << Made.Error;
  const Road By = Roads().front();
  const Finished Imported = Import(Folder, By, {"--clip", (Folder / "clip.avi").string()});
  ASSERT_LE(Imported.Status, 1) << Imported.Error << Imported.Output;

  const Samples True = Read_Samples(Folder / "capture.csv");
  const Samples Rows = Read_Samples(Folder / "imported" / "capture.csv");
  EXPECT_EQ(Rows.size(), True.size()) << Imported.Output;  // the clip begins before the take
  for (const auto& [Image, Row] : Rows) {
    Differences Nearest{1e9, 1e9};
    for (const auto& [Name, Other] : True) {
      const Differences Off = Between(Row, Other);
      if (Off.Position < Nearest.Position) Nearest = Off;
    }
    EXPECT_LE(Nearest.Position, By.Position_Step) << Image;
    EXPECT_LE(Nearest.Quaternion, By.Quaternion_Step) << Image;
  }

  const Finished Calibrated = Calibrate(Folder);
  EXPECT_EQ(Calibrated.Status, 0) << Calibrated.Error << Calibrated.Output;
  EXPECT_THAT(Calibrated.Output, HasSubstr("Unreal Engine 5: the camera as seen from its tracker"));
}

// Two seconds of a body called camera, in the form of TUM.
fs::path Small_Take(const fs::path& Folder) {
  const fs::path File = Folder / "camera.txt";
  std::ofstream Out(File);
  for (int i = 0; i < 200; ++i) Out << 0.01 * i << " 0 0 1 0 0 0 1\n";
  return File;
}

TEST(Import, RefusesABodyThatTheTakeDoesNotHaveBeforeItReadsTheClip) {
  const Scratch_Folder Scratch;
  const Finished Done = Rigsync({"import", Small_Take(Scratch.Path()).string(), "--camera", "cam",
                                 "--clip", (Scratch.Path() / "missing.mp4").string(), "-o",
                                 (Scratch.Path() / "capture.csv").string()});
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Error, HasSubstr("--camera: no body in the take is called 'cam'"));
}

TEST(Import, ReadsTheAxesOfARecordingFromTheStageFileUnlessTheyAreTyped) {
  const Scratch_Folder Scratch;
  const fs::path Recording = Scratch.Path() / "take.rsr", Stage = Scratch.Path() / "stage.toml";
  // The header alone: a recording without packets.
  std::ofstream(Recording, std::ios::binary)
      << std::string("\x89RSR\r\n\x1a\n\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);
  std::ofstream(Stage) << "board = \"7x5\"\nsquare = \"30mm\"\naxes = \"pan=sideways\"\n";
  std::vector<std::string> Arguments = {"import",   Recording.string(),
                                        "--camera", "freed-1",
                                        "--images", Scratch.Path().string(),
                                        "--config", Stage.string(),
                                        "-o",       (Scratch.Path() / "capture.csv").string()};
  EXPECT_THAT(Rigsync(Arguments).Error, HasSubstr("'axes': 'pan=sideways'"));
  Arguments.insert(Arguments.end(), {"--axes", "pan=-pan"});
  EXPECT_THAT(Rigsync(Arguments).Error, Not(HasSubstr("sideways")));
}

// Records while the simulator sends the capture in the time that it takes: at most 2.5 seconds
// for a hold and the move after it. Where the samples bear times, both clocks begin at the first.
Finished Record(const fs::path& Folder, const std::string& Form, int Images) {
  const std::uint16_t Port = Free_Port();
  std::string Error_Of_Sender;
  std::thread Sender([&] {
    // The recording needs a moment to open its port; what is sent before that is lost.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const Finished Sent = Simulate(
        Folder, {"--images", std::to_string(Images), "--stream", Form, "--stream-to",
                 "127.0.0.1:" + std::to_string(Port), "--hold", "1,1.5", "--move", "0.8,1"});
    if (Sent.Status != 0) Error_Of_Sender = Sent.Error;
  });
  const std::string Seconds = std::to_string(2.5 * Images + 5.0);
  const Finished Recorded = Rigsync({"record", "-o", (Folder.parent_path() / "take.rsr").string(),
                                     Form == "freed" ? "--freed" : "--opentrackio",
                                     std::to_string(Port), "--seconds", Seconds, "--quiet"});
  Sender.join();
  EXPECT_EQ(Error_Of_Sender, "");
  return Recorded;
}

void Expect_Rows(const fs::path& Folder, std::size_t Least_Rows, double Position_Step,
                 double Quaternion_Step) {
  const Samples True = Read_Samples(Folder / "capture.csv");
  const Samples Rows = Read_Samples(Folder / "imported" / "capture.csv");
  EXPECT_GE(Rows.size(), Least_Rows);
  for (const auto& [Image, Row] : Rows) {
    const Differences Off = Between(Row, True.at(Image));
    EXPECT_LE(Off.Position, Position_Step) << Image;
    EXPECT_LE(Off.Quaternion, Quaternion_Step) << Image;
  }
}

// Numbers in CBOR lose nothing.
TEST(Road, FromAStreamOfOpentrackioLeadsToTheNumbersOfAnEngine) {
  const Scratch_Folder Scratch;
  const fs::path Folder = Scratch.Path() / "capture";
  constexpr int Images = 14;
  const Finished Recorded = Record(Folder, "opentrackio-cbor", Images);
  ASSERT_EQ(Recorded.Status, 0) << Recorded.Error;
  std::vector<std::string> Pictures = Photographs_Of(Folder);
  Pictures.insert(Pictures.end(), {"--offset", "0"});
  const Road By = {"opentrackio", {"../take.rsr"}, {}, 0, 0, "opentrackio-1", "opentrackio-2"};
  const Finished Imported = Import(Folder, By, Pictures);
  ASSERT_LE(Imported.Status, 1) << Imported.Error << Imported.Output;
  constexpr double Rounding = 1e-12;
  Expect_Rows(Folder, Images, Rounding, Rounding);
  const Finished Calibrated = Calibrate(Folder);
  EXPECT_EQ(Calibrated.Status, 0) << Calibrated.Error << Calibrated.Output;
  EXPECT_THAT(Calibrated.Output, HasSubstr("Unreal Engine 5: the camera as seen from its tracker"));
  EXPECT_EQ(Tracker_Axes_Of(Folder), "right_forward_up");
  const Finished Exported = Export_As_Tracked(Folder);
  EXPECT_EQ(Exported.Status, 0) << Exported.Error;
}

// FreeD has 1/64 mm and 1/32768 degree, three angles to a rotation. Its times are those of
// receipt, and the first packet comes when it comes, so the clocks are a tenth of a second apart
// at most.
TEST(Road, FromAStreamOfFreedLeadsToTheRowsOfTheCapture) {
  const Scratch_Folder Scratch;
  const fs::path Folder = Scratch.Path() / "capture";
  constexpr int Images = 5;
  const Finished Recorded = Record(Folder, "freed", Images);
  ASSERT_EQ(Recorded.Status, 0) << Recorded.Error;
  std::vector<std::string> Pictures = Photographs_Of(Folder);
  Pictures.insert(Pictures.end(), {"--offset", "0"});
  const Road By = {"freed", {"../take.rsr"}, {}, 0, 0, "freed-1", "freed-2"};
  const Finished Imported = Import(Folder, By, Pictures);
  ASSERT_LE(Imported.Status, 2) << Imported.Error << Imported.Output;  // too few images for inspect
  constexpr double Half_Step = 0.5e-3 / 64.0;                          // metres
  constexpr double Three_Half_Angles = 3 * 0.5 * 0.5 * 0.0174533 / 32768.0;
  Expect_Rows(Folder, Images - 1, 1.001 * Half_Step, Three_Half_Angles);
}

}  // namespace
