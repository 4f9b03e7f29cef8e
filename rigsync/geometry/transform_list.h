// SPDX-License-Identifier: Apache-2.0
//
// A transform as the library and result files have it: 16 numbers, row by row.
#ifndef RIGSYNC_GEOMETRY_TRANSFORM_LIST_H
#define RIGSYNC_GEOMETRY_TRANSFORM_LIST_H

#include <Eigen/Core>

#include <vector>

namespace rigsync {

// The matrix of 16 numbers; NaN throughout for any other count.
Eigen::Matrix4d Matrix_From_List(const std::vector<double>& Row_Major);

std::vector<double> List_From_Matrix(const Eigen::Matrix4d& Matrix);

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_TRANSFORM_LIST_H
