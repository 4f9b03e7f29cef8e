// SPDX-License-Identifier: Apache-2.0
//
// Invalid arguments and files: no input causes a crash, a hang or a read beyond its end, and every
// exception that the library lets through reaches the host.
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/whole/whole_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>

namespace {

// A capture that is rendered once for the whole suite; tests change copies of its CSV.
class BadInput : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    Drawn = new Scratch_Folder;
    simulate::Options Options = Small_Capture();
    Options.Width = 640;
    Options.Height = 360;
    Options.Board_Cols = 7;
    Options.Board_Rows = 4;
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    simulate::Write_Capture(Plan, Drawn->Path());
    Good = new Run_Input(Describe(Plan, *Drawn));
  }
  static void TearDownTestSuite() {
    delete Good;
    delete Drawn;
  }

  // The good arguments with another CSV.
  Run_Input With_Csv(const std::string& Bytes) const {
    Run_Input Input = *Good;
    Input.Csv_Path = Folder.Write("spoilt.csv", Bytes);
    Input.Output_Dir = Folder.String();
    return Input;
  }

  // The good CSV with one field of every data line replaced.
  std::string Csv_With_Field(int Field, const std::string& Text) const {
    std::istringstream Lines(Read_Text(Good->Csv_Path));
    std::string Spoilt;
    for (std::string Line; std::getline(Lines, Line);) {
      if (Line[0] != 'T') {
        std::istringstream Cut(Line);
        std::string One, Joined;
        for (int i = 0; std::getline(Cut, One, ','); ++i) {
          Joined += (i == 0 ? "" : ",") + (i == Field ? Text : One);
        }
        Line = Joined;
      }
      Spoilt += Line + "\n";
    }
    return Spoilt;
  }

  static Scratch_Folder* Drawn;
  static Run_Input* Good;
  Scratch_Folder Folder;
};

Scratch_Folder* BadInput::Drawn = nullptr;
Run_Input* BadInput::Good = nullptr;

TEST_F(BadInput, ACsvOfBinaryGarbageEndsWithCode4) {
  std::mt19937 Engine(5);
  std::string Garbage;
  for (int i = 0; i < 200000; ++i) Garbage += static_cast<char>(Engine() & 0xFF);
  const Run_Output Output = Run_First_Overload(With_Csv(Garbage));
  EXPECT_EQ(Output.Code, 4);
  Expect_No_Vector_Filled(Output);
}

TEST_F(BadInput, ALineOfAMegabyteIsOneImageThatDoesNotExist) {
  const std::string Name(1 << 20, 'x');
  const Run_Output Output = Run_First_Overload(With_Csv("1," + Name + ",1,2,3\n"));
  EXPECT_EQ(Output.Code, 4);
  EXPECT_EQ(Lines_Starting(Output.Log, "Process : ").size(), 1u);
  EXPECT_EQ(Lines_Starting(Output.Log, Name + " Not exist!").size(), 1u);
}

TEST_F(BadInput, AHundredThousandRowsAreAllLookedAt) {
  std::string Csv;
  for (int i = 0; i < 100000; ++i) Csv += "0,no.png,1,2,3,1,0,0,0,1,2,3,1,0,0,0\n";
  Run_Input Input = With_Csv(Csv);
  Input.Output_Dir = (Folder.Path() / "nowhere").string();
  // OpenCV warns on standard error about each missing file; that text is not checked here.
  testing::internal::CaptureStderr();
  const Run_Output Output = Run_First_Overload(Input);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Output.Code, 4);
  EXPECT_EQ(Lines_Starting(Output.Log, "Process : no.png").size(), 100000u);
}

TEST_F(BadInput, ImagesThatCannotBeReadAreDropped) {
  std::string Oversized_Png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\x10\0\0\0\x10\0\0\x08\2\0\0\0", 29);
  const std::string Csv_Text = Read_Text(Good->Csv_Path);
  const std::size_t Path_Start = Csv_Text.find(',', Csv_Text.find('\n')) + 1;
  const std::string Whole_Png =
      Read_Text(Csv_Text.substr(Path_Start, Csv_Text.find(',', Path_Start) - Path_Start));
  const std::string Paths[] = {Folder.Write("empty.png", ""),
                               Folder.Write("text.png", "no picture here"),
                               Folder.Write("huge.png", Oversized_Png + std::string(40, '\0')),
                               Folder.Write("cut.png", Whole_Png.substr(0, Whole_Png.size() / 2)),
                               Folder.String(),
                               (Folder.Path() / "missing.png").string()};
  std::string Csv = Read_Text(Good->Csv_Path);
  for (const std::string& Path : Paths) Csv += "9," + Path + ",1,2,3,1,0,0,0,1,2,3,1,0,0,0\n";
  const Run_Output Spoilt = Run_First_Overload(With_Csv(Csv));
  const Run_Output Whole = Run_First_Overload(*Good);
  EXPECT_EQ(Spoilt.Code, 0);
  for (const std::string& Path : Paths) {
    EXPECT_EQ(Lines_Starting(Spoilt.Log, Path + " Not exist!").size(), 1u) << Path;
  }
  EXPECT_EQ(Spoilt.Transform_Cam_Tc, Whole.Transform_Cam_Tc);
}

