// SPDX-License-Identifier: Apache-2.0
//
// The error of Transform_Cam_Tc as a capture gets worse, compared with OpenCV's own hand-eye and
// robot-world calibration on the same captures. Prints one line of CSV for each solver and capture:
// sweep,value,seed,solver,millimetres,degrees,code.
//
// OpenCV's solvers get the same tracker samples and photographs as the library, but no estimate of
// the board's mount, which they do not need. They use every image in which a board is found,
// because they do not filter outliers. Board poses come from one lens solve with the library's
// settings.
#include "bench/muted_output.h"
#include "rigsync/capture/board_detection.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/geometry/angle.h"
#include "rigsync_core.h"
#include "simulate/simulate.h"

#include <unistd.h>
#include <Eigen/LU>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Point {
  std::string Sweep;
  double Value;
  std::function<void(simulate::Options&)> Set;
};

// Each sweep changes one quantity; the others are as in Usual_Options.
std::vector<Point> Points() {
  std::vector<Point> All;
  for (const double Noise : {0.0, 0.25, 0.5, 1.0, 2.0, 4.0}) {
    // Degrees and millimetres have the ratio of optical tracking: 0.05 degrees per 0.5 millimetres.
    All.push_back({"noise", Noise, [Noise](simulate::Options& Options) {
                     Options.Position_Noise_Mm = Noise;
                     Options.Rotation_Noise_Deg = Noise * 0.1;
                   }});
  }
  for (const int Count : {12, 16, 24, 40, 60}) {
    All.push_back({"images", static_cast<double>(Count),
                   [Count](simulate::Options& Options) { Options.Image_Count = Count; }});
  }
  for (const int Count : {0, 1, 2, 4, 6}) {
    All.push_back({"stale", static_cast<double>(Count),
                   [Count](simulate::Options& Options) { Options.Stale_Count = Count; }});
  }
  for (const double Error : {0.0, 1.0, 2.0, 5.0, 10.0, 20.0}) {
    All.push_back({"estimate-offset", Error,
                   [Error](simulate::Options& Options) { Options.Estimate_Error_Mm = Error; }});
  }
  for (const double Error : {0.0, 0.1, 0.2, 0.5, 1.0, 2.0}) {
    All.push_back({"estimate-angle", Error,
                   [Error](simulate::Options& Options) { Options.Estimate_Error_Deg = Error; }});
  }
  return All;
}

// A good capture of an ordinary stage: some tracker noise, and a board whose mount was measured
// well.
simulate::Options Usual_Options(unsigned Seed) {
  simulate::Options Options;
  Options.Seed = Seed;
  Options.Width = 960;
  Options.Height = 540;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  return Options;
}

// Boards as the library finds and solves them, from the photographs of one folder.
struct Boards {
  std::vector<std::size_t> Images;  // indices into the plan's images
  std::vector<cv::Mat> Rotation_Cam_Chart, Translation_Cam_Chart;
};

Boards Solve_Boards(const simulate::Plan& Plan, const fs::path& Folder) {
  const simulate::Options& Options = Plan.Settings;
  const rigsync::Board_Size Board = {Options.Board_Cols, Options.Board_Rows};
  const cv::Size Image_Size(Options.Width, Options.Height);
  std::vector<cv::Point3f> Corners_Chart;
  for (int y = 0; y < Board.Rows; ++y) {
    for (int x = 0; x < Board.Cols; ++x) {
      Corners_Chart.emplace_back(static_cast<float>(x * Options.Square_Size),
                                 static_cast<float>(y * Options.Square_Size), 0.0f);
    }
  }
  Boards Found;
  std::vector<std::vector<cv::Point2f>> Corners_all;
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    const cv::Mat Image =
        cv::imread((Folder / "images" / Plan.Images[i].Name).string(), cv::IMREAD_COLOR);
    const std::vector<cv::Point2f> Corners = rigsync::Detect_Board(Image, Image_Size, Board);
    if (Corners.empty()) continue;
    Found.Images.push_back(i);
    Corners_all.push_back(Corners);
  }
  cv::Mat Camera_Matrix, Distortion;
  std::vector<cv::Mat> Rvecs;
  cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Corners_all.size(), Corners_Chart),
                      Corners_all, Image_Size, Camera_Matrix, Distortion, Rvecs,
                      Found.Translation_Cam_Chart, cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
                      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                                       std::numeric_limits<double>::epsilon()));
  for (const cv::Mat& Rvec : Rvecs) {
    cv::Mat Rotation;
    cv::Rodrigues(Rvec, Rotation);
    Found.Rotation_Cam_Chart.push_back(Rotation);
  }
  return Found;
}

