// SPDX-License-Identifier: Apache-2.0
//
// The angles of the Aximmetry export. The order of axes and the limits differ from those of Unreal
// Engine 4, and gimbal lock gives a result instead of an error.
#ifndef RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H
#define RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H

#include <Eigen/Geometry>

#include <string>

// The angles of a rotation, each with its sign reversed: the caller negates all three. With e the
// negated angles and right-handed rotations,
//
//   Rotation = Ry(e1) * Rx(e0) * Rz(e2)
//
// Fills      Euler_Deg, 3. In gimbal lock: -90 or 90, then -0.0, then the whole rotation about the
//            axis that the other two angles share.
// Units      degrees. Element 0 is converted with 3.1415926535 and 180.0, the others with
//            57.29578f.
// Precision  single, except for the comparison with the limits and element 0's conversion to
//            degrees.
// Returns    always 0. A NaN value does not count as gimbal lock.
// Logs       "Encountered Gimbal lock" within about 0.09 degrees of e0 = +-90.
int Quat_To_Euler_AX(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg);

#endif  // RIGSYNC_CORE_EXPORT_QUAT_TO_EULER_AX_H
