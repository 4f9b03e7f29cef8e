// SPDX-License-Identifier: Apache-2.0
//
// The YAML read back by OpenCV's own reader: the lens projects as the solved camera does, the chain
// closes, and OpenCV's hand-eye solver finds the mounts again from the poses of the rows.
#include "rigsync/exports/opencv_yaml.h"

#include "rigsync/exports/yaml_text.h"
#include "rigsync/solve/board_place.h"
#include "tests/rigsync/exports/projected_points.h"
#include "tests/rigsync/exports/solved_rig.h"
#include "tests/support/largest.h"

#include <gmock/gmock.h>

#include <cmath>
#include <opencv2/core/eigen.hpp>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Rotations and metres of a few steps of double precision.
constexpr double Rounding = 1e-12;

struct Opened {
  explicit Opened(const std::string& Text)
      : File(Text, cv::FileStorage::READ | cv::FileStorage::MEMORY) {}

  cv::FileStorage File;
};

cv::Mat Matrix_At(const cv::FileNode& Node) {
  cv::Mat Matrix;
  Node >> Matrix;
  return Matrix;
}

Eigen::Isometry3d Transform_At(const cv::FileNode& Node) {
  Eigen::Isometry3d Transform = Eigen::Isometry3d::Identity();
  const cv::Mat Matrix = Matrix_At(Node);
  EXPECT_EQ(Matrix.type(), CV_64F);
  EXPECT_EQ(Matrix.size(), cv::Size(4, 4));
  if (Matrix.size() == cv::Size(4, 4)) cv::cv2eigen(Matrix, Transform.matrix());
  return Transform;
}

void Expect_Same(const Eigen::Isometry3d& A, const Eigen::Isometry3d& B,
                 double Tolerance = Rounding) {
  EXPECT_LE(Largest_Element(A.matrix() - B.matrix()), Tolerance) << A.matrix();
}

// The rig's result as the joint solution, whose board sits at Transform_Body_Chart.
rigsync::Calibration_Result Joint_Result(const Solved_Rig& Rig, const Scratch_Folder& Scratch) {
  rigsync::Calibration_Result Result = Rig.Write(Scratch);
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  Result.Solved.emplace();
  for (std::size_t i = 0; i < Rig.Rows.size(); ++i) {
    rigsync::Solved_Row Row;
    Row.Row = i;
    Row.Is_Kept = Rig.Rows[i].Is_Kept;
    Result.Solved->Joint.Rows.push_back(Row);
  }
  Result.Solved->Joint.At.Transform_Tr_Chart =
      Eigen::Isometry3d(Solved_Rig::Rotation_Tc_Body()) * Rig.Transform_Body_Chart;
  Result.Solved->Joint.At.Square_Scale = 1.0025;
  return Result;
}

TEST(OpencvYaml, TheLensProjectsAsTheSolvedCameraDoes) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  Rig.Cx = 971.25;
  Rig.Fy = 1443;
  const Opened Read(rigsync::Write_Opencv(Request_For(Rig.Write(Scratch))).Text);
  EXPECT_EQ(static_cast<int>(Read.File["image_width"]), 1920);
  EXPECT_EQ(static_cast<int>(Read.File["image_height"]), 1080);
  EXPECT_EQ(static_cast<int>(Read.File["board_width"]), 7);
  EXPECT_EQ(static_cast<int>(Read.File["board_height"]), 5);
  EXPECT_EQ(static_cast<double>(Read.File["square_size"]), 0.03);
  const cv::Mat Distortion = Matrix_At(Read.File["distortion_coefficients"]);
  ASSERT_EQ(Distortion.total(), 5u);
  const std::vector<Eigen::Vector3d> Points = Points_In_View(Eigen::Isometry3d::Identity());
  std::vector<cv::Point3d> Objects;
  for (const Eigen::Vector3d& Point : Points) Objects.emplace_back(Point.x(), Point.y(), Point.z());
  std::vector<cv::Point2d> Pixels;
  cv::projectPoints(Objects, cv::Vec3d(), cv::Vec3d(), Matrix_At(Read.File["camera_matrix"]),
                    Distortion, Pixels);
  const auto Expected = Projected(Points, Eigen::Isometry3d::Identity(),
                                  {Rig.Fx, Rig.Fy, Rig.Cx, Rig.Cy, Rig.K1, Rig.K2});
  for (std::size_t i = 0; i < Pixels.size(); ++i) {
    EXPECT_LE(cv::norm(Pixels[i] - Expected[i]), 1e-9);
  }
}