TEST_F(BadInput, NumbersThatAreNotFiniteReachTheHostAsNumbersAndNotAsACrash) {
  const char* Texts[] = {"nan", "inf", "-inf", "1e308", "-1e308", "1e999", "word", ""};
  for (const int Field : {2, 5, 12}) {
    for (const char* Text : Texts) {
      SCOPED_TRACE(std::string("field ") + std::to_string(Field) + " " + Text);
      const Run_Output Output = Run_First_Overload(With_Csv(Csv_With_Field(Field, Text)));
      // NaN never marks an image as an outlier and passes every limit; the other values may fail
      // one. The lens depends on the images only.
      EXPECT_THAT(Output.Code, testing::AnyOf(0, 6, 13, 14, 99));
      EXPECT_EQ(Output.Distortion.size(), 5u);
      if (std::string(Text) == "nan") {
        EXPECT_EQ(Output.Code, 0);
        ASSERT_EQ(Output.Transform_Cam_Tc.size(), 16u);
        EXPECT_TRUE(std::isnan(Output.Transform_Cam_Tc[3]));
      }
    }
  }
}

TEST_F(BadInput, BoardSizesOfZeroOrLessFailWhereAnImageIsFirstSearched) {
  const int Boards[][2] = {{0, 0}, {0, 5}, {5, 0}, {-3, -5}, {1, 1}, {2, 8}, {11, 2}};
  for (const auto& Board : Boards) {
    SCOPED_TRACE(testing::PrintToString(Board));
    Run_Input Input = *Good;
    Input.Board_Cols = Board[0];
    Input.Board_Rows = Board[1];
    EXPECT_THROW(Run_First_Overload(Input), cv::Exception);
    EXPECT_THROW(Run_Second_Overload(Input), cv::Exception);
    // When no image can be read, the run ends with its code.
    Input.Csv_Path = Folder.Write("empty.csv", "");
    EXPECT_EQ(Run_First_Overload(Input).Code, 4);
  }
}

TEST_F(BadInput, ABoardWhoseReserveIsNegativeThrowsALengthError) {
  const int Boards[][2] = {{-3, 5}, {5, -3}, {30000, 30000}};
  for (const auto& Board : Boards) {
    SCOPED_TRACE(testing::PrintToString(Board));
    Run_Input Input = *Good;
    Input.Board_Cols = Board[0];
    Input.Board_Rows = Board[1];
    Input.Output_Dir = Folder.String();
    try {
      Run_First_Overload(Input);
      FAIL() << "no exception";
    } catch (const std::length_error& Error) {
      EXPECT_STREQ(Error.what(), "vector too long");
    }
  }
  // Before the board is logged.
  const auto Logs = Run_Logs(Folder.Path());
  EXPECT_FALSE(Logs.empty());
  for (const auto& Log : Logs) {
    const auto Lines = Messages(Read_Text(Log));
    EXPECT_EQ(Lines.back(), "Camera Tracker Calibration start.");
  }
}

TEST_F(BadInput, AnotherBoardThanTheOneInTheImagesEndsWithCode4) {
  Run_Input Input = *Good;
  Input.Board_Cols = 13;
  Input.Board_Rows = 10;
  const Run_Output Output = Run_First_Overload(Input);
  EXPECT_EQ(Output.Code, 4);
  EXPECT_EQ(Lines_Starting(Output.Log, "Read ").size(), 14u + 1u);  // and the csv's own line
}

