// SPDX-License-Identifier: Apache-2.0
//
// Captures at the level of corners whose truth is known: the simulator plans poses and samples, and
// corners are projected here by Brown's lens model, with the coefficients that the library's lens
// doesn't have.
#ifndef RIGSYNC_TESTS_SOLVE_CORNER_RIG_H
#define RIGSYNC_TESTS_SOLVE_CORNER_RIG_H

#include "rigsync/solve/observation.h"
#include "simulate/random.h"
#include "simulate/simulate.h"

#include <opencv2/calib3d.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace corner_rig {

struct Options {
  unsigned Seed = 1;
  int Images = 24;
  int Cut_Off = 0;  // of the images, whose board an edge of the frame cuts off
  double Position_Mm = 0.3, Rotation_Deg = 0.03;
  double Corner_Px = 0.03;
  double P1 = 0, P2 = 0, K3 = 0;
  // What changes between two captures of one rig: the focal length, the camera's tracker turned
  // about the axes of Cam and shifted along them, the board's true square in units of Square_Size.
  double Focal_Factor = 1.0;
  Eigen::Vector3d Tilt_Pan_Roll_Deg = Eigen::Vector3d::Zero();
  Eigen::Vector3d Shift_Mm = Eigen::Vector3d::Zero();
  double Square_Factor = 1.0;
};

struct Rig {
  rigsync::Board_Size Board{11, 8};
  double Square_Size = 0.03;
  std::vector<rigsync::Row_Facts> Facts;
  rigsync::Lens Lens_Px;  // solved from the corners
  Eigen::Isometry3d Transform_Cam_Tc, Transform_Tr_Chart;
};

inline rigsync::Tracker_Sample As_Written(const simulate::Sample& Sample) {
  const Eigen::Quaterniond& Q = Sample.Rotation;
  return {{Sample.Position.x(), Sample.Position.y(), Sample.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
}

inline rigsync::Corner_List Project(const simulate::Plan& Plan, const simulate::Image_Truth& Image,
                                    const Options& Of, simulate::Random& Random) {
  const simulate::Lens& Lens = Plan.True_Lens;
  rigsync::Corner_List Corners;
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 11; ++c) {
      const Eigen::Vector4d Point =
          Image.Transform_Cam_Chart *
          Eigen::Vector4d(Of.Square_Factor * 0.03 * c, Of.Square_Factor * 0.03 * r, 0, 1);
      const double X = Point.x() / Point.z(), Y = Point.y() / Point.z(), R2 = X * X + Y * Y;
      const double Radial = 1 + R2 * (Lens.K1 + R2 * (Lens.K2 + R2 * Of.K3));
      const double Xd = X * Radial + 2 * Of.P1 * X * Y + Of.P2 * (R2 + 2 * X * X);
      const double Yd = Y * Radial + Of.P1 * (R2 + 2 * Y * Y) + 2 * Of.P2 * X * Y;
      const double Noise_X = Of.Corner_Px * Random.Gaussian();
      const double Noise_Y = Of.Corner_Px * Random.Gaussian();
      Corners.push_back({static_cast<float>(Lens.Fx * Xd + Lens.Cx + Noise_X),
                         static_cast<float>(Lens.Fy * Yd + Lens.Cy + Noise_Y)});
    }
  }
  return Corners;
}

// The corners that are in the frame of 960 by 540, and not nearer to its edge than a corner can be
// refined.
inline std::vector<rigsync::Seen_Corner> In_Frame(const rigsync::Corner_List& All) {
  constexpr float Margin = 4.0f;
  std::vector<rigsync::Seen_Corner> Seen;
  for (std::size_t k = 0; k < All.size(); ++k) {
    const auto& [X, Y] = All[k];
    if (X >= Margin && Y >= Margin && X <= 959.0f - Margin && Y <= 539.0f - Margin) {
      Seen.push_back({k, All[k]});
    }
  }
  return Seen;
}

