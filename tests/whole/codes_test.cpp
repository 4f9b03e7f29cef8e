// SPDX-License-Identifier: Apache-2.0
//
// Each result code of Calibration, with a capture that causes it, and the content of the host's
// vectors and folders afterwards.
#include "tests/support/run_log_reader.h"
#include "tests/support/synthetic_rig.h"
#include "tests/whole/whole_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::Not;

constexpr const char* Success_Line = "Camera and Tracker Calibration successful.";

// The required accuracy of a run without tracker noise.
constexpr double Truth_Tolerance_mm = 1.0;
constexpr double Truth_Tolerance_Deg = 0.1;

std::size_t Reprojection_Images(const std::string& Folder) {
  std::size_t Count = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
    if (Entry.path().filename().string().rfind("Reproject_", 0) == 0) ++Count;
  }
  return Count;
}

// The number of images that the filter kept, from the log.
std::size_t Images_Left(const std::vector<std::string>& Log) {
  const auto Sizes = Lines_Starting(Log, "Size list : (init) ");
  return Sizes.size() == 2 ? std::stoul(Sizes[1].substr(19)) : 0;
}

TEST(WholeRun, Returns0AndRecoversTheMountAndTheLensOfACaptureWithoutNoise) {
  const Scratch_Folder Folder;
  const simulate::Plan Plan = simulate::Make_Plan(Small_Capture());
  simulate::Write_Capture(Plan, Folder.Path());
  const Run_Input Input = Describe(Plan, Folder);
  const Run_Output Output = Run_First_Overload(Input);

  ASSERT_EQ(Output.Code, 0);
  Expect_All_Filled(Output);
  const Eigen::Matrix4d Solved = As_Pose(Output.Transform_Cam_Tc);
  EXPECT_LE(Millimetres_Apart(Solved, Plan.Transform_Cam_Tc), Truth_Tolerance_mm);
  EXPECT_LE(Degrees_Apart(Solved, Plan.Transform_Cam_Tc), Truth_Tolerance_Deg);
  EXPECT_THAT(Output.Image_Size, ElementsAre(960.0, 540.0));
  // 14 boards of 88 corners, each found to about 0.05 pixels, give the focal length to half a pixel
  // of a thousand, the principal point to below 2 pixels.
  EXPECT_NEAR(Output.Norm_Fxy[0], Plan.True_Lens.Fx / 960.0, 0.0005 * Output.Norm_Fxy[0]);
  EXPECT_NEAR(Output.Norm_Fxy[1], Plan.True_Lens.Fy / 540.0, 0.0005 * Output.Norm_Fxy[1]);
  EXPECT_NEAR(Output.Norm_Cxy[0], Plan.True_Lens.Cx / 960.0, 2.0 / 960.0);
  EXPECT_NEAR(Output.Norm_Cxy[1], Plan.True_Lens.Cy / 540.0, 2.0 / 540.0);
  EXPECT_NEAR(Output.Distortion[0], Plan.True_Lens.K1, 0.005);
  EXPECT_EQ(Output.Distortion[2], 0.0);
  EXPECT_EQ(Output.Distortion[3], 0.0);
  EXPECT_EQ(Output.Distortion[4], 0.0);
  EXPECT_EQ(Output.Log.back(), Success_Line);
  EXPECT_GE(Images_Left(Output.Log), 5u);
  EXPECT_EQ(Reprojection_Images(Input.Output_Dir), Images_Left(Output.Log));
}

