// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/transform_list.h"

#include <limits>

namespace rigsync {
namespace {

using Row_Major_Matrix = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;

}  // namespace

Eigen::Matrix4d Matrix_From_List(const std::vector<double>& Row_Major) {
  if (Row_Major.size() != 16) {
    return Eigen::Matrix4d::Constant(std::numeric_limits<double>::quiet_NaN());
  }
  return Eigen::Map<const Row_Major_Matrix>(Row_Major.data());
}

std::vector<double> List_From_Matrix(const Eigen::Matrix4d& Matrix) {
  std::vector<double> Row_Major(16);
  Eigen::Map<Row_Major_Matrix>(Row_Major.data()) = Matrix;
  return Row_Major;
}

}  // namespace rigsync
