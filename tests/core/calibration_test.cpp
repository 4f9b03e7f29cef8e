// SPDX-License-Identifier: Apache-2.0
//
// The driver: its own steps, the order in which it calls the stages, what it passes from one to the
// next, and what the host's vectors hold after each possible end of a run.
#include "core/calibration.h"

#include "core/base/run_log.h"
#include "core/capture/detect_corner_and_calibrate.h"
#include "core/capture/read_raw_data.h"
#include "core/solver/cal_reproj_error.h"
#include "core/solver/calculate_transform_cam_tc.h"
#include "core/solver/calculate_transform_chart_tr.h"
#include "core/solver/evaluate_result.h"
#include "core/solver/organize_rt.h"
#include "core/solver/rt_filt_outlier.h"
#include "include/rigsync_core.h"
#include "simulate/simulate.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// ---- A capture and a run ---------------------------------------------------------------------

constexpr int Capture_Width = 640, Capture_Height = 480;

simulate::Options Capture_Options() {
  simulate::Options Options;
  Options.Image_Count = 13;
  Options.Width = Capture_Width;
  Options.Height = Capture_Height;
  Options.Board_Cols = 7;
  Options.Board_Rows = 6;
  Options.Square_Size = 0.04;
  // With no forward slash after the last backslash, the reprojection images can be written.
  Options.Paths = simulate::Path_Form::Backslash;
  return Options;
}

// A good capture without tracker noise, drawn once in a process.
struct Capture {
  Capture() : Plan(simulate::Make_Plan(Capture_Options())) {
    simulate::Write_Capture(Plan, Folder.Path());
  }
  std::string Csv_Path() const { return (Folder.Path() / "capture.csv").string(); }

  Scratch_Folder Folder;
  simulate::Plan Plan;
};

const Capture& Good_Capture() {
  static const Capture Drawn;
  return Drawn;
}

std::vector<double> Three(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

// One call of Calibration: arguments, results and its own output folder.
struct Calibration_Run {
  // A run over the good capture.
  static Calibration_Run Over_Good_Capture() {
    const simulate::Plan& Plan = Good_Capture().Plan;
    Calibration_Run Run;
    Run.Csv_Path = Good_Capture().Csv_Path();
    Run.Chart_Euler_Deg = Three(Plan.Chart_Euler_Deg);
    Run.Chart_Translation = Three(Plan.Chart_Translation);
    return Run;
  }

  int First_Overload() {
    const Quiet_Output Output;
    Code = Calibration(Csv_Path, Board_Cols, Board_Rows, Square_Size, Chart_Euler_Deg,
                       Chart_Translation, Image_Size, Norm_Fxy, Norm_Cxy, Distortion,
                       Transform_Cam_Tc, Output_Dir);
    Shown = Output.Captured();
    return Code;
  }
  int Second_Overload() {
    const Quiet_Output Output;
    Code = Calibration(Csv_Path, Sensor_Width_mm, Sensor_Height_mm, Board_Cols, Board_Rows,
                       Square_Size, Chart_Euler_Deg, Chart_Translation, Image_Size, Norm_Fxy,
                       Norm_Cxy, Distortion, Transform_Cam_Tc, FoV, Focal_Length_mm, Output_Dir);
    Shown = Output.Captured();
    return Code;
  }
  int Call(bool Second) { return Second ? Second_Overload() : First_Overload(); }

  std::vector<std::string> Log() const { return Read_Run_Log(Output_Dir); }

  // Old values in all vectors of the host, one in each.
  void Fill_Before() {
    for (std::vector<double>* Vector : All()) Vector->assign(1, -77.0);
  }
  // The vectors without the old values, or a failure if those are missing.
  std::vector<double> Behind(const std::vector<double>& Vector) const {
    EXPECT_FALSE(Vector.empty());
    if (Vector.empty()) return {};
    EXPECT_EQ(Vector.front(), -77.0);
    return {Vector.begin() + 1, Vector.end()};
  }
  std::vector<std::vector<double>*> All() {
    return {&Image_Size,       &Norm_Fxy, &Norm_Cxy,       &Distortion,
            &Transform_Cam_Tc, &FoV,      &Focal_Length_mm};
  }
  void Expect_Untouched() {
    for (const std::vector<double>* Vector : All()) EXPECT_THAT(*Vector, ElementsAre(-77.0));
  }

  std::unique_ptr<Scratch_Folder> Folder = std::make_unique<Scratch_Folder>();
  std::string Csv_Path;
  double Sensor_Width_mm = 24.0, Sensor_Height_mm = 18.0;
  int Board_Cols = 7, Board_Rows = 6;
  double Square_Size = 0.04;
  std::vector<double> Chart_Euler_Deg{0.0, 0.0, 0.0}, Chart_Translation{0.0, 0.0, 0.0};
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  std::vector<double> FoV, Focal_Length_mm;
  std::string Output_Dir = Folder->String();
  int Code = -1;
  std::string Shown;
};

// The lens of the good capture, from direct calls of the reader and the stage. Two solves on one
// machine are bit-identical.
struct Lens {
  Lens() {
    const Quiet_Output Output;
    const Scratch_Folder Folder;
    const std::string Log_Path = (Folder.Path() / "log").string();
    const simulate::Options Options = Capture_Options();
    std::vector<cv::Point3f> Board_Index;
    Build_Board_Index(Log_Path, Board_Index, Options.Board_Cols, Options.Board_Rows,
                      Options.Square_Size);
    std::vector<std::string> Image_name;
    std::vector<std::vector<double>> Raw_Data_all;
    Read_Raw_Data(Log_Path, Good_Capture().Csv_Path(), Image_name, Raw_Data_all);
    std::vector<std::vector<cv::Point3f>> Board_Index_all;
    std::vector<std::vector<cv::Point2f>> ImageCoordinate;
    cv::TermCriteria Corner_Term(3, 30, 0.1);
    cv::Size Image_Size;
    cv::Mat Rvecs, Tvecs;
    double Camera_Rms = 0.0;
    Code = Detect_Corner_And_Calibrate(Log_Path, Camera_Rms, Image_Size, Camera_Matrix, Distortion,
                                       Rvecs, Tvecs, Image_name, Raw_Data_all, Board_Index_all,
                                       Board_Index, ImageCoordinate, Options.Board_Cols,
                                       Options.Board_Rows, 11, Corner_Term, 1.5f, true);
  }
  double Fx() const { return Camera_Matrix.at<double>(0, 0); }
  double Fy() const { return Camera_Matrix.at<double>(1, 1); }
  double Cx() const { return Camera_Matrix.at<double>(0, 2); }
  double Cy() const { return Camera_Matrix.at<double>(1, 2); }

  int Code = -1;
  cv::Mat Camera_Matrix, Distortion;
};

const Lens& Good_Lens() {
  static const Lens Solved;
  return Solved;
}

// The lines after the lens verdict, up to Count of them.
std::vector<std::string> Lines_Behind_The_Lens(const std::vector<std::string>& Log,
                                               std::ptrdiff_t Count) {
  const auto Found = std::find(Log.begin(), Log.end(), "Camera calibration successful.");
  if (Log.end() - Found <= Count) return {};
  return {Found + 1, Found + 1 + Count};
}

std::string Text(double Value) {
  return std::to_string(Value);
}

// ---- The board -------------------------------------------------------------------------------

TEST(CalibrationDriver, ReservesThreeTimesTheCornersAsAProductThatWrapsAt32Bits) {
  struct Case {
    int Cols, Rows;
    std::size_t Reserve;
  };
  const Case Cases[] = {
      {11, 8, 264},
      {1, 1, 3},
      {0, 5, 0},
      {5, 0, 0},
      {0, 0, 0},
      {-3, 0, 0},
      {0, -3, 0},
      {-3, -5, 45},
      {-1, -1, 3},
      {26754, 26755, 2147409810},   // the largest such pair below 2^31
      {715827882, 1, 2147483646},   // 2^31 - 2
      {40000, 40000, 505032704},    // 4,800,000,000 less 2^32
      {65536, 65536, 0},            // a multiple of 2^32
      {INT_MAX, INT_MAX, 3},        // (2^31 - 1)^2 is 1 below a multiple of 2^31
      {-715827883, 1, 2147483647},  // -2^31 - 1, which wraps to 2^31 - 1
      {INT_MIN, 2, 0},              // -2^32
      {INT_MIN, INT_MIN, 0},        // 2^62
  };
  for (const Case& Board : Cases) {
    SCOPED_TRACE(std::to_string(Board.Cols) + " x " + std::to_string(Board.Rows));
    EXPECT_EQ(Board_Reserve(Board.Cols, Board.Rows), Board.Reserve);
  }
}

TEST(CalibrationDriver, RefusesABoardWhoseWrappedProductIsNegative) {
  const std::pair<int, int> Cases[] = {
      {-3, 5},        {3, -5},      {-1, 1},       {30000, 30000}, {26755, 26755}, {715827883, 1},
      {1, 715827883}, {INT_MIN, 1}, {INT_MIN, -1}, {1, INT_MIN},   {INT_MAX, -1},  {INT_MIN, 3}};
  for (const auto& [Cols, Rows] : Cases) {
    SCOPED_TRACE(std::to_string(Cols) + " x " + std::to_string(Rows));
    try {
      Board_Reserve(Cols, Rows);
      ADD_FAILURE() << "no exception";
    } catch (const std::length_error& Thrown) {
      EXPECT_STREQ(Thrown.what(), "vector too long");
    }
  }
}

TEST(CalibrationDriver, BuildsTheBoardRowByRowWithXAlongTheRow) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  std::vector<cv::Point3f> Board_Index;
  const Quiet_Output Output;
  Build_Board_Index(Log_Path, Board_Index, 3, 2, 0.02);
  EXPECT_THAT(Board_Index,
              ElementsAre(cv::Point3f(0.0f, 0.0f, 0.0f), cv::Point3f(0.02f, 0.0f, 0.0f),
                          cv::Point3f(0.04f, 0.0f, 0.0f), cv::Point3f(0.0f, 0.02f, 0.0f),
                          cv::Point3f(0.02f, 0.02f, 0.0f), cv::Point3f(0.04f, 0.02f, 0.0f)));
  EXPECT_THAT(Read_Log_File(Log_Path),
              ElementsAre("0.000000 0.000000 0", "0.020000 0.000000 0", "0.040000 0.000000 0",
                          "0.000000 0.020000 0", "0.020000 0.020000 0", "0.040000 0.020000 0"));
}