TEST(WholeRun, RecoversOtherMountsAndASlightlyWrongBoardEstimateToo) {
  // The second pass re-estimates the board's mount from the first pass's mean, so an error of the
  // host's estimate affects the result almost fully. Here the estimate is correct, and other mounts
  // show that the agreement does not depend on one pair of poses.
  for (const unsigned Seed : {2u, 3u}) {
    SCOPED_TRACE(Seed);
    const Scratch_Folder Folder;
    simulate::Options Options = Small_Capture();
    Options.Seed = Seed;
    Options.Camera_Mount_Euler_Deg =
        Seed == 2u ? Eigen::Vector3d(-60.0, 15.0, 40.0) : Eigen::Vector3d(20.0, 70.0, -30.0);
    Options.Camera_Mount_Offset = {-0.2, 0.11, 0.07};
    Options.Board_Mount_Euler_Deg = {-75.0, 130.0, 33.0};
    Options.Board_Mount_Offset = {0.4, -0.3, 0.2};
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    simulate::Write_Capture(Plan, Folder.Path());
    const Run_Output Output = Run_First_Overload(Describe(Plan, Folder));
    ASSERT_EQ(Output.Code, 0);
    const Eigen::Matrix4d Solved = As_Pose(Output.Transform_Cam_Tc);
    EXPECT_LE(Millimetres_Apart(Solved, Plan.Transform_Cam_Tc), Truth_Tolerance_mm);
    EXPECT_LE(Degrees_Apart(Solved, Plan.Transform_Cam_Tc), Truth_Tolerance_Deg);
  }
}

TEST(WholeRun, GivesTheSameBitsInBothOverloadsAndTheLensInTwoFurtherFormsInTheSecond) {
  const Scratch_Folder Folder;
  const Run_Input Input = Write_And_Describe(Small_Capture(), Folder);
  const Run_Output First = Run_First_Overload(Input);
  const Run_Output Second = Run_Second_Overload(Input);

  ASSERT_EQ(First.Code, 0);
  ASSERT_EQ(Second.Code, 0);
  EXPECT_EQ(First.Image_Size, Second.Image_Size);
  EXPECT_EQ(First.Norm_Fxy, Second.Norm_Fxy);
  EXPECT_EQ(First.Norm_Cxy, Second.Norm_Cxy);
  EXPECT_EQ(First.Distortion, Second.Distortion);
  EXPECT_EQ(First.Transform_Cam_Tc, Second.Transform_Cam_Tc);

  // The log is that of the first overload plus three lines after the distortion line.
  std::vector<std::string> Expected = First.Log;
  const auto Distortion_Line =
      std::find_if(Expected.begin(), Expected.end(), [](const std::string& Line) {
        return Line.rfind("Distortion (k1, k2, p1, p2, k3) : ", 0) == 0;
      });
  ASSERT_NE(Distortion_Line, Expected.end());
  ASSERT_EQ(Second.FoV.size(), 2u);
  ASSERT_EQ(Second.Focal_Length_mm.size(), 1u);
  const std::string Lines[] = {
      "FoV_H : " + std::to_string(Second.FoV[0]) + " degree.",
      "FoV_V : " + std::to_string(Second.FoV[1]) + " degree.",
      "Focal length (mm) : " + std::to_string(Second.Focal_Length_mm[0]) + " mm."};
  Expected.insert(Distortion_Line + 1, std::begin(Lines), std::end(Lines));
  EXPECT_EQ(Second.Log, Expected);

  // The library's factor makes angles too large by a fraction of 1.2e-8.
  EXPECT_NEAR(Second.FoV[0], 2.0 * std::atan(0.5 / First.Norm_Fxy[0]) * 180.0 / Pi, 1e-6);
  EXPECT_NEAR(Second.FoV[1], 2.0 * std::atan(0.5 / First.Norm_Fxy[1]) * 180.0 / Pi, 1e-6);
  // Square pixels on a sensor of the image's shape: both axes see nearly the same focal length.
  EXPECT_NEAR(Second.Focal_Length_mm[0], 23.76 * First.Norm_Fxy[0],
              1e-4 * Second.Focal_Length_mm[0]);
}

TEST(WholeRun, Returns1AndFillsNothingWhenTheCsvIsMissing) {
  const Scratch_Folder Folder;
  Run_Input Input = Describe(simulate::Make_Plan(Small_Capture()), Folder);
  for (const bool Second : {false, true}) {
    const Run_Output Output = Second ? Run_Second_Overload(Input) : Run_First_Overload(Input);
    EXPECT_EQ(Output.Code, 1);
    EXPECT_EQ(Output.Log.back(), "Error code 1 : The raw data csv file path is wrong.");
    Expect_No_Vector_Filled(Output);
    // Calls of one second share a file.
    if (!Second) Expect_Logs_Follow_Grammar("calibration", Input.Output_Dir);
  }
}

