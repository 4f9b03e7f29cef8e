// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/camera_numbers.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Pixels between where a pinhole draws the point that belongs to this pixel, and where the lens
// does.
double Distortion_Px(const Lens& Lens_Px, double X, double Y) {
  const double x = (X - Lens_Px.Cx) / Lens_Px.Fx, y = (Y - Lens_Px.Cy) / Lens_Px.Fy;
  const double R2 = x * x + y * y;
  const double Part = Lens_Px.K1 * R2 + Lens_Px.K2 * R2 * R2;
  return std::abs(Part) * std::hypot(Lens_Px.Fx * x, Lens_Px.Fy * y);
}

}  // namespace

std::array<double, 2> Sensor_Or_Nominal(const std::optional<std::array<double, 2>>& Sensor_Mm,
                                        int Width, int Height) {
  constexpr double Nominal_Width_Mm = 36.0;
  return Sensor_Mm.value_or(
      std::array<double, 2>{Nominal_Width_Mm, Nominal_Width_Mm * Height / Width});
}

std::string Nominal_Sensor_Text() {
  return "The size of the sensor is not known, so a sensor 36 mm wide stands in for it: the "
         "picture is the same, but the focal length is not the one engraved on the lens. State "
         "the size with --sensor.";
}

// On a grid with the border. An extremum within the frame that is the largest of all is far from
// the principal point, so it is flat, and the grid point beside it is low by less than a
// thousandth.
double Largest_Distortion_Px(const Solved_Camera& Camera) {
  constexpr int Steps = 200;
  double Most = 0.0;
  for (int i = 0; i <= Steps; ++i) {
    for (int k = 0; k <= Steps; ++k) {
      const double X = (Camera.Width - 1.0) * i / Steps, Y = (Camera.Height - 1.0) * k / Steps;
      Most = std::max(Most, Distortion_Px(Camera.Lens_Px, X, Y));
    }
  }
  return Most;
}

}  // namespace rigsync
