// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/exact_square.h"

#include <cmath>

namespace rigsync {
Exact_Square Fit_Exact_Square(const std::vector<Observation>& Rows, const Joint_Fit& Free,
                              const Fit_Settings& Settings, double Prior_Probability) {
  Exact_Square Square;
  const bool Is_Asked = Prior_Probability > 0.0 && Settings.Scale_Deviation > Exact_Scale_Deviation;
  if (!Is_Asked) return Square;
  Fit_Settings Exact_Settings = Settings;
  Exact_Settings.Scale_Deviation = Exact_Scale_Deviation;
  Mounts Start = Free.At;
  Start.Square_Scale = 1.0;
  Square.Fit = Fit_Rows(Rows, Start, Free.Variance, Exact_Settings);
  if (!Square.Fit.Has_Converged) return Square;
  Square.Motion = Step_Between(Free.At, Square.Fit.At);
  Square.Lag_Change = Square.Fit.At.Lag_Seconds - Free.At.Lag_Seconds;
  // Each likelihood lacks the constant of its own prior.
  const double Log_Odds = Square.Fit.Terms.Log_Likelihood - Free.Terms.Log_Likelihood +
                          std::log(Settings.Scale_Deviation / Exact_Scale_Deviation) +
                          std::log(Prior_Probability) - std::log1p(-Prior_Probability);
  Square.Probability = 1.0 / (1.0 + std::exp(-Log_Odds));
  return Square;
}

Unknown_Uncertainty Average(const Unknown_Uncertainty& Free, const Unknown_Uncertainty& Exact,
                            const Exact_Square& Square) {
  const double Part = Square.Probability;
  Unknown_Uncertainty Both = Free;
  Both.Covariance = Part * Exact.Covariance + (1.0 - Part) * Free.Covariance +
                    Part * (1.0 - Part) * Square.Motion * Square.Motion.transpose();
  Both.Variance_Covariance =
      Part * Exact.Variance_Covariance + (1.0 - Part) * Free.Variance_Covariance;
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Both.Row_Covariance_By_Variance[k] = Part * Exact.Row_Covariance_By_Variance[k] +
                                         (1.0 - Part) * Free.Row_Covariance_By_Variance[k];
  }
  Both.Lag_Variance = Part * Exact.Lag_Variance + (1.0 - Part) * Free.Lag_Variance +
                      Part * (1.0 - Part) * Square.Lag_Change * Square.Lag_Change;
  Both.Lag_Variance_By_Variance =
      Part * Exact.Lag_Variance_By_Variance + (1.0 - Part) * Free.Lag_Variance_By_Variance;
  return Both;
}

}  // namespace rigsync
