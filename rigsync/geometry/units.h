// SPDX-License-Identifier: Apache-2.0
//
// The factors between the units of a computation and those that people read.
#ifndef RIGSYNC_GEOMETRY_UNITS_H
#define RIGSYNC_GEOMETRY_UNITS_H

namespace rigsync {

constexpr double Mm_In_Metre = 1000.0, Ms_In_Second = 1000.0;

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_UNITS_H
