// SPDX-License-Identifier: Apache-2.0
//
// What a tracking system reports of a body, with its errors.
#ifndef RIGSYNC_SIMULATE_TRACKER_H
#define RIGSYNC_SIMULATE_TRACKER_H

#include "simulate/random.h"
#include "simulate/simulate.h"

#include <Eigen/Core>

namespace simulate {

// The pose, in relabelled axes, of a tracker in the origin of Base whose body has the axes of Base.
Eigen::Matrix4d Pose_Of_Untracked_Board();

// Rotates a body by a rotation vector in its own axes, radians, and moves it in Base, metres.
Sample Moved(const Sample& From, const Eigen::Vector3d& Shift,
             const Eigen::Vector3d& Rotation_Vector);

// With the noise of the settings, drawn from Generator: six normal numbers, whatever the settings.
Sample With_Noise(const Options& Settings, const Sample& From, Random& Generator);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_TRACKER_H
