// SPDX-License-Identifier: Apache-2.0
//
// The pose that a tracking system reported for a tracked body, and its frames.
#ifndef RIGSYNC_CAPTURE_TRACKER_SAMPLE_H
#define RIGSYNC_CAPTURE_TRACKER_SAMPLE_H

#include <Eigen/Geometry>

#include <array>

namespace rigsync {

// The numbers of the CSV file, unchanged.
struct Tracker_Sample {
  std::array<double, 3> Position{};    // metres, in the tracking system's frame
  std::array<double, 4> Quaternion{};  // w, x, y, z, of any length

  bool operator==(const Tracker_Sample& Other) const {
    return Position == Other.Position && Quaternion == Other.Quaternion;
  }
};

// The rotation of a sample's quaternion: Direction_Body = Rotation * Direction_Base.
// A quaternion of length 0 is no rotation and is returned as it is.
Eigen::Quaterniond Sample_Rotation_Body_Base(const Tracker_Sample& Sample);

// The rotation from a tracked body's own axes to those of Tr (and Tc), with the same origin:
//
//   Position_Tr = Tracker_Axes_Relabelling() * Position_Body
//
// takes (a, b, c) to (-a, -c, -b). It is its own inverse.
Eigen::Matrix3d Tracker_Axes_Relabelling();

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_TRACKER_SAMPLE_H