TEST(WholeRun, Returns4With11UsableImagesAnd0With12) {
  for (const int Usable : {11, 12}) {
    SCOPED_TRACE(Usable);
    const Scratch_Folder Folder;
    simulate::Options Options = Small_Capture();
    Options.Image_Count = 20;
    Options.Missing_Count = 4;
    Options.Blank_Count = 20 - Usable - 4;
    const Run_Output Output = Run_First_Overload(Write_And_Describe(Options, Folder));
    EXPECT_EQ(Lines_Starting(Output.Log, "Process : ").size(), 20u);
    const auto Lost = std::count_if(Output.Log.begin(), Output.Log.end(), [](const auto& Line) {
      return Line.size() > 11 && Line.compare(Line.size() - 11, 11, " Not exist!") == 0;
    });
    EXPECT_EQ(Lost, 4);
    EXPECT_EQ(Lines_Starting(Output.Log, "Read ").size(),
              static_cast<std::size_t>(20 - Usable - 4) + 1u);  // and the line about the CSV
    if (Usable == 11) {
      EXPECT_EQ(Output.Code, 4);
      Expect_No_Vector_Filled(Output);
      const std::vector<std::string> End(Output.Log.end() - 2, Output.Log.end());
      EXPECT_THAT(End, ElementsAre("The amount of useful data is too small. (< 12 )",
                                   "Error code 4: Amount of valid images < 12."));
    } else {
      EXPECT_EQ(Output.Code, 0);
      Expect_All_Filled(Output);
    }
    Expect_Logs_Follow_Grammar("calibration", Folder.Path() / "output");
  }
}

// Two captures in one. The pixels of the second are twice as high as wide, which no board pose can
// compensate.
TEST(WholeRun, Returns5WhenNoLensFitsTheImages) {
  const Scratch_Folder Folder, Other;
  simulate::Options Options = Small_Capture();
  const Run_Input Input = Write_And_Describe(Options, Folder);
  Options.Norm_Fy = Options.Norm_Fx * Options.Width / Options.Height * 2.0;
  Options.Seed = 9;
  const Run_Input Second = Write_And_Describe(Options, Other);
  Folder.Write("capture.csv", Read_Text(Input.Csv_Path) + Read_Text(Second.Csv_Path));

  const Run_Output Output = Run_First_Overload(Input);
  ASSERT_EQ(Output.Code, 5);
  Expect_No_Vector_Filled(Output);
  const std::vector<std::string> End(Output.Log.end() - 2, Output.Log.end());
  EXPECT_THAT(
      End, ElementsAre(
               " Camera calibration failed, reporjection too large. (> 1.500000 pixel)",
               "Error code 5: Camera calibration failed, reporjection too large. (> 1.5 pixel)"));
  // The rejected solve is logged as well.
  for (const char* Start : {"Fx : ", "Fy : ", "Cx : ", "Cy : ", "reprojection error : "}) {
    EXPECT_EQ(Lines_Starting(Output.Log, Start).size(), 1u) << Start;
  }
  Expect_Logs_Follow_Grammar("calibration", Input.Output_Dir);
}

// Position noise only, so that the rotation limit of the filter has no effect. It affects
// Transform_Cam_Tc through both trackers, at full size on every axis; the filter then removes its
// tails.
Run_Output Run_With_Position_Noise(double Noise_Mm, const Scratch_Folder& Folder) {
  simulate::Options Options = Small_Capture();
  Options.Position_Noise_Mm = Noise_Mm;
  return Run_First_Overload(Write_And_Describe(Options, Folder));
}

// The largest of the three T_STD values, which the verdict is based on.
double Max_T_STD(const Run_Output& Output) {
  const auto Lines = Lines_Starting(Output.Log, "Max T_STD : ");
  return Lines.size() == 1 ? std::stod(Lines[0].substr(12)) : -1.0;
}

double Norm_Reprojection_Error(const Run_Output& Output) {
  const auto Lines = Lines_Starting(Output.Log, "Norm Reprojection error : ");
  return Lines.size() == 1 ? std::stod(Lines[0].substr(26)) : -1.0;
}

