// SPDX-License-Identifier: Apache-2.0
//
// Whether the tracker samples fit the images, without knowing how the trackers are mounted. In
// every image, with two mounts that are the same throughout,
//
//   Transform_Cam_Chart = Transform_Cam_Tc * Transform_Tc_Tr * Transform_Tr_Chart
//
// where images tell the left side and samples tell Transform_Tc_Tr, the board's tracker as the
// camera's sees it. Between two images both turn by the same angle whatever the mounts are, so a
// bad sample shows at once; one rotation then takes the axes of those turns from one side to the
// other, and with it positions and one scale can be compared by a linear fit. This judges samples
// and conventions; it is no calibration, which weighs and averages with care.
#ifndef RIGSYNC_INSPECT_TRACKER_AGREEMENT_H
#define RIGSYNC_INSPECT_TRACKER_AGREEMENT_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/finding.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// Axes of the wrong hand in the samples. One mirror of everything shows as a scale below 0,
// whichever axis it reverses; positions and quaternions that are mirrored against each other fit no
// scale.
enum class Mirrored {
  Nothing,
  Everything,   // positions and quaternions alike
  Positions,    // against quaternions
  Quaternions,  // against positions
};

struct Agreement {
  std::vector<std::size_t> Rows;  // indices of the rows that were compared
  // How far each of them is off, and how far half of them are at most: turns by their angles,
  // degrees, and positions, metres. No positions when the turns leave them open.
  std::vector<double> Turns_Off_Deg, Positions_Off;
  double Typical_Turn_Deg = 0;
  std::optional<double> Typical_Axis_Deg;  // between the axes of the turns
  std::optional<double> Typical_Position;
  // What the trackers call a metre, in metres of the board, and its standard deviation.
  std::optional<double> Scale;
  double Scale_Deviation = 0;
  // Where the board sits on its tracker by images and samples: the rotation Tr from Chart and the
  // board's middle in Tr, metres. Tr has the axes of docs/conventions.md. None when the turns leave
  // it open.
  std::optional<Eigen::Matrix3d> Rotation_Tr_Chart;
  std::optional<Eigen::Vector3d> Middle_Tr;
  std::string Better_Reading;  // how the samples would fit, when they don't as they stand
  Mirrored Hand = Mirrored::Nothing;
  std::string Unmirrored;  // what to do to positions or quaternions that are mirrored on their own

  bool Is_Good() const;

  // False when a metre of the trackers isn't one of the board, beyond all doubt.
  bool Is_To_Scale() const;
};

// None with fewer than four rows to compare.
std::optional<Agreement> Measure_Agreement(const std::vector<Capture_Row>& Rows,
                                           const std::vector<Board_Pose>& Poses);

// Tells of samples that don't fit their image, by line, or of all that don't fit; of axes of the
// wrong hand; and of a scale that isn't 1. Scale_Is_Told is false when boards were held so that
// their distance isn't: neither hand nor scale is judged then.
void Judge_Agreement(const std::vector<Capture_Row>& Rows, const Agreement& Measured,
                     bool Scale_Is_Told, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_TRACKER_AGREEMENT_H
