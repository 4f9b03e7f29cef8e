// SPDX-License-Identifier: Apache-2.0
#include "bench/compared_solvers.h"

#include "rigsync/geometry/angle.h"
#include "simulate/geometry.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>

#include <cmath>
#include <exception>
#include <limits>
#include <vector>

namespace bench {
namespace {

using Eigen::Isometry3d;

// Poses in the form that OpenCV takes.
struct Pose_Lists {
  std::vector<cv::Mat> Rotations, Translations;

  void Add(const Isometry3d& Pose) {
    cv::Mat Rotation, Translation;
    cv::eigen2cv(Eigen::Matrix3d(Pose.linear()), Rotation);
    cv::eigen2cv(Eigen::Vector3d(Pose.translation()), Translation);
    Rotations.push_back(Rotation);
    Translations.push_back(Translation);
  }
};

Isometry3d Join(const cv::Mat& Rotation, const cv::Mat& Translation) {
  Eigen::Matrix3d Rotation_Block;
  Eigen::Vector3d Offset;
  cv::cv2eigen(Rotation, Rotation_Block);
  cv::cv2eigen(Translation, Offset);
  Isometry3d Pose = Isometry3d::Identity();
  Pose.linear() = Rotation_Block;
  Pose.translation() = Offset;
  return Pose;
}

std::vector<rigsync::Row_Facts> With_Axes(const std::vector<rigsync::Row_Facts>& Rows,
                                          const rigsync::Body_Axes& Axes) {
  std::vector<rigsync::Row_Facts> Turned = Rows;
  for (rigsync::Row_Facts& Facts : Turned) Facts.Camera = rigsync::With_Axes(Facts.Camera, Axes);
  return Turned;
}

}  // namespace

rigsync::Lens As_Lens(const Library_Lens& Solved) {
  const cv::Mat &K = Solved.Camera_Matrix, &D = Solved.Distortion;
  return {K.at<double>(0, 0), K.at<double>(1, 1), K.at<double>(0, 2),
          K.at<double>(1, 2), D.at<double>(0),    D.at<double>(1)};
}

Mount_Error Error_Of(const Isometry3d& Truth,
                     const std::optional<Eigen::Matrix4d>& Transform_Cam_Tc) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  if (!Transform_Cam_Tc || !Transform_Cam_Tc->allFinite()) return {NaN, NaN};
  const rigsync::Vector6d Motion = rigsync::Motion_Between(Truth, Isometry3d(*Transform_Cam_Tc));
  return {1000.0 * Motion.tail<3>().norm(), rigsync::Degrees_Per_Radian * Motion.head<3>().norm()};
}

double Picture_Error_Px(const Views& Seen, const Isometry3d& Truth,
                        const std::optional<Eigen::Matrix4d>& Transform_Cam_Tc) {
  constexpr double Distance = 3.0;  // metres
  constexpr int Steps = 4;
  if (!Transform_Cam_Tc || !Seen.Lens) return std::numeric_limits<double>::quiet_NaN();
  const rigsync::Lens Solved = As_Lens(*Seen.Lens);
  const simulate::Lens Model{Solved.Fx, Solved.Fy, Solved.Cx, Solved.Cy, Solved.K1, Solved.K2};
  const Isometry3d Transform_Solved_True = Isometry3d(*Transform_Cam_Tc) * Truth.inverse();
  const simulate::Lens& True_Lens = Seen.True_Lens;
  double Squares = 0;
  for (int k = 0; k < (Steps + 1) * (Steps + 1); ++k) {
    const double Across = static_cast<double>(k % (Steps + 1)) / Steps - 0.5;
    const double Along = static_cast<double>(k / (Steps + 1)) / Steps - 0.5;
    const Eigen::Vector3d Point_Cam =
        Distance * Eigen::Vector3d(Across * Seen.Board.Image_Size.width / True_Lens.Fx,
                                   Along * Seen.Board.Image_Size.height / True_Lens.Fy, 1.0);
    Squares += (simulate::Project(Model, Transform_Solved_True * Point_Cam) -
                Project_Truly(Seen, Point_Cam))
                   .squaredNorm();
  }
  return std::sqrt(Squares / ((Steps + 1) * (Steps + 1)));
}

bool Is_Called_Usable(const Library_Result& Result) {
  return (Result.Code == 0 || Result.Code == 99) && Result.Transform_Cam_Tc &&
         Result.Transform_Cam_Tc->allFinite();
}

