// SPDX-License-Identifier: Apache-2.0
//
// The factor between radians and degrees.
#ifndef RIGSYNC_GEOMETRY_ANGLE_H
#define RIGSYNC_GEOMETRY_ANGLE_H

namespace rigsync {

constexpr double Degrees_Per_Radian = 57.295779513082320877;

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_ANGLE_H
