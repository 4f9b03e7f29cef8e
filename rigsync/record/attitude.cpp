// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/attitude.h"

#include "rigsync/geometry/angle.h"

namespace rigsync {

Eigen::Quaterniond Pan_Tilt_Roll(double Pan_Deg, double Tilt_Deg, double Roll_Deg) {
  using Turn = Eigen::AngleAxisd;
  return Turn(Pan_Deg / Degrees_Per_Radian, Eigen::Vector3d::UnitZ()) *
         Turn(Tilt_Deg / Degrees_Per_Radian, Eigen::Vector3d::UnitX()) *
         Turn(Roll_Deg / Degrees_Per_Radian, Eigen::Vector3d::UnitY());
}

Tracker_Sample Sample_Of_Pose(const Eigen::Quaterniond& Rotation_Base_Body,
                              const Eigen::Vector3d& Position_Base) {
  const Eigen::Quaterniond Q = Rotation_Base_Body.conjugate().normalized();
  Tracker_Sample Sample;
  Sample.Position = {Position_Base.x(), Position_Base.y(), Position_Base.z()};
  Sample.Quaternion = {Q.w(), Q.x(), Q.y(), Q.z()};
  return Sample;
}

}  // namespace rigsync
