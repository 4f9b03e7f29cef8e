// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/pixel_scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr double Tenth_Rad = 0.1 * 3.14159265358979323846 / 180.0;

Eigen::Isometry3d Mount_At(double X, double Y, double Z) {
  Eigen::Isometry3d Mount = Eigen::Isometry3d::Identity();
  Mount.translation() = Eigen::Vector3d(X, Y, Z);
  return Mount;
}

const Lens Thousand{1000, 1000, 0, 0, 0, 0};

TEST(PixelScale, APixelGrowsWithTheDistance) {
  const Pixel_Scale Scale = Scale_At(2.0, Mount_At(0, 0, 0), Thousand);
  EXPECT_DOUBLE_EQ(Scale.Mm_Per_Px, 2.0);
  EXPECT_DOUBLE_EQ(Scale.Px_Per_Mm, 0.5);
  EXPECT_DOUBLE_EQ(Scale_At(4.0, Mount_At(0, 0, 0), Thousand).Mm_Per_Px, 4.0);
}

// 0.1 degrees at the end of 2 m, and of the 2.5 m of a triangle with sides of 1.5 and 2.
TEST(PixelScale, ATurnActsAtTheEndOfItsLever) {
  EXPECT_NEAR(Scale_At(2.0, Mount_At(0, 0, 0), Thousand).Px_Per_Tenth_Deg, 1000 * Tenth_Rad, 1e-9);
  EXPECT_NEAR(Scale_At(2.0, Mount_At(0, 1.5, 0), Thousand).Mm_Per_Tenth_Deg, 2500 * Tenth_Rad,
              1e-9);
  EXPECT_NEAR(Scale_At(2.0, Mount_At(0, 0, -1), Thousand).Mm_Per_Tenth_Deg, 3000 * Tenth_Rad, 1e-9);
}

// Against all directions of the turn, by moving the mount and looking where the lens puts the
// point.
TEST(PixelScale, NoTurnByATenthOfADegreeMovesAPointOfTheAxisFarther) {
  const Eigen::Isometry3d Mount =
      Mount_At(0.3, -0.4, -0.2) * Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, 2, 3).normalized());
  const Eigen::Vector3d Point_Tc = Mount.inverse() * Eigen::Vector3d(0, 0, 1.8);
  double Farthest = 0;
  for (double A = 0; A < 3.1416; A += 0.02) {
    for (double B = 0; B < 3.1416; B += 0.02) {
      const Eigen::Vector3d Axis(std::sin(A) * std::cos(B), std::sin(A) * std::sin(B), std::cos(A));
      Eigen::Isometry3d Turned = Mount;
      Turned.linear() = Eigen::AngleAxisd(Tenth_Rad, Axis) * Mount.linear();
      Farthest = std::max(Farthest, Project(Thousand, {Turned * Point_Tc})[0].norm());
    }
  }
  // The axes of the turns are tried in steps of 0.02 rad, half of which loses a part of 5e-5. The
  // point's depth changes by the turn as well, by the square of 0.0017 rad.
  const double Stated = Scale_At(1.8, Mount, Thousand).Px_Per_Tenth_Deg;
  EXPECT_NEAR(Farthest / Stated, 1.0, 1e-4);
}

Row_Error At_Distance(double Distance, double Mean_Px, bool Is_Kept = true) {
  Row_Error Error;
  Error.Is_Kept = Is_Kept;
  Error.Distance = Distance;
  Error.Mean_Px = Mean_Px;
  return Error;
}

TEST(PixelScale, OnlyKeptImagesCount) {
  const std::vector<Row_Error> Errors = {At_Distance(2, 1), At_Distance(1, 2), At_Distance(5, 3),
                                         At_Distance(9, 99, false), At_Distance(NAN, NAN)};
  const auto Boards = Find_Board_Distances(Errors);
  ASSERT_TRUE(Boards);
  EXPECT_EQ(Boards->Nearest, 1.0);
  EXPECT_EQ(Boards->Median, 2.0);
  EXPECT_EQ(Boards->Farthest, 5.0);
  EXPECT_DOUBLE_EQ(Mean_Error_Px(Errors), 2.0);
  EXPECT_FALSE(Find_Board_Distances({At_Distance(9, 99, false)}));
  EXPECT_TRUE(std::isnan(Mean_Error_Px({})));
}

}  // namespace
}  // namespace rigsync
