// SPDX-License-Identifier: Apache-2.0
//
// From a point of the board to a pixel, through the whole rig:
//
//   Point_Cam = Transform_Cam_Tc * Transform_Tc_Base * Transform_Base_Tr * Transform_Tr_Chart
//             * Point_Chart
//
// and from there by the lens.
#ifndef RIGSYNC_REVIEW_RIG_CHAIN_H
#define RIGSYNC_REVIEW_RIG_CHAIN_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/lens.h"
#include "rigsync/capture/tracker_sample.h"

#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// Both mounts that belong together, and the board that they were solved for.
struct Rig_Chain {
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
  Eigen::Isometry3d Transform_Tr_Chart = Eigen::Isometry3d::Identity();
  Board_Size Board;
  double Square_Size = 0;  // metres, as solved: the stated one times the square's scale
};

// The inner corners of a board in Chart, metres, row by row.
std::vector<Eigen::Vector3d> Board_Corners_Chart(const Board_Size& Board, double Square_Size);

// The board's pose that the samples predict. None where a sample is no pose.
std::optional<Eigen::Isometry3d> Predicted_Board_Pose(const Rig_Chain& Chain,
                                                      const Tracker_Sample& Camera,
                                                      const Tracker_Sample& Board);

// Where the lens draws points of Cam, pixels. A point that is not in front of the camera is NaN.
std::vector<Eigen::Vector2d> Project(const Lens& Lens_Px,
                                     const std::vector<Eigen::Vector3d>& Points_Cam);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_RIG_CHAIN_H
