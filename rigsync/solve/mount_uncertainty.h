// SPDX-License-Identifier: Apache-2.0
//
// How far off a solved mount may be: its covariance, the half-widths of its 95 % intervals, and the
// distance of any other mount in units of it.
//
// Degrees of freedom follow the covariance, which was estimated: Satterthwaite (1946) for one axis,
// Fai and Cornelius (1996) for all six together. The covariance itself is corrected for weights
// that were estimated, after Kenward and Roger (1997).
#ifndef RIGSYNC_SOLVE_MOUNT_UNCERTAINTY_H
#define RIGSYNC_SOLVE_MOUNT_UNCERTAINTY_H

#include "rigsync/solve/restricted_likelihood.h"

#include <limits>
#include <vector>

namespace rigsync {

// The largest half-width in any direction, and that direction.
struct Widest {
  double Half_Width = std::numeric_limits<double>::infinity();
  Eigen::Vector3d Direction = Eigen::Vector3d::UnitX();
};

// Of a mount's motion: turn in radians, shift in metres, along the axes of its left frame. Until it
// is filled, nothing is known: every width is infinite.
struct Mount_Uncertainty {
  static constexpr double Open = std::numeric_limits<double>::infinity();

  Matrix6d Covariance = Vector6d::Constant(Open).asDiagonal();
  Vector6d Freedom = Vector6d::Zero();  // degrees of freedom of each variance
  double Joint_Freedom = 0;             // of all six together
  Eigen::Vector3d Half_Width_Deg = Eigen::Vector3d::Constant(Open);  // 95 %, about each axis
  Eigen::Vector3d Half_Width_Mm = Eigen::Vector3d::Constant(Open);   // 95 %, along each axis
  Widest Widest_Deg, Widest_Mm;

  // The part of all captures of this kind (0 to 1) in which the truth is nearer than this motion,
  // by the F distribution. NaN for a motion that holds NaN, and where nothing is known.
  double Probability_Nearer(const Vector6d& Motion) const;
};

// What a fit knows of its unknowns.
struct Unknown_Uncertainty {
  Unknown_Matrix Covariance = Unknown_Matrix::Zero();  // with all that is added to the rows' part
  // Derivative of the rows' part by each variance.
  std::array<Unknown_Matrix, Noise_Sources> Row_Covariance_By_Variance;
  Eigen::Matrix3d Variance_Covariance = Eigen::Matrix3d::Zero();
  // The same of the lag, seconds^2; 0 where it is no unknown.
  double Lag_Variance = 0;
  Variances Lag_Variance_By_Variance = Variances::Zero();
};

// Rows and terms at the solution. Known_Covariance is what else moves the unknowns: the lens, the
// means of still trackers.
Unknown_Uncertainty Describe_Unknowns(const std::vector<Linear_Row>& Rows,
                                      const Likelihood_Terms& Terms, const Variances& At,
                                      const Unknown_Matrix& Known_Covariance);

// The same with all standard deviations larger by the factor.
Unknown_Uncertainty Widened(const Unknown_Uncertainty& Unknown, double Factor);

// Of the six unknowns that begin at First (Camera_Mount or Board_Mount).
Mount_Uncertainty Describe_Mount(const Unknown_Uncertainty& Unknown, int First);

// From here on t and F are those of a known covariance, to a thousandth.
constexpr double Known_Freedom = 1e5;

// Freedom within the limits of both: from 1, which NaN becomes too, to Known_Freedom.
double Bounded_Freedom(double Freedom);

// The half-width of a 95 % interval in standard deviations, by the t distribution.
double Half_Width_Factor(double Freedom);

// A half-width of 95 % grown to 99 %, by the normal distribution: 2.576 / 1.960.
constexpr double Sure_Factor = 1.314;

// The value that F is above of in Part of all cases. Both degrees of freedom are at least 1.
double F_Limit(double Above_Freedom, double Below_Freedom, double Part);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_MOUNT_UNCERTAINTY_H
