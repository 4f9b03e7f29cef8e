// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/restricted_likelihood.h"

#include "rigsync/solve/lag_solve.h"

#include <Eigen/Cholesky>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// The least that each variance can be: corners are never better than they fit the lens.
const Variances Least(1.0, 0.0, 0.0);

// A variance this small part of what the rows can resolve is at its limit.
constexpr double At_Limit = 1e-3;

double Log_Determinant(const Eigen::VectorXd& Pivots) {
  return Pivots.array().log().sum();
}

// A direction with less information than this part of the unknowns' own is made of rounding: it is
// held where it is.
constexpr double Likelihood_Rounding = 1e-13;

// Rotations and translations differ by orders of magnitude, so the matrix is inverted with a
// diagonal of ones. Returns the logarithm of its determinant.
double Invert(const Unknown_Matrix& Information, Unknown_Matrix& Inverse) {
  const Unknown_Vector Scale = Information.diagonal().cwiseSqrt().cwiseInverse();
  Unknown_Matrix Scaled = Scale.asDiagonal() * Information * Scale.asDiagonal();
  Scaled.diagonal().array() += Likelihood_Rounding;
  const Eigen::LDLT<Unknown_Matrix> Solver(Scaled);
  Inverse = Scale.asDiagonal() * Solver.solve(Unknown_Matrix::Identity()) * Scale.asDiagonal();
  Inverse = (0.5 * (Inverse + Inverse.transpose())).eval();
  return Log_Determinant(Solver.vectorD()) - 2.0 * Scale.array().log().sum();
}

// tr(A * B) without the product.
template <typename Left, typename Right>
double Trace_Of_Product(const Left& A, const Right& B) {
  return A.cwiseProduct(B.transpose()).sum();
}

// Weights, covariance of the unknowns, the step, and the likelihood with the squares that it
// leaves.
void Solve_Step(const std::vector<Linear_Row>& Rows, const Linear_Prior& Prior, const Variances& At,
                Likelihood_Terms& Terms) {
  Unknown_Matrix Information = Prior.Information;
  Unknown_Vector Pull = Prior.Information * Prior.Distance;
  double Logarithms = 0;
  for (const Linear_Row& Row : Rows) {
    const Eigen::LDLT<Matrix6d> Solver(Row_Covariance(Row, At));
    Terms.Weights.push_back(Solver.solve(Matrix6d::Identity()));
    Logarithms += Log_Determinant(Solver.vectorD());
    const Row_Derivative Weighted = Terms.Weights.back() * Row.Model.Derivative;
    Information.noalias() += Row.Model.Derivative.transpose() * Weighted;
    Pull.noalias() += Weighted.transpose() * Row.Model.Residual;
  }
  Logarithms += Invert(Information, Terms.Covariance);
  Terms.Step = Terms.Covariance * Pull;
  Terms.Squares_Gained = Terms.Step.dot(Pull);
  const double Squares = Weighted_Squares(Rows, Terms.Weights, Prior) - Terms.Squares_Gained;
  Terms.Log_Likelihood = -0.5 * (Logarithms + Squares);
}

// What the lag makes of a row: its weighted residual and how much of it the unknowns explain.
void Add_Row_Lag(const Linear_Row& Row, const Row_Derivative& Weighted, const Matrix6d& Weight,
                 Lag_Terms& Lag, Vector6d& Left, Matrix6d& Explained) {
  const Vector6d Followed = Weight * Following(Row, Lag);
  Left -= Lag.Step * (Weight * Row.Model.By_Lag);
  Explained += Lag.Variance * Followed * Followed.transpose();
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    const Vector6d Shaped = Row.Shapes[k] * Followed;
    Lag.Mixed_Loss[k] += Weighted.transpose() * Shaped;
    Lag.Loss[static_cast<int>(k)] += Followed.dot(Shaped);
  }
}

// One row's part of score, information and their sums.
void Add_Row(const Linear_Row& Row, const Matrix6d& Weight, Likelihood_Terms& Terms) {
  const Row_Derivative Weighted = Weight * Row.Model.Derivative;
  Vector6d Left = Weight * (Row.Model.Residual - Row.Model.Derivative * Terms.Step);
  Matrix6d Explained = Weighted * Terms.Covariance * Weighted.transpose();
  if (Terms.Lag) Add_Row_Lag(Row, Weighted, Weight, *Terms.Lag, Left, Explained);
  std::array<Matrix6d, Noise_Sources> Weighted_Shapes, Explained_Shapes;
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    const Matrix6d& Shape = Row.Shapes[k];
    Weighted_Shapes[k] = Weight * Shape;
    Explained_Shapes[k] = Explained * Shape;
    Terms.Information_Loss[k].noalias() += Weighted.transpose() * (Shape * Weighted);
    Terms.Score[static_cast<int>(k)] +=
        0.5 * (Left.dot(Shape * Left) - Weighted_Shapes[k].trace() + Explained_Shapes[k].trace());
  }
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      Terms.Variance_Information(static_cast<int>(k), static_cast<int>(l)) +=
          0.5 * Trace_Of_Product(Weighted_Shapes[k], Weighted_Shapes[l]) -
          Trace_Of_Product(Explained_Shapes[k], Weighted_Shapes[l]);
    }
  }
}

