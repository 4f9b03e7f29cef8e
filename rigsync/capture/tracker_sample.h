// SPDX-License-Identifier: Apache-2.0
//
// One pose that a tracking system reported for a tracked body, and the frames that it is in.
#ifndef RIGSYNC_CAPTURE_TRACKER_SAMPLE_H
#define RIGSYNC_CAPTURE_TRACKER_SAMPLE_H

#include <Eigen/Geometry>

#include <array>

namespace rigsync {

// What a tracker reported, as it stands in the file.
struct Tracker_Sample {
  std::array<double, 3> Position{};    // metres, in the tracking system's frame
  std::array<double, 4> Quaternion{};  // w, x, y, z, of any length

  bool operator==(const Tracker_Sample& Other) const {
    return Position == Other.Position && Quaternion == Other.Quaternion;
  }
};

// A sample's rotation as the library takes it: Base directions into the body's.
Eigen::Quaterniond Rotation_Body_Base(const Tracker_Sample& Sample);

// Coordinates in a body's own axes to those of Tr: x, y and z of Tr are the body's x, z and y, all
// reversed.
Eigen::Matrix3d Relabelled();

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_TRACKER_SAMPLE_H
