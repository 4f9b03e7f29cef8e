// SPDX-License-Identifier: Apache-2.0
//
// How far the corners of each image are from where the whole rig puts them: both trackers, both
// mounts and the lens. It is the error of a virtual object, which the board's pose by its own image
// would hide.
#ifndef RIGSYNC_REVIEW_CORNER_ERRORS_H
#define RIGSYNC_REVIEW_CORNER_ERRORS_H

#include "rigsync/review/run_view.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// Of one row of the view. NaN, and nothing, stand for what the run doesn't tell.
struct Row_Error {
  static constexpr double Unknown = std::numeric_limits<double>::quiet_NaN();

  // Whether the chosen solution uses the image, and why not, as a phrase: "no board found".
  bool Is_Kept = false;
  std::string Drop_Reason;

  // Row by row of the board; empty without a board, and without samples or a chain. A predicted
  // corner that is not in front of the camera is NaN.
  std::vector<Eigen::Vector2d> Found_Px, Predicted_Px;

  // The board's poses by the image alone and by the rig.
  std::optional<Eigen::Isometry3d> Seen_Transform_Cam_Chart, Predicted_Transform_Cam_Chart;

  // Distance of the corners, pixels: the library's first pass as its log has it, and the chosen
  // mounts. The mean of an image that the library kept is that of its log, when it was chosen.
  double First_Mean_Px = Unknown, Mean_Px = Unknown, Rms_Px = Unknown;
  double Distance = Unknown;  // of the board's centre along the view, metres
  double Mean_Mm = Unknown;   // Mean_Px there, across the view

  std::optional<Solved_Row> Joint;  // the second opinion's
};

// Whether the library's filter alone dropped the image. It drops what is further from the mean than
// 1.3 standard deviations, so that sound images are among it; the joint solve kept this one.
bool Is_Set_Aside(const Row_Error& Error);

// One for each row of the view, in its order.
std::vector<Row_Error> Measure_Row_Errors(const Run_View& View);

// Millimetres across the view at this distance, for an error in pixels near the image's centre:
//
//   millimetres = 1000 * pixels * distance / F,   F = sqrt(Fx * Fy)
//
// which is the projection x = F X / Z solved for X.
double Mm_Of_Px(double Px, double Distance, const Lens& Lens_Px);

// The median of the numbers that are finite; NaN without any.
double Finite_Median(std::vector<double> Values);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_CORNER_ERRORS_H
