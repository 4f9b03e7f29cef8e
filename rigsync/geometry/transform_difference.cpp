// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/transform_difference.h"

#include "rigsync/geometry/angle.h"

#include <cmath>
#include <cstddef>

namespace rigsync {

namespace {

double Element(const std::vector<double>& Transform, std::size_t r, std::size_t c) {
  return Transform[4 * r + c];
}

}  // namespace

std::vector<double> Translation_Difference_Mm(const std::vector<double>& A,
                                              const std::vector<double>& B) {
  std::vector<double> Difference;
  for (std::size_t r = 0; r < 3; ++r) {
    Difference.push_back((Element(A, r, 3) - Element(B, r, 3)) * 1000.0);
  }
  return Difference;
}

double Rotation_Difference_Deg(const std::vector<double>& A, const std::vector<double>& B) {
  // D = transpose(A) * B is the rotation between them. cos(angle) = (trace(D) - 1) / 2 alone loses
  // small angles, because it is flat near 0. sin(angle) is half the length of the vector of D's
  // antisymmetric part, and atan2 of the two is accurate everywhere.
  double D[3][3];
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) {
      D[r][c] = 0;
      for (std::size_t k = 0; k < 3; ++k) D[r][c] += Element(A, k, r) * Element(B, k, c);
    }
  }
  const double Sine = std::hypot(D[2][1] - D[1][2], D[0][2] - D[2][0], D[1][0] - D[0][1]) / 2.0;
  const double Cosine = (D[0][0] + D[1][1] + D[2][2] - 1.0) / 2.0;
  return std::atan2(Sine, Cosine) * Degrees_Per_Radian;
}

}  // namespace rigsync
