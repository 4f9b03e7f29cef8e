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
// The result judges conventions and units, where no row can be told good from bad before they are
// right. Rows, mounts and the board's place are judged by the solve of both mounts.
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
  // Medians over the rows: of rotation angles, of the rotations' axes, degrees, and of positions,
  // metres. None where the rotations do not determine it.
  double Median_Rotation_Residual_Deg = 0;
  std::optional<double> Median_Axis_Residual_Deg;
  std::optional<double> Median_Position_Residual;
  // The length of a metre of the trackers in metres of the board, and its standard deviation.
  std::optional<double> Scale;
  double Scale_Deviation = 0;
  double Held_Scale_Factor = 1;  // by which the positions' RMS residual grows when it is held at 1
  // The convention by which the samples would agree, in words. Empty when they agree as they are,
  // or by no convention.
  std::string Fitting_Convention;
  Handedness Axes = Handedness::Right;
  std::string Correction;  // of Mirrored_Positions or Mirrored_Quaternions, in words

  bool Is_Good() const;
};

// None with fewer than four rows to compare.
std::optional<Agreement> Measure_Agreement(const std::vector<Capture_Row>& Rows,
                                           const std::vector<Board_Pose>& Poses);

// Adds the disagreement of all samples, and axes of the wrong handedness, which are not judged when
// Is_Distance_Known is false: the boards were not tilted enough to determine their distance. Where
// the list says that images are mirrored, axes of the wrong handedness are what that looks like and
// are not added. True when samples and axes are right.
bool Judge_Agreement(const Agreement& Measured, bool Is_Distance_Known, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_TRACKER_AGREEMENT_H
