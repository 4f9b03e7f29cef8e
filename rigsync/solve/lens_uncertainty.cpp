// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_uncertainty.h"

#include <cmath>
#include <limits>

namespace rigsync {
namespace {

constexpr double Normal_Quantile = 1.959964;  // 97.5 % are below

}  // namespace

Vector6d Lens_Half_Widths(const Matrix6d& Lens_Covariance) {
  Vector6d Half_Widths;
  for (int k = 0; k < Lens_Parameters; ++k) {
    const double Variance = Lens_Covariance(k, k);
    Half_Widths[k] = Variance > 0.0 && std::isfinite(Variance)
                         ? Normal_Quantile * std::sqrt(Variance)
                         : std::numeric_limits<double>::infinity();
  }
  return Half_Widths;
}

}  // namespace rigsync
