// SPDX-License-Identifier: Apache-2.0
//
// The files of a capture: their content, their paths, and bad images.
#include "simulate/simulate.h"
#include "simulate/take.h"
#include "simulate/unfinished_file.h"

#include "tests/support/decimal_comma.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#ifndef _WIN32
#include "tests/support/file_size_limit.h"
#endif

namespace {

namespace fs = std::filesystem;
using simulate::Image_Truth;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Path_Form;
using simulate::Plan;
using simulate::Row_Kind;

Options Tiny_Capture() {
  Options Settings;
  Settings.Seed = 11;
  Settings.Width = 160;
  Settings.Height = 120;
  Settings.Image_Count = 8;
  Settings.Board_Cols = 5;
  Settings.Board_Rows = 4;
  Settings.Position_Noise_Mm = 0.4;
  Settings.Rotation_Noise_Deg = 0.03;
  return Settings;
}

std::vector<std::string> Lines_Of(const fs::path& File) {
  std::istringstream In(Read_Text(File));
  std::vector<std::string> Lines;
  for (std::string Line; std::getline(In, Line);) Lines.push_back(Line);
  return Lines;
}

std::vector<std::string> Fields_Of(const std::string& Line) {
  std::istringstream In(Line);
  std::vector<std::string> Fields;
  for (std::string Field; std::getline(In, Field, ',');) Fields.push_back(Field);
  return Fields;
}

size_t Files_In(const fs::path& Folder) {
  size_t Count = 0;
  for (const fs::directory_entry& Entry : fs::recursive_directory_iterator(Folder)) {
    Count += Entry.is_regular_file() ? 1 : 0;
  }
  return Count;
}

// The index of the only image of a kind.
size_t Index_Of(const Plan& Capture, Row_Kind Kind) {
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    if (Capture.Images[i].Kind == Kind) return i;
  }
  throw std::runtime_error("no image of this kind");
}

// ---- capture.csv -----------------------------------------------------------------------------

TEST(WriteTables, WritesRowsThatReadBackAsTheSamplesToTheBit) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Stale_Count = 2;
  Settings.Jump_Count = 2;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Tables(Capture, Folder.Path());
  const std::vector<std::string> Lines = Lines_Of(Folder.Path() / "capture.csv");
  ASSERT_EQ(Lines.size(), 1 + Capture.Images.size());
  EXPECT_EQ(Lines[0].front(), 'T') << "which marks a header";
  EXPECT_EQ(Fields_Of(Lines[0]).size(), 16u);
  double Time_Before = -1.0;
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(Lines[i + 1]);
    const Image_Truth& Image = Capture.Images[i];
    const std::vector<std::string> Fields = Fields_Of(Lines[i + 1]);
    ASSERT_EQ(Fields.size(), 16u);
    const auto Number = [&](size_t Field) { return std::strtod(Fields[Field].c_str(), nullptr); };
    EXPECT_GT(Number(0), Time_Before);
    Time_Before = Number(0);
    EXPECT_EQ(Fields[1], (Folder.Path() / "images" / Image.Name).string());
    size_t Field = 2;
    for (const simulate::Sample* Reported : {&Image.Tc, &Image.Tr}) {
      EXPECT_EQ(Number(Field++), Reported->Position.x());
      EXPECT_EQ(Number(Field++), Reported->Position.y());
      EXPECT_EQ(Number(Field++), Reported->Position.z());
      EXPECT_EQ(Number(Field++), Reported->Rotation.w());
      EXPECT_EQ(Number(Field++), Reported->Rotation.x());
      EXPECT_EQ(Number(Field++), Reported->Rotation.y());
      EXPECT_EQ(Number(Field++), Reported->Rotation.z());
    }
  }
}

TEST(WriteTables, StartsWithTheFirstRowWhenNoHeaderIsWanted) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Header = false;
  simulate::Write_Tables(Make_Plan(Settings), Folder.Path());
  const std::vector<std::string> Lines = Lines_Of(Folder.Path() / "capture.csv");
  ASSERT_EQ(Lines.size(), 8u);
  EXPECT_THAT(Fields_Of(Lines[0])[1], testing::EndsWith("0001.png"));
  EXPECT_EQ(simulate::Read_Truth(Folder.Path() / "truth.json").Rows[0].Csv_Line, 1);
}

