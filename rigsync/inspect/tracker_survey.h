// SPDX-License-Identifier: Apache-2.0
//
// The tracker samples of a capture by themselves: what can't be a sample, what repeats or jumps,
// and how far the trackers turned.
#ifndef RIGSYNC_INSPECT_TRACKER_SURVEY_H
#define RIGSYNC_INSPECT_TRACKER_SURVEY_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/finding.h"

#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// Tells, by line, of quaternions without length or far from length 1, of samples that repeat those
// of the row before, of positions that jump, are 0, or are in the wrong unit. Rows that aren't
// sound were told of before and are passed over.
void Check_Samples(const std::vector<Capture_Row>& Rows, Findings& Told);

// Whether a row's samples can be calculated with: sound, and with two quaternions that have a
// length.
bool Has_Rotations(const Capture_Row& Row);

struct Turns {
  std::size_t Rows = 0;                  // with rotations
  double Camera_Deg = 0, Board_Deg = 0;  // the largest angle between two samples of the tracker
  double Relative_Deg = 0;               // of the camera's tracker as the board's sees it
  // How far the axes of the relative turns are from their main direction, degrees (the angle whose
  // squared sine is the mean): 0 for turns about one axis, 55 for axes everywhere. None without
  // turns.
  std::optional<double> Axes_Apart_Deg;
};

// Of the rows that have rotations; of a long capture, of evenly chosen ones.
Turns Measure_Turns(const std::vector<Capture_Row>& Rows);

// What is weak about them.
void Judge_Turns(const Turns& Measured, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_TRACKER_SURVEY_H
