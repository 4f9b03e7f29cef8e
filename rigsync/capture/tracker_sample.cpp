// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/tracker_sample.h"

namespace rigsync {

Eigen::Quaterniond Rotation_Body_Base(const Tracker_Sample& Sample) {
  const std::array<double, 4>& Q = Sample.Quaternion;  // w first, as Eigen's constructor has it
  return Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]).normalized();
}

Eigen::Matrix3d Relabelled() {
  Eigen::Matrix3d Axes;
  Axes << -1, 0, 0, 0, 0, -1, 0, -1, 0;
  return Axes;
}

}  // namespace rigsync