TEST(WriteTables, WritesTheSameInALocaleWithDecimalCommas) {
  simulate::Options Settings = Tiny_Capture();
  Settings.Recording.Clip = true;  // a timed capture
  const simulate::Plan Capture = Make_Plan(Settings);
  const Scratch_Folder Folder;
  simulate::Write_Tables(Capture, Folder.Path());
  const auto Read = [&](const char* Name) { return Read_Text(Folder.Path() / Name); };
  const std::string Rows = Read("capture.csv"), Times = Read("times.csv"),
                    Truth = Read("truth.json");
  const Decimal_Commas Elsewhere;
  simulate::Write_Tables(Capture, Folder.Path());
  EXPECT_EQ(Read("capture.csv"), Rows);
  EXPECT_EQ(Read("times.csv"), Times);
  EXPECT_EQ(Read("truth.json"), Truth);
}

// Copying a value that is nested this deep took more stack than there is.
std::error_code Code_With(int Reason) {
  errno = Reason;
  try {
    simulate::Throw_Unwritable("a.png");
  } catch (const fs::filesystem_error& Thrown) {
    EXPECT_EQ(Thrown.path1(), "a.png");
    return Thrown.code();
  }
  return {};
}

// Streams don't always say why they failed.
TEST(ThrowUnwritable, ATroubleWithoutAReasonIsOneOfTheDisk) {
  EXPECT_EQ(Code_With(ENOSPC), std::errc::no_space_on_device);
  EXPECT_EQ(Code_With(EPERM), std::errc::operation_not_permitted);
  EXPECT_EQ(Code_With(0), std::errc::io_error);
}

TEST(ReadTruth, AFileThatIsNestedTooDeepIsRefused) {
  const Scratch_Folder Folder;
  const std::string Deep = "{\"rows\":" + std::string(1'000'000, '[');
  try {
    simulate::Read_Truth(Folder.Write("truth.json", Deep + std::string(1'000'000, ']') + "}"));
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& Thrown) {
    EXPECT_THAT(Thrown.what(), testing::HasSubstr("it is nested too deep"));
  }
}

TEST(WriteTables, WritesNoPhotographs) {
  const Scratch_Folder Folder;
  simulate::Write_Tables(Make_Plan(Tiny_Capture()), Folder.Path() / "new" / "folder");
  EXPECT_TRUE(fs::is_regular_file(Folder.Path() / "new" / "folder" / "capture.csv"));
  EXPECT_TRUE(fs::is_regular_file(Folder.Path() / "new" / "folder" / "truth.json"));
  EXPECT_EQ(Files_In(Folder.Path()), 2u);
}

TEST(WriteTables, RefusesAFolderWhoseNameWouldSplitACsvField) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  EXPECT_THROW(simulate::Write_Tables(Make_Plan(Settings), Folder.Path() / "a,b"),
               std::runtime_error);
  Settings.Paths = Path_Form::Relative;
  EXPECT_NO_THROW(simulate::Write_Tables(Make_Plan(Settings), Folder.Path() / "a,b"));
}

// ---- Times -----------------------------------------------------------------------------------

Options Tiny_Take() {
  Options Settings = Tiny_Capture();
  Settings.Recording.Format = simulate::Take_Format::Motive;
  Settings.Recording.Clock_Offset = 0.25;
  return Settings;
}

TEST(WriteTables, SaysWhenEachPhotographWasTakenIfTheCaptureIsTimed) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Take();
  Settings.Missing_Count = 1;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Tables(Capture, Folder.Path());
  const std::vector<std::string> Times = Lines_Of(Folder.Path() / "times.csv"),
                                 Rows = Lines_Of(Folder.Path() / "capture.csv");
  ASSERT_EQ(Times.size(), Capture.Images.size() - 1) << "a missing photograph has no time";
  size_t Line = 0;
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    const Image_Truth& Image = Capture.Images[i];
    EXPECT_EQ(std::stod(Fields_Of(Rows[i + 1])[0]), Image.Still.Picture) << "on the take's clock";
    if (Image.Kind == Row_Kind::Missing_Image) continue;
    const std::vector<std::string> Fields = Fields_Of(Times[Line++]);
    ASSERT_EQ(Fields.size(), 2u);
    EXPECT_EQ(Fields[0], Image.Name);
    EXPECT_NEAR(std::stod(Fields[1]), Image.Still.Picture - 0.25, 0.51e-6);
  }
}

TEST(WriteTables, WritesTheTakeBesideTheCapture) {
  const Scratch_Folder Folder;
  const Plan Capture = Make_Plan(Tiny_Take());
  simulate::Write_Tables(Capture, Folder.Path());
  EXPECT_EQ(Read_Text(Folder.Path() / "take.csv"), simulate::Take_Files(Capture).at(0).Text);
}

