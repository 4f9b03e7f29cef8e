// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/model_average.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

std::vector<double> Probabilities_Of(const std::vector<Explanation>& All) {
  double Most = -INFINITY;
  for (const Explanation& Each : All) Most = std::max(Most, Each.Log_Evidence);
  std::vector<double> Probabilities;
  double Sum = 0;
  for (const Explanation& Each : All) {
    const double Probability = std::exp(Each.Log_Evidence - Most);
    Probabilities.push_back(std::isfinite(Probability) ? Probability : 0.0);
    Sum += Probabilities.back();
  }
  if (!(Sum > 0.0)) Probabilities.front() = Sum = 1.0;
  for (double& Probability : Probabilities) Probability /= Sum;
  return Probabilities;
}

}  // namespace

bool Is_Hopeless(double Gain) {
  return !(Gain > -10.0);
}

Average_Explanation Average(const std::vector<Explanation>& All) {
  Average_Explanation Mean;
  Mean.Probabilities = Probabilities_Of(All);
  Unknown_Uncertainty& Sum = Mean.Uncertainty;
  for (Unknown_Matrix& Derivative : Sum.Row_Covariance_By_Variance) Derivative.setZero();
  for (std::size_t i = 0; i < All.size(); ++i) {
    Mean.Motion += Mean.Probabilities[i] * All[i].Motion;
    Mean.Lag_Change += Mean.Probabilities[i] * All[i].Lag_Change;
  }
  for (std::size_t i = 0; i < All.size(); ++i) {
    const double Part = Mean.Probabilities[i];
    const Unknown_Vector Away = All[i].Motion - Mean.Motion;
    Sum.Covariance += Part * (All[i].Uncertainty.Covariance + Away * Away.transpose());
    Sum.Variance_Covariance += Part * All[i].Uncertainty.Variance_Covariance;
    for (std::size_t k = 0; k < Noise_Sources; ++k) {
      Sum.Row_Covariance_By_Variance[k] += Part * All[i].Uncertainty.Row_Covariance_By_Variance[k];
    }
    const double Lag_Away = All[i].Lag_Change - Mean.Lag_Change;
    Sum.Lag_Variance += Part * (All[i].Uncertainty.Lag_Variance + Lag_Away * Lag_Away);
    Sum.Lag_Variance_By_Variance += Part * All[i].Uncertainty.Lag_Variance_By_Variance;
  }
  return Mean;
}

}  // namespace rigsync
