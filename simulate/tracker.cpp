// SPDX-License-Identifier: Apache-2.0
//
// A body's axes are not those of the poses in a plan: simulate.h says how they are relabelled.
#include "simulate/tracker.h"

#include "simulate/geometry.h"

namespace simulate {

namespace {

// The quaternion as trackers report it: of unit length, with w of at least 0.
Eigen::Quaterniond Reported_Rotation(const Eigen::Matrix3d& Rotation_Body_Base) {
  Eigen::Quaterniond Rotation = Eigen::Quaterniond(Rotation_Body_Base).normalized();
  if (Rotation.w() < 0.0) Rotation.coeffs() = -Rotation.coeffs();
  return Rotation;
}

// Column k is the body's own axis k in the tracker's relabelled axes: body x is -x, body y is -z,
// body z is -y.
Eigen::Matrix3d Rotation_Of_Labels() {
  Eigen::Matrix3d Rotation_Tracker_Body;
  Rotation_Tracker_Body.col(0) << -1, 0, 0;
  Rotation_Tracker_Body.col(1) << 0, 0, -1;
  Rotation_Tracker_Body.col(2) << 0, -1, 0;
  return Rotation_Tracker_Body;
}

}  // namespace

Sample Make_Sample(const Eigen::Matrix4d& Transform_Base_Tracker) {
  const Eigen::Matrix3d Rotation_Base_Body =
      Transform_Base_Tracker.topLeftCorner<3, 3>() * Rotation_Of_Labels();
  // A sample's quaternion takes Base directions to body directions.
  const Eigen::Matrix3d Rotation_Body_Base = Rotation_Base_Body.transpose();

  Sample Reported;
  Reported.Position = Transform_Base_Tracker.topRightCorner<3, 1>();
  Reported.Rotation = Reported_Rotation(Rotation_Body_Base);
  return Reported;
}

Eigen::Matrix4d Pose_Of_Untracked_Board() {
  return Pose_From(Rotation_Of_Labels().transpose(), Eigen::Vector3d::Zero());
}

Sample Moved(const Sample& From, const Eigen::Vector3d& Shift,
             const Eigen::Vector3d& Rotation_Vector) {
  Sample To;
  To.Position = From.Position + Shift;
  // The quaternion takes Base directions to body directions, so a rotation in body axes is applied
  // last.
  const Eigen::Matrix3d Rotation_Body_Base =
      Rotation_From_Vector(Rotation_Vector) * From.Rotation.normalized().toRotationMatrix();
  To.Rotation = Reported_Rotation(Rotation_Body_Base);
  return To;
}

Sample With_Noise(const Options& Settings, const Sample& From, Random& Generator) {
  const Eigen::Vector3d Shift = Settings.Position_Noise_Mm * 1e-3 * Generator.Gaussian_Vector();
  const Eigen::Vector3d Rotation_Vector =
      Radians(Settings.Rotation_Noise_Deg) * Generator.Gaussian_Vector();
  return Moved(From, Shift, Rotation_Vector);
}

}  // namespace simulate
