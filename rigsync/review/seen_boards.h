// SPDX-License-Identifier: Apache-2.0
//
// How the board was held in each image, as its corners say: tilt, roll, distance and size.
#ifndef RIGSYNC_REVIEW_SEEN_BOARDS_H
#define RIGSYNC_REVIEW_SEEN_BOARDS_H

#include "rigsync/review/run_view.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <cstddef>
#include <vector>

namespace rigsync {

struct Seen_Board {
  std::size_t Row = 0;  // of the view
  bool Is_Kept = false;
  Eigen::Isometry3d Transform_Cam_Chart = Eigen::Isometry3d::Identity();
  double Tilt_Deg = 0;  // of the board's normal against the optical axis
  // Towards the side of the board that is nearest to the camera, x to the right and y down in the
  // picture, of length 1; zero without a tilt.
  Eigen::Vector2d Near_Side = Eigen::Vector2d::Zero();
  // Of the board's rows of corners in the picture: 0 to the right, growing clockwise, to 360.
  double Roll_Deg = 0;
  double Distance = 0;     // of the board's centre, metres
  double Frame_Share = 0;  // 0 to 1: of the frame that lies within the outermost corners
};

// Whether the chosen solution uses the row's image.
bool Is_Row_Kept(const Run_View& View, std::size_t Row);

// All boards that have a pose, in the order of the rows. Empty without corners or lens.
std::vector<Seen_Board> Measure_Boards(const Run_View& View);

// How the pose looks, without what the row adds. The board's four outermost corners have to be in
// front of the camera.
Seen_Board Describe_Pose(const Eigen::Isometry3d& Transform_Cam_Chart, const Board_Size& Board,
                         double Square_Size);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_SEEN_BOARDS_H
