// SPDX-License-Identifier: Apache-2.0
//
// Flat transforms (16 numbers, row by row) as people read them, and how far two of them are apart.
#ifndef RIGSYNC_HOST_TRANSFORM_TEXT_H
#define RIGSYNC_HOST_TRANSFORM_TEXT_H

#include <string>
#include <vector>

namespace host {

// Row r (0 to 3) of a flat transform: rotation and, in the last column, translation in metres.
std::string Row_Text(const std::vector<double>& Transform, int r);

// Millimetres, per axis: translation of A less that of B.
std::vector<double> Translation_Difference_Mm(const std::vector<double>& A,
                                              const std::vector<double>& B);

// Degrees, 0 to 180: the angle of the rotation that leads from A's rotation block to B's.
double Rotation_Difference_Deg(const std::vector<double>& A, const std::vector<double>& B);

}  // namespace host

#endif  // RIGSYNC_HOST_TRANSFORM_TEXT_H
