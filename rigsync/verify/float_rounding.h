// SPDX-License-Identifier: Apache-2.0
//
// How far the single-precision numbers of the exports to Unreal Engine 4 and Aximmetry may be from
// those without rounding. The bounds follow the steps of these exports (docs/conventions.md, "Units
// and precision"): a quaternion narrowed to single precision, its products, an arc, the factor to
// degrees. Near a gimbal lock the arcs magnify the roundings of the products, and the bounds grow
// with them.
#ifndef RIGSYNC_VERIFY_FLOAT_ROUNDING_H
#define RIGSYNC_VERIFY_FLOAT_ROUNDING_H

#include <Eigen/Geometry>

#include <array>

namespace rigsync {

// Bounds of the three exported angles, in their order, degrees.
struct Angle_Rounding {
  std::array<double, 3> Deg{};
  // By how much the whole rotation may be off where angles were left out at a gimbal lock.
  double Turn_Rad = 0;
};

// For roll, pitch and yaw of Rz(yaw) * Ry(-pitch) * Rx(-roll). The quaternion is that of the
// rotation in the engine's axes, each component known to Quaternion_Error.
Angle_Rounding Rounding_Of_UE4(const Eigen::Quaterniond& Quaternion, double Quaternion_Error);

// For x, y and z of Ry(y) * Rx(x) * Rz(z). Beyond the limit of the gimbal lock, x is 90 or -90
// degrees and y is 0.
Angle_Rounding Rounding_Of_Aximmetry(const Eigen::Quaterniond& Quaternion, double Quaternion_Error);

// For pan, tilt and roll of Rz(pan) * Rx(tilt) * Ry(roll), computed in double precision from a
// rotation whose elements are known to Element_Error. Where the tilt leaves less than 1e-6 between
// the two other axes, roll may be left out.
Angle_Rounding Rounding_Of_Pan_Tilt_Roll(const Eigen::Matrix3d& Rotation, double Element_Error);

// Of a length that was narrowed to single precision and multiplied by 100 in it, centimetres.
double Rounding_Of_Single_Cm(double Metres);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_FLOAT_ROUNDING_H