// With two radial coefficients, as the library solves it, from the whole boards.
inline rigsync::Lens Solve_Lens(const std::vector<rigsync::Row_Facts>& Facts) {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 11; ++c) {
      Points.emplace_back(0.03f * static_cast<float>(c), 0.03f * static_cast<float>(r), 0.0f);
    }
  }
  std::vector<std::vector<cv::Point2f>> Corners;
  for (const rigsync::Row_Facts& Row : Facts) {
    if (Row.Corners.empty()) continue;
    Corners.emplace_back();
    for (const auto& [X, Y] : Row.Corners) Corners.back().emplace_back(X, Y);
  }
  cv::Mat Camera, Distortion;
  std::vector<cv::Mat> Turns, Shifts;
  cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Corners.size(), Points), Corners,
                      cv::Size(960, 540), Camera, Distortion, Turns, Shifts,
                      cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K3,
                      {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 30,
                       std::numeric_limits<double>::epsilon()});
  return {Camera.at<double>(0, 0), Camera.at<double>(1, 1),  Camera.at<double>(0, 2),
          Camera.at<double>(1, 2), Distortion.at<double>(0), Distortion.at<double>(1)};
}

// The simulator takes the mount as Rx Ry Rz.
inline void Turn_And_Shift(const Options& Of, simulate::Options& Settings) {
  constexpr double Rad = 3.14159265358979323846 / 180.0;
  const auto From_Euler = [](const Eigen::Vector3d& Deg) {
    return Eigen::Matrix3d(Eigen::AngleAxisd(Rad * Deg.x(), Eigen::Vector3d::UnitX()) *
                           Eigen::AngleAxisd(Rad * Deg.y(), Eigen::Vector3d::UnitY()) *
                           Eigen::AngleAxisd(Rad * Deg.z(), Eigen::Vector3d::UnitZ()));
  };
  const Eigen::Matrix3d Rotation =
      From_Euler(Of.Tilt_Pan_Roll_Deg) * From_Euler(Settings.Camera_Mount_Euler_Deg);
  Settings.Camera_Mount_Euler_Deg =
      Eigen::Vector3d(std::atan2(-Rotation(1, 2), Rotation(2, 2)), std::asin(Rotation(0, 2)),
                      std::atan2(-Rotation(0, 1), Rotation(0, 0))) /
      Rad;
  Settings.Camera_Mount_Offset += 1e-3 * Of.Shift_Mm;
}

inline Rig Make_Rig(const Options& Of) {
  simulate::Options Settings;
  Settings.Seed = Of.Seed;
  Settings.Image_Count = Of.Images;
  Settings.Cut_Count = Of.Cut_Off;
  Settings.Width = 960;
  Settings.Height = 540;
  Settings.Position_Noise_Mm = Of.Position_Mm;
  Settings.Rotation_Noise_Deg = Of.Rotation_Deg;
  Settings.Norm_Fx *= Of.Focal_Factor;
  Turn_And_Shift(Of, Settings);
  const simulate::Plan Plan = simulate::Make_Plan(Settings);
  simulate::Random Random(Of.Seed, 30);
  Rig Made;
  Made.Transform_Cam_Tc = Eigen::Isometry3d(Plan.Transform_Cam_Tc);
  Made.Transform_Tr_Chart = Eigen::Isometry3d(Plan.Transform_Chart_Tr).inverse();
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    Made.Facts.push_back({i, As_Written(Plan.Images[i].Tc), As_Written(Plan.Images[i].Tr),
                          Project(Plan, Plan.Images[i], Of, Random)});
    if (Plan.Images[i].Kind != simulate::Row_Kind::Cut_Board) continue;
    rigsync::Row_Facts& Row = Made.Facts.back();
    Row.Some_Corners = In_Frame(Row.Corners);
    Row.Corners.clear();
  }
  Made.Lens_Px = Solve_Lens(Made.Facts);
  return Made;
}

// Millimetres and degrees between two mounts.
struct Distance {
  double Mm = 0, Deg = 0;
};

inline Distance Between(const Eigen::Isometry3d& A, const Eigen::Isometry3d& B) {
  return {1000.0 * (A.translation() - B.translation()).norm(),
          Eigen::AngleAxisd(Eigen::Matrix3d(A.linear().transpose() * B.linear())).angle() * 180.0 /
              3.14159265358979323846};
}

}  // namespace corner_rig

#endif  // RIGSYNC_TESTS_SOLVE_CORNER_RIG_H
