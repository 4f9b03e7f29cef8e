// SPDX-License-Identifier: Apache-2.0
//
// The angles of the Aximmetry export: another order of axes than Unreal Engine 4's, other limits,
// and a gimbal lock that is a value and not an error.
#ifndef RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H
#define RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H

#include <Eigen/Geometry>

#include <string>

// The angles of a rotation, each with its sign reversed: the caller negates all three. With the
// negated angles e, in the usual right-handed sense,
//
//   Rotation = Ry(e1) * Rx(e0) * Rz(e2)
//
// Fills      Euler_Deg, 3. In a gimbal lock -90 or 90, then -0.0, then the whole turn about the
//            axis that the other two angles share.
// Units      degrees. Element 0 goes through 3.1415926535 and 180.0, the others through 57.29578f.
// Precision  single, but for the limits' comparison and element 0's way to degrees.
// Returns    0, always. NaN passes for no gimbal lock.
// Logs       "Encountered Gimbal lock" within about 0.09 degrees of e0 = +-90.
int Quat_To_Euler_AX(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg);

#endif  // RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H
