// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/pixel_scale.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"

#include <algorithm>
#include <cmath>

namespace rigsync {

Pixel_Scale Scale_At(double Distance, const Eigen::Isometry3d& Transform_Cam_Tc,
                     const Lens& Lens_Px) {
  const double Tenth_Rad = 0.1 / Degrees_Per_Radian;
  const double Lever = (Eigen::Vector3d(0, 0, Distance) - Transform_Cam_Tc.translation()).norm();
  Pixel_Scale Scale;
  Scale.Distance = Distance;
  Scale.Mm_Per_Px = Mm_Of_Px(1.0, Distance, Lens_Px);
  Scale.Px_Per_Mm = 1.0 / Scale.Mm_Per_Px;
  Scale.Mm_Per_Tenth_Deg = Mm_In_Metre * Tenth_Rad * Lever;
  Scale.Px_Per_Tenth_Deg = Scale.Mm_Per_Tenth_Deg * Scale.Px_Per_Mm;
  return Scale;
}

std::optional<Board_Distances> Find_Board_Distances(const std::vector<Row_Error>& Errors) {
  std::vector<double> Distances;
  for (const Row_Error& Error : Errors) {
    if (Error.Is_Kept && std::isfinite(Error.Distance)) Distances.push_back(Error.Distance);
  }
  if (Distances.empty()) return std::nullopt;
  const auto [Nearest, Farthest] = std::minmax_element(Distances.begin(), Distances.end());
  return Board_Distances{*Nearest, Finite_Median(Distances), *Farthest};
}

double Mean_Error_Px(const std::vector<Row_Error>& Errors) {
  double Sum = 0;
  std::size_t Count = 0;
  for (const Row_Error& Error : Errors) {
    if (!Error.Is_Kept || !std::isfinite(Error.Mean_Px)) continue;
    Sum += Error.Mean_Px;
    ++Count;
  }
  return Count == 0 ? Row_Error::Unknown : Sum / static_cast<double>(Count);
}

}  // namespace rigsync