Library_Result Run_Library(const Views& Seen, const Corner_Capture& Capture,
                           const rigsync::Board_Place& Place, const rigsync::Body_Axes& Axes) {
  if (!Seen.Lens) return {No_Code, {}, 0};
  try {
    Library_Result Result =
        Run_Library_Sequence(With_Axes(Capture.Rows, Axes), Seen.Board, *Seen.Lens, Place);
    if (Result.Transform_Cam_Tc && Axes.Is_Turned) {
      Result.Transform_Cam_Tc =
          rigsync::With_Own_Axes(Isometry3d(*Result.Transform_Cam_Tc), Axes).matrix();
    }
    return Result;
  } catch (const std::exception&) {
    return {No_Code, {}, 0};
  }
}

rigsync::Capture_Solution Run_Joint(const Views& Seen, const Corner_Capture& Capture,
                                    const std::optional<rigsync::Stated_Place>& Stated) {
  if (!Seen.Lens) return {};
  return rigsync::Solve_Capture(Capture.Rows, Seen.Board.Size, Seen.Board.Square_Size,
                                As_Lens(*Seen.Lens), Stated);
}

Guided_Library Run_Guided_Library(const Views& Seen, const Corner_Capture& Capture,
                                  const rigsync::Joint_Solution& Joint) {
  Guided_Library Guided;
  if (Joint.Rows.empty()) return Guided;
  Guided.Axes = rigsync::Choose_Body_Axes(Joint.At.Transform_Cam_Tc.linear());
  Guided.Result = Run_Library(
      Seen, Capture, rigsync::Place_From_Transform(Joint.At.Transform_Tr_Chart), Guided.Axes);
  return Guided;
}

rigsync::Second_Opinion Judge(const Guided_Library& Guided,
                              const rigsync::Capture_Solution& Solution,
                              rigsync::Solution_Choice Choice) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  rigsync::Judged_Result Judged;
  Judged.Choice = Choice;
  Judged.Has_Usable_Code = Guided.Result.Code == 0 || Guided.Result.Code == 99;
  Judged.Is_Place_Contradicted = Solution.Place && !Solution.Place->Is_Prior;
  Judged.Lens_Check = Solution.Lens_Check;
  return rigsync::Judge_Mount(
      Guided.Result.Transform_Cam_Tc.value_or(Eigen::Matrix4d::Constant(NaN)), Solution.Joint,
      Solution.Likeliest_Slip, {}, Judged);
}

std::optional<Eigen::Matrix4d> Joint_Mount(const rigsync::Joint_Solution& Joint) {
  if (Joint.Status != rigsync::Solve_Status::Solved) return std::nullopt;
  return Joint.At.Transform_Cam_Tc.matrix();
}

std::optional<Eigen::Matrix4d> Solve_By_Park(const rigsync::Observations& Seen) {
  // In OpenCV's terms the camera's tracker is the gripper and the board's tracker the robot's base.
  Pose_Lists Hand, Board;
  for (const rigsync::Observation& Row : Seen.Rows) {
    Hand.Add((Row.Transform_Tc_Base * Row.Transform_Base_Tr).inverse());
    Board.Add(Row.Board.Transform_Cam_Chart);
  }
  try {
    cv::Mat Rotation, Translation;
    cv::calibrateHandEye(Hand.Rotations, Hand.Translations, Board.Rotations, Board.Translations,
                         Rotation, Translation, cv::CALIB_HAND_EYE_PARK);
    return Join(Rotation, Translation).inverse().matrix();
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
}

std::optional<Eigen::Matrix4d> Solve_By_Shah(const rigsync::Observations& Seen) {
  Pose_Lists Trackers, Board;
  for (const rigsync::Observation& Row : Seen.Rows) {
    Trackers.Add(Row.Transform_Tc_Base * Row.Transform_Base_Tr);
    Board.Add(Row.Board.Transform_Cam_Chart);
  }
  try {
    cv::Mat Rotation_Chart_Tr, Translation_Chart_Tr, Rotation, Translation;
    cv::calibrateRobotWorldHandEye(Board.Rotations, Board.Translations, Trackers.Rotations,
                                   Trackers.Translations, Rotation_Chart_Tr, Translation_Chart_Tr,
                                   Rotation, Translation, cv::CALIB_ROBOT_WORLD_HAND_EYE_SHAH);
    return Join(Rotation, Translation).matrix();
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
}

}  // namespace bench