TEST(CalibrationDriver, TakesBoardProductsInDoubleAndNarrowsThemOnlyWhenStored) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  const Quiet_Output Output;
  std::vector<cv::Point3f> Board_Index;
  Build_Board_Index(Log_Path, Board_Index, 60, 60, 0.1);
  ASSERT_EQ(Board_Index.size(), 3600u);
  bool Widths_Differ = false;
  for (int k = 0; k < 60; ++k) {
    SCOPED_TRACE(k);
    const float Expected = static_cast<float>(k * 0.1);
    EXPECT_EQ(Board_Index[static_cast<std::size_t>(k)].x, Expected);
    EXPECT_EQ(Board_Index[static_cast<std::size_t>(60 * k)].y, Expected);
    Widths_Differ = Widths_Differ || Expected != static_cast<float>(k) * 0.1f;
  }
  EXPECT_TRUE(Widths_Differ);

  // Near a million a float has steps of 0.0625: the log shows the doubles, the point the floats.
  std::vector<cv::Point3f> Far;
  Build_Board_Index(Log_Path, Far, 2, 2, 1000000.123456);
  EXPECT_EQ(Far[3], cv::Point3f(1000000.125f, 1000000.125f, 0.0f));
  EXPECT_EQ(Read_Log_File(Log_Path).back(), "1000000.123456 1000000.123456 0");
}

TEST(CalibrationDriver, BuildsWhatAnySquareGives) {
  constexpr float Infinity = std::numeric_limits<float>::infinity();
  const std::pair<double, float> Cases[] = {{0.0, 0.0f}, {-0.02, -0.02f}, {1e308, Infinity}};
  for (const auto& [Square_Size, Second_X] : Cases) {
    SCOPED_TRACE(Square_Size);
    const Quiet_Output Output;
    std::vector<cv::Point3f> Board_Index;
    Build_Board_Index("", Board_Index, 2, 1, Square_Size);
    ASSERT_EQ(Board_Index.size(), 2u);
    EXPECT_EQ(Board_Index[1].x, Second_X);
  }
}

