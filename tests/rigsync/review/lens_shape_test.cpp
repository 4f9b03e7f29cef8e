// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/lens_shape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace rigsync {
namespace {

TEST(LensShape, ACorrelationIsTheCovarianceOverBothDeviations) {
  Matrix6d Covariance = Vector6d(4, 9, 1, 1, 1, 1).asDiagonal();
  Covariance(0, 1) = Covariance(1, 0) = -3;
  const Matrix6d Correlation = Correlation_Of(Covariance);
  EXPECT_DOUBLE_EQ(Correlation(0, 1), -0.5);
  EXPECT_DOUBLE_EQ(Correlation(1, 1), 1.0);
  EXPECT_TRUE(Is_Known(Covariance));
  EXPECT_FALSE(Is_Known(Matrix6d::Zero()));
  Covariance(5, 5) = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(Is_Known(Covariance));
}

// With K1 alone and f = 1000: a point at r = 0.5 is drawn 1000 * 0.1 * 0.125 = 12.5 pixels beyond
// 500, and 1.96 deviations of K1 move it by 1000 * 1.96 * 0.01 * 0.125.
TEST(LensShape, TheCurveIsTheModelsShiftWithItsRange) {
  Matrix6d Covariance = Matrix6d::Identity();
  Covariance(4, 4) = 1e-4;
  Covariance(5, 5) = 1e-30;
  const auto Curve = Distortion_Curve({800, 1250, 0, 0, 0.1, 0}, Covariance, 512.5);
  ASSERT_GT(Curve.size(), 20u);
  EXPECT_EQ(Curve.front().Radius_Px, 0.0);
  EXPECT_EQ(Curve.front().Shift_Px, 0.0);
  EXPECT_GE(Curve.back().Radius_Px, 512.5);
  for (const Distortion_Point& Point : Curve) {
    const double R = (Point.Radius_Px - Point.Shift_Px) / 1000;
    EXPECT_NEAR(Point.Shift_Px, 100 * R * R * R, 1e-9);
    EXPECT_NEAR(Point.Half_Width_Px, 19.59964 * R * R * R, 1e-9);
  }
}

// r - r^3 is largest at r = sqrt(1/3), where it is 0.3849.
TEST(LensShape, TheCurveEndsWhereTheModelTurnsBack) {
  const auto Curve = Distortion_Curve({1000, 1000, 0, 0, -1, 0}, Matrix6d::Zero(), 900);
  ASSERT_FALSE(Curve.empty());
  EXPECT_NEAR(Curve.back().Radius_Px, 384.9, 1.0);
  EXPECT_EQ(Curve.back().Half_Width_Px, 0.0);
}

// Tables of F with 3 and infinitely many degrees of freedom have 5.42 at 0.1 %.
TEST(LensShape, OnlyAnUnlikelyFAsksForMore) {
  Lens_Model_Check Check;
  for (const auto& [F, Asks] : {std::pair{5.41, false}, {5.42, false}, {5.43, true}}) {
    Check.F = F;
    EXPECT_EQ(Asks_For_More(Check), Asks) << F;
  }
  Check.F = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(Asks_For_More(Check));
}

TEST(LensShape, ALensOfNoNumbersHasNoCurve) {
  const double None = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(Distortion_Curve({None, None, 0, 0, 0, 0}, Matrix6d::Zero(), 500).empty());
  EXPECT_TRUE(Distortion_Curve({}, Matrix6d::Zero(), 500).empty());
}

}  // namespace
}  // namespace rigsync
