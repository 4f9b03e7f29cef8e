// SPDX-License-Identifier: Apache-2.0
//
// Random numbers against the distributions that they claim. The limits are five standard deviations
// of the figure over so many draws, and the draws are the same on every machine.
#include "simulate/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using simulate::Random;

constexpr int Draws = 100'000;
const double Root = std::sqrt(static_cast<double>(Draws));

// The share of draws for which it holds; of a probability P the share is P +- 5 sqrt(P (1 - P) /
// n).
template <typename Draw>
double Share(Draw Holds) {
  int Count = 0;
  for (int i = 0; i < Draws; ++i) Count += Holds() ? 1 : 0;
  return static_cast<double>(Count) / Draws;
}

TEST(Random, UnitIsTheEnginesNumberOf53Bits) {
  std::seed_seq Mixed{7u, 3u};
  std::mt19937 Engine(Mixed);
  Random Generator(7, 3);
  for (int i = 0; i < 100; ++i) {
    const std::uint64_t High = Engine() / 32, Low = Engine() / 64;
    EXPECT_EQ(Generator.Unit(), std::ldexp(static_cast<double>(High), -27) +
                                    std::ldexp(static_cast<double>(Low), -53));
  }
}

TEST(Random, UnitIsEvenBetween0And1) {
  Random Generator(1, 1);
  EXPECT_EQ(Share([&] { return Generator.Unit() >= 0.0; }), 1.0);
  EXPECT_EQ(Share([&] { return Generator.Unit() < 1.0; }), 1.0);
  for (const double Part : {0.1, 0.5, 0.9}) {
    EXPECT_NEAR(Share([&] { return Generator.Unit() < Part; }), Part,
                5.0 * std::sqrt(Part * (1.0 - Part)) / Root);
  }
}

TEST(Random, SeedsAndStreamsGiveOtherNumbers) {
  EXPECT_EQ(Random(1, 2).Unit(), Random(1, 2).Unit());
  EXPECT_NE(Random(1, 2).Unit(), Random(1, 3).Unit());
  EXPECT_NE(Random(1, 2).Unit(), Random(2, 2).Unit());
  EXPECT_NE(Random(1, 2).Unit(), Random(2, 1).Unit());
}

TEST(Random, BetweenReachesFromLowToHigh) {
  Random Generator(2, 1), Twin(2, 1);
  for (int i = 0; i < 100; ++i) {
    EXPECT_DOUBLE_EQ(Generator.Between(-3.0, 5.0), -3.0 + 8.0 * Twin.Unit());
  }
}

TEST(Random, EveryIndexIsEquallyLikely) {
  Random Generator(3, 1);
  std::vector<int> Counts(4, 0);
  for (int i = 0; i < Draws; ++i) ++Counts.at(static_cast<std::size_t>(Generator.Index(4)));
  for (const int Count : Counts) {
    EXPECT_NEAR(static_cast<double>(Count) / Draws, 0.25, 5.0 * std::sqrt(0.25 * 0.75) / Root);
  }
}

// The shares within one, two and three standard deviations, from tables of the normal distribution.
TEST(Random, GaussianIsNormalWithMean0AndDeviation1) {
  Random Generator(4, 1);
  double Sum = 0.0, Squares = 0.0;
  for (int i = 0; i < Draws; ++i) {
    const double Value = Generator.Gaussian();
    Sum += Value;
    Squares += Value * Value;
  }
  EXPECT_NEAR(Sum / Draws, 0.0, 5.0 / Root);
  EXPECT_NEAR(Squares / Draws, 1.0, 5.0 * std::sqrt(2.0) / Root);
  for (const auto& [Limit, Part] :
       {std::pair<double, double>{1.0, 0.682689}, {2.0, 0.954500}, {3.0, 0.997300}}) {
    EXPECT_NEAR(Share([&, Limit = Limit] { return std::abs(Generator.Gaussian()) < Limit; }), Part,
                5.0 * std::sqrt(Part * (1.0 - Part)) / Root)
        << Limit;
  }
}

// Box and Muller's formula, of two numbers one after the other.
TEST(Random, AGaussianIsMadeOfTwoUnits) {
  Random Generator(4, 2), Twin(4, 2);
  constexpr double Whole_Turn = 2.0 * 3.14159265358979323846;
  for (int i = 0; i < 100; ++i) {
    const double First = Twin.Unit(), Second = Twin.Unit();
    EXPECT_NEAR(Generator.Gaussian(),
                std::sqrt(-2.0 * std::log1p(-First)) * std::cos(Whole_Turn * Second), 1e-14);
  }
}

TEST(Random, AGaussianVectorHasThreeDrawsOneAfterTheOther) {
  Random Generator(5, 1), Twin(5, 1);
  const Eigen::Vector3d Vector = Generator.Gaussian_Vector();
  for (int k = 0; k < 3; ++k) EXPECT_EQ(Vector[k], Twin.Gaussian()) << k;
}

// Of a sphere, parts of equal height have equal areas (Archimedes), so each coordinate is even
// between -1 and 1.
TEST(Random, ADirectionIsEvenOverTheSphere) {
  Random Generator(6, 1);
  for (int i = 0; i < 100; ++i) EXPECT_NEAR(Generator.Direction().norm(), 1.0, 1e-15);
  for (int k = 0; k < 3; ++k) {
    for (const double Height : {-0.8, 0.0, 0.8}) {
      const double Part = 0.5 * (1.0 + Height);
      EXPECT_NEAR(Share([&] { return Generator.Direction()[k] < Height; }), Part,
                  5.0 * std::sqrt(Part * (1.0 - Part)) / Root);
    }
  }
}

}  // namespace
