// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/solution_difference.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <boost/math/distributions/fisher_f.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// Welch and Satterthwaite, of the sum of two variances.
double Freedom_Of_Sum(double Variance, double Freedom, double Other, double Other_Freedom) {
  const double Sum = Variance + Other;
  return Bounded_Freedom(Sum * Sum /
                         (Variance * Variance / Bounded_Freedom(Freedom) +
                          Other * Other / Bounded_Freedom(Other_Freedom)));
}

// One of the two terms of Krishnamoorthy and Yu.
double Freedom_Term(const Matrix6d& Part_Of_Sum, double Freedom) {
  const double Trace = Part_Of_Sum.trace();
  return ((Part_Of_Sum * Part_Of_Sum).trace() + Trace * Trace) / Bounded_Freedom(Freedom);
}

double Joint_Freedom_Of_Sum(const Mount_Uncertainty& One, const Mount_Uncertainty& Other,
                            const Matrix6d& Sum) {
  // Radians and metres differ by orders of magnitude.
  const Vector6d Scale = Sum.diagonal().cwiseSqrt().cwiseInverse();
  const auto Scaled = [&Scale](const Matrix6d& Covariance) {
    return Matrix6d(Scale.asDiagonal() * Covariance * Scale.asDiagonal());
  };
  const Eigen::LDLT<Matrix6d> Solver(Scaled(Sum));
  return Bounded_Freedom(
      (6.0 + 36.0) / (Freedom_Term(Solver.solve(Scaled(One.Covariance)), One.Joint_Freedom) +
                      Freedom_Term(Solver.solve(Scaled(Other.Covariance)), Other.Joint_Freedom)));
}

Widest Widest_Of(const Eigen::Matrix3d& Covariance, double Freedom, double Unit) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Solver(Covariance);
  return {Unit * Half_Width_Factor(Freedom) * std::sqrt(Solver.eigenvalues()[2]),
          Solver.eigenvectors().col(2)};
}

template <int Size>
double Probability_Below(const Eigen::Matrix<double, Size, Size>& Covariance,
                         const Eigen::Matrix<double, Size, 1>& Difference, double Freedom) {
  using Vector = Eigen::Matrix<double, Size, 1>;
  using Matrix = Eigen::Matrix<double, Size, Size>;
  if (!Covariance.allFinite() || !Difference.allFinite()) return NaN;
  const Vector Scale = Covariance.diagonal().cwiseSqrt().cwiseInverse();
  if (!Scale.allFinite()) return NaN;
  const Vector Scaled = Scale.cwiseProduct(Difference);
  const Matrix Correlation = Scale.asDiagonal() * Covariance * Scale.asDiagonal();
  const double Squared = Scaled.dot(Correlation.ldlt().solve(Scaled));
  if (!std::isfinite(Squared)) return NaN;
  return boost::math::cdf(boost::math::fisher_f(Size, Bounded_Freedom(Freedom)),
                          std::max(Squared, 0.0) / Size);
}

}  // namespace

Mount_Uncertainty Uncertainty_Of_Difference(const Mount_Uncertainty& One,
                                            const Mount_Uncertainty& Other) {
  Mount_Uncertainty Sum;
  if (!One.Covariance.allFinite() || !Other.Covariance.allFinite()) return Sum;
  Sum.Covariance = One.Covariance + Other.Covariance;
  for (int k = 0; k < 6; ++k) {
    Sum.Freedom[k] = Freedom_Of_Sum(One.Covariance(k, k), One.Freedom[k], Other.Covariance(k, k),
                                    Other.Freedom[k]);
    const double Half_Width = Half_Width_Factor(Sum.Freedom[k]) * std::sqrt(Sum.Covariance(k, k));
    if (k < 3) Sum.Half_Width_Deg[k] = Degrees_Per_Radian * Half_Width;
    if (k >= 3) Sum.Half_Width_Mm[k - 3] = Mm_In_Metre * Half_Width;
  }
  Sum.Joint_Freedom = Joint_Freedom_Of_Sum(One, Other, Sum.Covariance);
  Sum.Widest_Deg = Widest_Of(Sum.Covariance.topLeftCorner<3, 3>(), Sum.Freedom.head<3>().minCoeff(),
                             Degrees_Per_Radian);
  Sum.Widest_Mm = Widest_Of(Sum.Covariance.bottomRightCorner<3, 3>(),
                            Sum.Freedom.tail<3>().minCoeff(), Mm_In_Metre);
  return Sum;
}

double Probability_Of_Less(const Mount_Uncertainty& Difference, const Vector6d& Motion) {
  return Probability_Below<6>(Difference.Covariance, Motion, Difference.Joint_Freedom);
}

double Probability_Of_Less_Turn(const Mount_Uncertainty& Difference, const Vector6d& Motion) {
  return Probability_Below<3>(Difference.Covariance.topLeftCorner<3, 3>(), Motion.head<3>(),
                              Difference.Joint_Freedom);
}

double Probability_Of_Less_Shift(const Mount_Uncertainty& Difference, const Vector6d& Motion) {
  return Probability_Below<3>(Difference.Covariance.bottomRightCorner<3, 3>(), Motion.tail<3>(),
                              Difference.Joint_Freedom);
}

double Probability_Of_Less_Beside_Axis(const Mount_Uncertainty& Difference,
                                       const Vector6d& Motion) {
  return Probability_Below<5>(Difference.Covariance.topLeftCorner<5, 5>(), Motion.head<5>(),
                              Difference.Joint_Freedom);
}

Vector6d Lens_Numbers(const Lens& Lens_Px) {
  Vector6d Numbers;
  Numbers << Lens_Px.Fx, Lens_Px.Fy, Lens_Px.Cx, Lens_Px.Cy, Lens_Px.K1, Lens_Px.K2;
  return Numbers;
}

double Probability_Of_Less_Lens(const Matrix6d& Covariance, const Vector6d& Difference) {
  return Probability_Below<6>(Covariance, Difference, Known_Freedom);
}

}  // namespace rigsync
