// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/exact_square.h"
#include "rigsync/solve/joint_solve.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using pose_rig::Make_Rig;
using pose_rig::Options;
using rigsync::Exact_Square;
using rigsync::Joint_Solution;
using rigsync::Unknown_Uncertainty;
using rigsync::Unknown_Vector;

Joint_Solution Solve(const Options& Of, double Prior_Probability = 0.5) {
  rigsync::Joint_Options With;
  With.Exact_Square_Probability = Prior_Probability;
  return rigsync::Solve_Mounts(Make_Rig(Of).Seen, With);
}

TEST(ExactSquare, AWrongSquareIsNotTakenForExact) {
  for (unsigned Seed = 1; Seed <= 10; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    Of.Square_Scale = 0.995;
    EXPECT_LT(Solve(Of).Exact_Square_Probability, 0.01) << Seed;
  }
}

TEST(ExactSquare, WithoutAPriorProbabilityTheScaleIsFree) {
  const Joint_Solution Solution = Solve({}, 0.0);
  EXPECT_EQ(Solution.Exact_Square_Probability, 0.0);
  EXPECT_NE(Solution.At.Square_Scale, 1.0);
}

TEST(ExactSquare, AnExactSquareMakesTheMountSharper) {
  double With = 0, Without = 0;
  for (unsigned Seed = 1; Seed <= 10; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    With += Solve(Of).Camera_Mount.Widest_Mm.Half_Width;
    Without += Solve(Of, 0.0).Camera_Mount.Widest_Mm.Half_Width;
  }
  EXPECT_LT(With, 0.95 * Without);
}

// Variances 4 and 1 with weights 3/4 and 1/4, and fits that are 2 apart: 3 + 1/4 + 3/16 * 4.
TEST(ExactSquare, TheAveragesVarianceHasTheDifferenceInIt) {
  Unknown_Uncertainty Free, Exact;
  Free.Covariance = 4.0 * rigsync::Unknown_Matrix::Identity();
  Exact.Covariance = rigsync::Unknown_Matrix::Identity();
  for (Unknown_Uncertainty* Each : {&Free, &Exact}) {
    for (auto& Derivative : Each->Row_Covariance_By_Variance) Derivative.setIdentity();
  }
  Free.Variance_Covariance.setConstant(8.0);
  Exact_Square Square;
  Square.Probability = 0.25;
  Square.Motion = 2.0 * Unknown_Vector::Unit(3);
  const Unknown_Uncertainty Both = rigsync::Average(Free, Exact, Square);
  EXPECT_EQ(Both.Covariance(3, 3), 4.0);
  EXPECT_EQ(Both.Covariance(4, 4), 3.25);
  EXPECT_EQ(Both.Variance_Covariance(0, 1), 6.0);
  EXPECT_EQ(Both.Row_Covariance_By_Variance[2](5, 5), 1.0);
}

}  // namespace
