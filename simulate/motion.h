// SPDX-License-Identifier: Apache-2.0
//
// How the rig moves between the photographs of a plan: it holds still for each and goes on to the
// next in a smooth move.
#ifndef RIGSYNC_SIMULATE_MOTION_H
#define RIGSYNC_SIMULATE_MOTION_H

#include "simulate/simulate.h"

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace simulate {

// One hold for each image, in order. The first begins at 0. A photograph is taken in the middle
// fifth of its hold. Poses, noise and bad rows don't depend on the times, nor the times on them.
std::vector<Hold> Draw_Holds(const Options& Settings);

// A pose that moves with a constant velocity, Seconds later. Without a velocity it is the pose
// itself, to the bit.
Eigen::Matrix4d Drifted(const Eigen::Matrix4d& Transform_Base_Body, const Velocity& Speed,
                        double Seconds);

// The true poses of both trackers at one moment.
struct Rig_Pose {
  Eigen::Matrix4d Transform_Base_Tc, Transform_Base_Tr;
};

// Where the rig is at a time of the take's clock. In a hold its poses are those of the image, moved
// by the drift. In a move, positions go along a straight line and rotations about one axis, both
// with the least jerk: velocity and acceleration have no steps. Before the first hold and after the
// last one the rig stays in that hold. The plan has at least one image.
Rig_Pose Pose_At(const Plan& Capture, double Seconds);

// The image whose hold or whose move to the next one contains this time.
std::size_t Image_At(const Plan& Capture, double Seconds);

// How far the move after Image_At has come, from 0 to 1: 0 during the hold.
double Progress_At(const Plan& Capture, double Seconds);

// The board in the camera's frame.
Eigen::Matrix4d Transform_Cam_Chart_Of(const Plan& Capture, const Rig_Pose& Pose);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_MOTION_H
