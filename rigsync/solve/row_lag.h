// SPDX-License-Identifier: Apache-2.0
//
// The lag between picture and tracker sample. A lag of L seconds means that a row's samples show
// both bodies as they were L before its picture was taken: a body with the velocity v is L v
// further on in the picture. A negative lag means samples that are younger than their picture.
#ifndef RIGSYNC_SOLVE_ROW_LAG_H
#define RIGSYNC_SOLVE_ROW_LAG_H

#include "rigsync/solve/observation.h"
#include "rigsync/solve/rigid_motion.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <vector>

namespace rigsync {

// Which lag a solve reckons with: one that all rows share and that is an unknown, or a known one.
// A lag of 0 that isn't solved leaves all samples as they are.
struct Lag_Choice {
  bool Is_Solved = false;
  double Seconds = 0;  // of a known one
};

// The poses of both trackers when the picture was taken.
struct Tracker_Poses {
  Eigen::Isometry3d Transform_Tc_Base = Eigen::Isometry3d::Identity();
  Eigen::Isometry3d Transform_Base_Tr = Eigen::Isometry3d::Identity();
};

// The samples moved along their velocities. A row without velocities is taken to stand still.
Tracker_Poses Poses_At_Picture(const Observation& Seen, double Lag_Seconds);

// How the board moves as the camera sees it: its turn, radians per second, and the shift of a point
// of it, metres per second, along the axes of Base. Zero for a row without velocities.
Vector6d Motion_Seen_By_Camera(const Observation& Seen, const Tracker_Poses& At_Picture,
                               const Eigen::Vector3d& Point_Base);

// The speed of the board as the cameras of the rows see it: root mean squares.
struct Seen_Speed {
  double Shift = 0;  // metres per second, of the board's first inner corner
  double Turn = 0;   // radians per second
};

Seen_Speed Measure_Speed(const std::vector<Observation>& Rows,
                         const Eigen::Isometry3d& Transform_Tr_Chart);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_ROW_LAG_H