TEST(CalibrationDriver, BuildsNoPointAndLogsNoneForCountsOf0OrLess) {
  for (const auto& [Cols, Rows] : {std::pair(0, 5), {5, 0}, {0, 0}, {-3, -5}, {-3, 0}, {-1, 4}}) {
    SCOPED_TRACE(std::to_string(Cols) + " x " + std::to_string(Rows));
    const Quiet_Output Output;
    std::vector<cv::Point3f> Board_Index;
    Build_Board_Index("", Board_Index, Cols, Rows, 0.02);
    EXPECT_THAT(Board_Index, IsEmpty());
    EXPECT_EQ(Output.Captured(), "");
  }
}

// ---- From the entry to the raw data ----------------------------------------------------------

TEST(CalibrationDriver, Raises2WhenTheListsDifferInLengthOnEitherSide) {
  const std::pair<std::size_t, std::size_t> Cases[] = {{0, 0}, {7, 7}, {6, 7}, {7, 6}, {0, 1}};
  for (const auto& [Images, Rows] : Cases) {
    SCOPED_TRACE(std::to_string(Images) + " and " + std::to_string(Rows));
    const Scratch_Folder Folder;
    const std::string Log_Path = (Folder.Path() / "log").string();
    const Quiet_Output Output;
    EXPECT_EQ(Compare_Amounts(Log_Path, Images, Rows), Images == Rows ? 0 : 2);
    if (Images == Rows) {
      EXPECT_THAT(Read_Log_File(Log_Path), IsEmpty());
    } else {
      EXPECT_THAT(
          Read_Log_File(Log_Path),
          ElementsAre("Error code 2 : The amount of Tracker data and images do not match."));
    }
  }
}

TEST(CalibrationDriver, Returns1WithStartLinesAndBoardInTheLogAndNothingFilled) {
  for (const bool Second : {false, true}) {
    SCOPED_TRACE(Second ? "second overload" : "first overload");
    Calibration_Run Run;
    Run.Csv_Path = Run.Output_Dir + "/missing.csv";
    Run.Board_Cols = 2;
    Run.Board_Rows = 3;
    Run.Square_Size = 0.02;
    Run.Fill_Before();
    EXPECT_EQ(Run.Call(Second), 1);
    EXPECT_THAT(Run.Log(),
                ElementsAre("Version : v0.0.9", "Camera Tracker Calibration start.",
                            "CALIBRATION BOARD INDEX START", "0.000000 0.000000 0",
                            "0.020000 0.000000 0", "0.000000 0.020000 0", "0.020000 0.020000 0",
                            "0.000000 0.040000 0", "0.020000 0.040000 0",
                            "CALIBRATION BOARD INDEX END", "Start to read the csv file.",
                            "Error code 1 : The raw data csv file path is wrong."));
    EXPECT_EQ(Messages(Run.Shown), Run.Log());
    Run.Expect_Untouched();
  }
}

TEST(CalibrationDriver, GoesOnToTheCsvWithCountsOf0OrLess) {
  const std::pair<int, int> Cases[] = {{0, 6}, {7, 0}, {0, 0}, {-3, -5}, {-7, 0}, {65536, 0}};
  for (const auto& [Cols, Rows] : Cases) {
    SCOPED_TRACE(std::to_string(Cols) + " x " + std::to_string(Rows));
    Calibration_Run Run;
    Run.Csv_Path = Run.Folder->Write("empty.csv", "");
    Run.Board_Cols = Cols;
    Run.Board_Rows = Rows;
    EXPECT_EQ(Run.First_Overload(), 4);
    EXPECT_THAT(Run.Log(), ElementsAre("Version : v0.0.9", "Camera Tracker Calibration start.",
                                       "CALIBRATION BOARD INDEX START",
                                       "CALIBRATION BOARD INDEX END", "Start to read the csv file.",
                                       "Read the csv file successfully.", "Start to Detect Corner.",
                                       "The amount of useful data is too small. (< 12 )",
                                       "Error code 4: Amount of valid images < 12."));
  }
}

TEST(CalibrationDriver, ThrowsLengthErrorBeforeTheBoardWhenTheReserveIsNegative) {
  for (const bool Second : {false, true}) {
    SCOPED_TRACE(Second ? "second overload" : "first overload");
    Calibration_Run Run;
    Run.Csv_Path = Run.Folder->Write("empty.csv", "");
    Run.Board_Cols = -3;  // a board that would have no points, so that a missing check ends soon
    Run.Board_Rows = 5;
    Run.Fill_Before();
    try {
      Run.Call(Second);
      ADD_FAILURE() << "no exception";
    } catch (const std::length_error& Thrown) {
      EXPECT_STREQ(Thrown.what(), "vector too long");
    }
    EXPECT_THAT(Run.Log(), ElementsAre("Version : v0.0.9", "Camera Tracker Calibration start."));
    Run.Expect_Untouched();
  }
}

TEST(CalibrationDriver, Returns4ForACsvThatOpensAndHoldsNoLine) {
  const Scratch_Folder Inputs;
  const std::string Paths[] = {Inputs.Write("empty.csv", ""),
                               Inputs.Write("headers.csv", "Time,Path\nT\nTTT"), Inputs.String()};
  for (const std::string& Path : Paths) {
    for (const bool Second : {false, true}) {
      SCOPED_TRACE(Path);
      Calibration_Run Run;
      Run.Csv_Path = Path;
      Run.Board_Cols = 1;
      Run.Board_Rows = 1;
      Run.Fill_Before();
      EXPECT_EQ(Run.Call(Second), 4);
      EXPECT_THAT(Run.Log(),
                  ElementsAre("Version : v0.0.9", "Camera Tracker Calibration start.",
                              "CALIBRATION BOARD INDEX START", "0.000000 0.000000 0",
                              "CALIBRATION BOARD INDEX END", "Start to read the csv file.",
                              "Read the csv file successfully.", "Start to Detect Corner.",
                              "The amount of useful data is too small. (< 12 )",
                              "Error code 4: Amount of valid images < 12."));
      Run.Expect_Untouched();
    }
  }
}

