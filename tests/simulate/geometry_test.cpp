// SPDX-License-Identifier: Apache-2.0
//
// The lens model of the simulator, against the polynomial that it is and roots worked by hand.
#include "simulate/geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using simulate::Fold_Radius;
using simulate::Lens;
using simulate::Undistorted_Radius;

Lens With(double K1, double K2) {
  Lens Model;
  Model.K1 = K1;
  Model.K2 = K2;
  return Model;
}

double Distorted(const Lens& Model, double R) {
  return R + Model.K1 * std::pow(R, 3) + Model.K2 * std::pow(R, 5);
}

// The derivative of the distorted radius is 1 + 3 K1 s + 5 K2 s^2, with s the square of the radius.
TEST(FoldRadius, IsWhereTheDistortedRadiusStopsToIncrease) {
  EXPECT_DOUBLE_EQ(Fold_Radius(With(-1.0 / 3.0, 0.0)), 1.0);  // 1 - s
  EXPECT_DOUBLE_EQ(Fold_Radius(With(0.0, -0.2)), 1.0);        // 1 - s^2
  EXPECT_DOUBLE_EQ(Fold_Radius(With(-0.5, 0.1)), 1.0);        // 1 - 1.5 s + 0.5 s^2: at 1 and at 2
  EXPECT_DOUBLE_EQ(Fold_Radius(With(-0.5, -0.5 / 5.0)),       // 1 - 1.5 s - 0.5 s^2
                   std::sqrt(0.5 * (std::sqrt(17.0) - 3.0)));
  EXPECT_DOUBLE_EQ(Fold_Radius(With(0.5, -0.5)), 1.0);  // 1 + 1.5 s - 2.5 s^2: at -0.4 and at 1
}

TEST(FoldRadius, IsInfiniteWhereItAlwaysIncreases) {
  const double Infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Fold_Radius(With(0.0, 0.0)), Infinity);
  EXPECT_EQ(Fold_Radius(With(0.1, 0.0)), Infinity);
  EXPECT_EQ(Fold_Radius(With(0.1, 0.2)), Infinity);
  EXPECT_EQ(Fold_Radius(With(0.5, 0.1)), Infinity);    // roots at -1 and -2
  EXPECT_EQ(Fold_Radius(With(-0.3, 0.05)), Infinity);  // 0.81 - 1 below the root
}

// From every start, also where Newton's steps lead out of the range of radii.
TEST(UndistortedRadius, IsTheRadiusThatWasDistorted) {
  for (const Lens& Model : {With(-0.09, 0.03), With(-0.5, 0.1), With(-0.3, 0.0541), With(0.3, 0.2),
                            With(0.0, -0.2), With(-1.0 / 3.0, 0.0)}) {
    const double Fold = Fold_Radius(Model), Largest = std::isfinite(Fold) ? 0.999 * Fold : 4.0;
    for (int i = 1; i <= 40; ++i) {
      const double Radius = Largest * i / 40.0;
      for (double Start = 0.0; Start <= 5.0; Start += 0.05) {
        // The slope is 0.002 or more, so that a distorted radius exact to 1e-15 gives this.
        ASSERT_NEAR(Undistorted_Radius(Model, Distorted(Model, Radius), Fold, Start), Radius, 2e-12)
            << Model.K1 << ' ' << Model.K2 << ' ' << Start;
      }
    }
  }
}

TEST(UndistortedRadius, IsNoNumberFromTheFoldOn) {
  const Lens Model = With(-1.0 / 3.0, 0.0);  // 2 / 3 at the fold
  EXPECT_TRUE(std::isnan(Undistorted_Radius(Model, 0.667, 1.0, 0.5)));
  EXPECT_TRUE(std::isnan(Undistorted_Radius(Model, Distorted(Model, 1.0), 1.0, 0.5)));
  EXPECT_NEAR(Undistorted_Radius(Model, 0.666, 1.0, 0.5), 0.974068, 1e-6);
}

}  // namespace
