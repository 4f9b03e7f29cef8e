// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/model_average.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Average_Explanation;
using rigsync::Explanation;
using rigsync::Unknown_Vector;

Explanation With(double Log_Evidence, double Shift, double Variance) {
  Explanation Of;
  Of.Log_Evidence = Log_Evidence;
  Of.Motion = Shift * Unknown_Vector::Unit(3);
  Of.Uncertainty.Covariance = Variance * rigsync::Unknown_Matrix::Identity();
  for (auto& Derivative : Of.Uncertainty.Row_Covariance_By_Variance) {
    Derivative = Variance * rigsync::Unknown_Matrix::Identity();
  }
  Of.Uncertainty.Variance_Covariance.setConstant(Variance);
  return Of;
}

TEST(ModelAverage, OnlyAnExplanationThatIsFarLessProbableIsHopeless) {
  for (const double Gain : {1000.0, 20.0, 0.0, -5.0, -9.999}) {
    EXPECT_FALSE(rigsync::Is_Hopeless(Gain)) << Gain;
  }
  for (const double Gain : {-10.0, -11.0, -1000.0, std::nan("")}) {
    EXPECT_TRUE(rigsync::Is_Hopeless(Gain)) << Gain;
  }
}

// Three to one: means of 0 and 4 average to 1, and variances of 1 and 5 to 2, with 3 of spread.
TEST(ModelAverage, ExplanationsCountByTheirEvidence) {
  const Average_Explanation Mean =
      rigsync::Average({With(std::log(3.0) - 500, 0, 1), With(-500, 4, 5)});
  EXPECT_NEAR(Mean.Probabilities[0], 0.75, 1e-12);
  EXPECT_NEAR(Mean.Motion[3], 1.0, 1e-12);
  EXPECT_NEAR(Mean.Uncertainty.Covariance(3, 3), 2.0 + 3.0, 1e-12);
  EXPECT_NEAR(Mean.Uncertainty.Covariance(2, 2), 2.0, 1e-12);
  EXPECT_NEAR(Mean.Uncertainty.Variance_Covariance(1, 2), 2.0, 1e-12);
  EXPECT_NEAR(Mean.Uncertainty.Row_Covariance_By_Variance[1](7, 7), 2.0, 1e-12);
}

TEST(ModelAverage, AnExplanationWithoutEvidenceHasNoPart) {
  const Average_Explanation Mean = rigsync::Average({With(NAN, 3, 1), With(-7, 4, 5)});
  EXPECT_EQ(Mean.Motion[3], 4.0);
  EXPECT_EQ(rigsync::Average({With(NAN, 3, 1), With(NAN, 4, 5)}).Motion[3], 3.0);
}

}  // namespace