TEST(WriteTables, SaysNothingOfTimesInACaptureThatHasNone) {
  const Scratch_Folder Folder;
  simulate::Write_Tables(Make_Plan(Tiny_Capture()), Folder.Path());
  EXPECT_FALSE(fs::exists(Folder.Path() / "times.csv"));
  EXPECT_EQ(Fields_Of(Lines_Of(Folder.Path() / "capture.csv").at(2))[0], "2.5");
  EXPECT_THAT(Read_Text(Folder.Path() / "truth.json"),
              testing::Not(testing::HasSubstr("recording")));
  EXPECT_EQ(simulate::Read_Truth(Folder.Path() / "truth.json").Rows[2].Take_Seconds, 0.0);
}

TEST(WriteCapture, GivesPhotographsTheFileTimesOfTheirMoments) {
  const Scratch_Folder Folder;
  const Plan Capture = Make_Plan(Tiny_Take());
  simulate::Write_Capture(Capture, Folder.Path());
  const auto Time_Of = [&](size_t Index) {
    return fs::last_write_time(Folder.Path() / "images" / Capture.Images[Index].Name);
  };
  for (size_t i = 1; i < Capture.Images.size(); ++i) {
    const double Later = std::chrono::duration<double>(Time_Of(i) - Time_Of(0)).count();
    // File systems store 100 ns or better.
    EXPECT_NEAR(Later, Capture.Images[i].Still.Picture - Capture.Images[0].Still.Picture, 1e-6);
  }
  // 2024-03-14 10:20:30 UTC is 19796 days, 10 hours, 20 minutes and 30 seconds after 1970.
  const double Taken =
      (19796 * 24 + 10) * 3600.0 + 20 * 60 + 30 - 0.25 + Capture.Images[0].Still.Picture;
  const double Age =
      std::chrono::duration<double>(fs::file_time_type::clock::now() - Time_Of(0)).count();
  const double Now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_NEAR(Now - Age, Taken, 0.1) << "both clocks are read one after the other";
}

// ---- Paths -----------------------------------------------------------------------------------

TEST(WriteCapture, PutsEachPhotographWhereItsRowSaysInEveryPathForm) {
  const struct {
    Path_Form Form;
    std::string In_Csv;  // of the first image, <> standing for the folder
    std::string On_Disk;
  } Cases[] = {
      {Path_Form::Absolute, "<>/images/0001.png", "images/0001.png"},
      {Path_Form::Relative, "images/0001.png", "images/0001.png"},
      {Path_Form::Name_Only, "0001.png", "0001.png"},
#ifndef _WIN32
      {Path_Form::Backslash, "<>/images\\0001.png", "images\\0001.png"},
#endif
  };
  for (const auto& Case : Cases) {
    SCOPED_TRACE(Case.In_Csv);
    const Scratch_Folder Folder;
    Options Settings = Tiny_Capture();
    Settings.Image_Count = 3;
    Settings.Paths = Case.Form;
    simulate::Write_Capture(Make_Plan(Settings), Folder.Path());
    const std::vector<std::string> Lines = Lines_Of(Folder.Path() / "capture.csv");
    std::string In_Csv = Case.In_Csv;
    if (In_Csv.substr(0, 2) == "<>") In_Csv.replace(0, 2, Folder.String());
    EXPECT_EQ(Fields_Of(Lines[1])[1], In_Csv);
    EXPECT_TRUE(fs::is_regular_file(Folder.Path() / Case.On_Disk));
    EXPECT_EQ(Files_In(Folder.Path()), 5u);
    for (size_t Line = 1; Line < Lines.size(); ++Line) {
      EXPECT_FALSE(cv::imread((Folder.Path() / Fields_Of(Lines[Line])[1]).string()).empty());
    }
  }
}

TEST(WriteCapture, WritesAbsolutePathsWhenTheFolderIsGivenRelative) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Image_Count = 1;
  const fs::path Relative = fs::relative(Folder.Path()) / "capture";
  simulate::Write_Capture(Make_Plan(Settings), Relative);
  const std::string In_Csv = Fields_Of(Lines_Of(Folder.Path() / "capture" / "capture.csv")[1])[1];
  EXPECT_TRUE(fs::path(In_Csv).is_absolute());
  EXPECT_TRUE(fs::is_regular_file(In_Csv));
}

// ---- Photographs -----------------------------------------------------------------------------

TEST(WriteCapture, WritesColourPhotographsOfTheSizeAskedFor) {
  for (const std::string Format : {"png", "jpg"}) {
    SCOPED_TRACE(Format);
    const Scratch_Folder Folder;
    Options Settings = Tiny_Capture();
    Settings.Image_Format = Format;
    simulate::Write_Capture(Make_Plan(Settings), Folder.Path());
    for (int i = 1; i <= 8; ++i) {
      const fs::path File = Folder.Path() / "images" / ("000" + std::to_string(i) + "." + Format);
      const cv::Mat Photograph = cv::imread(File.string(), cv::IMREAD_UNCHANGED);
      EXPECT_EQ(Photograph.size(), cv::Size(160, 120));
      EXPECT_EQ(Photograph.type(), CV_8UC3);
    }
    EXPECT_EQ(Files_In(Folder.Path()), 10u);
    // The first bytes show the format, independent of the name.
    const std::string First = Read_Text(Folder.Path() / "images" / ("0001." + Format)).substr(0, 2);
    EXPECT_EQ(First, Format == "png" ? "\x89P" : "\xff\xd8");
  }
}