TEST(CalibrationDriver, LetsOpenCvsExceptionThroughForABoardOfTwoCornersInARow) {
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  Run.Board_Cols = 2;
  Run.Fill_Before();
  EXPECT_THROW(Run.First_Overload(), cv::Exception);
  // The first image was opened; the exception is not logged.
  EXPECT_EQ(Run.Log().back().substr(0, 10), "Process : ");
  Run.Expect_Untouched();
}

TEST(CalibrationDriver, RunsWithoutItsFolderAndMakesNone) {
  Calibration_Run Run;
  Run.Csv_Path = Run.Output_Dir + "/missing.csv";
  Run.Output_Dir = Run.Output_Dir + "/missing";
  EXPECT_EQ(Run.First_Overload(), 1);
  const std::vector<std::string> Shown = Messages(Run.Shown);
  EXPECT_EQ(Shown.size(), 6u + 7u * 6u);
  EXPECT_EQ(Shown.front(), "Version : v0.0.9");
  EXPECT_EQ(Shown.back(), "Error code 1 : The raw data csv file path is wrong.");
  EXPECT_FALSE(std::filesystem::exists(Run.Output_Dir));
}

TEST(CalibrationDriver, SharesOneLogFileBetweenCallsOfOneSecond) {
  // Three calls take some milliseconds, so that at most one of them starts in a new second.
  Calibration_Run Run;
  Run.Csv_Path = Run.Output_Dir + "/missing.csv";
  Run.Board_Cols = 0;
  Run.First_Overload();
  const std::vector<std::string> One = Run.Log();
  ASSERT_EQ(One.size(), 6u);
  Run.First_Overload();
  Run.First_Overload();
  EXPECT_LE(Run_Logs(Run.Output_Dir).size(), 2u);
  std::vector<std::string> All = One;
  All.insert(All.end(), One.begin(), One.end());
  All.insert(All.end(), One.begin(), One.end());
  EXPECT_EQ(Run.Log(), All);
}

// ---- The corners -----------------------------------------------------------------------------

// A flat board of 7 by 5 corners, 1440 wide, with noise that the search cannot see: it runs at half
// the size, where every block of two by two pixels is one pixel, and the noise does not change the
// sum of a block. The refinement on the full image hardly converges.
cv::Mat Board_Under_Hidden_Noise(unsigned Seed) {
  cv::Mat Image(1080, 1440, CV_8UC1, cv::Scalar(150));
  constexpr int Square = 120;
  for (int r = 0; r < 6; ++r) {
    for (int c = 0; c < 8; ++c) {
      const cv::Rect Place(240 + c * Square, 180 + r * Square, Square, Square);
      if ((r + c) % 2 == 0) cv::rectangle(Image, Place, cv::Scalar(105), cv::FILLED);
    }
  }
  cv::GaussianBlur(Image, Image, cv::Size(0, 0), 2.0);
  std::mt19937 Engine(Seed);
  const auto Between_60 = [&Engine] { return static_cast<int>(Engine() % 121u) - 60; };
  for (int y = 0; y < Image.rows; y += 2) {
    for (int x = 0; x < Image.cols; x += 2) {
      const int Falling = Between_60();
      const int Rising = Between_60();
      const auto Add = [&Image](int Row, int Col, int Noise) {
        uchar& Pixel = Image.at<uchar>(Row, Col);
        Pixel = static_cast<uchar>(Pixel + Noise);
      };
      Add(y, x, Falling);
      Add(y + 1, x + 1, -Falling);
      Add(y, x + 1, Rising);
      Add(y + 1, x, -Rising);
    }
  }
  return Image;
}

std::vector<cv::Point2f> Searched_Corners(const cv::Mat& Image) {
  cv::Mat Colour, Reduced, Reduced_Grey;
  cv::cvtColor(Image, Colour, cv::COLOR_GRAY2BGR);
  cv::resize(Colour, Reduced, cv::Size(720, 540), 0.0, 0.0, cv::INTER_LINEAR);
  cv::cvtColor(Reduced, Reduced_Grey, cv::COLOR_BGR2GRAY);
  std::vector<cv::Point2f> Corners;
  if (!cv::findChessboardCorners(Reduced_Grey, cv::Size(7, 5), Corners, 11)) return {};
  for (cv::Point2f& Corner : Corners) Corner *= 2.0f;
  return Corners;
}

// As the run log shows them.
std::vector<std::string> Refined(const cv::Mat& Image, std::vector<cv::Point2f> Corners,
                                 const cv::TermCriteria& Until) {
  cv::cornerSubPix(Image, Corners, cv::Size(6, 6), cv::Size(-1, -1), Until);
  std::vector<std::string> Lines;
  for (const cv::Point2f& Corner : Corners) {
    Lines.push_back(std::to_string(Corner.x) + " " + std::to_string(Corner.y));
  }
  return Lines;
}

TEST(CalibrationDriver, RefinesCornersFor30StepsOrDownToATenthOfAPixel) {
  // Of the first seeds, one whose corners differ after 29, 30 and 31 steps, and when they may move
  // a little more or less in the last step.
  cv::Mat Image;
  std::vector<std::string> Expected;
  for (unsigned Seed = 1; Seed <= 40 && Expected.empty(); ++Seed) {
    Image = Board_Under_Hidden_Noise(Seed);
    const std::vector<cv::Point2f> Searched = Searched_Corners(Image);
    if (Searched.empty()) continue;
    const std::vector<std::string> Usual = Refined(Image, Searched, cv::TermCriteria(3, 30, 0.1));
    bool All_Differ = true;
    for (const auto& [Steps, Pixels] :
         {std::pair(29, 0.1), {31, 0.1}, {30, 0.11}, {30, 0.09}, {30, 0.0}}) {
      const cv::TermCriteria Other(3, Steps, Pixels);
      All_Differ = All_Differ && Refined(Image, Searched, Other) != Usual;
    }
    if (All_Differ) Expected = Usual;
  }
  ASSERT_EQ(Expected.size(), 35u);

  // Twelve times the same photograph is enough for the corners to be logged. Whether the lens solve
  // succeeds does not matter.
  Calibration_Run Run;
  Run.Board_Cols = 7;
  Run.Board_Rows = 5;
  const std::string Path = (Run.Folder->Path() / "noise.png").string();
  ASSERT_TRUE(cv::imwrite(Path, Image));
  std::string Table;
  for (int i = 0; i < 12; ++i) Table += "0," + Path + ",0,0,0,1,0,0,0,0,0,0,1,0,0,0\n";
  Run.Csv_Path = Run.Folder->Write("twelve.csv", Table);
  Run.First_Overload();
  const std::vector<std::string> Log = Run.Log();
  const auto Start = std::find(Log.begin(), Log.end(), "RAW DATA START");
  ASSERT_GT(Log.end() - Start, 3 + 35);
  EXPECT_EQ(Start[1], Path);
  EXPECT_EQ(std::vector<std::string>(Start + 3, Start + 3 + 35), Expected);
}

