// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/library_inputs.h"

#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Calibration_Result;
using rigsync::Capture_Row;

constexpr double Radians_In_Degree = 3.14159265358979323846 / 180.0;

// Solved: the camera's mount turned by this angle about y, the board 0.1 m along x.
Calibration_Result Solved_Result(double Mount_Deg) {
  Calibration_Result Result;
  Result.Solved.emplace();
  rigsync::Joint_Solution& Joint = Result.Solved->Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc.rotate(
      Eigen::AngleAxisd(Mount_Deg * Radians_In_Degree, Eigen::Vector3d::UnitY()));
  Joint.At.Transform_Tr_Chart.translation() = Eigen::Vector3d(0.1, 0, 0);
  return Result;
}

Capture_Row Row(const std::string& Image) {
  Capture_Row New;
  New.Image = Image;
  New.Camera = {{0.1, -2.5, 1e-7}, {0.5, 0.5, -0.5, 0.5}};
  New.Board = {{1.0 / 3.0, 0, 3}, {1, 0, 0, 0}};
  return New;
}

TEST(LibraryInputs, TheLibraryGetsTheSolvedPlace) {
  Calibration_Result Result = Solved_Result(60);
  Result.Inputs.Stated_Board = rigsync::Board_Place{{5, 6, 7}, {1, 2, 3}};
  rigsync::Choose_Library_Inputs(Result);
  EXPECT_EQ(Result.Library_Board.Offset, (std::array<double, 3>{0.1, 0, 0}));
  EXPECT_EQ(Result.Library_Board.Euler_Deg, (std::array<double, 3>{0, 0, 0}));
}

TEST(LibraryInputs, WithoutASolveItGetsTheStatedPlace) {
  for (const bool Is_Library_Only : {true, false}) {
    Calibration_Result Result = Solved_Result(0);
    Result.Inputs.Is_Library_Only = Is_Library_Only;
    if (!Is_Library_Only) Result.Solved->Joint.Status = rigsync::Solve_Status::No_Majority;
    Result.Inputs.Stated_Board = rigsync::Board_Place{{5, 6, 7}, {1, 2, 3}};
    rigsync::Choose_Library_Inputs(Result);
    EXPECT_EQ(Result.Library_Board.Euler_Deg, (std::array<double, 3>{5, 6, 7}));
    EXPECT_EQ(Result.Library_Board.Offset, (std::array<double, 3>{1, 2, 3}));
    EXPECT_FALSE(Result.Library_Axes.Is_Turned);
  }
}

TEST(LibraryInputs, AxesAreTurnedForAMountWithoutASteadyAxisOnly) {
  for (const auto& [Mount_Deg, Is_Turned] : {std::pair{0.0, true}, {180.0, true}, {60.0, false}}) {
    Calibration_Result Result = Solved_Result(Mount_Deg);
    rigsync::Choose_Library_Inputs(Result);
    EXPECT_EQ(Result.Library_Axes.Is_Turned, Is_Turned) << Mount_Deg;
    Result = Solved_Result(Mount_Deg);
    Result.Inputs.Keeps_Body_Axes = true;
    rigsync::Choose_Library_Inputs(Result);
    EXPECT_FALSE(Result.Library_Axes.Is_Turned) << Mount_Deg;
  }
}

// The same mount seen through samples with other axes: the sample's rotation takes Base's
// directions to the body's, so the turned sample is the turn times the sample, and positions stay.
TEST(LibraryInputs, TheTurnedCaptureHasTheSameRowsWithTheCamerasQuaternionsTurned) {
  Calibration_Result Result = Solved_Result(0);
  rigsync::Choose_Library_Inputs(Result);
  const Scratch_Folder Scratch;
  std::vector<Capture_Row> Rows = {Row("a b/1.png"), Row("\\2.png")};
  Rows[1].Camera.Position[0] = std::nan("");
  rigsync::Write_Turned_Capture(Scratch.Path() / "t.csv", Rows, Result.Library_Axes);
  const rigsync::Capture_File Back = rigsync::Read_Capture_File(Scratch.Path() / "t.csv");
  ASSERT_EQ(Back.Rows.size(), 2u);
  EXPECT_EQ(Back.Header_Count, 0u);
  // The rows are numbered where a capture has times.
  const std::string Text = Read_Text(Scratch.Path() / "t.csv");
  EXPECT_EQ(Text.substr(0, 12), "1,a b/1.png,");
  EXPECT_EQ(Text.substr(Text.find('\n') + 1, 9), "2,\\2.png,");
  EXPECT_TRUE(std::isnan(Back.Rows[1].Camera.Position[0]));
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(Back.Rows[i].Image, Rows[i].Image);
    EXPECT_EQ(Back.Rows[i].Board, Rows[i].Board);
    EXPECT_EQ(Back.Rows[i].Camera.Position[1], Rows[i].Camera.Position[1]);
    const auto& Q = Back.Rows[i].Camera.Quaternion;
    const Eigen::Quaterniond Turned(Q[0], Q[1], Q[2], Q[3]);
    const Eigen::Quaterniond Expected =
        Eigen::Quaterniond(Result.Library_Axes.Rotation_Chosen_Body) *
        Eigen::Quaterniond(0.5, 0.5, -0.5, 0.5);
    EXPECT_LT(Turned.angularDistance(Expected), 1e-12);
  }
}

TEST(LibraryInputs, NumbersOfTheTurnedCaptureAreTheSameToTheBit) {
  const Scratch_Folder Scratch;
  rigsync::Write_Turned_Capture(Scratch.Path() / "t.csv", {Row("1.png")}, {});
  const rigsync::Capture_File Back = rigsync::Read_Capture_File(Scratch.Path() / "t.csv");
  EXPECT_EQ(Back.Rows.at(0).Camera, Row("").Camera);
  EXPECT_EQ(Back.Rows.at(0).Board, Row("").Board);
}

TEST(LibraryInputs, WithoutATurnTheTransformStaysAsItIs) {
  Calibration_Result Result = Solved_Result(60);
  Result.Transform_Cam_Tc = std::vector<double>(16, 0.25);
  rigsync::Restore_Own_Axes(Result);
  EXPECT_EQ(Result.Transform_Cam_Tc, std::vector<double>(16, 0.25));
  Result.Transform_Cam_Tc.clear();
  Result.Library_Axes.Is_Turned = true;
  rigsync::Restore_Own_Axes(Result);
  EXPECT_TRUE(Result.Transform_Cam_Tc.empty());
}

}  // namespace
