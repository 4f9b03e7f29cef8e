// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_effect.h"

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
  return Fit.Terms.Covariance * By_Lens;
}

double Lens_Factor(const Joint_Fit& Fit) {
  const double Deviation =
      std::sqrt(Variance_Covariance(Fit.Terms, Fit.Variance)(Corner_Noise, Corner_Noise));
  return std::max(1.0, Fit.Variance[Corner_Noise] - Deviation);
}

}  // namespace rigsync
