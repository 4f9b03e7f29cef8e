// SPDX-License-Identifier: Apache-2.0
//
// The angles of the Unreal Engine 4 export. Single and double precision are mixed, step by step,
// and the mixture is settled to the last bit: another width anywhere moves digits that hosts store.
#ifndef RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H
#define RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H

#include <Eigen/Geometry>

#include <string>

// Roll, pitch and yaw of a rotation, so that in the usual right-handed sense
//
//   Rotation = Rz(yaw) * Ry(-pitch) * Rx(-roll)
//
// Fills      Euler_Deg, 3: roll, pitch, yaw.
// Units      degrees, through the factor 57.29578f.
// Precision  x, y, z, w are narrowed first. Pitch and yaw come from asinf and atan2f; roll from
//            atan2 in double, narrowed at the end. Squares are taken in double.
// Returns    0, or 3 within about 0.08 degrees of pitch +-90, where roll and yaw turn about one
//            axis: Euler_Deg is untouched. NaN passes for no gimbal lock: 0, angles not finite.
// Logs       for code 3 four lines: the news, the test value, x, y, z, and the catalog's line.
int Quat_To_Euler_UE4(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg);

#endif  // RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_UE4_H
