// SPDX-License-Identifier: Apache-2.0
//
// Another choice of axes for the camera's tracker, where the library needs it. Its outlier filter
// compares rotation axes of Transform_Cam_Tc, and a rotation near 0 degrees has none that is
// steady, one near 180 degrees has two. The axes of a tracked body are labels only: with all its
// quaternions multiplied by one turn the library solves the mount of other axes, and the same turn
// leads back.
#ifndef RIGSYNC_SOLVE_BODY_AXES_H
#define RIGSYNC_SOLVE_BODY_AXES_H

#include "rigsync/capture/tracker_sample.h"

#include <Eigen/Geometry>

namespace rigsync {

// Mounts with rotations between these angles are left as they are. Noise moves the axis of a
// rotation by noise / (2 sin(angle / 2)): at 30 degrees by twice the noise, and it grows fast
// below.
constexpr double Least_Mount_Angle_Deg = 30.0;
constexpr double Most_Mount_Angle_Deg = 150.0;

struct Body_Axes {
  bool Is_Turned = false;
  // Coordinates in the body's own axes to those in the chosen ones: each chosen axis is one of the
  // body's own, or its reverse.
  Eigen::Matrix3d Rotation_Chosen_Body = Eigen::Matrix3d::Identity();
  double Mount_Angle_Deg = 0, Chosen_Mount_Angle_Deg = 0;  // of Transform_Cam_Tc
};

// The axes with which the mount's rotation is nearest to 90 degrees, when it is outside the limits.
// NaN is never turned.
Body_Axes Choose_Body_Axes(const Eigen::Matrix3d& Rotation_Cam_Tc);

// A sample of the camera's tracker with the chosen axes.
Tracker_Sample With_Axes(const Tracker_Sample& Sample, const Body_Axes& Axes);

// The sample with the tracker's own axes, from one with the chosen axes.
Tracker_Sample With_Own_Axes(const Tracker_Sample& Chosen_Sample, const Body_Axes& Axes);

// Transform_Cam_Tc of the tracker's own axes, from the one that was solved with the chosen axes.
Eigen::Isometry3d With_Own_Axes(const Eigen::Isometry3d& Chosen_Transform_Cam_Tc,
                                const Body_Axes& Axes);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_BODY_AXES_H