// ---- The lens --------------------------------------------------------------------------------

TEST(CalibrationDriver, DeliversTheLensAsFractionsOfTheImageAndLogsIt) {
  const Lens& Solved = Good_Lens();
  ASSERT_EQ(Solved.Code, 0);
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  ASSERT_EQ(Run.First_Overload(), 0);
  EXPECT_THAT(Run.Image_Size, ElementsAre(640.0, 480.0));
  EXPECT_THAT(Run.Norm_Fxy, ElementsAre(Solved.Fx() / 640.0, Solved.Fy() / 480.0));
  EXPECT_THAT(Run.Norm_Cxy, ElementsAre(Solved.Cx() / 640.0, Solved.Cy() / 480.0));
  const double* K = Solved.Distortion.ptr<double>();
  EXPECT_THAT(Run.Distortion, ElementsAre(K[0], K[1], 0.0, 0.0, 0.0));
  EXPECT_THAT(
      Lines_Behind_The_Lens(Run.Log(), 6),
      ElementsAre(
          "Image Width : 640 pixel.", "Image Height : 480 pixel.",
          "Norm F : (" + Text(Solved.Fx() / 640.0) + ", " + Text(Solved.Fy() / 480.0) + ").",
          "Norm C : (" + Text(Solved.Cx() / 640.0) + ", " + Text(Solved.Cy() / 480.0) + ").",
          "Distortion (k1, k2, p1, p2, k3) : " + Text(K[0]) + ", " + Text(K[1]) +
              ", 0.000000, 0.000000, 0.000000",
          "Start OrganizeRT."));
}

TEST(CalibrationDriver, AppendsBehindOldValuesAndLogsThoseAtTheFront) {
  const Lens& Solved = Good_Lens();
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  Run.Fill_Before();
  Run.Norm_Fxy = {1.0, 1.7778};
  Run.Norm_Cxy = {0.25, 0.75};
  ASSERT_EQ(Run.Second_Overload(), 0);
  EXPECT_THAT(Run.Behind(Run.Image_Size), ElementsAre(640.0, 480.0));
  EXPECT_THAT(Run.Norm_Fxy, ElementsAre(1.0, 1.7778, Solved.Fx() / 640.0, Solved.Fy() / 480.0));
  EXPECT_THAT(Run.Norm_Cxy, ElementsAre(0.25, 0.75, Solved.Cx() / 640.0, Solved.Cy() / 480.0));
  EXPECT_EQ(Run.Behind(Run.Distortion).size(), 5u);
  EXPECT_EQ(Run.Behind(Run.Transform_Cam_Tc).size(), 16u);
  // Field of view from the old elements, focal length from the solve; the log shows old elements
  // but for the field of view and the coefficients.
  ASSERT_EQ(Run.Behind(Run.FoV).size(), 2u);
  EXPECT_THAT(Run.Behind(Run.Focal_Length_mm), ElementsAre(18.0 / 480.0 * Solved.Fy()));
  const double* K = Solved.Distortion.ptr<double>();
  // 2 atan(1/2) is 53.13010235 degrees; the single-precision factor is 1.17e-8 larger than
  // 180 / pi, which shows in the sixth decimal. 2 atan(1 / 3.5556) is 31.41673 degrees.
  EXPECT_THAT(Lines_Behind_The_Lens(Run.Log(), 9),
              ElementsAre("Image Width : 640 pixel.", "Image Height : 480 pixel.",
                          "Norm F : (1.000000, 1.777800).", "Norm C : (0.250000, 0.750000).",
                          "Distortion (k1, k2, p1, p2, k3) : " + Text(K[0]) + ", " + Text(K[1]) +
                              ", 0.000000, 0.000000, 0.000000",
                          "FoV_H : 53.130103 degree.", "FoV_V : " + Text(Run.FoV[2]) + " degree.",
                          "Focal length (mm) : -77.000000 mm.", "Start OrganizeRT."));
  EXPECT_NEAR(Run.FoV[2], 31.4, 0.05);
}

TEST(CalibrationDriver, AppendsFocalLengthsThenCentreThenSizeThenCoefficients) {
  // A host that passes one vector for all outputs sees the order.
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  Run.Chart_Euler_Deg.clear();  // ends the run after the lens
  std::vector<double> All;
  {
    const Quiet_Output Output;
    EXPECT_THROW(Calibration(Run.Csv_Path, 7, 6, 0.04, Run.Chart_Euler_Deg, Run.Chart_Translation,
                             All, All, All, All, All, Run.Output_Dir),
                 std::invalid_argument);
  }
  const Lens& Solved = Good_Lens();
  const double* K = Solved.Distortion.ptr<double>();
  EXPECT_THAT(All, ElementsAre(Solved.Fx() / 640.0, Solved.Fy() / 480.0, Solved.Cx() / 640.0,
                               Solved.Cy() / 480.0, 640.0, 480.0, K[0], K[1], 0.0, 0.0, 0.0));
}

