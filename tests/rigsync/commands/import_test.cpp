// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync import': which of its flags, and which keys of the stage file, reach the rows.
#include "rigsync/record/packet_log.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// Ten seconds of a body that stands still, at 50 Hz, as a pose file of TUM, whose body has the name
// of the file.
std::string Standing_Body(const std::string& Position) {
  std::string Text;
  for (int i = 0; i < 500; ++i) {
    Text += std::to_string(0.02 * i) + " " + Position + " 0 0 0 1\n";
  }
  return Text;
}

// A folder with a take, cam.txt, whose body stands at 1, 2, 3, a photograph that is taken after two
// seconds, and a stage file.
class Import_Command : public testing::Test {
 protected:
  Import_Command() {
    fs::create_directory(Folder.Path() / "photos");
    cv::imwrite((Folder.Path() / "photos" / "one.png").string(), cv::Mat::zeros(48, 64, CV_8UC1));
    Folder.Write("times.csv", "one.png,2.0\n");
    Folder.Write("cam.txt", Standing_Body("1 2 3"));
  }

  Finished Import(const std::vector<std::string>& More, const std::string& Take = "cam.txt") {
    std::vector<std::string> Arguments = {"import",   Take,     "--camera", "cam",
                                          "--images", "photos", "--times",  "times.csv",
                                          "--offset", "0",      "-o",       "capture.csv"};
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    return Rigsync(Arguments, Folder.Path());
  }

  // The fields of the only row.
  std::vector<std::string> Row() const {
    std::ifstream In(Folder.Path() / "capture.csv");
    std::string Line, Field;
    std::getline(In, Line);
    std::getline(In, Line);
    std::istringstream Fields(Line);
    std::vector<std::string> Texts;
    while (std::getline(Fields, Field, ',')) Texts.push_back(Field);
    return Texts;
  }

  // The camera's.
  std::vector<double> Position() const {
    const std::vector<std::string> Texts = Row();
    if (Texts.size() != 16) return {};
    return {std::stod(Texts[2]), std::stod(Texts[3]), std::stod(Texts[4])};
  }

  Scratch_Folder Folder;
};

TEST_F(Import_Command, ReadsTheTakeWithTheAxesOfTheStageFile) {
  Folder.Write("stage.toml", "board = \"7x5\"\nsquare = 0.03\naxes = \"x,-y,z\"\n");
  const Finished Done = Import({"--config", "stage.toml"});
  EXPECT_THAT(Position(), ElementsAre(1.0, -2.0, 3.0)) << Done.Error;
  Import({"--config", "stage.toml", "--axes", "x,-z,y"});
  EXPECT_THAT(Position(), ElementsAre(1.0, -3.0, 2.0));
}

// Frame 150 of 30000/1001 frames a second is that of 5.005 seconds.
TEST_F(Import_Command, ReadsTheRatesOfSlowedTimecodes) {
  Folder.Write("times.csv", "one.png,00:00:05:00\n");
  for (const auto& [Rate, Seconds] : std::map<std::string, double>{
           {"30", 5.0}, {"29.97", 5.005}, {"30000/1001", 5.005}, {"23.976", 5.005}}) {
    const Finished Done = Import({"--times-rate", Rate});
    ASSERT_EQ(Row().size(), 16u) << Rate << ": " << Done.Error;
    EXPECT_NEAR(std::stod(Row()[0]), Seconds, 1e-6) << Rate;
    fs::remove(Folder.Path() / "capture.csv");
  }
}

TEST_F(Import_Command, NamesTheKeyOfTheStageFileWhoseAxesAreNotThoseOfATake) {
  Folder.Write("stage.toml", "board = \"7x5\"\nsquare = 0.03\naxes = \"pan=-pan\"\n");
  const Finished Done = Import({"--config", "stage.toml"});
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, HasSubstr("stage.toml: 'axes': 'pan=-pan' is wrong"));
}

TEST_F(Import_Command, RefusesFlagsForRecordingsWithAFileOfATrackingSystem) {
  for (const std::vector<std::string>& Flag :
       {std::vector<std::string>{"--ignore-checksum"},
        {"--lost-status", "occluded"},
        {"--lost-status", "occluded", "--lost-status", "out of range"}}) {
    const Finished Done = Import(Flag);
    EXPECT_EQ(Done.Status, 2) << Flag[0];
    EXPECT_THAT(Done.Said, HasSubstr(Flag[0] + ": it is for recordings of 'rigsync record'"));
  }
  // A file that isn't there is told first.
  EXPECT_THAT(Import({"--ignore-checksum"}, "missing.rsr").Said,
              AllOf(HasSubstr("TAKE"), Not(HasSubstr("--ignore-checksum"))));
}

TEST_F(Import_Command, RefusesFlagsForFilesOfTrackingSystemsWithARecording) {
  rigsync::Packet_Log_Writer(Folder.Path() / "take.rsr", 0);
  for (const std::vector<std::string>& Flag : {std::vector<std::string>{"--format", "tum"},
                                               {"--rotation", "helical"},
                                               {"--map", "a.toml"}}) {
    const Finished Done = Import(Flag, "take.rsr");
    EXPECT_EQ(Done.Status, 2) << Flag[0];
    EXPECT_THAT(Done.Said,
                AllOf(HasSubstr(Flag[0] + ": it says how the file"), HasSubstr("Leave it out")));
  }
  // Where both kinds are read, each flag has its file.
  const Finished Both = Import({"take.rsr", "--format", "tum", "--ignore-checksum"});
  EXPECT_THAT(Both.Said, AllOf(HasSubstr("take.rsr"), Not(HasSubstr("Leave it out"))));
}

// The camera and the board of the simulated capture, and its images.
TEST(Import_Of_Markers, SaysThatTheImagesShowAnotherBoardThanTheStageFileStates) {
  const Scratch_Folder Scratch;
  const fs::path Folder = Scratch.Path() / "capture";
  const Finished Made =
      Rigsync({"simulate", Folder.string(), "--size", "640x480", "--board", "7x5", "--markers",
               "54", "--images", "14", "--paths", "relative", "--take", "motive", "--quiet"});
  ASSERT_EQ(Made.Status, 0) << Made.Error;
  const auto Imported_With = [&](int First_Marker) {
    const std::string Stage = Scratch.Write(
        "stage.toml",
        "board = \"7x5\"\nsquare = 0.03\nmarkers = " + std::to_string(First_Marker) + "\n");
    return Rigsync(
        {"import", "take.csv", "--camera", "camera", "--board", "board", "--images", "images",
         "--times", "times.csv", "--offset", "0", "--config", Stage, "-o", "imported.csv"},
        Folder);
  };
  const Finished Other = Imported_With(200);
  EXPECT_THAT(Other.Output, HasSubstr("another board than --markers states")) << Other.Error;
  const Finished Own = Imported_With(54);
  EXPECT_THAT(Own.Output, AllOf(HasSubstr("Findings"), Not(HasSubstr("another board"))))
      << Own.Error;
}

}  // namespace
