// SPDX-License-Identifier: Apache-2.0
//
// The 26 chessboard photographs that Debian ships with OpenCV's examples: 9 by 6 inner corners,
// 13 of a left and 13 of a right camera, 640 by 480. scripts/fetch-photographs puts them into the
// build tree; without them these tests are skipped.
#include "tests/support/synthetic_rig.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>
#include <Eigen/Geometry>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>

namespace {

constexpr int Cols = 9, Rows = 6;
constexpr double Square = 0.025;  // metres; the true size is unknown, and any value works

std::vector<std::string> Photographs(const std::string& Side) {
  std::vector<std::string> Paths;
  for (int i = 1; i <= 14; ++i) {
    if (i == 10) continue;  // the series has no number 10
    std::ostringstream Name;
    Name << Side << std::setw(2) << std::setfill('0') << i << ".jpg";
    Paths.push_back((std::filesystem::path(RIGSYNC_PHOTOGRAPHS) / Name.str()).string());
  }
  return Paths;
}

// The lens and the board poses by bare OpenCV calls.
struct Bare_Solve {
  double Rms = 0.0;
  cv::Mat Camera_Matrix, Distortion;
  std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all;
};

Bare_Solve Solve_Bare(const std::vector<std::string>& Paths) {
  std::vector<cv::Point3f> Board;
  for (int r = 0; r < Rows; ++r) {
    for (int c = 0; c < Cols; ++c) {
      Board.emplace_back(static_cast<float>(c * Square), static_cast<float>(r * Square), 0.0f);
    }
  }
  std::vector<std::vector<cv::Point2f>> Found_all;
  for (const std::string& Path : Paths) {
    const cv::Mat Image = cv::imread(Path, cv::IMREAD_COLOR);
    cv::Mat Grey;
    cv::cvtColor(Image, Grey, cv::COLOR_BGR2GRAY);
    std::vector<cv::Point2f> Found;
    if (!cv::findChessboardCorners(Grey, cv::Size(Cols, Rows), Found,
                                   cv::CALIB_CB_ADAPTIVE_THRESH | cv::CALIB_CB_NORMALIZE_IMAGE |
                                       cv::CALIB_CB_FAST_CHECK)) {
      throw std::runtime_error("no board in " + Path);
    }
    cv::cornerSubPix(Grey, Found, cv::Size(3, 3), cv::Size(-1, -1),
                     cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1));
    Found_all.push_back(Found);
  }
  Bare_Solve Solved;
  std::vector<cv::Mat> Rvecs, Tvecs;
  cv::Mat Intrinsic_Deviations, Extrinsic_Deviations, View_Errors;
  Solved.Rms = cv::calibrateCamera(
      std::vector<std::vector<cv::Point3f>>(Paths.size(), Board), Found_all, cv::Size(640, 480),
      Solved.Camera_Matrix, Solved.Distortion, Rvecs, Tvecs, Intrinsic_Deviations,
      Extrinsic_Deviations, View_Errors, cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K3,
      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                       std::numeric_limits<double>::epsilon()));
  for (std::size_t i = 0; i < Rvecs.size(); ++i) {
    cv::Mat Rotation;
    cv::Rodrigues(Rvecs[i], Rotation);
    Eigen::Matrix3d Block;
    cv::cv2eigen(Rotation, Block);
    Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
    Pose.topLeftCorner<3, 3>() = Block;
    for (int r = 0; r < 3; ++r) Pose(r, 3) = Tvecs[i].at<double>(r);
    Solved.Transform_Cam_Chart_all.push_back(Pose);
  }
  return Solved;
}

// The sample of a tracker whose relabelled axes have this pose in Base: the position, and the
// quaternion w, x, y, z that takes Base directions to the body's own axes (x = -x, y = -z, z = -y
// of the relabelled ones).
std::string Tracker_Fields(const Eigen::Matrix4d& Pose) {
  Eigen::Matrix3d Body;
  Body.col(0) = -Pose.block<3, 1>(0, 0);
  Body.col(1) = -Pose.block<3, 1>(0, 2);
  Body.col(2) = -Pose.block<3, 1>(0, 1);
  const Eigen::Quaterniond Q(Eigen::Matrix3d(Body.transpose()));
  std::ostringstream Fields;
  Fields << std::setprecision(17);
  for (int r = 0; r < 3; ++r) Fields << "," << Pose(r, 3);
  Fields << "," << Q.w() << "," << Q.x() << "," << Q.y() << "," << Q.z();
  return Fields.str();
}

// The results of OpenCV 4.6 on Debian 12 with the reference BLAS and LAPACK, from direct calls in a
// separate program. Other BLAS libraries change the last digits, by up to 3e-7 pixels.
struct Recorded_Lens {
  double Rms, Fx, Fy, Cx, Cy, K1, K2;
};
const std::map<std::string, Recorded_Lens> Recorded_Lenses = {
    {"left",
     {0.2452344242, 532.7516547661, 533.1572896711, 342.5549892714, 233.5194592892, -0.291347442217,
      0.104944718248}},
    {"right",
     {0.2592094865, 536.2152119953, 535.7309840611, 327.8103100379, 248.9085469144, -0.289533727805,
      0.105627554841}}};
constexpr double Between_Machines = 1e-6;  // pixels; the coefficients move less

class RealPhotographs : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(Photographs("left")[0])) {
      std::cerr << "\n*** SKIPPED: the real photographs aren't in " RIGSYNC_PHOTOGRAPHS
                   "; run scripts/fetch-photographs ***\n\n";
      GTEST_SKIP() << "no photographs";
    }
  }
};

