// SPDX-License-Identifier: Apache-2.0
//
// The difference between two transforms, each given as 16 numbers, row by row.
#ifndef RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H
#define RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H

#include <vector>

namespace rigsync {

// The translation of A minus that of B, by axis, millimetres.
std::vector<double> Translation_Difference_Mm(const std::vector<double>& A,
                                              const std::vector<double>& B);

// The angle of the rotation between the two rotation blocks, 0 to 180 degrees. NaN if an element of
// either is NaN.
double Rotation_Difference_Deg(const std::vector<double>& A, const std::vector<double>& B);

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_TRANSFORM_DIFFERENCE_H
