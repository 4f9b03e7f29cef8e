// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/mount_uncertainty.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"
#include "rigsync/solve/lag_solve.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

// What weights that were estimated add to the covariance.
Unknown_Matrix Weight_Correction(const std::vector<Linear_Row>& Rows, const Likelihood_Terms& Terms,
                                 const Eigen::Matrix3d& Variance_Covariance_At) {
  Unknown_Matrix Sum = Unknown_Matrix::Zero();
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Row_Derivative Weighted = Terms.Weights[i] * Rows[i].Model.Derivative;
    for (std::size_t k = 0; k < Noise_Sources; ++k) {
      const Row_Derivative Shaped = Rows[i].Shapes[k] * Weighted;
      Matrix6d Other_Shapes = Matrix6d::Zero();
      for (std::size_t l = 0; l < Noise_Sources; ++l) {
        Other_Shapes +=
            Variance_Covariance_At(static_cast<int>(k), static_cast<int>(l)) * Rows[i].Shapes[l];
      }
      Sum += Shaped.transpose() * Terms.Weights[i] * (Other_Shapes * Weighted);
    }
  }
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      Sum -= Variance_Covariance_At(static_cast<int>(k), static_cast<int>(l)) *
             Terms.Information_Loss[k] * Terms.Covariance * Terms.Information_Loss[l];
    }
  }
  return 2.0 * Terms.Covariance * Sum * Terms.Covariance;
}

// Satterthwaite: 2 v^2 / Var(v) for the variance v of one combination of the unknowns.
double Freedom_Along(const Unknown_Uncertainty& Unknown, const Unknown_Vector& Combination) {
  Variances Gradient;
  for (int k = 0; k < Noise_Sources; ++k) {
    Gradient[k] = Combination.dot(Unknown.Row_Covariance_By_Variance[static_cast<std::size_t>(k)] *
                                  Combination);
  }
  const double Variance = Combination.dot(Unknown.Covariance * Combination);
  const double Spread = Gradient.dot(Unknown.Variance_Covariance * Gradient);
  return Bounded_Freedom(Spread > 0.0 ? 2.0 * Variance * Variance / Spread : Known_Freedom);
}

Unknown_Vector Padded(const Vector6d& Direction, int First) {
  Unknown_Vector Combination = Unknown_Vector::Zero();
  Combination.segment<6>(First) = Direction;
  return Combination;
}

// Fai and Cornelius: the freedom whose F has the mean of the squares of six independent t.
double Freedom_Of_All(const Unknown_Uncertainty& Unknown, const Matrix6d& Covariance, int First) {
  const Vector6d Scale = Covariance.diagonal().cwiseSqrt();
  const Eigen::SelfAdjointEigenSolver<Matrix6d> Solver(
      Scale.cwiseInverse().asDiagonal() * Covariance * Scale.cwiseInverse().asDiagonal());
  double Sum = 0;
  for (int k = 0; k < 6; ++k) {
    const Vector6d Direction = Scale.cwiseInverse().asDiagonal() * Solver.eigenvectors().col(k);
    const double Freedom = std::max(Freedom_Along(Unknown, Padded(Direction, First)), 2.1);
    Sum += Freedom / (Freedom - 2.0);
  }
  return Bounded_Freedom(2.0 * Sum / std::max(Sum - 6.0, 1e-9));
}

Widest Widest_Along(const Unknown_Uncertainty& Unknown, const Matrix6d& Covariance, int First,
                    int Part, double Unit) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Solver(
      Eigen::Matrix3d(Covariance.block<3, 3>(Part, Part)));
  Vector6d Direction = Vector6d::Zero();
  Direction.segment<3>(Part) = Solver.eigenvectors().col(2);
  const double Factor = Half_Width_Factor(Freedom_Along(Unknown, Padded(Direction, First)));
  return {Unit * Factor * std::sqrt(Solver.eigenvalues()[2]), Solver.eigenvectors().col(2)};
}

}  // namespace