// The run ended with a code other than 0 and its error line, but the host still has the result: all
// vectors, and a reprojection image for each image that the filter kept.
void Expect_Result_Despite_Code(const Run_Output& Output, const Scratch_Folder& Folder,
                                const std::string& Error_Line) {
  const std::filesystem::path Output_Dir = Folder.Path() / "output";
  Expect_All_Filled(Output);
  Expect_Logs_Follow_Grammar("calibration", Output_Dir);
  EXPECT_EQ(Output.Log.back(), Error_Line);
  EXPECT_THAT(Output.Log, Not(testing::Contains(Success_Line)));
  EXPECT_EQ(Reprojection_Images(Output_Dir.string()), Images_Left(Output.Log));
}

TEST(WholeRun, Returns6AndStillDeliversWhenTheTranslationsScatterTooMuch) {
  const Scratch_Folder Folder;
  const Run_Output Output = Run_With_Position_Noise(30.0, Folder);
  ASSERT_EQ(Output.Code, 6);
  EXPECT_GT(Max_T_STD(Output), 0.015);
  Expect_Result_Despite_Code(
      Output, Folder,
      "Error code 6: Camera tracker calibration failed, Translation STD too large. (> 1.5cm)");
}

TEST(WholeRun, Returns99AndStillDeliversForASpreadBetweenTheLimits) {
  const Scratch_Folder Folder;
  const Run_Output Output = Run_With_Position_Noise(13.0, Folder);
  ASSERT_EQ(Output.Code, 99);
  EXPECT_GT(Max_T_STD(Output), 0.01);
  EXPECT_LE(Max_T_STD(Output), 0.015);
  Expect_Result_Despite_Code(Output, Folder, "Error code 99: Recalibration is recommended.");
}

// A small board close to the camera: a few millimetres of tracker noise are many pixels while the
// translations scatter little.
simulate::Options Small_Board(double Noise_Mm) {
  simulate::Options Options = Small_Capture();
  Options.Square_Size = 0.01;
  Options.Position_Noise_Mm = Noise_Mm;
  return Options;
}

TEST(WholeRun, Returns14AndStillDeliversWhenTheReprojectionIsTooFarOff) {
  const Scratch_Folder Folder;
  const Run_Output Output = Run_First_Overload(Write_And_Describe(Small_Board(6.0), Folder));
  ASSERT_EQ(Output.Code, 14);
  EXPECT_LE(Max_T_STD(Output), 0.01);
  EXPECT_GT(Norm_Reprojection_Error(Output), 18.0 / 1080.0);
  Expect_Result_Despite_Code(Output, Folder,
                             "Error code 14: Reprojection error too large (>18 pixel in 1080p)");
}

TEST(WholeRun, Returns99ForAReprojectionErrorBetweenTheLimits) {
  const Scratch_Folder Folder;
  const Run_Output Output = Run_First_Overload(Write_And_Describe(Small_Board(2.6), Folder));
  ASSERT_EQ(Output.Code, 99);
  EXPECT_LE(Max_T_STD(Output), 0.01);
  EXPECT_GT(Norm_Reprojection_Error(Output), 12.0 / 1080.0);
  EXPECT_LE(Norm_Reprojection_Error(Output), 18.0 / 1080.0);
  EXPECT_EQ(Lines_Starting(Output.Log, "Recalibration recommended. ( Reprojection error ").size(),
            1u);
  Expect_All_Filled(Output);
  Expect_Logs_Follow_Grammar("calibration", Folder.Path() / "output");
}

