// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/solution_difference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Matrix6d;
using rigsync::Mount_Uncertainty;
using rigsync::Vector6d;

Mount_Uncertainty Known_To(double Deviation, double Freedom) {
  Mount_Uncertainty Mount;
  Mount.Covariance = Deviation * Deviation * Matrix6d::Identity();
  Mount.Freedom = Vector6d::Constant(Freedom);
  Mount.Joint_Freedom = Freedom;
  return Mount;
}

// Two means of equal variance: both formulas give the sum of the freedoms.
TEST(SolutionDifference, EqualUncertaintiesAddTheirVariancesAndFreedoms) {
  const auto Sum = rigsync::Uncertainty_Of_Difference(Known_To(0.003, 20), Known_To(0.003, 20));
  EXPECT_NEAR(Sum.Covariance(4, 4), 2 * 9e-6, 1e-18);
  EXPECT_NEAR(Sum.Freedom[4], 40.0, 1e-9);
  EXPECT_NEAR(Sum.Joint_Freedom, 40.0, 1e-9);
  // t with 40 degrees of freedom is below 2.0211 in 97.5 % of cases, by printed tables.
  EXPECT_NEAR(Sum.Half_Width_Mm[1], 2.0211 * std::sqrt(2.0) * 3.0, 1e-3);
  EXPECT_NEAR(Sum.Widest_Mm.Half_Width, Sum.Half_Width_Mm[1], 1e-9);
}

// Of variances of 1 and 6: where all numbers are alike, both formulas are (1 + 6)^2 over the sum of
// the squared variances, each divided by its freedom.
TEST(SolutionDifference, FreedomsCountByTheSquareOfTheirVariance) {
  const double Root = std::sqrt(6.0);
  const auto Sum =
      rigsync::Uncertainty_Of_Difference(Known_To(0.001, 20), Known_To(0.001 * Root, 9));
  const double Freedom = 49.0 / (1.0 / 20.0 + 36.0 / 9.0);
  EXPECT_NEAR(Sum.Freedom[2], Freedom, 1e-12 * Freedom);
  EXPECT_NEAR(Sum.Joint_Freedom, Freedom, 1e-12 * Freedom);
}

TEST(SolutionDifference, AnExactMountLeavesTheFreedomOfTheOther) {
  const auto Sum = rigsync::Uncertainty_Of_Difference(Known_To(0.003, 20), Known_To(1e-9, 3));
  EXPECT_NEAR(Sum.Freedom[0], 20.0, 1e-9);
  EXPECT_NEAR(Sum.Joint_Freedom, 20.0, 1e-9);
}

TEST(SolutionDifference, NothingIsKnownWhereOneSideKnowsNothing) {
  const auto Sum = rigsync::Uncertainty_Of_Difference(Known_To(0.003, 20), {});
  EXPECT_EQ(Sum.Half_Width_Mm.x(), HUGE_VAL);
  EXPECT_TRUE(std::isnan(rigsync::Probability_Of_Less(Sum, Vector6d::Ones())));
}

// F with 6 and 40 degrees of freedom is below 2.3359 in 95 % of cases, with 3 and 40 below 2.8387,
// by printed tables.
TEST(SolutionDifference, TheProbabilitiesAreThoseOfF) {
  const Mount_Uncertainty Sum = Known_To(0.5, 40);
  Vector6d Motion = Vector6d::Zero();
  Motion[5] = 0.5 * std::sqrt(6 * 2.3359);
  EXPECT_NEAR(rigsync::Probability_Of_Less(Sum, Motion), 0.95, 1e-5);
  EXPECT_NEAR(rigsync::Probability_Of_Less_Turn(Sum, Motion), 0.0, 1e-12);
  Motion[5] = 0.5 * std::sqrt(3 * 2.8387);
  EXPECT_NEAR(rigsync::Probability_Of_Less_Shift(Sum, Motion), 0.95, 1e-5);
}

// F with 5 and 40 degrees of freedom is below 2.4495 in 95 % of cases, by printed tables.
TEST(SolutionDifference, TheWayAlongTheOpticalAxisCanBeLeftOut) {
  const Mount_Uncertainty Sum = Known_To(0.5, 40);
  Vector6d Motion = Vector6d::Zero();
  Motion[5] = 100.0;
  EXPECT_NEAR(rigsync::Probability_Of_Less_Beside_Axis(Sum, Motion), 0.0, 1e-12);
  for (int k = 0; k < 5; ++k) {
    Vector6d Beside = Motion;
    Beside[k] = 0.5 * std::sqrt(5 * 2.4495);
    EXPECT_NEAR(rigsync::Probability_Of_Less_Beside_Axis(Sum, Beside), 0.95, 1e-5) << k;
  }
}

// Chi-square with 6 degrees of freedom is below 12.592 in 95 % of cases, by printed tables.
TEST(SolutionDifference, ALensIsJudgedByItsCovarianceAlone) {
  Vector6d Scale, Difference = Vector6d::Zero();
  Scale << 1, 1, 1, 1, 1e-3, 1e-2;
  const Matrix6d Covariance = Matrix6d(Scale.cwiseAbs2().asDiagonal());
  Difference[4] = 1e-3 * std::sqrt(12.592);
  // Half of the table's last digit is 1e-5 of the probability.
  EXPECT_NEAR(rigsync::Probability_Of_Less_Lens(Covariance, Difference), 0.95, 1e-5);
  EXPECT_TRUE(std::isnan(rigsync::Probability_Of_Less_Lens(Matrix6d::Zero(), Difference)));
}

}  // namespace
