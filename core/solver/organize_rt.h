// SPDX-License-Identifier: Apache-2.0
//
// Tracker samples, board poses and the host's board estimate as poses that multiply. Their frames
// are Cam, Chart, Base, and Tc and Tr in the axes that Tracker_To_Camera_Axes leaves;
// docs/conventions.md defines them.
//
// Transform_A_B takes coordinates in frame B to coordinates in frame A, so names cancel inward.
#ifndef RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H
#define RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

// Poses of every image and the board's place on its tracker:
//
//   Transform_Tr_Chart = rotation Rx(a0) * Ry(a1) * Rz(a2), translation t
//   Transform_Chart_Tr = inverse of Transform_Tr_Chart
//
// with a from Chart_Euler_Deg and t from Chart_Translation. A row's quaternions are w, x, y, z in
// elements 4 to 7 (Tc) and 11 to 14 (Tr); their vector part is negated and their positions are
// not. That asymmetry is how the trackers report, and stays.
//
// Reads      Rvecs and Tvecs, one row of three doubles per image; element 0 of a row is unread.
// Fills      the three lists, appended, one entry per row of Raw_Data_all: Tc in Base, Base in Tr
//            (the inverse of the sample), Chart in Cam. Transform_Chart_Tr.
// Units      metres in, metres out; angles in degrees.
// Precision  double. An all-zero quaternion stays as it is and turns nothing.
// Returns    0, always.
// Logs       "Transform_Chart_Tr successful.", before the rows are looked at.
// Throws     std::invalid_argument for Chart_Euler_Deg or Chart_Translation below three values or
//            a row below 15; cv::Exception when Rvecs or Tvecs has fewer rows than Raw_Data_all.
int OrganizeRT(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
               std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
               Eigen::Matrix4d& Transform_Chart_Tr,
               std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all, cv::Mat Rvecs, cv::Mat Tvecs,
               std::vector<double> Chart_Euler_Deg, std::vector<double> Chart_Translation,
               std::vector<std::vector<double>> Raw_Data_all);

// Relabels the axes of a tracked body, without moving it: new x is old x reversed, new y is old z
// reversed, new z is old y reversed.
//
//   Camera_Axes = inverse(C * inverse(Tracker)),  C = Rx(90 deg) * Ry(0) * Rz(180 deg)
//
// C goes through the short pi, so its small entries, about 1e-10, are not 0; they stay.
// Returns 0, always.
int Tracker_To_Camera_Axes(std::string Log_Path, Eigen::Matrix4d Tracker,
                           Eigen::Matrix4d& Camera_Axes);

#endif  // RIGSYNC_CORE_SOLVER_ORGANIZE_RT_H