TEST(WholeRun, Returns13WithTheLensWhenTooFewImagesWouldRemain) {
  const Scratch_Folder Folder;
  simulate::Options Options = Small_Capture();
  Options.Rotation_Noise_Deg = 3.0;
  for (const bool Second : {false, true}) {
    const Run_Input Input = Write_And_Describe(Options, Folder);
    const Run_Output Output = Second ? Run_Second_Overload(Input) : Run_First_Overload(Input);
    ASSERT_EQ(Output.Code, 13);
    Expect_Lens_Filled_Alone(Output);
    EXPECT_EQ(Output.FoV.size(), Second ? 2u : 0u);
    EXPECT_EQ(Output.Focal_Length_mm.size(), Second ? 1u : 0u);
    EXPECT_EQ(Output.Log.back(), "Error code 13: Filtered data not enough (<5)");
    EXPECT_TRUE(Lines_Starting(Output.Log, "Remove index : ").empty());
    EXPECT_EQ(Reprojection_Images(Input.Output_Dir), 0u);
    if (!Second) Expect_Logs_Follow_Grammar("calibration", Input.Output_Dir);
  }
}

TEST(WholeRun, DropsStaleAndJumpedSamplesAndStillRecoversTheMount) {
  const Scratch_Folder Folder;
  simulate::Options Options = Small_Capture();
  Options.Image_Count = 24;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  Options.Jump_Count = 1;
  Options.Jump_Mm = 25.0;
  Options.Jump_Deg = 1.5;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  simulate::Write_Capture(Plan, Folder.Path());
  const Run_Output Output = Run_First_Overload(Describe(Plan, Folder));
  ASSERT_EQ(Output.Code, 0);
  const auto Removed = Lines_Starting(Output.Log, "Remove name : ");
  for (const simulate::Image_Truth& Image : Plan.Images) {
    if (Image.Kind != simulate::Row_Kind::Jumped) continue;
    EXPECT_TRUE(std::any_of(Removed.begin(), Removed.end(), [&Image](const std::string& Line) {
      return Line.find(Image.Name) != std::string::npos;
    })) << Image.Name;
  }
  // One jumped sample in 24 moves the first pass's mean by a 24th of the jump, which carries over
  // to the board's re-estimated mount. There are also a few tenths of a millimetre of noise.
  EXPECT_LE(Millimetres_Apart(As_Pose(Output.Transform_Cam_Tc), Plan.Transform_Cam_Tc),
            2.0 * Options.Jump_Mm / 24.0 + 2.0);
}

TEST(WholeRun, WritesNoReprojectionImageForAPathWithForwardSlashesAndSaysNothing) {
  const Scratch_Folder Folder;
  simulate::Options Options = Small_Capture();
  Options.Paths = simulate::Path_Form::Absolute;
  const Run_Input Input = Write_And_Describe(Options, Folder);
  const Run_Output Output = Run_First_Overload(Input);
  EXPECT_EQ(Output.Code, 0);
  Expect_All_Filled(Output);
  // The prefix is followed by the whole path, whose folders do not exist; only the log is written.
  std::size_t Files = 0;
  for (const auto& Entry : std::filesystem::recursive_directory_iterator(Input.Output_Dir)) {
    EXPECT_EQ(Entry.path().filename().string().rfind("log_", 0), 0u) << Entry.path();
    ++Files;
  }
  EXPECT_GE(Files, 1u);
}

TEST(WholeRun, RunsToTheSameEndWithoutAnOutputFolder) {
  const Scratch_Folder Folder;
  Run_Input Input = Write_And_Describe(Small_Capture(), Folder);
  const Run_Output With = Run_First_Overload(Input);
  Input.Output_Dir = (Folder.Path() / "nowhere").string();
  const Run_Output Without = Run_First_Overload(Input);
  EXPECT_EQ(With.Code, 0);
  EXPECT_EQ(Without.Code, 0);
  EXPECT_EQ(Without.Log, With.Log);
  EXPECT_EQ(Without.Transform_Cam_Tc, With.Transform_Cam_Tc);
  EXPECT_FALSE(std::filesystem::exists(Input.Output_Dir));
}

TEST(WholeRun, LeavesTheFileAndStandardOutputWithTheSameLines) {
  const Scratch_Folder Folder;
  const Run_Input Input = Write_And_Describe(Small_Capture(), Folder);
  const Run_Output Output = Run_First_Overload(Input);
  ASSERT_EQ(Run_Logs(Input.Output_Dir).size(), 1u);
  EXPECT_EQ(Read_Run_Log(Input.Output_Dir), Output.Log);
}

}  // namespace
