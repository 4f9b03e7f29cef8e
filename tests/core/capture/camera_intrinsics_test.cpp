// SPDX-License-Identifier: Apache-2.0
//
// The lens part of the stage: compared with OpenCV's solve with the same numbers and with the true
// lens of the photographs; and the verdict.
#include "tests/core/capture/capture_stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using testing::ElementsAre;

// A focal length off by a fraction e moves the corners of a board tilted by 30 degrees at 0.4 m by
// about 30 e pixels against each other; corners lie within 0.1 pixels of the truth, so e is below
// 1 / 300 for one board, and of all boards together smaller by the root of their number: 0.5 pixels
// of 600. A principal point that is off tilts the boards to make up for it, with as little effect
// on the corners. Corners that all lie half a pixel off move it by as much.
constexpr double Lens_Tolerance = 0.5;

// The same freedom, for a board pose at 0.4 m: 1 / 300 of the distance, and as much of a radian.
constexpr double Pose_Tolerance_Metres = 0.4 / 300.0;
constexpr double Pose_Tolerance_Rad = 1.0 / 300.0;

struct Lens_Solve {
  double Camera_Rms = 0.0;
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
};

// OpenCV's solve, with all its outputs asked for and every number written out: flags 8 and 128 for
// no tangential terms and k3 fixed, 30 iterations, machine epsilon.
Lens_Solve Solve_With_OpenCv(const Capture_Stage& Stage) {
  Lens_Solve Solve;
  cv::Mat Intrinsic_Deviations, Extrinsic_Deviations, View_Errors;
  Solve.Camera_Rms = cv::calibrateCamera(
      Stage.Board_Index_all, Stage.ImageCoordinate, Stage.Image_Size, Solve.Camera_Matrix,
      Solve.Distortion, Solve.Rvecs, Solve.Tvecs, Intrinsic_Deviations, Extrinsic_Deviations,
      View_Errors, 136, cv::TermCriteria(3, 30, 2.220446049250313e-16));
  EXPECT_FALSE(View_Errors.empty());
  return Solve;
}

void Expect_The_Same_Solve(const Capture_Stage& Stage) {
  const Lens_Solve Expected = Solve_With_OpenCv(Stage);
  EXPECT_EQ(Stage.Camera_Rms, Expected.Camera_Rms);
  EXPECT_TRUE(Same_Bits(Stage.Camera_Matrix, Expected.Camera_Matrix));
  EXPECT_TRUE(Same_Bits(Stage.Distortion, Expected.Distortion));
  EXPECT_TRUE(Same_Bits(Stage.Rvecs, Expected.Rvecs));
  EXPECT_TRUE(Same_Bits(Stage.Tvecs, Expected.Tvecs));
}

// The lines after "RAW DATA END".
std::vector<std::string> Lens_Log(const Capture_Stage& Stage) {
  const std::vector<std::string> Log = Stage.Log();
  const auto End = std::find(Log.begin(), Log.end(), "RAW DATA END");
  if (End == Log.end()) return {};
  return {End + 1, Log.end()};
}

// 12 photographs by two cameras that differ in their vertical focal length: no single lens fits
// them.
struct Uneven_Photographs {
  Uneven_Photographs() {
    for (int i = 0; i < 12; ++i) {
      Pinhole Camera = Make_Pinhole(Good_Size);
      if (i % 2 == 1) Camera.Fy *= 0.75;
      Paths.push_back(
          Write_Image(Folder, std::to_string(i) + ".bmp", Draw_Board(Camera, Make_Pose(i))));
    }
  }
  Scratch_Folder Folder;
  std::vector<std::string> Paths;
};

TEST(CameraIntrinsics, SolvesToTheSameBitsAsOpenCvWithAllOutputsAskedFor) {
  Capture_Stage Stage(Good_Paths(12));
  ASSERT_EQ(Stage.Run(), 0);
  Expect_The_Same_Solve(Stage);
}