TEST(WriteCapture, PacksJpegsByTheQualityAskedFor) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Image_Count = 1;
  Settings.Image_Format = "jpg";
  Settings.Jpeg_Quality = 95;
  simulate::Write_Capture(Make_Plan(Settings), Folder.Path() / "fine");
  Settings.Jpeg_Quality = 20;
  simulate::Write_Capture(Make_Plan(Settings), Folder.Path() / "coarse");
  EXPECT_LT(2 * fs::file_size(Folder.Path() / "coarse" / "images" / "0001.jpg"),
            fs::file_size(Folder.Path() / "fine" / "images" / "0001.jpg"));
}

TEST(WriteCapture, LeavesOutMissingCutsTruncatedAndBlanksBlankImages) {
  for (const std::string Format : {"png", "jpg"}) {
    SCOPED_TRACE(Format);
    const Scratch_Folder Whole, Spoilt;
    Options Settings = Tiny_Capture();
    Settings.Image_Format = Format;
    simulate::Write_Capture(Make_Plan(Settings), Whole.Path());
    simulate::Write_Capture(Make_Plan(Settings), Spoilt.Path());
    Settings.Missing_Count = 1;
    Settings.Blank_Count = 1;
    Settings.Truncated_Count = 1;
    const Plan Capture = Make_Plan(Settings);
    // Written over a complete capture: the missing photograph must be removed.
    simulate::Write_Capture(Capture, Spoilt.Path());
    for (const Image_Truth& Image : Capture.Images) {
      SCOPED_TRACE(Image.Name);
      const fs::path File = Spoilt.Path() / "images" / Image.Name;
      const std::string Before = Read_Text(Whole.Path() / "images" / Image.Name);
      ASSERT_GT(Before.size(), 1000u);
      switch (Image.Kind) {
        case Row_Kind::Missing_Image:
          EXPECT_FALSE(fs::exists(File));
          break;
        case Row_Kind::Truncated_Image:
          EXPECT_EQ(Read_Text(File), Before.substr(0, Before.size() / 2));
          // A truncated PNG does not load; of a truncated JPEG the upper half does.
          EXPECT_EQ(cv::imread(File.string()).empty(), Format == "png");
          break;
        case Row_Kind::Blank_Image: {
          cv::Scalar Mean, Deviation;
          cv::meanStdDev(cv::imread(File.string()), Mean, Deviation);
          // Grey 128, darkened by at most a quarter, which is an eighth in the mean. Noise and
          // gradient spread it a little, and the mean of whole levels is within half a level.
          EXPECT_NEAR(Mean[0], 112.0, 0.5);
          EXPECT_LT(Deviation[0], 10.0);
          break;
        }
        default:
          EXPECT_EQ(Read_Text(File), Before);
      }
    }
  }
}

TEST(WriteCapture, ThrowsWhenAFileCantBeWritten) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Image_Count = 1;
  const Plan Capture = Make_Plan(Settings);
  Folder.Write("file", "in the way");
  EXPECT_THROW(simulate::Write_Capture(Capture, Folder.Path() / "file"), std::runtime_error);
  EXPECT_THROW(simulate::Write_Tables(Capture, Folder.Path() / "file" / "in"), std::runtime_error);
  fs::create_directories(Folder.Path() / "csv" / "capture.csv");
  EXPECT_THROW(simulate::Write_Capture(Capture, Folder.Path() / "csv"), std::runtime_error);
  fs::create_directories(Folder.Path() / "truth" / "truth.json");
  EXPECT_THROW(simulate::Write_Capture(Capture, Folder.Path() / "truth"), std::runtime_error);
  fs::create_directories(Folder.Path() / "image" / "images" / "0001.png");
  EXPECT_THROW(simulate::Write_Capture(Capture, Folder.Path() / "image"), std::runtime_error);
}

std::size_t Unfinished_Count(const fs::path& Folder) {
  std::size_t Count = 0;
  for (const auto& Entry : fs::recursive_directory_iterator(Folder)) {
    if (Entry.path().extension() == ".part") ++Count;
  }
  return Count;
}

