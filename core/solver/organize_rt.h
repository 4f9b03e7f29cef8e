// SPDX-License-Identifier: Apache-2.0
//
// Converts tracker samples, board poses and the host's board estimate to transforms that can be
// chained. Their frames are Cam, Chart, Base, and Tc and Tr with the axes of
// Tracker_To_Camera_Axes; docs/conventions.md defines them.
//
// Transform_A_B takes coordinates in frame B to coordinates in frame A, so that equal frame names
// meet in a product.
#ifndef RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H
#define RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

// The poses of every image and the board's mount on its tracker:
//
//   Transform_Tr_Chart = rotation Rx(a0) * Ry(a1) * Rz(a2), translation t
//   Transform_Chart_Tr = inverse of Transform_Tr_Chart
//
// with a from Chart_Euler_Deg and t from Chart_Translation. A row's quaternions are w, x, y, z in
// elements 4 to 7 (Tc) and 11 to 14 (Tr). Their vector parts are negated, the positions are not:
// this matches what the trackers report.
//
// Reads      Rvecs and Tvecs, one row of three doubles per image; Raw_Data_all, except element 0 of
//            each row.
// Fills      the three lists, appended, one entry per row of Raw_Data_all: Tc in Base, Base in Tr
//            (the inverse of the sample), Chart in Cam. Also Transform_Chart_Tr.
// Units      metres; angles in degrees.
// Precision  double. An all-zero quaternion is not normalised and gives no rotation.
// Returns    always 0.
// Logs       "Transform_Chart_Tr successful.", before the rows are read.
// Throws     std::invalid_argument when Chart_Euler_Deg or Chart_Translation has fewer than three
//            elements or a row fewer than 15; cv::Exception when Rvecs or Tvecs has fewer rows than
//            Raw_Data_all.
int OrganizeRT(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
               std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
               Eigen::Matrix4d& Transform_Chart_Tr,
               std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all, cv::Mat Rvecs, cv::Mat Tvecs,
               std::vector<double> Chart_Euler_Deg, std::vector<double> Chart_Translation,
               std::vector<std::vector<double>> Raw_Data_all);

// Relabels the axes of a tracked body without moving it: new x is old -x, new y is old -z, new z is
// old -y.
//
//   Camera_Axes = inverse(C * inverse(Tracker)),  C = Rx(90 deg) * Ry(0) * Rz(180 deg)
//
// C is computed with Pi_Short, so its small entries are about 1e-10 instead of 0. They are kept.
// Always returns 0.
int Tracker_To_Camera_Axes(std::string Log_Path, Eigen::Matrix4d Tracker,
                           Eigen::Matrix4d& Camera_Axes);

#endif  // RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H
