// SPDX-License-Identifier: Apache-2.0
//
// How fast both tracked bodies moved when a row's image was taken, as a recording of the trackers
// shows it. The capture's CSV has no place for it.
#ifndef RIGSYNC_SOLVE_ROW_MOTION_H
#define RIGSYNC_SOLVE_ROW_MOTION_H

#include <Eigen/Core>

namespace rigsync {

// Of a body: the velocity of its origin in Base, metres per second, and its angular velocity along
// the axes of Base, radians per second. With R taking body directions to Base, dR/dt = [Angular]x
// R.
struct Body_Velocity {
  Eigen::Vector3d Linear = Eigen::Vector3d::Zero();
  Eigen::Vector3d Angular = Eigen::Vector3d::Zero();
};

struct Row_Motion {
  Body_Velocity Camera, Board;
};

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_ROW_MOTION_H
