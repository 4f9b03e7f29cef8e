// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/lens_solve_cost.h"

namespace rigsync {
namespace {

// The unknowns that are solved for: a pose for each image, and six of the lens.
constexpr double Unknowns_Per_Image = 6.0, Unknowns_Of_Lens = 6.0;

// Measured with bench/lens_solve_times.cpp, in seconds: the singular value decompositions of the
// system, in up to 30 steps, for each unknown cubed; the start of each pose; the derivatives for
// each corner.
constexpr double Seconds_Per_Cubed_Unknown = 3.9e-8;
constexpr double Seconds_Per_Image = 2.4e-3;
constexpr double Seconds_Per_Corner = 6.8e-6;

// The square matrices of the system that exist at a time, of doubles.
constexpr double Matrices = 7.2;

}  // namespace

Lens_Solve_Cost Expected_Lens_Solve(std::size_t Images, std::size_t Corners) {
  if (Images == 0) return {};
  const double Count = static_cast<double>(Images);
  const double Unknowns = Unknowns_Per_Image * Count + Unknowns_Of_Lens;
  Lens_Solve_Cost Cost;
  Cost.Seconds = Seconds_Per_Cubed_Unknown * Unknowns * Unknowns * Unknowns +
                 Count * (Seconds_Per_Image + Seconds_Per_Corner * static_cast<double>(Corners));
  Cost.Bytes = Matrices * sizeof(double) * Unknowns * Unknowns;
  return Cost;
}

Image_Amount Amount_Of(std::size_t Images) {
  if (Images > Most_Images) return Image_Amount::Too_Many;
  return Images >= Slow_From_Images ? Image_Amount::Slow : Image_Amount::Usual;
}

std::size_t Thinning_Step(std::size_t Images) {
  if (Images <= Enough_Images) return 1;
  return (Images + Enough_Images - 1) / Enough_Images;
}

}  // namespace rigsync
