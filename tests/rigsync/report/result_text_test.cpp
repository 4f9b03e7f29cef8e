// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/result_text.h"
#include "rigsync/calibrate/calibration_result.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/system/text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <sstream>

namespace {

using rigsync::Calibration_Result;
using rigsync::Image_Fate;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Calibration_Result Good_Result() {
  Calibration_Result Result;
  Result.Code = 0;
  Result.Image_Size = {3840, 2160};
  Result.Norm_Fxy = {1.1, 1.955556};
  Result.Norm_Cxy = {0.503, 0.492};
  Result.Distortion = {-0.09, 0.03, 0, 0, 0};
  Result.Transform_Cam_Tc = {1, 0, 0, 0.06, 0, 1, 0, -0.14, 0, 0, 1, -0.08, 0, 0, 0, 1};
  Result.Run_Folder = "/out/run_x";
  Result.Run_Log = "/out/run_x/log_x";
  Result.Report.Images = {{"a.png", Image_Fate::Kept, 0.1, 1.0, {}},
                          {"b.png", Image_Fate::Unreadable, {}, {}, {}},
                          {"c.png", Image_Fate::No_Board, {}, {}, {}},
                          {"d.png", Image_Fate::Outlier, 2.006, 9.0, {}},
                          {"e.png", Image_Fate::Outlier, 0.5, 9.0, {}}};
  Result.Images = {{2, "a.png"}, {3, "b.png"}, {4, "c.png"}, {5, "d.png"}, {106, "e.png"}};
  Result.Report.Lens_Rms_Px = 0.215;
  Result.Report.Filter_Spread_M = {0.001, 0.002, 0.003};
  Result.Report.Reprojection_Px = 2.5;
  Result.Report.Norm_Reprojection = 2.5 / 2160;
  Result.Report.Spread_M = {0.0005, 0.0016, 0.0007};
  Result.Report.Max_Spread_M = 0.0016;
  return Result;
}

// A run of this capture that ended with this code.
Calibration_Result Bad_Result(int Code, const std::filesystem::path& Csv,
                              const std::filesystem::path& Image_Root) {
  Calibration_Result Result;
  Result.Code = Code;
  Result.Inputs.Csv = Csv;
  Result.Inputs.Image_Root = Image_Root;
  Result.Inputs.Board = {11, 8};
  Result.Inputs.Square_Size = 0.03;
  Result.Inputs.Stated_Board = rigsync::Board_Place{{12, -20.25, 8}, {-0.17, 0.05, 0.04}};
  return Result;
}

TEST(ResultText, PrintsAGoodRunWordForWord) {
  EXPECT_EQ(
      rigsync::Result_Text(Good_Result(),
                           {"/out/result.json", "/out/report.html", {"/out/run_x/Reproject_a.png"}},
                           /*Colour=*/false),
      R"(Code 0. Calibrated: the result is within every limit.
  Export it to the engine with 'rigsync export'.

Fit
  reprojection error             2.500 px
    in an image of 1080 lines    1.250 px   good up to 12, usable up to 18
  mount standard deviation        1.60 mm   good up to 10, usable up to 15
    on x, y and z                 0.50    1.60    0.70 mm
  lens RMS error                 0.215 px   usable up to 1.5

Images: 5 searched, 3 show the board, 1 kept
  line 3: cannot be read
    b.png
  line 4: no board found
    c.png
  line 5: outlier, rotation axis 2.01 degrees from the mean axis (limit 0.5)
    d.png
  line 106: outlier, position over 1.3, 2.6 or 3.9 mm (x, y, z) from the mean
    e.png
  The position limit is 1.3 standard deviations of this capture, so even a good
  capture has outliers: about half of its images if only noise is left.

Lens, at 3840 x 2160 pixels
  focal length       1.100000 of the width    1.955556 of the height
  principal point    0.503000 of the width    0.492000 of the height
  distortion        -0.090000 k1              0.030000 k2

Transform_Cam_Tc (tracker to camera; last column in metres)
    1.00000  0.00000  0.00000  0.06000
    0.00000  1.00000  0.00000 -0.14000
    0.00000  0.00000  1.00000 -0.08000
    0.00000  0.00000  0.00000  1.00000
  Seen from the camera, the tracker is 60.0 mm to the right, 140.0 mm up and
  80.0 mm behind.

Files
  result           /out/result.json
  page             /out/report.html
  run log          /out/run_x/log_x
  reprojection     1 image,
                   /out/run_x/Reproject_a.png
                   (red: found corner, blue on top: predicted corner)
)");
}

TEST(ResultText, OmitsWhatTheRunDidNotReach) {
  Calibration_Result Result;
  Result.Code = 1;
  const std::string Text = rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false);
  EXPECT_THAT(Text, HasSubstr("Code 1. The CSV file can't be opened."));
  for (const char* Part : {"Fit", "Images", "Lens", "Transform", "run log", "reprojection"}) {
    EXPECT_THAT(Text, Not(HasSubstr(Part)));
  }
}

