// SPDX-License-Identifier: Apache-2.0
//
// Random numbers that are the same on every platform. The standard defines the output of
// std::mt19937 but not that of its distributions, so the distributions are implemented here.
#ifndef RIGSYNC_SIMULATE_RANDOM_H
#define RIGSYNC_SIMULATE_RANDOM_H

#include <Eigen/Core>

#include <cmath>
#include <cstdint>
#include <random>

namespace simulate {

class Random {
 public:
  // Each purpose draws from its own Stream, so that poses do not change when noise or bad rows are
  // added.
  Random(unsigned Seed, unsigned Stream) {
    std::seed_seq Mixed{Seed, Stream};
    Engine.seed(Mixed);
  }

  // Uniform, at least 0 and below 1, in steps of 2^-53.
  double Unit() {
    const std::uint64_t High = Engine() >> 5, Low = Engine() >> 6;
    return static_cast<double>((High << 26) | Low) * 0x1p-53;
  }

  double Between(double Low, double High) { return Low + (High - Low) * Unit(); }

  // At least 0 and below Count.
  int Index(int Count) { return static_cast<int>(Unit() * Count); }

  // Normal with mean 0 and standard deviation 1, by the Box-Muller method.
  double Gaussian() {
    const double Radius = std::sqrt(-2.0 * std::log(1.0 - Unit()));
    return Radius * std::cos(6.28318530717958647692 * Unit());
  }

  Eigen::Vector3d Gaussian_Vector() {
    const double X = Gaussian(), Y = Gaussian(), Z = Gaussian();
    return {X, Y, Z};
  }

  // A unit vector, uniform over all directions.
  Eigen::Vector3d Direction() {
    Eigen::Vector3d Vector = Gaussian_Vector();
    while (Vector.isZero()) Vector = Gaussian_Vector();
    return Vector.normalized();
  }

 private:
  std::mt19937 Engine;
};

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_RANDOM_H