TEST_F(BadInput, ShortBoardVectorsAreRefusedByNameAfterTheLensIsDelivered) {
  struct Case {
    std::vector<double> Euler, Translation;
    std::string Message;
  };
  const Case Cases[] = {
      {{}, {0, 0, 0}, "Chart_Euler_Deg needs 3 elements and has 0"},
      {{1, 2}, {0, 0, 0}, "Chart_Euler_Deg needs 3 elements and has 2"},
      {{1, 2, 3}, {0, 0}, "Chart_Translation needs 3 elements and has 2"},
      {{1, 2, 3}, {}, "Chart_Translation needs 3 elements and has 0"},
  };
  for (const Case& Tested : Cases) {
    Scratch_Folder Own;
    Run_Input Input = *Good;
    Input.Chart_Euler_Deg = Tested.Euler;
    Input.Chart_Translation = Tested.Translation;
    Input.Output_Dir = Own.String();
    try {
      Run_First_Overload(Input);
      FAIL() << "no exception";
    } catch (const std::invalid_argument& Error) {
      EXPECT_EQ(Error.what(), Tested.Message);
    }
    EXPECT_EQ(Read_Run_Log(Own.Path()).back(), "Start OrganizeRT.");
  }
}

TEST_F(BadInput, LongerBoardVectorsCountByTheirFirstThree) {
  Run_Input Input = *Good;
  Input.Chart_Euler_Deg.insert(Input.Chart_Euler_Deg.end(), {4, 5, 6});
  Input.Chart_Translation.push_back(7);
  EXPECT_EQ(Run_First_Overload(Input).Transform_Cam_Tc, Run_First_Overload(*Good).Transform_Cam_Tc);
}

TEST_F(BadInput, AnImageNameWithoutAKnownExtensionLetsOpenCvsExceptionThrough) {
  // OpenCV selects the format by content for reading and by name for writing: such a photograph is
  // found and solved, but cannot be written.
  std::string Csv;
  std::istringstream Lines(Read_Text(Good->Csv_Path));
  for (std::string Line; std::getline(Lines, Line);) {
    const std::size_t Dot = Line.find(".png,");
    if (Dot != std::string::npos) {
      const std::size_t Start = Line.find(',') + 1;
      const std::string Path = Line.substr(Start, Dot + 4 - Start);
      const std::string Bare = Path.substr(0, Path.size() - 4);
      std::filesystem::copy_file(Path, Bare);
      Line = Line.substr(0, Dot) + Line.substr(Dot + 4);
    }
    Csv += Line + "\n";
  }
  EXPECT_THROW(Run_First_Overload(With_Csv(Csv)), cv::Exception);
  // The log has everything up to the first annotated image, and nothing after it.
  const auto Log = Read_Run_Log(Folder.Path());
  EXPECT_EQ(Lines_Starting(Log, "Average reprojection error : ").size(), 1u);
  EXPECT_THAT(Log.back(), testing::StartsWith(" [0.000000"));
}

TEST_F(BadInput, AnOutputFolderThatIsAFileOrReadOnlyChangesNoResult) {
  const Run_Output Whole = Run_First_Overload(*Good);
  ASSERT_EQ(Whole.Code, 0);

  Run_Input Input = *Good;
  Input.Output_Dir = Folder.Write("file", "not a folder");
  const Run_Output In_File = Run_First_Overload(Input);
  EXPECT_EQ(In_File.Code, 0);
  EXPECT_EQ(In_File.Log, Whole.Log);
  EXPECT_EQ(Read_Text(Input.Output_Dir), "not a folder");

  // A folder in which nobody makes files, not even root, for whom no permission counts.
  Input.Output_Dir = "/proc/self";
  ASSERT_FALSE(std::ofstream(Input.Output_Dir + "/file").is_open());
  const Run_Output In_Locked = Run_First_Overload(Input);
  EXPECT_EQ(In_Locked.Code, 0);
  EXPECT_EQ(In_Locked.Log, Whole.Log);
  EXPECT_EQ(In_Locked.Transform_Cam_Tc, Whole.Transform_Cam_Tc);
}

TEST_F(BadInput, EmptyStringsEverywhereEndWithCode1) {
  const auto Before = Run_Logs("/");
  Run_Input Input;
  Input.Board_Cols = 3;
  Input.Board_Rows = 3;
  const Run_Output Output = Run_First_Overload(Input);
  EXPECT_EQ(Output.Code, 1);
  // With an empty folder the run log goes to the root folder, where a test must not leave files.
  for (const auto& Log : Run_Logs("/")) {
    if (std::find(Before.begin(), Before.end(), Log) == Before.end()) std::filesystem::remove(Log);
  }
}

}  // namespace
