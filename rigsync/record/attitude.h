// SPDX-License-Identifier: Apache-2.0
//
// Attitudes by pan, tilt and roll, the three angles of camera heads. The body's axes are x right, y
// forward, z up, and so are those of Base at rest.
#ifndef RIGSYNC_RECORD_ATTITUDE_H
#define RIGSYNC_RECORD_ATTITUDE_H

#include "rigsync/capture/tracker_sample.h"

#include <Eigen/Geometry>

namespace rigsync {

// Rz(Pan) Rx(Tilt) Ry(Roll), each right-handed: takes directions of the body to Base. Degrees.
Eigen::Quaterniond Pan_Tilt_Roll(double Pan_Deg, double Tilt_Deg, double Roll_Deg);

// The sample of a body with this pose in Base. A sample's quaternion goes from Base to the body, so
// it is the conjugate of the attitude.
Tracker_Sample Sample_Of_Pose(const Eigen::Quaterniond& Rotation_Base_Body,
                              const Eigen::Vector3d& Position_Base);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_ATTITUDE_H
