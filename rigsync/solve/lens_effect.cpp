// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_effect.h"

#include "rigsync/solve/lag_solve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace rigsync {

Unknowns_By_Lens Follow_Lens(const std::vector<Observation>& Kept, const Joint_Fit& Fit) {
  Unknowns_By_Lens By_Lens = Unknowns_By_Lens::Zero();
  for (std::size_t i = 0; i < Kept.size(); ++i) {
    By_Lens += Fit.Rows[i].Model.Derivative.transpose() * Fit.Terms.Weights[i] *
               Kept[i].Board.Lens_Sensitivity;
  }
  By_Lens = (Fit.Terms.Covariance * By_Lens).eval();
  if (Fit.Terms.Lag) By_Lens += Fit.Terms.Lag->Unknowns_By_Lag * Lag_By_Lens(Kept, Fit);
  return By_Lens;
}

Eigen::Matrix<double, 1, Lens_Parameters> Lag_By_Lens(const std::vector<Observation>& Kept,
                                                      const Joint_Fit& Fit) {
  const Lag_Terms& Lag = *Fit.Terms.Lag;
  Eigen::Matrix<double, 1, Lens_Parameters> By_Lens;
  By_Lens.setZero();
  for (std::size_t i = 0; i < Kept.size(); ++i) {
    By_Lens += Following(Fit.Rows[i], Lag).transpose() * Fit.Terms.Weights[i] *
               Kept[i].Board.Lens_Sensitivity;
  }
  return Lag.Variance * By_Lens;
}

double Lens_Factor(const Joint_Fit& Fit) {
  const double Deviation =
      std::sqrt(Variance_Covariance(Fit.Terms, Fit.Variance)(Corner_Noise, Corner_Noise));
  return std::max(1.0, Fit.Variance[Corner_Noise] - Deviation);
}

}  // namespace rigsync
