// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_model_check.h"

#include "rigsync/solve/capture_solution.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using corner_rig::Options;
using corner_rig::Rig;
using rigsync::Capture_Solution;

Capture_Solution Solve(const Rig& Made) {
  return rigsync::Solve_Capture(Made.Facts, Made.Board, Made.Square_Size, Made.Lens_Px);
}

// F with 3 degrees of freedom above and thousands below is above 5.4 in one of a thousand and below
// 0.06 in one of fifty.
TEST(LensModelCheck, ALensOfTheModelPasses) {
  double Sum = 0;
  constexpr int Captures = 20;
  for (unsigned Seed = 1; Seed <= Captures; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    const Capture_Solution Solution = Solve(corner_rig::Make_Rig(Of));
    ASSERT_TRUE(Solution.Lens_Check);
    EXPECT_LT(Solution.Lens_Check->F, 6.0) << Seed;
    Sum += Solution.Lens_Check->F;
  }
  // The mean of F is 1, its standard deviation sqrt(2 / 3); four of them of a mean of 20.
  EXPECT_NEAR(Sum / Captures, 1.0, 4.0 * std::sqrt(2.0 / 3.0 / Captures));
}

// The mount that the model's lens turns by more than a quarter of a degree is back within the noise
// of the trackers.
TEST(LensModelCheck, TangentialDistortionIsFoundAndItsEffectTold) {
  for (const auto& [P1, P2] : {std::pair{0.002, 0.0}, {0.0, -0.003}, {0.001, 0.002}}) {
    Options Of;
    Of.P1 = P1;
    Of.P2 = P2;
    const Rig Made = corner_rig::Make_Rig(Of);
    const Capture_Solution Solution = Solve(Made);
    ASSERT_TRUE(Solution.Lens_Check);
    EXPECT_GT(Solution.Lens_Check->F, 50.0);
    EXPECT_NEAR(Solution.Lens_Check->Coefficients[0], P1, 0.0003);
    EXPECT_NEAR(Solution.Lens_Check->Coefficients[1], P2, 0.0003);
    const Eigen::Isometry3d& Solved = Solution.Joint.At.Transform_Cam_Tc;
    EXPECT_GT(corner_rig::Between(Solved, Made.Transform_Cam_Tc).Deg, 0.25);
    const Eigen::Isometry3d Corrected = rigsync::Moved(Solved, Solution.Lens_Check->Mount_Motion);
    EXPECT_LT(corner_rig::Between(Corrected, Made.Transform_Cam_Tc).Deg, 0.07);
  }
}

TEST(LensModelCheck, WithoutASolveThereIsNothingToCheck) {
  Rig Made = corner_rig::Make_Rig({});
  Made.Facts.resize(3);
  EXPECT_FALSE(Solve(Made).Lens_Check);
}

}  // namespace
