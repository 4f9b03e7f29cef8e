// SPDX-License-Identifier: Apache-2.0
//
// How a capture turned. A mount's position shows only in turns about two axes: along the axis of
// turns that are all about one, it stays open.
#ifndef RIGSYNC_SOLVE_CAPTURE_MOTION_H
#define RIGSYNC_SOLVE_CAPTURE_MOTION_H

#include "rigsync/solve/observation.h"

#include <vector>

namespace rigsync {

enum class Motion_Weakness {
  None,
  Turns_Too_Small,  // about any axis
  One_Axis,         // enough of a turn, about a single axis
};

// Below this RMS turn about the second axis, degrees, mounts were several millimetres off at usual
// noise, however many images there were.
constexpr double Least_Second_Turn_Deg = 5.0;

struct Capture_Motion {
  // RMS turns from the mean attitude of the board in Cam, about principal axes, largest first.
  Eigen::Vector3d Turns_Deg = Eigen::Vector3d::Zero();
  Eigen::Vector3d First_Axis_Cam = Eigen::Vector3d::UnitX();  // of the largest
  Motion_Weakness Weakness = Motion_Weakness::Turns_Too_Small;
};

Capture_Motion Measure_Motion(const std::vector<Observation>& Rows);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_CAPTURE_MOTION_H
