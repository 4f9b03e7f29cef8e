// SPDX-License-Identifier: Apache-2.0
//
// Random numbers that come out alike everywhere: the standard fixes what std::mt19937 delivers but
// not what its distributions make of it, so the scaling is done here.
#ifndef RIGSYNC_SIMULATE_RANDOM_H
#define RIGSYNC_SIMULATE_RANDOM_H

#include <Eigen/Core>

#include <cmath>
#include <cstdint>
#include <random>

namespace simulate {

class Random {
 public:
  // Each purpose draws from a Stream of its own, so that asking for noise or bad rows leaves the
  // poses as they are.
  Random(unsigned Seed, unsigned Stream) {
    std::seed_seq Mixed{Seed, Stream};
    Engine.seed(Mixed);
  }

  // From 0 to below 1, in steps of 2^-53.
  double Unit() {
    const std::uint64_t High = Engine() >> 5, Low = Engine() >> 6;
    return static_cast<double>((High << 26) | Low) * 0x1p-53;
  }

  double Between(double Low, double High) { return Low + (High - Low) * Unit(); }

  // From 0 to below Count.
  int Index(int Count) { return static_cast<int>(Unit() * Count); }

  // Normal with mean 0 and standard deviation 1, one of Box and Muller's pair.
  double Gaussian() {
    const double Radius = std::sqrt(-2.0 * std::log(1.0 - Unit()));
    return Radius * std::cos(6.28318530717958647692 * Unit());
  }

  Eigen::Vector3d Gaussian_Vector() {
    const double X = Gaussian(), Y = Gaussian(), Z = Gaussian();
    return {X, Y, Z};
  }

  // A direction, all equally likely.
  Eigen::Vector3d Direction() {
    Eigen::Vector3d Vector = Gaussian_Vector();
    while (!(Vector.norm() > 1e-6)) Vector = Gaussian_Vector();
    return Vector.normalized();
  }

 private:
  std::mt19937 Engine;
};

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_RANDOM_H