TEST(WriteCapture, HasACsvOnlyWhenEverythingElseIsThere) {
  const Scratch_Folder Folder;
  const Plan Capture = Make_Plan(Tiny_Capture());
  for (const char* Run : {"new", "over an earlier one"}) {
    SCOPED_TRACE(Run);
    std::size_t Calls = 0;
    simulate::Write_Capture(Capture, Folder.Path(), [&](std::size_t, std::size_t) {
      ++Calls;
      EXPECT_TRUE(fs::exists(Folder.Path() / "truth.json"));
      EXPECT_FALSE(fs::exists(Folder.Path() / "capture.csv"));
    });
    EXPECT_EQ(Calls, Capture.Images.size());
    EXPECT_TRUE(fs::exists(Folder.Path() / "capture.csv"));
  }
  EXPECT_EQ(Unfinished_Count(Folder.Path()), 0u);
}

#ifndef _WIN32  // which has no such limit, and links for administrators only

TEST(WriteCapture, AFileThatCantBeWrittenWholeKeepsWhatItWasAndTheReasonIsTold) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  simulate::Write_Capture(Make_Plan(Settings), Folder.Path());
  const std::string Truth = Read_Text(Folder.Path() / "truth.json");
  Settings.Seed = 12;
  try {
    const File_Size_Limit Limit(1000);
    simulate::Write_Capture(Make_Plan(Settings), Folder.Path());
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& Error) {
    EXPECT_THAT(Error.what(), testing::AllOf(testing::HasSubstr("truth.json"),
                                             testing::HasSubstr("File too large")));
  }
  EXPECT_EQ(Read_Text(Folder.Path() / "truth.json"), Truth);
  EXPECT_FALSE(fs::exists(Folder.Path() / "capture.csv"));
  EXPECT_EQ(Unfinished_Count(Folder.Path()), 0u);
}

TEST(WriteCapture, AClipThatEndsEarlyHasNoName) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Image_Count = 2;
  Settings.Image_Format = "jpg";
  Settings.Recording.Clip = true;
  constexpr rlim_t More_Than_A_Picture = 60'000;
  EXPECT_THROW(
      {
        const File_Size_Limit Limit(More_Than_A_Picture);
        simulate::Write_Capture(Make_Plan(Settings), Folder.Path());
      },
      std::runtime_error);
  EXPECT_TRUE(fs::exists(Folder.Path() / "images" / "0002.jpg"));
  EXPECT_FALSE(fs::exists(Folder.Path() / "clip.avi"));
  EXPECT_EQ(Unfinished_Count(Folder.Path()), 0u);
}

// Whoever may write to the folder can place one.
TEST(WriteCapture, ALinkInThePlaceOfAFileIsReplacedAndNotFollowed) {
  const Scratch_Folder Folder, Elsewhere;
  const std::string Precious = Elsewhere.Write("precious", "kept");
  for (const char* Name : {"capture.csv", "truth.json", ".truth.json.part"}) {
    fs::create_symlink(Precious, Folder.Path() / Name);
  }
  simulate::Write_Capture(Make_Plan(Tiny_Capture()), Folder.Path());
  EXPECT_EQ(Read_Text(Precious), "kept");
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Folder.Path() / "capture.csv")));
}

// Hidden, beside the file that it becomes.
TEST(WriteCapture, WhatAnEarlierProcessLeftUnfinishedIsTakenAway) {
  const Scratch_Folder Folder;
  fs::create_directory(Folder.Path() / "images");
  Folder.Write(".capture.csv.part", "half");
  Folder.Write("images/.0001.png.part", "half");
  simulate::Write_Capture(Make_Plan(Tiny_Capture()), Folder.Path());
  EXPECT_EQ(Unfinished_Count(Folder.Path()), 0u);
}

#endif

TEST(WriteCapture, FilesOfNamesWhatIsWritten) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Image_Count = 2;
  Settings.Recording.Clip = true;
  Settings.Recording.Format = simulate::Take_Format::Csv;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Capture(Capture, Folder.Path());
  std::vector<fs::path> Written;
  for (const auto& Entry : fs::recursive_directory_iterator(Folder.Path())) {
    if (Entry.is_regular_file()) Written.push_back(Entry.path());
  }
  EXPECT_THAT(simulate::Files_Of(Capture, Folder.Path()),
              testing::UnorderedElementsAreArray(Written));
}

// ---- truth.json ------------------------------------------------------------------------------

