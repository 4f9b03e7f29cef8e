// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/tracker_sample.h"

namespace rigsync {

Eigen::Quaterniond Sample_Rotation_Body_Base(const Tracker_Sample& Sample) {
  const std::array<double, 4>& Q = Sample.Quaternion;
  return Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]).normalized();  // Eigen takes w first
}

Eigen::Matrix3d Tracker_Axes_Relabelling() {
  Eigen::Matrix3d Relabelling;
  Relabelling << -1, 0, 0, 0, 0, -1, 0, -1, 0;
  return Relabelling;
}

}  // namespace rigsync