TEST(CalibrationDriver, GivesTheFieldOfViewInDegreesByTheSinglePrecisionFactor) {
  // Computed in higher precision, with the factor's digits written out. A few last digits of a
  // double are 1e-14; 180 / pi would be wrong by 1e-8 of the angle.
  const auto Expected = [](double Norm) {
    return static_cast<double>(2.0L * std::atan2(0.5L, static_cast<long double>(Norm)) *
                               57.295780181884765625L);
  };
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  ASSERT_EQ(Run.Second_Overload(), 0);
  ASSERT_EQ(Run.FoV.size(), 2u);
  EXPECT_NEAR(Run.FoV[0], Expected(Run.Norm_Fxy[0]), 1e-13);
  EXPECT_NEAR(Run.FoV[1], Expected(Run.Norm_Fxy[1]), 1e-13);
  const std::vector<std::string> Lines = Lines_Behind_The_Lens(Run.Log(), 9);
  ASSERT_EQ(Lines.size(), 9u);
  EXPECT_EQ(Lines[5], "FoV_H : " + Text(Run.FoV[0]) + " degree.");
  EXPECT_EQ(Lines[6], "FoV_V : " + Text(Run.FoV[1]) + " degree.");
  EXPECT_EQ(Lines[7], "Focal length (mm) : " + Text(Run.Focal_Length_mm[0]) + " mm.");
  EXPECT_EQ(Lines[8], "Start OrganizeRT.");
}

TEST(CalibrationDriver, TakesTheFocalLengthOnTheAxisWithTheSmallerPitchAndYOnATie) {
  const Lens& Solved = Good_Lens();
  ASSERT_NE(Solved.Fx(), Solved.Fy());
  constexpr double Infinity = std::numeric_limits<double>::infinity();
  struct Case {
    double Width_mm, Height_mm, Focal_Length_mm;
  };
  const Case Cases[] = {
      {24.0, 18.0, 18.0 / 480.0 * Solved.Fy()},  // equal pitches
      {36.0, 18.0, 18.0 / 480.0 * Solved.Fy()},  // x pitch greater
      {24.0, 24.0, 24.0 / 640.0 * Solved.Fx()},  // y pitch greater
      {24.0, std::nextafter(18.0, 19.0), 24.0 / 640.0 * Solved.Fx()},
      {0.0, 0.0, 0.0},
      {0.0, 18.0, 0.0},
      {24.0, 0.0, 0.0},
      {-24.0, 18.0, -24.0 / 640.0 * Solved.Fx()},  // unchecked
      {Infinity, Infinity, Infinity},
  };
  for (const Case& Sensor : Cases) {
    SCOPED_TRACE(std::to_string(Sensor.Width_mm) + " x " + std::to_string(Sensor.Height_mm));
    Calibration_Run Run = Calibration_Run::Over_Good_Capture();
    Run.Chart_Euler_Deg.clear();  // ends the run after the lens
    Run.Sensor_Width_mm = Sensor.Width_mm;
    Run.Sensor_Height_mm = Sensor.Height_mm;
    EXPECT_THROW(Run.Second_Overload(), std::invalid_argument);
    EXPECT_THAT(Run.Focal_Length_mm, ElementsAre(Sensor.Focal_Length_mm));
    const std::vector<std::string> Lines = Lines_Behind_The_Lens(Run.Log(), 8);
    ASSERT_EQ(Lines.size(), 8u);
    EXPECT_EQ(Lines.back(), "Focal length (mm) : " + Text(Sensor.Focal_Length_mm) + " mm.");
  }
}

// ---- After the lens --------------------------------------------------------------------------

TEST(CalibrationDriver, ThrowsForAShortBoardEstimateWithTheLensDelivered) {
  struct Case {
    std::size_t Euler, Translation;
    const char* What;
  };
  const Case Cases[] = {{2, 3, "Chart_Euler_Deg needs 3 elements and has 2"},
                        {0, 0, "Chart_Euler_Deg needs 3 elements and has 0"},
                        {3, 2, "Chart_Translation needs 3 elements and has 2"}};
  for (const Case& Short : Cases) {
    SCOPED_TRACE(Short.What);
    Calibration_Run Run = Calibration_Run::Over_Good_Capture();
    Run.Chart_Euler_Deg.resize(Short.Euler);
    Run.Chart_Translation.resize(Short.Translation);
    Run.Fill_Before();
    try {
      Run.Second_Overload();
      ADD_FAILURE() << "no exception";
    } catch (const std::invalid_argument& Thrown) {
      EXPECT_STREQ(Thrown.what(), Short.What);
    }
    EXPECT_EQ(Run.Log().back(), "Start OrganizeRT.");
    EXPECT_EQ(Run.Behind(Run.Image_Size).size(), 2u);
    EXPECT_EQ(Run.Behind(Run.Norm_Fxy).size(), 2u);
    EXPECT_EQ(Run.Behind(Run.Norm_Cxy).size(), 2u);
    EXPECT_EQ(Run.Behind(Run.Distortion).size(), 5u);
    EXPECT_EQ(Run.Behind(Run.FoV).size(), 2u);
    EXPECT_EQ(Run.Behind(Run.Focal_Length_mm).size(), 1u);
    EXPECT_THAT(Run.Transform_Cam_Tc, ElementsAre(-77.0));
  }
}

// Writes the CSV of the good capture with other tracker samples to this folder. Write_Tables would
// refer to photographs in this folder, but they are in the folder of the good capture.
std::string Write_Other_Samples(const simulate::Plan& Plan, const Scratch_Folder& Folder) {
  simulate::Write_Tables(Plan, Folder.Path());
  std::string Table = Read_Text(Folder.Path() / "capture.csv");
  const std::string Here = Folder.String(), There = Good_Capture().Folder.String();
  for (std::size_t At = Table.find(Here); At != std::string::npos; At = Table.find(Here, At + 1)) {
    Table.replace(At, Here.size(), There);
  }
  return Folder.Write("other.csv", Table);
}

std::size_t Files_Starting(const std::string& Folder, const std::string& Start) {
  std::size_t Count = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
    if (Entry.path().filename().string().rfind(Start, 0) == 0) ++Count;
  }
  return Count;
}

