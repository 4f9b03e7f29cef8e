// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/rig_chain.h"

#include "rigsync/solve/observation.h"

#include <cstddef>
#include <limits>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

namespace rigsync {

std::vector<Eigen::Vector3d> Board_Corners_Chart(const Board_Size& Board, double Square_Size) {
  std::vector<Eigen::Vector3d> Corners_Chart;
  for (int r = 0; r < Board.Rows; ++r) {
    for (int c = 0; c < Board.Cols; ++c) {
      Corners_Chart.emplace_back(c * Square_Size, r * Square_Size, 0.0);
    }
  }
  return Corners_Chart;
}

std::optional<Eigen::Isometry3d> Predicted_Board_Pose(const Rig_Chain& Chain,
                                                      const Tracker_Sample& Camera,
                                                      const Tracker_Sample& Board) {
  const auto Transform_Base_Tc = Transform_Base_Tracker(Camera);
  const auto Transform_Base_Tr = Transform_Base_Tracker(Board);
  if (!Transform_Base_Tc || !Transform_Base_Tr) return std::nullopt;
  return Chain.Transform_Cam_Tc * Transform_Base_Tc->inverse() * *Transform_Base_Tr *
         Chain.Transform_Tr_Chart;
}

std::vector<Eigen::Vector2d> Project(const Lens& Lens_Px,
                                     const std::vector<Eigen::Vector3d>& Points_Cam) {
  constexpr double None = std::numeric_limits<double>::quiet_NaN();
  std::vector<Eigen::Vector2d> Pixels;
  if (Points_Cam.empty()) return Pixels;
  std::vector<cv::Point3d> Points;
  for (const Eigen::Vector3d& Point_Cam : Points_Cam) {
    Points.emplace_back(Point_Cam.x(), Point_Cam.y(), Point_Cam.z());
  }
  const cv::Matx33d Camera_Matrix(Lens_Px.Fx, 0, Lens_Px.Cx, 0, Lens_Px.Fy, Lens_Px.Cy, 0, 0, 1);
  std::vector<cv::Point2d> Projected;
  cv::projectPoints(Points, cv::Vec3d::zeros(), cv::Vec3d::zeros(), Camera_Matrix,
                    cv::Vec4d(Lens_Px.K1, Lens_Px.K2, 0, 0), Projected);
  for (std::size_t k = 0; k < Points.size(); ++k) {
    const bool Is_In_Front = Points[k].z > 0.0;  // others are drawn as if they were mirrored
    Pixels.emplace_back(Is_In_Front ? Projected[k].x : None, Is_In_Front ? Projected[k].y : None);
  }
  return Pixels;
}

}  // namespace rigsync
