// SPDX-License-Identifier: Apache-2.0
//
// How far each tracker went from one image to the next, by its samples.
#ifndef RIGSYNC_REVIEW_SAMPLE_MOTION_H
#define RIGSYNC_REVIEW_SAMPLE_MOTION_H

#include "rigsync/review/run_view.h"

#include <optional>
#include <vector>

namespace rigsync {

struct Tracker_Step {
  double Mm = 0, Deg = 0;
  // All seven numbers are those of the row before: the sample is out of date, unless the tracker
  // stands still.
  bool Is_Repeat = false;
};

struct Row_Steps {
  // None for the first row, and where this row or the one before has no sample that is a pose.
  std::optional<Tracker_Step> Camera, Board;
};

// One for each row of the view. A tracker that repeats itself in most rows stands still: none of
// its steps is called a repeat.
std::vector<Row_Steps> Measure_Motion(const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_SAMPLE_MOTION_H