TEST(CalibrationDriver, LeavesTheLensAndNoImageBehindWhenTheFilterEndsTheRun) {
  // Every row gets the camera sample of another row, so that hardly two rows agree on the mount.
  simulate::Plan Mixed = Good_Capture().Plan;
  for (std::size_t i = 0; i < Mixed.Images.size(); ++i) {
    Mixed.Images[i].Tc = Good_Capture().Plan.Images[(i * 5 + 1) % Mixed.Images.size()].Tc;
  }
  const Scratch_Folder Folder;
  Calibration_Run Run = Calibration_Run::Over_Good_Capture();
  Run.Csv_Path = Write_Other_Samples(Mixed, Folder);
  Run.Fill_Before();
  EXPECT_EQ(Run.First_Overload(), 13);
  EXPECT_EQ(Run.Log().back(), "Error code 13: Filtered data not enough (<5)");
  EXPECT_EQ(Run.Behind(Run.Image_Size).size(), 2u);
  EXPECT_EQ(Run.Behind(Run.Norm_Fxy).size(), 2u);
  EXPECT_EQ(Run.Behind(Run.Norm_Cxy).size(), 2u);
  EXPECT_EQ(Run.Behind(Run.Distortion).size(), 5u);
  EXPECT_THAT(Run.Transform_Cam_Tc, ElementsAre(-77.0));
  // The first pass computed its error without writing images.
  EXPECT_EQ(Files_Starting(Run.Output_Dir, "Reproject_"), 0u);
}

// The whole sequence by hand: the driver's lines, and every stage with the arguments it must get,
// as literal numbers. Returns the last code; Flat receives the transform.
int Run_By_Hand(const Calibration_Run& Run, const std::string& Log_Path,
                const std::string& Output_Dir, std::vector<double>& Flat) {
  const Quiet_Output Output;
  Write_Log(Log_Path, "Version : v0.0.9");
  Write_Log(Log_Path, "Camera Tracker Calibration start.");
  Write_Log(Log_Path, "CALIBRATION BOARD INDEX START");
  std::vector<cv::Point3f> Board_Index;
  Build_Board_Index(Log_Path, Board_Index, Run.Board_Cols, Run.Board_Rows, Run.Square_Size);
  Write_Log(Log_Path, "CALIBRATION BOARD INDEX END");
  Write_Log(Log_Path, "Start to read the csv file.");
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  EXPECT_EQ(Read_Raw_Data(Log_Path, Run.Csv_Path, Image_name, Raw_Data_all), 0);
  Write_Log(Log_Path, "Read the csv file successfully.");

  std::vector<std::vector<cv::Point3f>> Board_Index_all;
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  cv::TermCriteria Corner_Term(3, 30, 0.1);
  cv::Size Image_Size(0, 0);
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  double Camera_Rms = 0.0;
  EXPECT_EQ(Detect_Corner_And_Calibrate(Log_Path, Camera_Rms, Image_Size, Camera_Matrix, Distortion,
                                        Rvecs, Tvecs, Image_name, Raw_Data_all, Board_Index_all,
                                        Board_Index, ImageCoordinate, Run.Board_Cols,
                                        Run.Board_Rows, 11, Corner_Term, 1.5f, true),
            0);
  const double Fx = Camera_Matrix.at<double>(0, 0), Fy = Camera_Matrix.at<double>(1, 1);
  const double Cx = Camera_Matrix.at<double>(0, 2), Cy = Camera_Matrix.at<double>(1, 2);
  const double* K = Distortion.ptr<double>();
  Write_Log(Log_Path, "Image Width : 640 pixel.");
  Write_Log(Log_Path, "Image Height : 480 pixel.");
  Write_Log(Log_Path, "Norm F : (" + Text(Fx / 640.0) + ", " + Text(Fy / 480.0) + ").");
  Write_Log(Log_Path, "Norm C : (" + Text(Cx / 640.0) + ", " + Text(Cy / 480.0) + ").");
  Write_Log(Log_Path, "Distortion (k1, k2, p1, p2, k3) : " + Text(K[0]) + ", " + Text(K[1]) + ", " +
                          Text(K[2]) + ", " + Text(K[3]) + ", " + Text(K[4]));

  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all, Transform_Tr_Base_all,
      Transform_Cam_Chart_all, Transform_Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  Eigen::Matrix4d Transform_Chart_Tr, Mean_Transform_Chart_Tr;
  Eigen::Matrix4d Mean_Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  float Reproj_Error = 0.0f;
  Write_Log(Log_Path, "Start OrganizeRT.");
  EXPECT_EQ(OrganizeRT(Log_Path, Transform_Base_Tc_all, Transform_Tr_Base_all, Transform_Chart_Tr,
                       Transform_Cam_Chart_all, Rvecs, Tvecs, Run.Chart_Euler_Deg,
                       Run.Chart_Translation, Raw_Data_all),
            0);
  Write_Log(Log_Path, "Finish OrganizeRT.");
  Write_Log(Log_Path, "Start Calculate_Transform_Cam_Tc in first time.");
  EXPECT_EQ(Calculate_Transform_Cam_Tc(Log_Path, Mean_Transform_Cam_Tc, Transform_Cam_Tc_all,
                                       Quaternion_Cam_Tc_all, Translation_Cam_Tc_all,
                                       Transform_Cam_Chart_all, Transform_Chart_Tr,
                                       Transform_Tr_Base_all, Transform_Base_Tc_all),
            0);
  Write_Log(Log_Path, "Finish Calculate_Transform_Cam_Tc.");
  EXPECT_EQ(
      Cal_Reproj_Error(Log_Path, Reproj_Error, Board_Index, ImageCoordinate, Camera_Matrix,
                       Distortion, Mean_Transform_Cam_Tc, Transform_Base_Tc_all,
                       Transform_Tr_Base_all, Transform_Chart_Tr, Image_name, false, Output_Dir),
      0);
  EXPECT_EQ(RT_Filt_Outlier(Log_Path, Transform_Cam_Tc_all, Mean_Transform_Cam_Tc, ImageCoordinate,
                            Image_name, Transform_Tr_Base_all, Transform_Base_Tc_all,
                            Transform_Cam_Chart_all),
            0);
  // With the mean of the first pass, from before the filter.
  EXPECT_EQ(Calculate_Transform_Chart_Tr(Log_Path, Mean_Transform_Chart_Tr, Transform_Cam_Chart_all,
                                         Mean_Transform_Cam_Tc, Transform_Base_Tc_all,
                                         Transform_Tr_Base_all),
            0);
  EXPECT_EQ(Calculate_Transform_Cam_Tc(Log_Path, Mean_Transform_Cam_Tc, Transform_Cam_Tc_all,
                                       Quaternion_Cam_Tc_all, Translation_Cam_Tc_all,
                                       Transform_Cam_Chart_all, Mean_Transform_Chart_Tr,
                                       Transform_Tr_Base_all, Transform_Base_Tc_all),
            0);
  EXPECT_EQ(Cal_Reproj_Error(Log_Path, Reproj_Error, Board_Index, ImageCoordinate, Camera_Matrix,
                             Distortion, Mean_Transform_Cam_Tc, Transform_Base_Tc_all,
                             Transform_Tr_Base_all, Mean_Transform_Chart_Tr, Image_name, true,
                             Output_Dir),
            0);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Flat.push_back(Mean_Transform_Cam_Tc(r, c));
  }
  const int Code = Evaluate_Result(Log_Path, Reproj_Error / 480.0f, 0.011111111f, 0.016666668f,
                                   Mean_Transform_Cam_Tc, Translation_Cam_Tc_all, 0.01f, 0.015f);
  if (Code == 0) Write_Log(Log_Path, "Camera and Tracker Calibration successful.");
  return Code;
}