TEST(CameraIntrinsics, RecoversTheLensOfThePhotographs) {
  Capture_Stage Stage(Good_Paths(Good_Count));
  ASSERT_EQ(Stage.Run(), 0);
  const Pinhole True = Make_Pinhole(Good_Size);
  ASSERT_EQ(Stage.Camera_Matrix.size(), cv::Size(3, 3));
  ASSERT_EQ(Stage.Camera_Matrix.type(), CV_64F);
  EXPECT_NEAR(Stage.Camera_Matrix.at<double>(0, 0), True.Fx, Lens_Tolerance);
  EXPECT_NEAR(Stage.Camera_Matrix.at<double>(1, 1), True.Fy, Lens_Tolerance);
  EXPECT_NEAR(Stage.Camera_Matrix.at<double>(0, 2), True.Cx, Lens_Tolerance);
  EXPECT_NEAR(Stage.Camera_Matrix.at<double>(1, 2), True.Cy, Lens_Tolerance);
  // Corners lie within 0.1 pixels of the truth, which is one of the lenses that the solve may
  // choose from.
  EXPECT_GT(Stage.Camera_Rms, 0.0);
  EXPECT_LE(Stage.Camera_Rms, 0.1);
}

TEST(CameraIntrinsics, SolvesK1AndK2AndLeavesTheOthersAtExactly0) {
  Capture_Stage Stage(Good_Paths(12));
  ASSERT_EQ(Stage.Run(), 0);
  ASSERT_EQ(Stage.Distortion.total(), 5u);
  ASSERT_EQ(Stage.Distortion.type(), CV_64F);
  EXPECT_NE(Stage.Distortion.at<double>(0), 0.0);
  EXPECT_NE(Stage.Distortion.at<double>(1), 0.0);
  EXPECT_EQ(Stage.Distortion.at<double>(2), 0.0);
  EXPECT_EQ(Stage.Distortion.at<double>(3), 0.0);
  EXPECT_EQ(Stage.Distortion.at<double>(4), 0.0);
}

TEST(CameraIntrinsics, GivesOneBoardPoseARowForTheImagesThatAreLeft) {
  // Two images leave the lists, so that row i belongs to entry i of what is left.
  std::vector<std::string> Paths = Good_Paths(13);
  Paths[4] += ".missing";
  Paths.insert(Paths.begin(), Paths[0] + ".missing");
  Capture_Stage Stage(Paths);
  ASSERT_EQ(Stage.Run(), 0);
  ASSERT_EQ(Stage.Image_name.size(), 12u);
  for (const cv::Mat& Vectors : {Stage.Rvecs, Stage.Tvecs}) {
    EXPECT_EQ(Vectors.rows, 12);
    EXPECT_EQ(Vectors.cols, 1);
    EXPECT_EQ(Vectors.type(), CV_64FC3);
  }
  for (int i = 0; i < 12; ++i) {
    SCOPED_TRACE(i);
    const Board_Pose True = Make_Pose(i < 4 ? i : i + 1);
    EXPECT_LE(cv::norm(Stage.Tvecs.at<cv::Vec3d>(i) - True.Translation), Pose_Tolerance_Metres);
    cv::Matx33d Found_Rotation, True_Rotation;
    cv::Rodrigues(Stage.Rvecs.at<cv::Vec3d>(i), Found_Rotation);
    cv::Rodrigues(True.Rotation, True_Rotation);
    cv::Vec3d Difference;
    cv::Rodrigues(Found_Rotation * True_Rotation.t(), Difference);
    EXPECT_LE(cv::norm(Difference), Pose_Tolerance_Rad);
  }
}

TEST(CameraIntrinsics, LogsTheLensThenTheErrorThenTheSuccess) {
  Capture_Stage Stage(Good_Paths(12));
  ASSERT_EQ(Stage.Run(), 0);
  std::vector<std::string> Lines = Lens_Lines(Stage.Camera_Matrix, Stage.Camera_Rms);
  Lines.push_back("Camera calibration successful.");
  EXPECT_EQ(Lens_Log(Stage), Lines);
}

