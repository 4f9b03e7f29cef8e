// SPDX-License-Identifier: Apache-2.0
//
// Groups of neighbouring rows: rows of independent noise agree, rows whose trackers are off by what
// depends on the place don't.
#include "rigsync/solve/disagreement.h"
#include "rigsync/solve/joint_solve.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

using rigsync::Disagreement;
using rigsync::Joint_Solution;
using rigsync::Row_Group;

// The room on both sides of x = 0 is off by a step and by as many radians, in opposite directions.
pose_rig::Rig In_A_Bent_Field(unsigned Seed, int Images, double Step) {
  pose_rig::Options Options;
  Options.Seed = Seed;
  Options.Images = Images;
  pose_rig::Rig Made = Make_Rig(Options);
  for (rigsync::Observation& Row : Made.Seen.Rows) {
    Eigen::Isometry3d Transform_Base_Tc = Row.Transform_Tc_Base.inverse();
    const double Side = Transform_Base_Tc.translation().x() > 0 ? 1.0 : -1.0;
    Transform_Base_Tc.translation() += Side * Step * Eigen::Vector3d(0, 0.6, 0.8);
    Transform_Base_Tc.rotate(Eigen::AngleAxisd(Side * Step, Eigen::Vector3d::UnitY()));
    Row.Transform_Tc_Base = Transform_Base_Tc.inverse();
  }
  return Made;
}

TEST(Disagreement, GroupsAreOfNeighbours) {
  const pose_rig::Rig Made = In_A_Bent_Field(1, 40, 0.0);
  const std::vector<Row_Group> Groups = rigsync::Neighbouring_Rows(Made.Seen.Rows);
  ASSERT_EQ(Groups.size(), 8u);
  std::set<std::size_t> Seen;
  double Within = 0, All = 0;
  const auto Place = [&Made](std::size_t i) {
    return Eigen::Vector3d(Made.Seen.Rows[i].Transform_Tc_Base.inverse().translation());
  };
  for (const Row_Group& Group : Groups) {
    EXPECT_EQ(Group.size(), 5u);
    for (const std::size_t i : Group) {
      Seen.insert(i);
      for (const std::size_t k : Group) Within += (Place(i) - Place(k)).squaredNorm() / (40 * 5);
      for (std::size_t k = 0; k < 40; ++k) All += (Place(i) - Place(k)).squaredNorm() / (40 * 40);
    }
  }
  EXPECT_EQ(Seen.size(), 40u);
  EXPECT_LT(Within, 0.7 * All);
  EXPECT_EQ(rigsync::Neighbouring_Rows({Made.Seen.Rows.begin(), Made.Seen.Rows.begin() + 9}).size(),
            1u);
}

// The mean square's own mean is 1 and its variance 2 / Freedom, which is what chance is judged by.
TEST(Disagreement, OfIndependentNoiseIsAsLargeAsItsFreedomSays) {
  constexpr int Draws = 40;
  double Sum = 0, Squares = 0, Freedom = 0;
  for (unsigned Seed = 1; Seed <= Draws; ++Seed) {
    pose_rig::Options Options;
    Options.Seed = Seed;
    const auto Rows = Make_Rig(Options).Seen.Rows;
    const Joint_Solution Solution = rigsync::Solve_Mounts(Make_Rig(Options).Seen);
    rigsync::Fit_Settings Settings = Solution.Settings;
    const rigsync::Joint_Fit Fit =
        rigsync::Fit_Rows(Solution.Settled, Solution.At, Solution.Variance, Settings);
    const Disagreement Of =
        rigsync::Measure_Disagreement(Fit, rigsync::Neighbouring_Rows(Solution.Settled));
    Sum += Of.Mean_Square / Draws;
    Squares += Of.Mean_Square * Of.Mean_Square / Draws;
    Freedom += Of.Freedom / Draws;
  }
  // 40 captures of some 25 degrees of freedom: the mean is good to 0.045, the variance to a fifth.
  EXPECT_NEAR(Sum, 1.0, 0.18);
  EXPECT_NEAR((Squares - Sum * Sum) * Freedom / 2.0, 1.0, 0.7);
}

TEST(Disagreement, AFieldThatDependsOnThePlaceWidensAndCleanRowsDoNot) {
  int Widened = 0;
  for (unsigned Seed = 1; Seed <= 6; ++Seed) {
    const Joint_Solution Clean = rigsync::Solve_Mounts(In_A_Bent_Field(Seed, 60, 0.0).Seen);
    const Joint_Solution Bent = rigsync::Solve_Mounts(In_A_Bent_Field(Seed, 60, 0.0015).Seen);
    // One of 200 by the limit.
    EXPECT_EQ(Clean.Widening, 1.0) << Seed;
    Widened += Bent.Widening > 1.0 ? 1 : 0;
    EXPECT_LT(Bent.Widening, 4.0) << Seed;
  }
  EXPECT_GE(Widened, 4);
}

TEST(Disagreement, IsWidenedByItsRootBeyondChance) {
  // F(20, 111) is above 2.16 in 0.5 % of cases, by tables of F(20, 120): 2.09 to 2.19.
  EXPECT_EQ(rigsync::Widening({2.0, 20.0}, 24), 1.0);
  EXPECT_NEAR(rigsync::Widening({2.3, 20.0}, 24), std::sqrt(2.3), 1e-12);
  EXPECT_EQ(rigsync::Widening({0.1, 20.0}, 24), 1.0);
  EXPECT_EQ(rigsync::Widening({}, 24), 1.0);
  EXPECT_EQ(rigsync::Widening({NAN, 20.0}, 24), 1.0);
}

}  // namespace