TEST(CalibrationDriver, GivesTheResultLogAndImagesThatTheStagesGiveInThisOrder) {
  // Tracker noise and a board estimate that is a little off, so that first and second pass, host's
  // and solved board, and the lists before and after the filter all differ.
  simulate::Options Options = Capture_Options();
  Options.Image_Count = 15;
  Options.Position_Noise_Mm = 1.0;
  Options.Rotation_Noise_Deg = 0.05;
  Options.Estimate_Error_Deg = 0.1;
  Options.Estimate_Error_Mm = 2.0;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const Scratch_Folder Folder;
  simulate::Write_Capture(Plan, Folder.Path());
  Calibration_Run Run;
  Run.Csv_Path = (Folder.Path() / "capture.csv").string();
  Run.Chart_Euler_Deg = Three(Plan.Chart_Euler_Deg);
  Run.Chart_Translation = Three(Plan.Chart_Translation);

  const Scratch_Folder By_Hand;
  std::vector<double> Expected;
  const int Expected_Code =
      Run_By_Hand(Run, (By_Hand.Path() / "log").string(), By_Hand.String(), Expected);
  EXPECT_EQ(Run.First_Overload(), Expected_Code);
  EXPECT_EQ(Run.Code, 0);
  EXPECT_EQ(Run.Transform_Cam_Tc, Expected);
  EXPECT_EQ(Run.Log(), Read_Log_File(By_Hand.Path() / "log"));
  EXPECT_EQ(Messages(Run.Shown), Run.Log());
  EXPECT_GE(Files_Starting(By_Hand.String(), "Reproject_"), 5u);
  EXPECT_LT(Files_Starting(By_Hand.String(), "Reproject_"), 15u);
  EXPECT_EQ(Files_Starting(Run.Output_Dir, "Reproject_"),
            Files_Starting(By_Hand.String(), "Reproject_"));

  const std::vector<std::string> Log = Run.Log();
  EXPECT_EQ(std::count(Log.begin(), Log.end(), "Finish Calculate_Transform_Cam_Tc."), 1);
  EXPECT_EQ(std::count(Log.begin(), Log.end(), "Mean_Transform_Cam_Tc : "), 2);
  ASSERT_EQ(Run.Transform_Cam_Tc.size(), 16u);
  const std::vector<double> Last_Row(Run.Transform_Cam_Tc.begin() + 12, Run.Transform_Cam_Tc.end());
  EXPECT_THAT(Last_Row, ElementsAre(0.0, 0.0, 0.0, 1.0));
}

TEST(CalibrationDriver, JudgesByItsFourLimitsAndDeliversBeforeItJudges) {
  // The camera's positions are moved by fixed amounts, at most so many millimetres on each axis.
  // The log of a verdict shows the limit that was passed.
  struct Case {
    double Reach_Mm;
    int Code;
    const char* Start;
    const char* End;
  };
  const Case Cases[] = {
      {12.0, 99, "Recalibration recommended. ( Reprojection error ", " > 0.011111 )"},
      {15.0, 14, "Reprojection error too large. ( ", " > 0.016667 )"},
      {20.0, 99, "Recalibration recommended. ( T_STD ", " > 0.010000 )"},
      {30.0, 6, "T_STD too large. ( ", " > 0.015000 )"},
  };
  for (const Case& Judged : Cases) {
    SCOPED_TRACE(Judged.Reach_Mm);
    simulate::Plan Noisy = Good_Capture().Plan;
    std::mt19937 Engine(7);
    for (simulate::Image_Truth& Image : Noisy.Images) {
      for (int r = 0; r < 3; ++r) {
        const double Fraction = static_cast<double>(Engine()) / 4294967296.0 * 2.0 - 1.0;
        Image.Tc.Position(r) += Judged.Reach_Mm * 0.001 * Fraction;
      }
    }
    const Scratch_Folder Folder, By_Hand;
    Calibration_Run Run = Calibration_Run::Over_Good_Capture();
    Run.Csv_Path = Write_Other_Samples(Noisy, Folder);
    std::vector<double> Expected;
    EXPECT_EQ(Run_By_Hand(Run, (By_Hand.Path() / "log").string(), By_Hand.String(), Expected),
              Judged.Code);
    EXPECT_EQ(Run.First_Overload(), Judged.Code);
    EXPECT_EQ(Run.Transform_Cam_Tc, Expected);
    const std::vector<std::string> Log = Run.Log();
    EXPECT_EQ(Log, Read_Log_File(By_Hand.Path() / "log"));
    ASSERT_GE(Log.size(), 2u);
    EXPECT_THAT(Log[Log.size() - 2], testing::StartsWith(Judged.Start));
    EXPECT_THAT(Log[Log.size() - 2], testing::EndsWith(Judged.End));
  }
}

TEST(CalibrationDriver, GivesTheSameTransformFromBothOverloads) {
  Calibration_Run First = Calibration_Run::Over_Good_Capture();
  Calibration_Run Second = Calibration_Run::Over_Good_Capture();
  EXPECT_EQ(First.First_Overload(), 0);
  EXPECT_EQ(Second.Second_Overload(), 0);
  EXPECT_EQ(First.Transform_Cam_Tc.size(), 16u);
  EXPECT_EQ(Second.Transform_Cam_Tc, First.Transform_Cam_Tc);
  EXPECT_THAT(First.FoV, IsEmpty());
}

}  // namespace