// The lag's part of what follows.
Eigen::Matrix3d Shared_Lag_Information(const Unknown_Matrix& Covariance, const Lag_Terms& Lag) {
  Eigen::Matrix3d Sum = 0.5 * Lag.Variance * Lag.Variance * Lag.Loss * Lag.Loss.transpose();
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      Sum(static_cast<int>(k), static_cast<int>(l)) +=
          Lag.Variance * Lag.Mixed_Loss[k].dot(Covariance * Lag.Mixed_Loss[l]);
    }
  }
  return Sum;
}

// What the unknowns, which all rows share, take from the information of the variances.
void Add_Shared_Information(Likelihood_Terms& Terms) {
  std::array<Unknown_Matrix, Noise_Sources> Shared;
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Shared[k] = Terms.Covariance * Terms.Information_Loss[k];
  }
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      Terms.Variance_Information(static_cast<int>(k), static_cast<int>(l)) +=
          0.5 * Trace_Of_Product(Shared[k], Shared[l]);
    }
  }
  if (Terms.Lag) Terms.Variance_Information += Shared_Lag_Information(Terms.Covariance, *Terms.Lag);
}

// How far a variance reaches, as the rows resolve it.
Variances Resolution(const Likelihood_Terms& Terms) {
  return Terms.Variance_Information.diagonal().cwiseSqrt().cwiseInverse();
}

// 1 for a variance that the likelihood may move, 0 for one that it presses against its limit.
Variances Free_Variances(const Likelihood_Terms& Terms, const Variances& At) {
  Variances Free = Variances::Ones();
  const Variances Reach = Resolution(Terms);
  for (int k = 0; k < Noise_Sources; ++k) {
    const bool Is_At_Limit = At[k] - Least[k] <= At_Limit * Reach[k];
    if (!std::isfinite(Reach[k]) || (Is_At_Limit && Terms.Score[k] <= 0.0)) Free[k] = 0.0;
  }
  return Free;
}

// The inverse of the information of the free variances; 0 for the others.
Eigen::Matrix3d Free_Inverse(const Likelihood_Terms& Terms, const Variances& Free) {
  const Variances Reach = Resolution(Terms);
  const Variances Scale =
      Reach.unaryExpr([](double Value) { return std::isfinite(Value) ? Value : 0.0; })
          .cwiseProduct(Free);
  // Held variances become rows and columns of the identity, and drop out again by their scale.
  const Eigen::Matrix3d Held = (Variances::Ones() - Free).asDiagonal();
  const Eigen::Matrix3d Scaled =
      Scale.asDiagonal() * Terms.Variance_Information * Scale.asDiagonal();
  const Eigen::Matrix3d Inverse = (Scaled + Held).ldlt().solve(Eigen::Matrix3d::Identity());
  return Scale.asDiagonal() * Inverse * Scale.asDiagonal();
}

}  // namespace

Matrix6d Row_Covariance(const Linear_Row& Row, const Variances& At) {
  Matrix6d Sum = Matrix6d::Zero();
  for (int k = 0; k < Noise_Sources; ++k) Sum += At[k] * Row.Shapes[static_cast<std::size_t>(k)];
  return Sum;
}

Likelihood_Terms Evaluate_Likelihood(const std::vector<Linear_Row>& Rows, const Linear_Prior& Prior,
                                     const Variances& At) {
  Likelihood_Terms Terms;
  Terms.Weights.reserve(Rows.size());
  for (Unknown_Matrix& Loss : Terms.Information_Loss) Loss.setZero();
  Solve_Step(Rows, Prior, At, Terms);
  if (Prior.Lag) Add_Lag(Rows, *Prior.Lag, Terms);
  for (std::size_t i = 0; i < Rows.size(); ++i) Add_Row(Rows[i], Terms.Weights[i], Terms);
  Add_Shared_Information(Terms);
  return Terms;
}

double Weighted_Squares(const std::vector<Linear_Row>& Rows, const std::vector<Matrix6d>& Weights,
                        const Linear_Prior& Prior) {
  double Sum = Prior.Distance.dot(Prior.Information * Prior.Distance);
  if (Prior.Lag) Sum += Prior.Lag->Information * Prior.Lag->Distance * Prior.Lag->Distance;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Sum += Rows[i].Model.Residual.dot(Weights[i] * Rows[i].Model.Residual);
  }
  return Sum;
}

Eigen::Matrix3d Variance_Covariance(const Likelihood_Terms& Terms, const Variances& At) {
  return Free_Inverse(Terms, Free_Variances(Terms, At));
}

Variances Next_Variances(const Likelihood_Terms& Terms, const Variances& At) {
  // The top of the likelihood's second-order model within the limits: a variance that would pass
  // its limit goes to it, and the others follow.
  Variances Free = Free_Variances(Terms, At);
  Variances Change = (Variances::Ones() - Free).cwiseProduct(Least - At);
  for (int k = 0; k < Noise_Sources; ++k) {
    const Variances Score_Left = Terms.Score - Terms.Variance_Information * Change;
    const Variances Others = Free_Inverse(Terms, Free) * Score_Left;
    const Variances Passed = (Least - At - Others).cwiseQuotient(Resolution(Terms));
    int Worst = -1;
    for (int l = 0; l < Noise_Sources; ++l) {
      const bool Passes = Free[l] > 0.0 && Passed[l] > 0.0;
      if (Passes && (Worst < 0 || Passed[l] > Passed[Worst])) Worst = l;
    }
    if (Worst < 0) return At + Change + Others;
    Free[Worst] = 0.0;
    Change[Worst] = Least[Worst] - At[Worst];
  }
  return At + Change;
}

}  // namespace rigsync