TEST(OpencvYaml, TheChainOfEachRowClosesAtTheTrueBoard) {
  const Scratch_Folder Scratch;
  const Solved_Rig Rig;
  const auto Written = rigsync::Write_Opencv(Request_For(Joint_Result(Rig, Scratch)));
  EXPECT_THAT(Written.Warnings, IsEmpty());
  const Opened Read(Written.Text);
  EXPECT_EQ(Read.File["solution"].string(), "joint");
  EXPECT_EQ(static_cast<double>(Read.File["square_scale"]), 1.0025);
  const Eigen::Isometry3d Transform_Cam_Tc = Transform_At(Read.File["Transform_Cam_Tc"]);
  const Eigen::Isometry3d Transform_Tr_Chart = Transform_At(Read.File["Transform_Tr_Chart"]);
  const cv::FileNode Rows = Read.File["rows"];
  ASSERT_EQ(Rows.size(), 3u);  // of four; the first is not kept
  for (int i = 0; i < 3; ++i) {
    const cv::FileNode Row = Rows[i];
    const Rig_Row& True = Rig.Rows[static_cast<std::size_t>(i) + 1];
    EXPECT_EQ(Row["image"].string(), True.Image);
    EXPECT_EQ(static_cast<int>(Row["line"]), i + 3);
    const Eigen::Isometry3d Transform_Base_Tc = Transform_At(Row["Transform_Base_Tc"]);
    const Eigen::Isometry3d Transform_Base_Tr = Transform_At(Row["Transform_Base_Tr"]);
    const Eigen::Isometry3d Relabelled(Solved_Rig::Rotation_Tc_Body());
    Expect_Same(Transform_Base_Tc, True.Transform_Base_Camera * Relabelled.inverse());
    Expect_Same(Transform_Base_Tr, True.Transform_Base_Board * Relabelled.inverse());
    const Eigen::Isometry3d Transform_Cam_Chart = Transform_At(Row["Transform_Cam_Chart"]);
    Expect_Same(Transform_Cam_Chart, Transform_Cam_Tc * Transform_Base_Tc.inverse() *
                                         Transform_Base_Tr * Transform_Tr_Chart);
    Expect_Same(Transform_Cam_Chart,
                (True.Transform_Base_Camera * Rig.Transform_Body_Cam).inverse() *
                    True.Transform_Base_Board * Rig.Transform_Body_Chart);
  }
}

// Chart is OpenCV's world, Tr its base, Tc its gripper.
TEST(OpencvYaml, OpencvsHandEyeSolverFindsTheMountsAgain) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig(7);
  for (int i = 4; i < 12; ++i) {
    Rig.Rows.push_back({"more.png", true, Rig.Random_Pose(2), Rig.Random_Pose(2)});
  }
  const Opened Read(rigsync::Write_Opencv(Request_For(Joint_Result(Rig, Scratch))).Text);
  std::vector<cv::Mat> R_World_Cam, T_World_Cam, R_Base_Gripper, T_Base_Gripper;
  const auto Add = [](const Eigen::Isometry3d& From, std::vector<cv::Mat>& Rotations,
                      std::vector<cv::Mat>& Shifts) {
    cv::Mat Whole;
    cv::eigen2cv(From.matrix(), Whole);
    Rotations.push_back(Whole(cv::Rect(0, 0, 3, 3)).clone());
    Shifts.push_back(Whole(cv::Rect(3, 0, 1, 3)).clone());
  };
  for (const cv::FileNode& Row : Read.File["rows"]) {
    Add(Transform_At(Row["Transform_Cam_Chart"]), R_World_Cam, T_World_Cam);
    Add(Transform_At(Row["Transform_Base_Tc"]).inverse() * Transform_At(Row["Transform_Base_Tr"]),
        R_Base_Gripper, T_Base_Gripper);
  }
  ASSERT_EQ(R_World_Cam.size(), 11u);
  cv::Mat R_Base_World, T_Base_World, R_Gripper_Cam, T_Gripper_Cam;
  cv::calibrateRobotWorldHandEye(R_World_Cam, T_World_Cam, R_Base_Gripper, T_Base_Gripper,
                                 R_Base_World, T_Base_World, R_Gripper_Cam, T_Gripper_Cam);
  const auto Joined = [](const cv::Mat& Rotation, const cv::Mat& Shift) {
    Eigen::Isometry3d Transform = Eigen::Isometry3d::Identity();
    Eigen::Matrix3d R;
    Eigen::Vector3d T;
    cv::cv2eigen(Rotation, R);
    cv::cv2eigen(Shift, T);
    Transform.linear() = R;
    Transform.translation() = T;
    return Transform;
  };
  constexpr double Linear_Solve = 1e-9;  // of a solver that squares its equations
  Expect_Same(Joined(R_Gripper_Cam, T_Gripper_Cam), Transform_At(Read.File["Transform_Cam_Tc"]),
              Linear_Solve);
  Expect_Same(Joined(R_Base_World, T_Base_World).inverse(),
              Transform_At(Read.File["Transform_Tr_Chart"]), Linear_Solve);
}