TEST(ResultText, PrintsTheCausesAndTheNextStepOfABadRunWordForWord) {
  const Calibration_Result Result = Bad_Result(13, "/in/capture.csv", "/in");
  const std::string Text =
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false);
  const rigsync::Code_Advice Advice = rigsync::Advice_For(13);
  ASSERT_GE(Advice.Causes.size(), 2u);
  std::size_t At = 0;
  // In this order, each sentence complete.
  std::vector<std::string> Parts = {"Code 13. " + Advice.Meaning, Advice.On_Stage,
                                    "Likely causes, most likely first"};
  for (const std::string& Cause : Advice.Causes) Parts.push_back("- " + Cause);
  Parts.insert(Parts.end(),
               {"Next step", Advice.Next_Step, "To check the capture line by line, run",
                "rigsync inspect /in/capture.csv --board 11x8 --square 0.03 \\ "
                "--board-euler 12,-20.25,8 --board-offset -0.17,0.05,0.04"});
  const std::string One_Line = rigsync::One_Line(Text);
  for (const std::string& Part : Parts) {
    const std::size_t Found = One_Line.find(Part, At);
    ASSERT_NE(Found, std::string::npos) << Part;
    At = Found + Part.size();
  }
}

// Millimetres instead of metres lead to such numbers.
TEST(ResultText, SeparatesHugeNumbers) {
  Calibration_Result Result = Good_Result();
  Result.Report.Spread_M = {169.17863, 72.78732, 200.31856};
  Result.Transform_Cam_Tc[3] = -1180.74890;
  const std::string Text =
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false);
  EXPECT_THAT(Text, HasSubstr(" 169178.63 72787.32 200318.56 mm\n"));
  EXPECT_THAT(Text, HasSubstr(" -1180.74890\n"));
}

TEST(ResultText, ExplainsOutliersByPositionInAUsableResultOnly) {
  const auto Says = [](const Calibration_Result& Result) {
    return rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false)
               .find("The position limit") != std::string::npos;
  };
  Calibration_Result Result = Good_Result();
  EXPECT_TRUE(Says(Result));
  Result.Code = 14;
  EXPECT_FALSE(Says(Result));
  Result.Code = 0;
  Result.Report.Images.pop_back();  // the other outlier is beyond the axis limit
  EXPECT_FALSE(Says(Result));
}

TEST(ResultText, DroppedImagesWithOneReasonAreOneLine) {
  Calibration_Result Result = Good_Result();
  Result.Report.Images.assign(500, {"x.png", Image_Fate::Unreadable, {}, {}, {}});
  const std::string Text = rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false);
  EXPECT_THAT(Text, HasSubstr("\n  500 images: cannot be read\n"));
  std::istringstream Lines(Text);
  std::size_t Count = 0;
  for (std::string Line; std::getline(Lines, Line);) ++Count;
  EXPECT_LE(Count, 40u);
}

TEST(ResultText, AnImageWhoseLineIsNotKnownHasNone) {
  Calibration_Result Result = Good_Result();
  Result.Images.clear();  // the CSV came through a pipe
  EXPECT_THAT(
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false),
      AllOf(HasSubstr("\n  1 image: cannot be read\n    b.png\n"), Not(HasSubstr("line "))));
}