// A recorded sample as a pose: the quaternion takes Base to the body's axes, which are relabelled
// as the library does it.
Eigen::Matrix4d Pose_Of(const simulate::Sample& Sample) {
  Eigen::Matrix4d Transform_Base_Tracker = Eigen::Matrix4d::Identity();
  Transform_Base_Tracker.topLeftCorner<3, 3>() =
      Sample.Rotation.toRotationMatrix().transpose() * rigsync::Tracker_Axes_Relabelling();
  Transform_Base_Tracker.topRightCorner<3, 1>() = Sample.Position;
  return Transform_Base_Tracker;
}

void Split(const Eigen::Matrix4d& Pose, std::vector<cv::Mat>& Rotations,
           std::vector<cv::Mat>& Translations) {
  cv::Mat Rotation, Translation;
  cv::eigen2cv(Eigen::Matrix3d(Pose.topLeftCorner<3, 3>()), Rotation);
  cv::eigen2cv(Eigen::Vector3d(Pose.topRightCorner<3, 1>()), Translation);
  Rotations.push_back(Rotation);
  Translations.push_back(Translation);
}

Eigen::Matrix4d Join(const cv::Mat& Rotation, const cv::Mat& Translation) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) Pose(r, c) = Rotation.at<double>(r, c);
    Pose(r, 3) = Translation.at<double>(r);
  }
  return Pose;
}

struct Solved {
  std::optional<Eigen::Matrix4d> Transform_Cam_Tc;
  int Code = 0;
};

Solved Solve_By_Library(const simulate::Plan& Plan, const fs::path& Folder) {
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Flat;
  const Eigen::Vector3d &Euler = Plan.Chart_Euler_Deg, &Offset = Plan.Chart_Translation;
  Solved Result;
  // Log lines on standard output would mix with the table. No run log is written, because its
  // folder does not exist.
  const Muted_Output Mute;
  Result.Code =
      Calibration((Folder / "capture.csv").string(), Plan.Settings.Board_Cols,
                  Plan.Settings.Board_Rows, Plan.Settings.Square_Size,
                  {Euler.x(), Euler.y(), Euler.z()}, {Offset.x(), Offset.y(), Offset.z()},
                  Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Flat, (Folder / "nowhere").string());
  if (Flat.size() != 16) return Result;
  Eigen::Matrix4d Pose;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Pose(r, c) = Flat[static_cast<std::size_t>(4 * r + c)];
  }
  Result.Transform_Cam_Tc = Pose;
  return Result;
}

// The results of OpenCV's solvers, by name.
std::map<std::string, Solved> Solve_By_Peers(const simulate::Plan& Plan, const Boards& Found) {
  // In OpenCV's terms the camera's tracker is the gripper and the board's tracker the robot's base.
  std::vector<cv::Mat> Rotation_Tr_Tc, Translation_Tr_Tc, Rotation_Tc_Tr, Translation_Tc_Tr;
  for (const std::size_t i : Found.Images) {
    const Eigen::Matrix4d Transform_Tr_Tc =
        Pose_Of(Plan.Images[i].Tr).inverse() * Pose_Of(Plan.Images[i].Tc);
    Split(Transform_Tr_Tc, Rotation_Tr_Tc, Translation_Tr_Tc);
    Split(Transform_Tr_Tc.inverse(), Rotation_Tc_Tr, Translation_Tc_Tr);
  }
  std::map<std::string, Solved> All;
  const std::pair<const char*, cv::HandEyeCalibrationMethod> Hand_Eye[] = {
      {"Park", cv::CALIB_HAND_EYE_PARK},
      {"Horaud", cv::CALIB_HAND_EYE_HORAUD},
      {"Daniilidis", cv::CALIB_HAND_EYE_DANIILIDIS}};
  for (const auto& [Name, Method] : Hand_Eye) {
    cv::Mat Rotation, Translation;
    cv::calibrateHandEye(Rotation_Tr_Tc, Translation_Tr_Tc, Found.Rotation_Cam_Chart,
                         Found.Translation_Cam_Chart, Rotation, Translation, Method);
    All[Name].Transform_Cam_Tc = Join(Rotation, Translation).inverse();
  }
  const std::pair<const char*, cv::RobotWorldHandEyeCalibrationMethod> Both_Ends[] = {
      {"Shah", cv::CALIB_ROBOT_WORLD_HAND_EYE_SHAH}, {"Li", cv::CALIB_ROBOT_WORLD_HAND_EYE_LI}};
  for (const auto& [Name, Method] : Both_Ends) {
    cv::Mat Rotation_Chart_Tr, Translation_Chart_Tr, Rotation, Translation;
    cv::calibrateRobotWorldHandEye(Found.Rotation_Cam_Chart, Found.Translation_Cam_Chart,
                                   Rotation_Tc_Tr, Translation_Tc_Tr, Rotation_Chart_Tr,
                                   Translation_Chart_Tr, Rotation, Translation, Method);
    All[Name].Transform_Cam_Tc = Join(Rotation, Translation);
  }
  return All;
}

