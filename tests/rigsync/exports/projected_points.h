// SPDX-License-Identifier: Apache-2.0
//
// Points that a camera sees, and their pixels as OpenCV projects them.
#ifndef RIGSYNC_TESTS_RIGSYNC_EXPORTS_PROJECTED_POINTS_H
#define RIGSYNC_TESTS_RIGSYNC_EXPORTS_PROJECTED_POINTS_H

#include "rigsync/capture/lens.h"

#include <Eigen/Geometry>

#include <opencv2/calib3d.hpp>
#include <vector>

// Points of the scene in front of the camera, over the whole frame and a little more.
inline std::vector<Eigen::Vector3d> Points_In_View(const Eigen::Isometry3d& Transform_Base_Cam) {
  std::vector<Eigen::Vector3d> Points;
  for (double X = -0.7; X <= 0.7; X += 0.1) {
    for (double Y = -0.4; Y <= 0.4; Y += 0.1) {
      const double Depth = 2.0 + X + 2.0 * Y;
      Points.emplace_back(Transform_Base_Cam * Eigen::Vector3d(X * Depth, Y * Depth, Depth));
    }
  }
  return Points;
}

// As OpenCV projects them.
inline std::vector<cv::Point2d> Projected(const std::vector<Eigen::Vector3d>& Points_Base,
                                          const Eigen::Isometry3d& Transform_Base_Cam,
                                          const rigsync::Lens& Px) {
  std::vector<cv::Point3d> Points_Cam;
  for (const Eigen::Vector3d& Point : Points_Base) {
    const Eigen::Vector3d Cam = Transform_Base_Cam.inverse() * Point;
    Points_Cam.emplace_back(Cam.x(), Cam.y(), Cam.z());
  }
  const cv::Matx33d Matrix(Px.Fx, 0, Px.Cx, 0, Px.Fy, Px.Cy, 0, 0, 1);
  std::vector<cv::Point2d> Pixels;
  cv::projectPoints(Points_Cam, cv::Vec3d(), cv::Vec3d(), Matrix, cv::Vec4d(Px.K1, Px.K2, 0, 0),
                    Pixels);
  return Pixels;
}

#endif  // RIGSYNC_TESTS_RIGSYNC_EXPORTS_PROJECTED_POINTS_H
