// SPDX-License-Identifier: Apache-2.0
//
// The angles of the Unreal Engine 4 export. Each step has its own precision, single or double, and
// all of them are fixed: another precision anywhere changes digits that hosts store.
#ifndef RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H
#define RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H

#include <Eigen/Geometry>

#include <string>

// Roll, pitch and yaw of a rotation. With right-handed rotations,
//
//   Rotation = Rz(yaw) * Ry(-pitch) * Rx(-roll)
//
// Fills      Euler_Deg, 3: roll, pitch, yaw.
// Units      degrees, converted with the factor 57.29578f.
// Precision  x, y, z, w are narrowed first. Pitch and yaw come from asinf and atan2f; roll from
//            atan2 in double, narrowed at the end. Squares are taken in double.
// Returns    0, or 3 within about 0.08 degrees of pitch +-90, where roll and yaw rotate about the
//            same axis and Euler_Deg stays unchanged. A NaN value does not count as gimbal lock:
//            the code is 0 and the angles are not finite.
// Logs       for code 3 four lines: the gimbal lock, the test value, x, y, z, and the error line.
int Quat_To_Euler_UE4(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg);

#endif  // RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H