TEST(ReadTruth, ReadsTimesVelocitiesAndLagOfATimedCapture) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Take();
  Settings.Recording.Drift_Mm_Per_Second = 10.0;
  Settings.Recording.Drift_Deg_Per_Second = 0.5;
  Settings.Recording.Lag_Ms = 80.0;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Tables(Capture, Folder.Path());
  const simulate::Truth Known = simulate::Read_Truth(Folder.Path() / "truth.json");
  EXPECT_DOUBLE_EQ(Known.Lag_Seconds, 0.08);
  EXPECT_EQ(Known.Clock_Offset, 0.25);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    const simulate::Hold& Still = Capture.Images[i].Still;
    EXPECT_EQ(Known.Rows[i].Take_Seconds, Still.Picture);
    EXPECT_EQ(Known.Rows[i].Camera.Linear, Still.Camera.Linear);
    EXPECT_EQ(Known.Rows[i].Camera.Angular, Still.Camera.Angular);
    EXPECT_EQ(Known.Rows[i].Board.Linear, Still.Board.Linear);
    EXPECT_EQ(Known.Rows[i].Board.Angular, Still.Board.Angular);
  }
}

TEST(ReadTruth, GivesBackWhatWentIntoTheCapture) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Seed = 4000000000u;
  Settings.Stale_Count = Settings.Jump_Count = Settings.Missing_Count = 1;
  Settings.Blank_Count = Settings.Truncated_Count = 1;
  Settings.Estimate_Error_Deg = 0.7;
  Settings.Estimate_Error_Mm = 3.0;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Tables(Capture, Folder.Path());
  const simulate::Truth Result = simulate::Read_Truth(Folder.Path() / "truth.json");
  EXPECT_EQ(Result.Seed, 4000000000u);
  EXPECT_EQ(Result.Width, 160);
  EXPECT_EQ(Result.Height, 120);
  EXPECT_EQ(Result.Board_Cols, 5);
  EXPECT_EQ(Result.Board_Rows, 4);
  EXPECT_EQ(Result.Square_Size, 0.03);
  EXPECT_EQ(Result.True_Lens.Fx, Capture.True_Lens.Fx);
  EXPECT_EQ(Result.True_Lens.Fy, Capture.True_Lens.Fy);
  EXPECT_EQ(Result.True_Lens.Cx, Capture.True_Lens.Cx);
  EXPECT_EQ(Result.True_Lens.Cy, Capture.True_Lens.Cy);
  EXPECT_EQ(Result.True_Lens.K1, -0.09);
  EXPECT_EQ(Result.True_Lens.K2, 0.03);
  EXPECT_EQ(Result.Transform_Cam_Tc, Capture.Transform_Cam_Tc);
  EXPECT_EQ(Result.Transform_Chart_Tr, Capture.Transform_Chart_Tr);
  EXPECT_EQ(Result.Chart_Euler_Deg, Capture.Chart_Euler_Deg);
  EXPECT_EQ(Result.Chart_Translation, Capture.Chart_Translation);
  EXPECT_EQ(Result.Position_Noise_Mm, 0.4);
  EXPECT_EQ(Result.Rotation_Noise_Deg, 0.03);
  ASSERT_EQ(Result.Rows.size(), Capture.Images.size());
  const std::vector<std::string> Lines = Lines_Of(Folder.Path() / "capture.csv");
  for (size_t i = 0; i < Result.Rows.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(Result.Rows[i].Name, Capture.Images[i].Name);
    EXPECT_EQ(Result.Rows[i].Kind, Capture.Images[i].Kind);
    EXPECT_EQ(Result.Rows[i].Transform_Cam_Chart, Capture.Images[i].Transform_Cam_Chart);
    const size_t Line = static_cast<size_t>(Result.Rows[i].Csv_Line);
    ASSERT_LE(Line, Lines.size());
    EXPECT_THAT(Fields_Of(Lines[Line - 1])[1], testing::EndsWith(Result.Rows[i].Name));
  }
}

