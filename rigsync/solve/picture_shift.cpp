// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/picture_shift.h"

#include <cmath>
#include <limits>

#include "rigsync/geometry/units.h"

namespace rigsync {
namespace {

// Newton's steps double the digits, from the distorted radius on.
constexpr int Most_Shift_Steps = 30;
constexpr double Settled_Shift = 1e-14;

double Distorted(const Lens& Of, double Radius) {
  const double Squared = Radius * Radius;
  return Radius * (1.0 + Squared * (Of.K1 + Squared * Of.K2));
}

double Slope(const Lens& Of, double Radius) {
  const double Squared = Radius * Radius;
  return 1.0 + Squared * (3.0 * Of.K1 + 5.0 * Squared * Of.K2);
}

// The radius that is distorted to this one, at distance 1. NaN beyond the largest that there is.
double Undistorted(const Lens& Of, double Distorted_Radius) {
  double Radius = Distorted_Radius;
  for (int Step = 0; Step < Most_Shift_Steps; ++Step) {
    const double Change = (Distorted(Of, Radius) - Distorted_Radius) / Slope(Of, Radius);
    Radius -= Change;
    if (!(Slope(Of, Radius) > 0.0) || Radius < 0.0) break;
    if (std::abs(Change) < Settled_Shift) return Radius;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

Lens Scaled(const Lens& Lens_Px, double By_Width, double By_Height) {
  return {By_Width * Lens_Px.Fx,
          By_Height * Lens_Px.Fy,
          By_Width * Lens_Px.Cx,
          By_Height * Lens_Px.Cy,
          Lens_Px.K1,
          Lens_Px.K2};
}

Eigen::Vector2d Pixel_Of(const Lens& Lens_Px, const Eigen::Vector3d& Point_Cam) {
  if (!(Point_Cam.z() > 0.0)) {
    return Eigen::Vector2d::Constant(std::numeric_limits<double>::quiet_NaN());
  }
  const Eigen::Vector2d Flat = Point_Cam.head<2>() / Point_Cam.z();
  const double Squared = Flat.squaredNorm();
  const Eigen::Vector2d Bent = (1.0 + Squared * (Lens_Px.K1 + Squared * Lens_Px.K2)) * Flat;
  return {Lens_Px.Fx * Bent.x() + Lens_Px.Cx, Lens_Px.Fy * Bent.y() + Lens_Px.Cy};
}

Eigen::Vector3d Point_At(const Lens& Lens_Px, const Eigen::Vector2d& Pixel, double Distance) {
  const Eigen::Vector2d Bent((Pixel.x() - Lens_Px.Cx) / Lens_Px.Fx,
                             (Pixel.y() - Lens_Px.Cy) / Lens_Px.Fy);
  const double Radius = Bent.norm();
  const Eigen::Vector2d Flat =
      Radius > 0.0 ? Eigen::Vector2d(Undistorted(Lens_Px, Radius) / Radius * Bent) : Bent;
  return Distance * Eigen::Vector3d(Flat.x(), Flat.y(), 1.0);
}

Picture_Shift Shift_In_Picture(const Drawing& Then, const Drawing& Now,
                               const Eigen::Vector2d& Pixel, double Distance) {
  const Eigen::Vector3d Point = Now.Transform_Cam_Tc * (Then.Transform_Cam_Tc.inverse() *
                                                        Point_At(Then.Lens_Px, Pixel, Distance));
  const Eigen::Vector2d Pixel_Now = Pixel_Of(Now.Lens_Px, Point);
  const Eigen::Vector3d Apart =
      Point_At(Now.Lens_Px, Pixel_Now, Distance) - Point_At(Now.Lens_Px, Pixel, Distance);
  return {Pixel, Pixel_Now - Pixel, Mm_In_Metre * Apart.norm()};
}

}  // namespace rigsync
