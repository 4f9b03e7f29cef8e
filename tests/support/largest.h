// SPDX-License-Identifier: Apache-2.0
//
// The largest of several differences, for a comparison with a limit. NaN is larger than everything
// here: Eigen's maxCoeff() and std::max drop it, so that a limit would hold for a pose with a NaN.
#ifndef RIGSYNC_TESTS_SUPPORT_LARGEST_H
#define RIGSYNC_TESTS_SUPPORT_LARGEST_H

#include <Eigen/Core>

#include <cmath>

// The largest absolute value of a matrix's elements, or NaN if one of them is.
template <typename Derived>
double Largest_Element(const Eigen::MatrixBase<Derived>& Matrix) {
  return Matrix.derived().cwiseAbs().template maxCoeff<Eigen::PropagateNaN>();
}

// The larger of two numbers, or NaN if one of them is.
inline double Larger(double Left, double Right) {
  return Right <= Left || std::isnan(Left) ? Left : Right;
}

#endif
