// SPDX-License-Identifier: Apache-2.0
//
// Whether the tracker samples agree with the images, for mounts that are not known but constant. In
// every image
//
//   Transform_Cam_Chart = Transform_Cam_Tc * Transform_Tc_Tr * Transform_Tr_Chart
//
// where the image gives the left side and the samples give Transform_Tc_Tr, the pose of the board's
// tracker relative to the camera's. This is the equation of robot-world/hand-eye calibration. The
// samples are compared with it in three steps:
//
// 1. Between two images, both sides rotate by the same angle, whatever the mounts are.
// 2. Rotation_Cam_Tc takes the axes of these rotations from one side to the other (Park and Martin
//    1994, "Robot sensor calibration: solving AX = XB on the Euclidean group"). It is the rotation
//    of least squares over all pairs of axes, Wahba's problem (Wahba 1965, "A least squares
//    estimate of satellite attitude"), by the singular value decomposition of Kabsch (1976, "A
//    solution for the best rotation to relate two sets of vectors").
// 3. With that rotation the positions depend linearly on the two unknown offsets and one scale. The
//    fit is by iteratively reweighted least squares (Holland and Welsch 1977, "Robust regression
//    using iteratively reweighted least-squares") with the inverse residuals as weights.
//
// The result judges samples and conventions. It is not a calibration.
#ifndef RIGSYNC_INSPECT_TRACKER_AGREEMENT_H
#define RIGSYNC_INSPECT_TRACKER_AGREEMENT_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// The handedness of the samples' axes. Left-handed axes show as a scale below 0, whichever axis is
// mirrored. Positions and quaternions that are mirrored relative to each other do not fit with any
// scale.
enum class Handedness {
  Right,                 // or not known
  Left,                  // positions and quaternions alike
  Mirrored_Positions,    // relative to the quaternions
  Mirrored_Quaternions,  // relative to the positions
};

struct Agreement {
  std::vector<std::size_t> Rows;  // indices of the rows that were compared
  // The residuals of each of them: of rotation angles, degrees, and of positions, metres. There are
  // none of positions when the rotations do not determine them.
  std::vector<double> Rotation_Residuals_Deg, Position_Residuals;
  double Median_Rotation_Residual_Deg = 0;
  std::optional<double> Median_Axis_Residual_Deg;  // between the axes of the rotations
  std::optional<double> Median_Position_Residual;
  // The length of a metre of the trackers in metres of the board, and its standard deviation.
  std::optional<double> Scale;
  double Scale_Deviation = 0;
  // The pose of the board on its tracker according to images and samples: the rotation, and the
  // position of the board's centre, metres. docs/conventions.md defines the axes of Tr. None when
  // the rotations do not determine it.
  std::optional<Eigen::Matrix3d> Rotation_Tr_Chart;
  std::optional<Eigen::Vector3d> Centre_Tr;
  // The convention by which the samples would agree, in words. Empty when they agree as they are,
  // or by no convention.
  std::string Fitting_Convention;
  Handedness Axes = Handedness::Right;
  std::string Correction;  // of Mirrored_Positions or Mirrored_Quaternions, in words

  bool Is_Good() const;

  // False when a metre of the trackers clearly differs from a metre of the board.
  bool Is_To_Scale() const;
};

// None with fewer than four rows to compare.
std::optional<Agreement> Measure_Agreement(const std::vector<Capture_Row>& Rows,
                                           const std::vector<Board_Pose>& Poses);

// Adds samples that disagree with their image, by line, or the disagreement of all samples; axes of
// the wrong handedness; and a scale that is not 1. Is_Distance_Known is false when the boards were
// not tilted enough to determine their distance. Neither handedness nor scale is judged then.
void Judge_Agreement(const std::vector<Capture_Row>& Rows, const Agreement& Measured,
                     bool Is_Distance_Known, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_TRACKER_AGREEMENT_H
