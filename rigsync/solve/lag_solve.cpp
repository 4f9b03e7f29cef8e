// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lag_solve.h"

#include <cmath>

namespace rigsync {
namespace {

// Kenward and Roger's sum of Q - P Phi P, for unknowns that follow the lag: of the lag, of lag and
// unknowns, and what the lag takes from that of the unknowns.
struct Weight_Sums {
  double Of_Lag = 0;
  Unknown_Vector Mixed = Unknown_Vector::Zero();
  Unknown_Matrix Taken = Unknown_Matrix::Zero();
};

void Add_Row(const Linear_Row& Row, const Matrix6d& Weight, const Lag_Terms& Lag,
             const Eigen::Matrix3d& Variance_Covariance, Weight_Sums& Sums) {
  const Vector6d Weighted = Weight * Following(Row, Lag);
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Matrix6d Others = Matrix6d::Zero();
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      Others += Variance_Covariance(static_cast<int>(k), static_cast<int>(l)) * Row.Shapes[l];
    }
    const Vector6d Shaped = Weight * (Row.Shapes[k] * (Weight * (Others * Weighted)));
    Sums.Of_Lag += Following(Row, Lag).dot(Shaped);
    Sums.Mixed += Row.Model.Derivative.transpose() * Shaped;
  }
}

Weight_Sums Sum_Weights(const std::vector<Linear_Row>& Rows, const Likelihood_Terms& Terms,
                        const Eigen::Matrix3d& Variance_Covariance) {
  const Lag_Terms& Lag = *Terms.Lag;
  Weight_Sums Sums;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Add_Row(Rows[i], Terms.Weights[i], Lag, Variance_Covariance, Sums);
  }
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    for (std::size_t l = 0; l < Noise_Sources; ++l) {
      const int Source = static_cast<int>(k), Other = static_cast<int>(l);
      const double By = Variance_Covariance(Source, Other);
      const Unknown_Vector Bent = Terms.Covariance * Lag.Mixed_Loss[l];
      Sums.Of_Lag -=
          By * (Lag.Mixed_Loss[k].dot(Bent) + Lag.Variance * Lag.Loss[Source] * Lag.Loss[Other]);
      Sums.Mixed -= By * (Terms.Information_Loss[k] * Bent +
                          Lag.Variance * Lag.Loss[Other] * Lag.Mixed_Loss[k]);
      Sums.Taken += By * Lag.Variance * Lag.Mixed_Loss[k] * Lag.Mixed_Loss[l].transpose();
    }
  }
  return Sums;
}

}  // namespace

Lag_Evidence Evidence_Of(const Lag_Estimate& Lag) {
  if (Lag.Is_Stated) return Lag_Evidence::Stated;
  if (!(Lag.Half_Width_Seconds <= Widest_Told_Lag)) return Lag_Evidence::Open;
  return std::abs(Lag.Seconds) <= Lag.Half_Width_Seconds ? Lag_Evidence::Not_Seen
                                                         : Lag_Evidence::Found;
}

Vector6d Following(const Linear_Row& Row, const Lag_Terms& Lag) {
  return Row.Model.By_Lag + Row.Model.Derivative * Lag.Unknowns_By_Lag;
}

void Add_Lag(const std::vector<Linear_Row>& Rows, const Lag_Prior& Prior, Likelihood_Terms& Terms) {
  Lag_Terms Lag;
  for (Unknown_Vector& Loss : Lag.Mixed_Loss) Loss.setZero();
  Unknown_Vector Mixed = Unknown_Vector::Zero();
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Mixed += Rows[i].Model.Derivative.transpose() * (Terms.Weights[i] * Rows[i].Model.By_Lag);
  }
  Lag.Unknowns_By_Lag = -Terms.Covariance * Mixed;
  double Information = Prior.Information, Pull = Prior.Information * Prior.Distance;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Row_Model& Model = Rows[i].Model;
    const Vector6d Weighted = Terms.Weights[i] * Model.By_Lag;
    Information += Weighted.dot(Following(Rows[i], Lag));
    Pull += Weighted.dot(Model.Residual - Model.Derivative * Terms.Step);
  }
  Lag.Variance = 1.0 / Information;
  Lag.Step = Lag.Variance * Pull;
  const double Gained = Lag.Step * Pull;
  Terms.Step += Lag.Step * Lag.Unknowns_By_Lag;
  Terms.Squares_Gained += Gained;
  Terms.Log_Likelihood += 0.5 * (Gained + std::log(Lag.Variance));
  Terms.Lag = Lag;
}

void Add_Lag_Uncertainty(const std::vector<Linear_Row>& Rows, const Likelihood_Terms& Terms,
                         Unknown_Uncertainty& Unknown) {
  const Lag_Terms& Lag = *Terms.Lag;
  const Unknown_Vector& By_Lag = Lag.Unknowns_By_Lag;
  const Weight_Sums Sums = Sum_Weights(Rows, Terms, Unknown.Variance_Covariance);
  Unknown.Lag_Variance = Lag.Variance + 2.0 * Lag.Variance * Lag.Variance * Sums.Of_Lag;
  Unknown.Lag_Variance_By_Variance = Lag.Variance * Lag.Variance * Lag.Loss;
  const Unknown_Matrix Mixed =
      2.0 * Lag.Variance * Terms.Covariance * Sums.Mixed * By_Lag.transpose();
  Unknown.Covariance += Unknown.Lag_Variance * By_Lag * By_Lag.transpose() + Mixed +
                        Mixed.transpose() - 2.0 * Terms.Covariance * Sums.Taken * Terms.Covariance;
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    const Unknown_Vector Bent = Terms.Covariance * Lag.Mixed_Loss[k];
    Unknown.Row_Covariance_By_Variance[k] +=
        Lag.Variance * (Bent * By_Lag.transpose() + By_Lag * Bent.transpose()) +
        Unknown.Lag_Variance_By_Variance[static_cast<int>(k)] * By_Lag * By_Lag.transpose();
  }
}

double Lag_Half_Width(const Unknown_Uncertainty& Unknown) {
  const double Spread = Unknown.Lag_Variance_By_Variance.dot(Unknown.Variance_Covariance *
                                                             Unknown.Lag_Variance_By_Variance);
  const double Squared = Unknown.Lag_Variance * Unknown.Lag_Variance;
  const double Freedom = Spread > 0.0 ? 2.0 * Squared / Spread : Known_Freedom;
  return Half_Width_Factor(Freedom) * std::sqrt(Unknown.Lag_Variance);
}

}  // namespace rigsync