TEST_P(RealPhotographs, GiveTheLensThatBareOpenCvCallsGiveAndTheMountThatTheRowsWereMadeFor) {
  const std::vector<std::string> Paths = Photographs(GetParam());
  const Bare_Solve Bare = Solve_Bare(Paths);

  // Rows for known mounts: the board's tracker has arbitrary poses, and the camera's tracker the
  // poses that close the chain.
  const Eigen::Matrix4d Transform_Cam_Tc =
      Make_Transform({0.6, -0.5, 0.4}, 48.0, {0.06, -0.14, -0.08});
  const Eigen::Matrix4d Transform_Tr_Chart =
      Make_Transform({1.0, 0.0, 0.0}, 30.0, {-0.1, 0.05, 0.02});
  const Scratch_Folder Folder;
  std::string Csv = "Time,Image\n";
  for (std::size_t i = 0; i < Paths.size(); ++i) {
    const double Step = static_cast<double>(i);
    const Eigen::Matrix4d Transform_Base_Tr =
        Make_Transform({0.3, 1.0, 0.2}, 11.0 * Step, {1.0, 0.1 * Step, 2.0});
    const Eigen::Matrix4d Transform_Base_Tc = Transform_Base_Tr * Transform_Tr_Chart *
                                              Bare.Transform_Cam_Chart_all[i].inverse() *
                                              Transform_Cam_Tc;
    // A backslash in the name, so that the annotated image lands in the output folder.
    const std::string Link =
        (Folder.Path() / ("photo\\" + std::filesystem::path(Paths[i]).filename().string()))
            .string();
    std::filesystem::copy_file(Paths[i], Link);
    Csv += std::to_string(i) + "," + Link + Tracker_Fields(Transform_Base_Tc) +
           Tracker_Fields(Transform_Base_Tr) + "\n";
  }
  Run_Input Input;
  Input.Csv_Path = Folder.Write("capture.csv", Csv);
  Input.Board_Cols = Cols;
  Input.Board_Rows = Rows;
  Input.Square_Size = Square;
  Input.Chart_Euler_Deg = {30.0, 0.0, 0.0};
  Input.Chart_Translation = {-0.1, 0.05, 0.02};
  Input.Output_Dir = Folder.String();
  const Run_Output Output = Run_First_Overload(Input);
  ASSERT_EQ(Output.Code, 0);

  // The same machine solves the same lens, to the bit.
  EXPECT_EQ(Output.Norm_Fxy, (std::vector<double>{Bare.Camera_Matrix.at<double>(0, 0) / 640.0,
                                                  Bare.Camera_Matrix.at<double>(1, 1) / 480.0}));
  EXPECT_EQ(Output.Norm_Cxy, (std::vector<double>{Bare.Camera_Matrix.at<double>(0, 2) / 640.0,
                                                  Bare.Camera_Matrix.at<double>(1, 2) / 480.0}));
  EXPECT_EQ(Output.Distortion[0], Bare.Distortion.at<double>(0));
  EXPECT_EQ(Output.Distortion[1], Bare.Distortion.at<double>(1));
  EXPECT_EQ(Lines_Starting(Output.Log, "reprojection error : ")[0],
            "reprojection error : " + std::to_string(Bare.Rms));
  if (CV_VERSION_MAJOR == 4 && CV_VERSION_MINOR == 6) {
    const Recorded_Lens& Recorded = Recorded_Lenses.at(GetParam());
    EXPECT_NEAR(Bare.Rms, Recorded.Rms, Between_Machines);
    EXPECT_NEAR(Output.Norm_Fxy[0] * 640.0, Recorded.Fx, Between_Machines);
    EXPECT_NEAR(Output.Norm_Fxy[1] * 480.0, Recorded.Fy, Between_Machines);
    EXPECT_NEAR(Output.Norm_Cxy[0] * 640.0, Recorded.Cx, Between_Machines);
    EXPECT_NEAR(Output.Norm_Cxy[1] * 480.0, Recorded.Cy, Between_Machines);
    EXPECT_NEAR(Output.Distortion[0], Recorded.K1, Between_Machines);
    EXPECT_NEAR(Output.Distortion[1], Recorded.K2, Between_Machines);
  }
  EXPECT_LE(Bare.Rms, 0.5);

  // The rows close the chain on this very lens solve, so only rounding is left: samples near 1 m
  // are narrowed to float, by half of 1.2e-4 mm and as much of a radian, and then averaged.
  EXPECT_LE(Millimetres_Apart(As_Pose(Output.Transform_Cam_Tc), Transform_Cam_Tc), 1e-4);
  EXPECT_LE(Degrees_Apart(As_Pose(Output.Transform_Cam_Tc), Transform_Cam_Tc), 1e-5);

  // The remaining average error is that of the lens solve.
  const auto Averages = Lines_Starting(Output.Log, "Average reprojection error : ");
  ASSERT_EQ(Averages.size(), 2u);
  EXPECT_LE(std::stod(Averages[1].substr(29)), Bare.Rms);
  std::size_t Annotated = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder.Path())) {
    if (Entry.path().filename().string().rfind("Reproject_", 0) == 0) ++Annotated;
  }
  EXPECT_EQ(Annotated, Paths.size() - Lines_Starting(Output.Log, "Remove name : ").size());
}

INSTANTIATE_TEST_SUITE_P(BothCameras, RealPhotographs, testing::Values("left", "right"),
                         [](const auto& Info) { return std::string(Info.param); });

}  // namespace
