// SPDX-License-Identifier: Apache-2.0
//
// What an error of the lens does to the unknowns, of rows made by hand.
#include "rigsync/solve/lens_effect.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using rigsync::Joint_Fit;
using rigsync::Observation;

// Each row sees the unknown 2, and the lag, by its first residual, which the lens's parameter 1
// moves by 1, 10 and 100; the weights are 2, 3 and 5, and the unknown's variance is 7.
struct Three_Rows {
  std::vector<Observation> Kept = std::vector<Observation>(3);
  Joint_Fit Fit;

  Three_Rows() {
    Fit.Rows.resize(3);
    const double Weights[] = {2, 3, 5}, Moved[] = {1, 10, 100};
    for (std::size_t i = 0; i < 3; ++i) {
      Kept[i].Board.Lens_Sensitivity.setZero();
      Kept[i].Board.Lens_Sensitivity(0, 1) = Moved[i];
      Fit.Rows[i].Model.Derivative.setZero();
      Fit.Rows[i].Model.Derivative(0, 2) = 1.0;
      Fit.Rows[i].Model.By_Lag = rigsync::Vector6d::Unit(0);
      Fit.Terms.Weights.emplace_back(Weights[i] * rigsync::Matrix6d::Identity());
    }
    Fit.Terms.Covariance.setIdentity();
    Fit.Terms.Covariance(2, 2) = 7.0;
  }
};

// A unit of the parameter moves the unknown by 7 (2 + 30 + 500).
TEST(FollowLens, SumsWhatEveryRowSays) {
  const Three_Rows Made;
  rigsync::Unknowns_By_Lens Expected = rigsync::Unknowns_By_Lens::Zero();
  Expected(2, 1) = 7.0 * (2 + 30 + 500);
  EXPECT_EQ(rigsync::Follow_Lens(Made.Kept, Made.Fit), Expected);
}

// The unknown follows the lag by 4, so that a row sees a unit of lag by 1 + 4; the lag's variance
// is a half.
TEST(FollowLens, TheLagMovesWithTheLensAndTakesTheUnknownsWithIt) {
  Three_Rows Made;
  Made.Fit.Terms.Lag.emplace();
  Made.Fit.Terms.Lag->Variance = 0.5;
  Made.Fit.Terms.Lag->Unknowns_By_Lag[2] = 4.0;
  const auto By_Lens = rigsync::Lag_By_Lens(Made.Kept, Made.Fit);
  const double Lag_Moved = 0.5 * (1 + 4) * (2 + 30 + 500);
  EXPECT_EQ(By_Lens[1], Lag_Moved);
  EXPECT_EQ(By_Lens.cwiseAbs().sum(), Lag_Moved);
  rigsync::Unknowns_By_Lens Expected = rigsync::Unknowns_By_Lens::Zero();
  Expected(2, 1) = 7.0 * (2 + 30 + 500) + 4.0 * Lag_Moved;
  EXPECT_EQ(rigsync::Follow_Lens(Made.Kept, Made.Fit), Expected);
}

}  // namespace