TEST(WriteTables, TellsOptionsLensAndKindsInTruthJson) {
  const Scratch_Folder Folder;
  Options Settings = Tiny_Capture();
  Settings.Stale_Count = 1;
  Settings.Paths = Path_Form::Name_Only;
  Settings.Pose_Spread = simulate::Spread::Frontal;
  const Plan Capture = Make_Plan(Settings);
  simulate::Write_Tables(Capture, Folder.Path());
  const auto File = nlohmann::json::parse(Read_Text(Folder.Path() / "truth.json"));
  EXPECT_EQ(File.at("format_version"), 1);
  EXPECT_EQ(File.at("options").size(), 38u) << "one for every option";
  EXPECT_EQ(File.at("options").at("seed"), 11);
  EXPECT_EQ(File.at("options").at("stale_count"), 1);
  EXPECT_EQ(File.at("options").at("paths"), "name_only");
  EXPECT_EQ(File.at("options").at("pose_spread"), "frontal");
  EXPECT_EQ(File.at("options").at("camera_mount_euler_deg"), nlohmann::json({35.0, -25.0, 20.0}));
  EXPECT_DOUBLE_EQ(File.at("lens_normalised").at("fx").get<double>(), 1.1);
  EXPECT_DOUBLE_EQ(File.at("lens_normalised").at("fy").get<double>(), 1.1 * 160.0 / 120.0);
  EXPECT_DOUBLE_EQ(File.at("lens_normalised").at("cx").get<double>(), 0.503);
  EXPECT_DOUBLE_EQ(File.at("lens_normalised").at("cy").get<double>(), 0.492);
  // Row by row: element 3 is the x of the translation, 12 to 15 the bottom row.
  const nlohmann::json Flat = File.at("Transform_Cam_Tc");
  ASSERT_EQ(Flat.size(), 16u);
  EXPECT_EQ(Flat.at(3), 0.06);
  EXPECT_EQ(Flat.at(7), -0.14);
  EXPECT_EQ(Flat.at(11), -0.08);
  EXPECT_EQ(Flat.at(12), 0.0);
  EXPECT_EQ(Flat.at(15), 1.0);
  EXPECT_EQ(File.at("images").at(Index_Of(Capture, Row_Kind::Stale)).at("kind"), "stale");
}

TEST(WriteTables, TellsEveryOptionInTruthJsonUnderItsName) {
  Options Settings;
  Settings.Seed = 11;
  Settings.Image_Count = 40;
  Settings.Width = 640;
  Settings.Height = 480;
  Settings.Board_Cols = 7;
  Settings.Board_Rows = 5;
  Settings.Square_Size = 0.025;
  Settings.Norm_Fx = 1.25;
  Settings.Norm_Fy = 1.75;
  Settings.Norm_Cx = 0.5;
  Settings.Norm_Cy = 0.46875;
  Settings.K1 = -0.0625;
  Settings.K2 = 0.03125;
  Settings.Camera_Mount_Euler_Deg = {1, 2, 3};
  Settings.Camera_Mount_Offset = {0.125, 0.25, 0.375};
  Settings.Board_Mount_Euler_Deg = {4, 5, 6};
  Settings.Board_Mount_Offset = {-0.125, -0.25, -0.375};
  Settings.Position_Noise_Mm = 0.75;
  Settings.Rotation_Noise_Deg = 0.0078125;
  Settings.Stale_Count = 1;
  Settings.Stale_Mm = 31;
  Settings.Stale_Deg = 2.5;
  Settings.Jump_Count = 2;
  Settings.Jump_Mm = 81;
  Settings.Jump_Deg = 4.5;
  Settings.Missing_Count = 3;
  Settings.Blank_Count = 4;
  Settings.Truncated_Count = 5;
  Settings.Cut_Count = 6;
  Settings.First_Marker = 8;
  Settings.Marker_Size = 0.625;
  Settings.Estimate_Error_Deg = 0.15625;
  Settings.Estimate_Error_Mm = 1.5;
  Settings.Pose_Spread = simulate::Spread::Centred;
  Settings.Blur_Pixels = 0.875;
  Settings.Sensor_Noise = 2.25;
  Settings.Lighting_Gradient = 0.3125;
  Settings.Image_Format = "jpg";
  Settings.Jpeg_Quality = 91;
  Settings.Paths = Path_Form::Relative;
  Settings.Header = false;
  const Scratch_Folder Folder;
  simulate::Write_Tables(Make_Plan(Settings), Folder.Path());
  const auto File = nlohmann::json::parse(Read_Text(Folder.Path() / "truth.json"));
  EXPECT_EQ(File.at("options"), nlohmann::json::parse(R"({
    "seed": 11, "image_count": 40, "width": 640, "height": 480, "board_cols": 7, "board_rows": 5,
    "square_size_m": 0.025, "norm_fx": 1.25, "norm_fy": 1.75, "norm_cx": 0.5, "norm_cy": 0.46875,
    "k1": -0.0625, "k2": 0.03125,
    "camera_mount_euler_deg": [1.0, 2.0, 3.0], "camera_mount_offset_m": [0.125, 0.25, 0.375],
    "board_mount_euler_deg": [4.0, 5.0, 6.0], "board_mount_offset_m": [-0.125, -0.25, -0.375],
    "position_noise_mm": 0.75, "rotation_noise_deg": 0.0078125,
    "stale_count": 1, "stale_mm": 31.0, "stale_deg": 2.5,
    "jump_count": 2, "jump_mm": 81.0, "jump_deg": 4.5,
    "missing_count": 3, "blank_count": 4, "truncated_count": 5, "cut_count": 6,
    "first_marker": 8, "marker_size": 0.625,
    "estimate_error_deg": 0.15625, "estimate_error_mm": 1.5, "pose_spread": "centred",
    "blur_pixels": 0.875, "sensor_noise": 2.25, "lighting_gradient": 0.3125,
    "image_format": "jpg", "jpeg_quality": 91, "paths": "relative", "header": false})"));
}