// Rx(90) takes y to z and z to -y.
TEST(OpencvYaml, WithTheLibrarysSolutionTheBoardIsWhereTheLibraryGotIt) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  Result.Library_Board = {{90, 0, 0}, {0.1, 0.2, 0.3}};
  const Opened Read(rigsync::Write_Opencv(Request_For(Result)).Text);
  Eigen::Isometry3d Expected = Eigen::Isometry3d::Identity();
  Expected.linear() << 1, 0, 0, 0, 0, -1, 0, 1, 0;
  Expected.translation() << 0.1, 0.2, 0.3;
  constexpr double Short_Pi = 1e-9;  // the place's angles use a pi of eleven digits
  Expect_Same(Transform_At(Read.File["Transform_Tr_Chart"]), Expected, Short_Pi);
  EXPECT_EQ(Read.File["solution"].string(), "library");
  EXPECT_EQ(static_cast<double>(Read.File["square_scale"]), 1.0);
}

TEST(OpencvYaml, WhatAResultOrItsCaptureLacksIsLeftOutAndSaid) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  const auto Placeless = rigsync::Write_Opencv(Request_For(Result));
  EXPECT_THAT(Placeless.Warnings,
              ElementsAre(HasSubstr("does not say where the board is on its tracker")));
  const Opened Read(Placeless.Text);
  EXPECT_TRUE(Read.File["Transform_Tr_Chart"].empty());
  EXPECT_EQ(Read.File["rows"].size(), 3u);
  EXPECT_TRUE(Read.File["rows"][0]["Transform_Cam_Chart"].empty());
  Result.Library_Board.Offset = {0, 0, 0.1};
  std::filesystem::remove(Result.Inputs.Csv);
  const auto Rowless = rigsync::Write_Opencv(Request_For(Result));
  EXPECT_THAT(Rowless.Warnings, ElementsAre(HasSubstr("no rows with poses: ")));
  const Opened Bare(Rowless.Text);
  EXPECT_EQ(Bare.File["rows"].size(), 0u);
  EXPECT_FALSE(Bare.File["Transform_Tr_Chart"].empty());
}

TEST(OpencvYaml, ALagOfTheJointSolutionIsSaidToBeInTheSamples) {
  const Scratch_Folder Scratch;
  auto Result = Joint_Result(Solved_Rig(), Scratch);
  Result.Solved->Joint.At.Lag_Seconds = 0.0415;
  EXPECT_THAT(rigsync::Write_Opencv(Request_For(Result)).Warnings,
              ElementsAre(HasSubstr("takes 41.5 ms of lag out of the samples")));
}

TEST(OpencvYaml, PathsAreReadAsTheyAreWhateverTheyHold) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  Rig.Rows[1].Image = "C:\\shots\\a \"b\" #1: {x}.png";
  Rig.Rows[2].Image = "bilder/\xc3\xa4.png";
  Rig.Rows[3].Image = "images/tab\there.png";
  const Opened Read(rigsync::Write_Opencv(Request_For(Joint_Result(Rig, Scratch))).Text);
  const cv::FileNode Rows = Read.File["rows"];
  ASSERT_EQ(Rows.size(), 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Rows[i]["image"].string(), Rig.Rows[static_cast<std::size_t>(i) + 1].Image);
  }
}

// A reader takes a number without a point for a whole one, and Python's takes "1e-05" for a text.
TEST(YamlText, EveryNumberHasAPointAndAllItsDigits) {
  EXPECT_EQ(rigsync::Yaml_Number(1.0), "1.0");
  EXPECT_EQ(rigsync::Yaml_Number(-0.0), "-0.0");
  EXPECT_EQ(rigsync::Yaml_Number(0.1), "0.1");
  EXPECT_EQ(rigsync::Yaml_Number(1e-5), "1.0e-05");
  EXPECT_EQ(rigsync::Yaml_Number(-1e22), "-1.0e+22");
  EXPECT_EQ(std::stod(rigsync::Yaml_Number(1.0 / 3.0)), 1.0 / 3.0);
  EXPECT_EQ(rigsync::Yaml_List({1.0, -2.5}), "[1.0, -2.5]");
}

}  // namespace
