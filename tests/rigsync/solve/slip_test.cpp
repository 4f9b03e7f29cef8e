// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/slip.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

namespace {

using pose_rig::Make_Rig;
using pose_rig::Options;
using rigsync::Slip;
using rigsync::Slip_Evidence;
using rigsync::Slipped_Tracker;

Slip Likeliest(const Options& Of) {
  return rigsync::Find_Slip(rigsync::Solve_Mounts(Make_Rig(Of).Seen)).value();
}

// 3 mm and 0.3 degrees in a direction of the seed's own.
pose_rig::Pose Moved_By(double Mm, double Deg, unsigned Seed) {
  simulate::Random Random(Seed, 60);
  return {pose_rig::By_Turn(Deg * pose_rig::Radians_In_Degree * Random.Direction()),
          1e-3 * Mm * Random.Direction()};
}

Options Slipped(unsigned Seed, int From, Slipped_Tracker Tracker) {
  Options Of;
  Of.Seed = Seed;
  Of.Slipped_From = From;
  (Tracker == Slipped_Tracker::Camera ? Of.Camera_Slip : Of.Board_Slip) = Moved_By(3, 0.3, Seed);
  return Of;
}

TEST(Slip, OfThreeMillimetresIsFoundOnItsTrackerAtItsRow) {
  for (unsigned Seed = 1; Seed <= 12; ++Seed) {
    const auto Tracker = Seed % 2 == 0 ? Slipped_Tracker::Camera : Slipped_Tracker::Board;
    const int From = 4 + static_cast<int>(Seed * 7 % 17);
    const Slip Found = Likeliest(Slipped(Seed, From, Tracker));
    EXPECT_EQ(Found.Evidence, Slip_Evidence::Found) << Seed;
    EXPECT_EQ(Found.Tracker, Tracker) << Seed;
    EXPECT_EQ(Found.First_Row, static_cast<std::size_t>(From)) << Seed;
  }
}

TEST(Slip, TellsHowFarTheTrackerMoved) {
  Options Of = Slipped(5, 12, Slipped_Tracker::Camera);
  Of.Camera_Slip = {pose_rig::By_Turn({0.005, 0, 0}), {0, 0.004, 0}};
  const pose_rig::Pose True_Mount = Make_Rig(Of).Cam_Tc;
  const pose_rig::Pose After = True_Mount * Of.Camera_Slip;
  const Slip Found = Likeliest(Of);
  const Eigen::Vector3d Turn = True_Mount.Turn * Eigen::Vector3d(0.005, 0, 0);
  // A turn of 0.05 degrees and a shift of a millimetre at most, by noise over half the rows.
  EXPECT_LE((Found.Motion.head<3>() - Turn).norm(), 0.001);
  EXPECT_LE((Found.Motion.tail<3>() - (After.Shift - True_Mount.Shift)).norm(), 0.001);
}

TEST(Slip, CleanCapturesHaveNone) {
  for (unsigned Seed = 1; Seed <= 25; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    EXPECT_EQ(Likeliest(Of).Evidence, Slip_Evidence::None) << Seed;
  }
}

TEST(Slip, StaleRowsAreNotASlip) {
  for (unsigned Seed = 1; Seed <= 12; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    Of.Stale = {2, 5, 11, 17, 19, 22};
    EXPECT_EQ(Likeliest(Of).Evidence, Slip_Evidence::None) << Seed;
  }
}

// The six unknowns of a slip take one of them for a mount of its own, and the others stay as bad.
TEST(Slip, StaleRowsAtTheEndsAreNotASlip) {
  for (unsigned Seed = 1; Seed <= 30; ++Seed) {
    Options Of;
    Of.Seed = Seed;
    Of.Stale = {2, 5, 11, 21, 22, 23};
    EXPECT_NE(Likeliest(Of).Evidence, Slip_Evidence::Found) << Seed;
    Of.Stale = {0, 1, 2, 11, 14, 18};
    EXPECT_NE(Likeliest(Of).Evidence, Slip_Evidence::Found) << Seed;
  }
}

TEST(Slip, IsFoundAmongManyRows) {
  Options Of = Slipped(3, 101, Slipped_Tracker::Board);
  Of.Images = 150;
  const Slip Found = Likeliest(Of);
  EXPECT_EQ(Found.Evidence, Slip_Evidence::Found);
  EXPECT_EQ(Found.First_Row, 101u);
}

TEST(Slip, TakesSixRows) {
  rigsync::Joint_Solution Solution;
  EXPECT_FALSE(rigsync::Find_Slip(Solution));
  Options Of;
  Of.Images = 5;
  EXPECT_FALSE(rigsync::Find_Slip(rigsync::Solve_Mounts(Make_Rig(Of).Seen)));
  Of.Images = 6;
  EXPECT_TRUE(rigsync::Find_Slip(rigsync::Solve_Mounts(Make_Rig(Of).Seen)));
}

}  // namespace