// The defaults are part of what a seed means: captures of the pages and of other tests rely on
// them.
TEST(WriteTables, TellsTheDefaultsInTruthJson) {
  Options Settings;
  Settings.Recording.Clip = true;
  Settings.Recording.Lag_Ms = 0.1;
  const Scratch_Folder Folder;
  simulate::Write_Tables(Make_Plan(Settings), Folder.Path());
  const auto File = nlohmann::json::parse(Read_Text(Folder.Path() / "truth.json"));
  nlohmann::json Told = File.at("options");
  const nlohmann::json Recording = Told.at("recording");
  Told.erase("recording");
  EXPECT_EQ(Told, nlohmann::json::parse(R"({
    "seed": 1, "image_count": 24, "width": 1920, "height": 1080, "board_cols": 11, "board_rows": 8,
    "square_size_m": 0.03, "norm_fx": 1.1, "norm_fy": 0.0, "norm_cx": 0.503, "norm_cy": 0.492,
    "k1": -0.09, "k2": 0.03,
    "camera_mount_euler_deg": [35.0, -25.0, 20.0], "camera_mount_offset_m": [0.06, -0.14, -0.08],
    "board_mount_euler_deg": [12.0, -20.0, 8.0], "board_mount_offset_m": [-0.17, 0.05, 0.04],
    "position_noise_mm": 0.0, "rotation_noise_deg": 0.0,
    "stale_count": 0, "stale_mm": 30.0, "stale_deg": 2.0,
    "jump_count": 0, "jump_mm": 80.0, "jump_deg": 4.0,
    "missing_count": 0, "blank_count": 0, "truncated_count": 0,
    "estimate_error_deg": 0.0, "estimate_error_mm": 0.0, "pose_spread": "good",
    "blur_pixels": 0.7, "sensor_noise": 2.0, "lighting_gradient": 0.25,
    "image_format": "png", "jpeg_quality": 95, "paths": "absolute", "header": true})"));
  EXPECT_EQ(Recording, nlohmann::json::parse(R"({
    "format": "none", "clip": true, "unit": "m", "rate_hz": 100.0, "hold_s": [1.0, 4.0],
    "move_s": [0.8, 3.0], "regular_holds": false, "clock_offset_s": 0.0, "lost_percent": 0.0,
    "drift_mm_per_s": 0.0, "drift_deg_per_s": 0.0, "lag_s": 0.0001, "one_body": false})"));
}

TEST(ReadTruth, ThrowsNamingAFileThatIsntATruth) {
  const Scratch_Folder Folder;
  const auto Message_Of = [](const fs::path& Path) -> std::string {
    try {
      simulate::Read_Truth(Path);
    } catch (const std::runtime_error& Refusal) {
      return Refusal.what();
    }
    return "no std::runtime_error";
  };
  simulate::Write_Tables(Make_Plan(Tiny_Capture()), Folder.Path());
  const auto Good = nlohmann::json::parse(Read_Text(Folder.Path() / "truth.json"));
  auto Short_Pose = Good, Unknown_Kind = Good, Other_Format = Good, No_Lens = Good, Worded = Good;
  Short_Pose["Transform_Cam_Tc"].erase(15);
  Unknown_Kind["images"][0]["kind"] = "fair";
  Other_Format["format_version"] = 2;
  No_Lens.erase("lens_pixels");
  Worded["Transform_Chart_Tr"][0] = "one";
  const struct {
    std::string Name, Bytes;
  } Cases[] = {{"empty.json", ""},
               {"garbage.json", std::string("\x00\xff{\"", 4)},
               {"array.json", "[]"},
               {"short_pose.json", Short_Pose.dump()},
               {"unknown_kind.json", Unknown_Kind.dump()},
               {"other_format.json", Other_Format.dump()},
               {"no_lens.json", No_Lens.dump()},
               {"worded.json", Worded.dump()}};
  for (const auto& Case : Cases) {
    EXPECT_THAT(Message_Of(Folder.Write(Case.Name, Case.Bytes)), testing::HasSubstr(Case.Name));
  }
  EXPECT_THAT(Message_Of(Folder.Path() / "absent.json"), testing::HasSubstr("absent.json"));
  EXPECT_THAT(Message_Of(Folder.Path()), testing::HasSubstr(Folder.Path().filename().string()));
  EXPECT_EQ(Message_Of(Folder.Write("good.json", Good.dump())), "no std::runtime_error");
}

}  // namespace