double Bounded_Freedom(double Freedom) {
  return Freedom >= 1.0 ? std::min(Freedom, Known_Freedom) : 1.0;
}

double Half_Width_Factor(double Freedom) {
  return boost::math::quantile(boost::math::students_t(Bounded_Freedom(Freedom)), 0.975);
}

double F_Limit(double Above_Freedom, double Below_Freedom, double Part) {
  const boost::math::fisher_f Distribution(Bounded_Freedom(Above_Freedom),
                                           Bounded_Freedom(Below_Freedom));
  return boost::math::quantile(boost::math::complement(Distribution, Part));
}

Unknown_Uncertainty Describe_Unknowns(const std::vector<Linear_Row>& Rows,
                                      const Likelihood_Terms& Terms, const Variances& At,
                                      const Unknown_Matrix& Known_Covariance) {
  Unknown_Uncertainty Unknown;
  Unknown.Variance_Covariance = Variance_Covariance(Terms, At);
  Unknown.Covariance = Terms.Covariance +
                       Weight_Correction(Rows, Terms, Unknown.Variance_Covariance) +
                       Known_Covariance;
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Unknown.Row_Covariance_By_Variance[k] =
        Terms.Covariance * Terms.Information_Loss[k] * Terms.Covariance;
  }
  if (Terms.Lag) Add_Lag_Uncertainty(Rows, Terms, Unknown);
  return Unknown;
}

Unknown_Uncertainty Widened(const Unknown_Uncertainty& Unknown, double Factor) {
  Unknown_Uncertainty Wide = Unknown;
  Wide.Covariance *= Factor * Factor;
  for (Unknown_Matrix& Derivative : Wide.Row_Covariance_By_Variance) Derivative *= Factor * Factor;
  Wide.Lag_Variance *= Factor * Factor;
  Wide.Lag_Variance_By_Variance *= Factor * Factor;
  return Wide;
}

Mount_Uncertainty Describe_Mount(const Unknown_Uncertainty& Unknown, int First) {
  Mount_Uncertainty Mount;
  Mount.Covariance = Unknown.Covariance.block<6, 6>(First, First);
  for (int k = 0; k < 6; ++k) {
    Mount.Freedom[k] = Freedom_Along(Unknown, Padded(Vector6d::Unit(k), First));
    const double Half_Width =
        Half_Width_Factor(Mount.Freedom[k]) * std::sqrt(Mount.Covariance(k, k));
    if (k < 3) Mount.Half_Width_Deg[k] = Degrees_Per_Radian * Half_Width;
    if (k >= 3) Mount.Half_Width_Mm[k - 3] = Mm_In_Metre * Half_Width;
  }
  Mount.Joint_Freedom = Freedom_Of_All(Unknown, Mount.Covariance, First);
  Mount.Widest_Deg = Widest_Along(Unknown, Mount.Covariance, First, 0, Degrees_Per_Radian);
  Mount.Widest_Mm = Widest_Along(Unknown, Mount.Covariance, First, 3, Mm_In_Metre);
  return Mount;
}

double Mount_Uncertainty::Probability_Nearer(const Vector6d& Motion) const {
  if (!Covariance.allFinite()) return std::numeric_limits<double>::quiet_NaN();
  const Vector6d Scale = Covariance.diagonal().cwiseSqrt().cwiseInverse();
  const Vector6d Scaled = Scale.cwiseProduct(Motion);
  const Matrix6d Correlation = Scale.asDiagonal() * Covariance * Scale.asDiagonal();
  const double Squared = Scaled.dot(Correlation.ldlt().solve(Scaled));
  if (!std::isfinite(Squared)) return std::numeric_limits<double>::quiet_NaN();
  const boost::math::fisher_f Distribution(6.0, Bounded_Freedom(Joint_Freedom));
  return boost::math::cdf(Distribution, std::max(Squared, 0.0) / 6.0);
}

}  // namespace rigsync
