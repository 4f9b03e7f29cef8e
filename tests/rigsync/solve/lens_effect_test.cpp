// SPDX-License-Identifier: Apache-2.0
//
// What an error of the lens does to the unknowns, of rows made by hand.
#include "rigsync/solve/lens_effect.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using rigsync::Joint_Fit;
using rigsync::Observation;

// Each row sees the unknown 2 by its first residual, which the lens's parameter 1 moves by 1, 10
// and 100; the weights are 2, 3 and 5, and the unknown's variance is 7. So a unit of the parameter
// moves the unknown by 7 (2 + 30 + 500).
TEST(FollowLens, SumsWhatEveryRowSays) {
  std::vector<Observation> Kept(3);
  Joint_Fit Fit;
  Fit.Rows.resize(3);
  const double Weights[] = {2, 3, 5}, Moved[] = {1, 10, 100};
  for (std::size_t i = 0; i < 3; ++i) {
    Kept[i].Board.Lens_Sensitivity.setZero();
    Kept[i].Board.Lens_Sensitivity(0, 1) = Moved[i];
    Fit.Rows[i].Model.Derivative.setZero();
    Fit.Rows[i].Model.Derivative(0, 2) = 1.0;
    Fit.Terms.Weights.emplace_back(Weights[i] * rigsync::Matrix6d::Identity());
  }
  Fit.Terms.Covariance.setIdentity();
  Fit.Terms.Covariance(2, 2) = 7.0;
  rigsync::Unknowns_By_Lens Expected = rigsync::Unknowns_By_Lens::Zero();
  Expected(2, 1) = 7.0 * (2 + 30 + 500);
  EXPECT_EQ(rigsync::Follow_Lens(Kept, Fit), Expected);
}

}  // namespace
