// SPDX-License-Identifier: Apache-2.0
//
// Generalised least squares whose weights are estimated from its own residuals. The covariance of a
// row is a sum of known shapes, each with a variance of its own. The variances are those of the
// greatest restricted likelihood (Patterson and Thompson 1971), which allows for the unknowns that
// the same rows had to give; a step towards them is Fisher's, by score and expected information.
//
// Rows are independent, so nothing larger than the unknowns is ever built: time and memory grow
// with the rows.
#ifndef RIGSYNC_SOLVE_RESTRICTED_LIKELIHOOD_H
#define RIGSYNC_SOLVE_RESTRICTED_LIKELIHOOD_H

#include "rigsync/solve/joint_model.h"

#include <array>
#include <optional>
#include <vector>

namespace rigsync {

struct Linear_Row {
  Row_Model Model;
  Noise_Shapes Shapes;
};

// Of a row's residual: the sum of its shapes, each times its variance.
Matrix6d Row_Covariance(const Linear_Row& Row, const Variances& At);

// What is known of the unknowns beside the rows: how sure (the inverse of a covariance), and how
// far they are from what was said, in the sense of a step.
struct Lag_Prior {
  double Information = 0, Distance = 0;
};

struct Linear_Prior {
  Unknown_Matrix Information = Unknown_Matrix::Zero();
  Unknown_Vector Distance = Unknown_Vector::Zero();
  std::optional<Lag_Prior> Lag;  // none: the lag is no unknown
};

// The part of a lag that is an unknown (lag_solve.h).
struct Lag_Terms {
  double Step = 0;                                          // seconds
  double Variance = 0;                                      // seconds^2
  Unknown_Vector Unknowns_By_Lag = Unknown_Vector::Zero();  // how the unknowns follow it
  // Derivative of the information by each variance, reversed: of unknowns and lag, when the
  // unknowns follow the lag, and of the lag.
  std::array<Unknown_Vector, Noise_Sources> Mixed_Loss;
  Variances Loss = Variances::Zero();
};

// Everything about one set of rows at one set of variances.
struct Likelihood_Terms {
  Unknown_Matrix Covariance = Unknown_Matrix::Zero();  // of the unknowns, at a known lag
  Unknown_Vector Step = Unknown_Vector::Zero();        // to the least squares solution
  double Squares_Gained = 0;                           // by the step, as the derivatives say
  std::vector<Matrix6d> Weights;                       // of the rows: inverse covariances
  // Derivative of the information of the unknowns by each variance, reversed.
  std::array<Unknown_Matrix, Noise_Sources> Information_Loss;
  Variances Score = Variances::Zero();  // derivative of the log likelihood by the variances
  Eigen::Matrix3d Variance_Information = Eigen::Matrix3d::Zero();  // expected
  double Log_Likelihood = 0;  // restricted, without its constant
  std::optional<Lag_Terms> Lag;
};

Likelihood_Terms Evaluate_Likelihood(const std::vector<Linear_Row>& Rows, const Linear_Prior& Prior,
                                     const Variances& At);

// The weighted sum of squares of rows and prior, at the rows' own point.
double Weighted_Squares(const std::vector<Linear_Row>& Rows, const std::vector<Matrix6d>& Weights,
                        const Linear_Prior& Prior);

// Variances after one step of Fisher's. The corners' factor stays at or above 1, the others at or
// above 0.
Variances Next_Variances(const Likelihood_Terms& Terms, const Variances& At);

// The covariance of the variances, with those held that are at their limit.
Eigen::Matrix3d Variance_Covariance(const Likelihood_Terms& Terms, const Variances& At);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_RESTRICTED_LIKELIHOOD_H
