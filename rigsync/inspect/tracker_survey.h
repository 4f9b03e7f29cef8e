// SPDX-License-Identifier: Apache-2.0
//
// The tracker samples of a capture, judged without its images: invalid samples, samples that repeat
// or jump, and the range of the trackers' rotations.
#ifndef RIGSYNC_INSPECT_TRACKER_SURVEY_H
#define RIGSYNC_INSPECT_TRACKER_SURVEY_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"

#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// Adds, by line, quaternions of length 0 or far from length 1, samples that repeat those of the
// previous row, and positions that jump, are exactly 0 or are in the wrong unit. Rows that are not
// sound are skipped: other findings report them.
void Judge_Samples(const std::vector<Capture_Row>& Rows, Findings& List);

// Whether a row is sound and both of its quaternions have a length above 0.
bool Has_Rotations(const Capture_Row& Row);

struct Rotation_Range {
  std::size_t Rows = 0;                  // with rotations
  double Camera_Deg = 0, Board_Deg = 0;  // the largest angle between two samples of the tracker
  double Relative_Deg = 0;  // the same for the camera's tracker relative to the board's tracker
  // The spread of the relative rotations' axes, degrees: the angle whose squared sine is the mean
  // over all axes, measured from their main direction. 0 for rotations about one axis, 55 for axes
  // in all directions. None without rotations.
  std::optional<double> Axis_Spread_Deg;
};

// Uses the rows that have rotations, and an even choice from them in a long capture.
Rotation_Range Measure_Rotations(const std::vector<Capture_Row>& Rows);

// Whether the rotations leave part of the mounts to noise. False with fewer than two rows.
bool Are_Turns_Small(const Rotation_Range& Range);
bool Are_Turns_About_One_Axis(const Rotation_Range& Range);

void Judge_Rotations(const Rotation_Range& Range, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_TRACKER_SURVEY_H
