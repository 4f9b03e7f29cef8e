// SPDX-License-Identifier: Apache-2.0
//
// How far two flat transforms (16 numbers, row by row) are apart.
#ifndef RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H
#define RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H

#include <vector>

namespace rigsync {

// Millimetres, per axis: translation of A less that of B.
std::vector<double> Translation_Difference_Mm(const std::vector<double>& A,
                                              const std::vector<double>& B);

// Degrees, 0 to 180: the angle of the rotation that leads from A's rotation block to B's.
double Rotation_Difference_Deg(const std::vector<double>& A, const std::vector<double>& B);

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H
