// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/lens_shape.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr double Normal_Quantile = 1.959964;  // 97.5 % are below
// Of F with 3 and thousands of degrees of freedom, 0.1 % are above.
constexpr double Unlikely_F = 5.42;
constexpr int Curve_Points = 60;
constexpr int K1_At = 4, K2_At = 5;  // in a lens's covariance

}  // namespace

bool Is_Known(const Matrix6d& Lens_Covariance) {
  return Lens_Covariance.allFinite() && (Lens_Covariance.diagonal().array() > 0.0).all();
}

Matrix6d Correlation_Of(const Matrix6d& Lens_Covariance) {
  const Vector6d Scale = Lens_Covariance.diagonal().cwiseSqrt().cwiseInverse();
  return Scale.asDiagonal() * Lens_Covariance * Scale.asDiagonal();
}

bool Asks_For_More(const Lens_Model_Check& Check) {
  return Check.F > Unlikely_F;
}

std::vector<Distortion_Point> Distortion_Curve(const Lens& Lens_Px, const Matrix6d& Lens_Covariance,
                                               double To_Radius_Px) {
  const double Focal = std::sqrt(Lens_Px.Fx * Lens_Px.Fy);
  const bool Has_Band = Is_Known(Lens_Covariance);
  std::vector<Distortion_Point> Curve;
  if (!(Focal > 0.0) || !(To_Radius_Px > 0.0)) return Curve;
  const double Step = To_Radius_Px / Focal / Curve_Points;
  for (double R = 0.0;; R += Step) {
    const double Cubed = R * R * R, Fifth = Cubed * R * R;
    const double Shift = Focal * (Lens_Px.K1 * Cubed + Lens_Px.K2 * Fifth);
    const double Radius = Focal * R + Shift;
    if (!std::isfinite(Radius) || (!Curve.empty() && Radius <= Curve.back().Radius_Px)) break;
    Distortion_Point Point{Radius, Shift, 0.0};
    if (Has_Band) {
      const double Variance = Cubed * Cubed * Lens_Covariance(K1_At, K1_At) +
                              2.0 * Cubed * Fifth * Lens_Covariance(K1_At, K2_At) +
                              Fifth * Fifth * Lens_Covariance(K2_At, K2_At);
      Point.Half_Width_Px = Normal_Quantile * Focal * std::sqrt(std::max(Variance, 0.0));
    }
    Curve.push_back(Point);
    if (Radius >= To_Radius_Px) break;
  }
  return Curve;
}

}  // namespace rigsync
