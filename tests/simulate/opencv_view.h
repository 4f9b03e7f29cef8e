// SPDX-License-Identifier: Apache-2.0
//
// A plan seen through OpenCV's camera model, which the simulator doesn't use.
#ifndef RIGSYNC_TESTS_SIMULATE_OPENCV_VIEW_H
#define RIGSYNC_TESTS_SIMULATE_OPENCV_VIEW_H

#include "simulate/simulate.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <vector>

// Image positions of points of the board's plane, given in squares from the first inner corner.
inline std::vector<cv::Point2d> Opencv_Project(const simulate::Plan& Capture,
                                               const simulate::Image_Truth& Image,
                                               const std::vector<cv::Point2d>& Squares) {
  const double Size = Capture.Settings.Square_Size;
  std::vector<cv::Point3d> Points_Chart;
  for (const cv::Point2d& Point : Squares) {
    Points_Chart.emplace_back(Point.x * Size, Point.y * Size, 0.0);
  }
  const Eigen::Matrix4d& Pose = Image.Transform_Cam_Chart;
  cv::Matx33d Rotation;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) Rotation(r, c) = Pose(r, c);
  }
  cv::Mat Rotation_Vector;
  cv::Rodrigues(Rotation, Rotation_Vector);
  const simulate::Lens& Model = Capture.True_Lens;
  const cv::Matx33d Camera_Matrix(Model.Fx, 0, Model.Cx, 0, Model.Fy, Model.Cy, 0, 0, 1);
  const cv::Vec<double, 5> Distortion(Model.K1, Model.K2, 0, 0, 0);
  std::vector<cv::Point2d> Drawn;
  cv::projectPoints(Points_Chart, Rotation_Vector, cv::Vec3d(Pose(0, 3), Pose(1, 3), Pose(2, 3)),
                    Camera_Matrix, Distortion, Drawn);
  return Drawn;
}

#endif  // RIGSYNC_TESTS_SIMULATE_OPENCV_VIEW_H
