// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/masked_correlation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace rigsync {
namespace {

// Transforms of a few dozen values round to about 1e-15 of the largest sum.
constexpr double Rounding = 1e-9;
constexpr double Gap = std::numeric_limits<double>::quiet_NaN();

// Pearson's coefficient from its definition, of the values that lie over each other.
double Direct(const Signal& A, const Signal& B, std::ptrdiff_t Shift, std::size_t& Count) {
  double Sum_A = 0, Sum_B = 0, Sum_AA = 0, Sum_BB = 0, Sum_AB = 0;
  Count = 0;
  for (std::size_t i = 0; i < B.size(); ++i) {
    const std::ptrdiff_t At = static_cast<std::ptrdiff_t>(i) + Shift;
    if (At < 0 || At >= static_cast<std::ptrdiff_t>(A.size())) continue;
    const double a = A[static_cast<std::size_t>(At)], b = B[i];
    if (std::isnan(a) || std::isnan(b)) continue;
    ++Count;
    Sum_A += a, Sum_B += b, Sum_AA += a * a, Sum_BB += b * b, Sum_AB += a * b;
  }
  const auto N = static_cast<double>(Count);
  return (N * Sum_AB - Sum_A * Sum_B) /
         std::sqrt((N * Sum_AA - Sum_A * Sum_A) * (N * Sum_BB - Sum_B * Sum_B));
}

TEST(MaskedCorrelation, IsPearsonsCoefficientAtEveryShiftWithGapsLeftOut) {
  Signal A, B;
  for (int i = 0; i < 41; ++i) A.push_back(i % 7 == 3 ? Gap : 5.0 + std::sin(0.9 * i * i));
  for (int i = 0; i < 23; ++i) B.push_back(i % 11 == 5 ? Gap : std::cos(1.3 * i * i) - 2.0);
  const Shift_Correlations All = Correlate(A, B, 6);
  ASSERT_EQ(All.First_Shift, -22);
  ASSERT_EQ(All.Coefficients.size(), 63U);
  std::size_t Compared = 0;
  for (std::size_t k = 0; k < All.Coefficients.size(); ++k) {
    std::size_t Count = 0;
    const double Expected = Direct(A, B, All.First_Shift + static_cast<std::ptrdiff_t>(k), Count);
    if (Count < 6) {
      EXPECT_TRUE(std::isnan(All.Coefficients[k])) << k;
      continue;
    }
    ++Compared;
    EXPECT_NEAR(All.Coefficients[k], Expected, Rounding) << k;
  }
  EXPECT_GT(Compared, 40U);
}

TEST(MaskedCorrelation, IsOneWhereASignalLiesOverItself) {
  Signal Whole;
  for (int i = 0; i < 50; ++i) Whole.push_back(std::sin(0.7 * i * i));
  const Signal Part(Whole.begin() + 17, Whole.begin() + 37);
  const Shift_Correlations All = Correlate(Whole, Part, 20);
  EXPECT_NEAR(All.Coefficients[static_cast<std::size_t>(17 - All.First_Shift)], 1.0, Rounding);
}

// A trend far above what varies must not take the digits of the sums.
TEST(MaskedCorrelation, IsTheSameForSignalsFarFromZero) {
  Signal A, B, High_A, High_B;
  for (int i = 0; i < 60; ++i) {
    A.push_back(std::sin(0.7 * i * i));
    B.push_back(std::cos(1.1 * i * i));
    High_A.push_back(A.back() + 1e7);
    High_B.push_back(B.back() - 1e7);
  }
  const Shift_Correlations Low = Correlate(A, B, 20), High = Correlate(High_A, High_B, 20);
  for (std::size_t k = 0; k < Low.Coefficients.size(); ++k) {
    if (std::isnan(Low.Coefficients[k])) continue;
    EXPECT_NEAR(High.Coefficients[k], Low.Coefficients[k], 1e-7) << k;
  }
}

TEST(MaskedCorrelation, IsUnknownWhereOneSideDoesNotVary) {
  const Shift_Correlations All = Correlate({1, 1, 1, 1, 2, 3}, {1, 4, 2}, 3);
  EXPECT_TRUE(std::isnan(All.Coefficients[static_cast<std::size_t>(0 - All.First_Shift)]));
  EXPECT_FALSE(std::isnan(All.Coefficients[static_cast<std::size_t>(3 - All.First_Shift)]));
}

}  // namespace
}  // namespace rigsync