TEST(ResultText, TheVerdictHasTheColourOfItsCode) {
  constexpr const char* Green = "\x1b[32m";
  constexpr const char* Yellow = "\x1b[33m";
  constexpr const char* Red = "\x1b[31m";
  const std::pair<int, const char*> Cases[] = {{0, Green}, {99, Yellow}, {4, Red}, {14, Red}};
  for (const auto& [Code, Colour] : Cases) {
    Calibration_Result Result = Good_Result();
    Result.Code = Code;
    const std::string Text = rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, true);
    EXPECT_NE(Text.substr(0, Text.find('\n')).find(Colour), std::string::npos) << Code;
  }
  EXPECT_THAT(rigsync::Result_Text(Good_Result(), {"/out/result.json", {}, {}}, false),
              Not(HasSubstr("\x1b")));
}

TEST(ResultText, SuggestsAnInspectionThatAShellRunsOnTheSameImages) {
  Calibration_Result Result = Bad_Result(4, "/in a/it's.csv", "/in a");
  const std::string Start =
      "\n    rigsync inspect '/in a/it'\\''s.csv' --board 11x8 --square 0.03 \\\n"
      "      --board-euler 12,-20.25,8 --board-offset -0.17,0.05,0.04";
  EXPECT_THAT(rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false),
              HasSubstr(Start + "\n"));
  Result.Inputs.Image_Root = "/photos";
  EXPECT_THAT(rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false),
              HasSubstr(Start + " \\\n      --image-root /photos\n"));
}

TEST(ResultText, SuggestsPathsWithoutDots) {
  const Scratch_Folder Scratch;
  std::filesystem::create_directory(Scratch.Path() / "down");
  const Calibration_Result Result =
      Bad_Result(4, Scratch.Path() / "down/../x.csv", Scratch.Path() / "down/..");
  const std::string Text =
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false);
  EXPECT_THAT(Text, AllOf(HasSubstr("rigsync inspect " + Scratch.String() + "/x.csv --board"),
                          Not(HasSubstr("--image-root"))));
}

TEST(ResultText, FoldsTheReasonOfAnOutlier) {
  Calibration_Result Result = Good_Result();
  Result.Report.Filter_Spread_M = {121.0, 119.0, 56.0};
  EXPECT_THAT(rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false),
              HasSubstr("  line 106: outlier, position over 157300.0, 154700.0 or 72800.0 mm "
                        "(x, y, z)\n  from the mean\n    e.png\n"));
}

TEST(ResultText, CountsNoImageAsKeptWhenNoneRemains) {
  Calibration_Result Result = Good_Result();
  Result.Code = 13;
  Result.Report.Too_Few_Remaining = 0;
  EXPECT_THAT(rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false),
              HasSubstr("\nImages: 5 searched, 3 show the board, 0 kept\n"));
}

TEST(ResultText, CountsTheOutliersThatTheRunLogDoesNotName) {
  Calibration_Result Result = Good_Result();
  Result.Code = 13;
  for (const std::size_t i : {0u, 4u}) Result.Report.Images[i].Fate = Image_Fate::Unknown;
  Result.Report.Too_Few_Remaining = 1;
  const std::string Text =
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false);
  EXPECT_THAT(Text, HasSubstr("\nImages: 5 searched, 3 show the board, 1 kept\n"));
  EXPECT_THAT(Text, HasSubstr("    d.png\n  Of the other 2, 1 is an outlier by position; "
                              "the run log does not say which.\n"));
  EXPECT_THAT(Text, Not(HasSubstr("a.png")));
}

TEST(ResultText, AResultWhoseNumbersAreNotFiniteIsNotCalledGood) {
  Calibration_Result Result = Good_Result();
  Result.Transform_Cam_Tc[3] = std::nan("");
  Result.Report.Reprojection_Px = std::nan("");
  const std::string Text =
      rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, /*Colour=*/false);
  EXPECT_THAT(Text,
              AllOf(HasSubstr("Code 0, but the result must not be used"), HasSubstr("Next step"),
                    Not(HasSubstr("within every limit")), Not(HasSubstr("Export it")),
                    HasSubstr("\n  reprojection error               nan px\n"),
                    Not(HasSubstr("Seen from the camera"))));
}

}  // namespace