void Print(const Point& Sweep_Point, unsigned Seed, const std::string& Solver, const Solved& Result,
           const Eigen::Matrix4d& Truth) {
  if (!Result.Transform_Cam_Tc) {
    std::printf("%s,%g,%u,%s,,,%d\n", Sweep_Point.Sweep.c_str(), Sweep_Point.Value, Seed,
                Solver.c_str(), Result.Code);
    return;
  }
  const Eigen::Matrix4d Difference = Truth.inverse() * *Result.Transform_Cam_Tc;
  const double Millimetres =
      1000.0 * (*Result.Transform_Cam_Tc - Truth).topRightCorner<3, 1>().norm();
  const double Degrees =
      Eigen::AngleAxisd(Eigen::Matrix3d(Difference.topLeftCorner<3, 3>())).angle() *
      rigsync::Degrees_Per_Radian;
  std::printf("%s,%g,%u,%s,%.6f,%.6f,%d\n", Sweep_Point.Sweep.c_str(), Sweep_Point.Value, Seed,
              Solver.c_str(), Millimetres, Degrees, Result.Code);
}

// Photographs do not depend on tracker noise and host estimate, so one set is used for most points.
class Photographs {
 public:
  explicit Photographs(fs::path Parent) : Folder(std::move(Parent)) {}

  const Boards& Draw(const simulate::Plan& Plan) {
    const auto Key = std::make_pair(Plan.Settings.Seed, Plan.Settings.Image_Count);
    if (Drawn_Key != Key) {
      fs::remove_all(Folder);
      simulate::Write_Capture(Plan, Folder);
      Found = Solve_Boards(Plan, Folder);
      Drawn_Key = Key;
    }
    simulate::Write_Tables(Plan, Folder);
    return Found;
  }

 private:
  const fs::path Folder;
  std::pair<unsigned, int> Drawn_Key{0, 0};
  Boards Found;
};

void Measure(unsigned Seeds) {
  const fs::path Folder =
      fs::temp_directory_path() / ("rigsync_accuracy_" + std::to_string(getpid()));
  Photographs Store(Folder);
  std::printf("sweep,value,seed,solver,millimetres,degrees,code\n");
  for (unsigned Seed = 1; Seed <= Seeds; ++Seed) {
    for (const Point& Sweep_Point : Points()) {
      simulate::Options Options = Usual_Options(Seed);
      Sweep_Point.Set(Options);
      const simulate::Plan Plan = simulate::Make_Plan(Options);
      const Boards& Found = Store.Draw(Plan);
      Print(Sweep_Point, Seed, "rigsync_core", Solve_By_Library(Plan, Folder),
            Plan.Transform_Cam_Tc);
      for (const auto& [Name, Result] : Solve_By_Peers(Plan, Found)) {
        Print(Sweep_Point, Seed, Name, Result, Plan.Transform_Cam_Tc);
      }
      std::fflush(stdout);
    }
    std::fprintf(stderr, "accuracy: seed %u of %u\n", Seed, Seeds);
  }
  fs::remove_all(Folder);
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  const long Seeds = Argument_Count > 1 ? std::strtol(Arguments[1], nullptr, 10) : 8;
  if (Seeds < 1 || Seeds > 1000) {
    std::fprintf(stderr, "usage: accuracy [SEEDS], 1 to 1000\n");
    return 2;
  }
  try {
    Measure(static_cast<unsigned>(Seeds));
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "accuracy: %s\n", Error.what());
    return 1;
  }
  return 0;
}
