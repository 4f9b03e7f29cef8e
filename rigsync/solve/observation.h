// SPDX-License-Identifier: Apache-2.0
//
// What one image and its two tracker samples say, in the form in which the mounts are solved: the
// board's pose by the image, how accurate it is, and the poses of both trackers.
//
// Frames are those of docs/conventions.md; lengths are metres, image quantities pixels of the full
// image. Motions of a pose are those of rigid_motion.h.
#ifndef RIGSYNC_SOLVE_OBSERVATION_H
#define RIGSYNC_SOLVE_OBSERVATION_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/lens.h"
#include "rigsync/capture/seen_corner.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/solve/rigid_motion.h"
#include "rigsync/solve/row_motion.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace rigsync {

// Where a Lens's covariance and derivatives have its numbers: Fx, Fy, Cx, Cy, K1, K2.
constexpr int Lens_Parameters = 6;

using Corner_List = std::vector<std::array<float, 2>>;  // pixels, row by row of the board

// A board's pose by its corners, with the lens held, and what moves it.
struct Board_Observation {
  Eigen::Isometry3d Transform_Cam_Chart = Eigen::Isometry3d::Identity();
  // Covariance of the pose's motion for corners with a variance of 1 square pixel on each axis:
  // (J'J)^-1, J being the derivative of the corners by the motion.
  Matrix6d Unit_Covariance = Matrix6d::Identity();
  // The motion of the solved pose for a change of the lens: -(J'J)^-1 J' J_lens.
  Matrix6d Lens_Sensitivity = Matrix6d::Zero();
  // What is left of J_lens'J_lens when the pose follows the lens, J_lens' times the corner
  // residuals (observed less projected), and the sum of their squares, square pixels. A lens with
  // the least squares is where the second adds up to 0.
  Matrix6d Lens_Information = Matrix6d::Zero();
  Vector6d Lens_Gradient = Vector6d::Zero();
  double Squared_Residuals_Px = 0;
  std::size_t Corner_Count = 0;
  // Whether the corners are a part of the board's. The lens is solved from whole boards alone, as
  // the library solves it, so that only these say how well it is known.
  bool Is_Cut_Off = false;
};

// One row of the capture.
struct Observation {
  std::size_t Row = 0;  // index of the capture's row
  Board_Observation Board;
  Eigen::Isometry3d Transform_Tc_Base = Eigen::Isometry3d::Identity();
  Eigen::Isometry3d Transform_Base_Tr = Eigen::Isometry3d::Identity();
  std::optional<Row_Motion> Motion = {};  // none where nobody recorded it
};

struct Observations {
  std::vector<Observation> Rows;
  double Corner_Variance = 0;                   // square pixels, on each axis
  Matrix6d Lens_Covariance = Matrix6d::Zero();  // of the lens that the poses were solved with
  std::vector<std::size_t> Unusable_Rows;       // ascending: no board, NaN, a quaternion of 0
};

// What a row of the capture brings. Corners are empty when no whole board was found.
struct Row_Facts {
  std::size_t Row = 0;
  Tracker_Sample Camera, Board;
  Corner_List Corners;
  std::optional<Row_Motion> Motion = {};       // while the picture was taken; none if not known
  std::vector<Seen_Corner> Some_Corners = {};  // of a board that is cut off or partly covered
};

// The pose of a tracker with the axes of Tc or Tr. None for a sample that holds NaN or infinity, or
// a quaternion of length 0.
std::optional<Eigen::Isometry3d> Transform_Base_Tracker(const Tracker_Sample& Sample);

// Solves the board's pose by least squares on its corners, the lens held. None when the number of
// corners isn't the board's, when one isn't finite, or when no pose fits them.
std::optional<Board_Observation> Solve_Board_Pose(const Corner_List& Corners,
                                                  const Board_Size& Board, double Square_Size,
                                                  const Lens& Lens_Px);

// With fewer corners of a board that is cut off, nothing is left to tell a wrong one by.
constexpr std::size_t Least_Posed_Corners = 6;

// The same from a part of the corners. None also when they don't determine the pose: with fewer
// than Least_Posed_Corners, when they are nearly on one line, when corners that are off by a tenth
// of a pixel turn the board by more than a degree, or when the board could as well lean the other
// way. Such a pose would be wrong by more than its covariance says.
std::optional<Board_Observation> Solve_Board_Pose(const std::vector<Seen_Corner>& Corners,
                                                  const Board_Size& Board, double Square_Size,
                                                  const Lens& Lens_Px);

// Of the whole board if the row has it, else of the part.
std::optional<Board_Observation> Solve_Board_Pose(const Row_Facts& Facts, const Board_Size& Board,
                                                  double Square_Size, const Lens& Lens_Px);

// What the image of a board at a pose would say of it, its corners being where the lens puts them.
// The board is in front of the camera.
Board_Observation Predict_Board(const Eigen::Isometry3d& Transform_Cam_Chart,
                                const Board_Size& Board, double Square_Size, const Lens& Lens_Px);

// The observations of a capture. The corners' variance is that of all residuals together, and the
// lens's covariance is the one that the corners of whole boards give a lens solved from them.
Observations Observe(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                     double Square_Size, const Lens& Lens_Px);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_OBSERVATION_H