TEST(CameraIntrinsics, ReturnsCode5AndHoldsTheRejectedSolveWhenNoLensFits) {
  const Uneven_Photographs Uneven;
  Capture_Stage Stage(Uneven.Paths);
  EXPECT_EQ(Stage.Run(), 5);
  EXPECT_GT(Stage.Camera_Rms, 1.5);
  EXPECT_EQ(Stage.Image_name, Uneven.Paths);
  Expect_The_Same_Solve(Stage);
  std::vector<std::string> Lines = Lens_Lines(Stage.Camera_Matrix, Stage.Camera_Rms);
  Append(Lines, {" Camera calibration failed, reporjection too large. (> 1.500000 pixel)",
                 "Error code 5: Camera calibration failed, reporjection too large. (> 1.5 pixel)"});
  EXPECT_EQ(Lens_Log(Stage), Lines);
}

TEST(CameraIntrinsics, JudgesByTheLimitThatItIsGiven) {
  Capture_Stage Stage(Good_Paths(12));
  Stage.Camera_Rms_Limit = 0.001f;
  EXPECT_EQ(Stage.Run(), 5);
  const std::vector<std::string> Log = Stage.Log();
  ASSERT_GE(Log.size(), 2u);
  EXPECT_EQ(Log[Log.size() - 2],
            " Camera calibration failed, reporjection too large. (> 0.001000 pixel)");
  EXPECT_EQ(Log.back(),
            "Error code 5: Camera calibration failed, reporjection too large. (> 1.5 pixel)");
}

TEST(CameraIntrinsics, PassesAnErrorEqualToTheLimitAndFailsTheNextDoubleAbove) {
  // 0.1 isn't the same number in both widths: the limit is the wider float's value.
  const double Infinity = std::numeric_limits<double>::infinity();
  const double Wide = static_cast<double>(0.1f);
  struct Case {
    double Camera_Rms;
    float Limit;
    int Code;
  };
  const Case Cases[] = {{std::nextafter(1.5, 0.0), 1.5f, 0},
                        {1.5, 1.5f, 0},
                        {std::nextafter(1.5, 2.0), 1.5f, 5},
                        {0.1, 0.1f, 0},
                        {Wide, 0.1f, 0},
                        {std::nextafter(Wide, 1.0), 0.1f, 5},
                        {0.0, 1.5f, 0},
                        {Infinity, 1.5f, 5},
                        {std::nan(""), 1.5f, 0}};
  for (const Case& Judged : Cases) {
    SCOPED_TRACE(Judged.Camera_Rms);
    const Scratch_Folder Folder;
    const std::string Log_Path = (Folder.Path() / "log").string();
    const Quiet_Output Output;
    EXPECT_EQ(Judge_Camera_Rms(Log_Path, Judged.Camera_Rms, Judged.Limit), Judged.Code);
    if (Judged.Code == 0) {
      EXPECT_THAT(Read_Log_File(Log_Path), ElementsAre("Camera calibration successful."));
    } else {
      EXPECT_THAT(
          Read_Log_File(Log_Path),
          ElementsAre(
              " Camera calibration failed, reporjection too large. (> " +
                  std::string(Judged.Limit == 1.5f ? "1.500000" : "0.100000") + " pixel)",
              "Error code 5: Camera calibration failed, reporjection too large. (> 1.5 pixel)"));
    }
  }
}

TEST(CameraIntrinsics, LetsOpenCvThrowFromTheSolve) {
  // A board of one point where every image has 42 corners.
  Capture_Stage Stage(Good_Paths(12));
  Stage.Board_Index.resize(1);
  EXPECT_THROW(Stage.Run(), cv::Exception);
  EXPECT_THAT(Lens_Log(Stage), ElementsAre("Camera calibration start."));
  EXPECT_EQ(Stage.Camera_Rms, -1.0);
}

}  // namespace
