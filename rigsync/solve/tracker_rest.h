// SPDX-License-Identifier: Apache-2.0
//
// A tracker that stands still in all rows, on a tripod or a wall. Its samples differ by noise
// alone, so their mean takes the place of each, and what is left of the noise is the mean's.
#ifndef RIGSYNC_SOLVE_TRACKER_REST_H
#define RIGSYNC_SOLVE_TRACKER_REST_H

#include "rigsync/solve/joint_model.h"

#include <vector>

namespace rigsync {

// The samples of one tracker.
struct Tracker_Rest {
  bool Is_Still = false;
  Eigen::Isometry3d Mean = Eigen::Isometry3d::Identity();  // of those near the middle
  double Rotation_Variance = 0;                            // of the mean, rad^2 on each axis
  double Position_Variance = 0;                            // of the mean, m^2 on each axis
};

// Still when more than half of the poses are within half a degree and 5 mm of the middle, which no
// hand and no dolly is, and when they don't step from one place to another, as of a tripod that was
// pushed. The list, in the capture's order, isn't empty.
Tracker_Rest Measure_Rest(const std::vector<Eigen::Isometry3d>& Transform_Base_Tracker_All);

struct Capture_Rest {
  Tracker_Rest Camera, Board;
  Moving_Trackers Moving;
};

// Puts the mean in the place of each sample of a tracker that stands still. Where both do, neither
// is touched: nothing can be solved then.
Capture_Rest Settle_Still_Trackers(std::vector<Observation>& Rows);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_TRACKER_REST_H
