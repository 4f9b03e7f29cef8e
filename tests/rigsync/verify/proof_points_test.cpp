// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/proof_points.h"

#include "rigsync/system/usage_error.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>
#include <set>

namespace {

using rigsync::Lens;
using rigsync::Points_Over_Frame;
using rigsync::Projected;
using rigsync::Proof_Points;

TEST(ProofPoints, AProjectionIsThatOfTheConventions) {
  const Lens Through = {1000, 900, 500, 300, 0.1, -0.02};
  // x 0.3, y -0.4: the radius is 0.5, so the factor 1 + 0.1 * 0.25 - 0.02 * 0.0625 = 1.02375.
  const Eigen::Vector2d Pixel = Projected(Through, {0.6, -0.8, 2.0});
  EXPECT_NEAR(Pixel.x(), 1000 * 0.3 * 1.02375 + 500, 1e-9);
  EXPECT_NEAR(Pixel.y(), 900 * -0.4 * 1.02375 + 300, 1e-9);
  EXPECT_TRUE(std::isnan(Projected(Through, {0.6, -0.8, -2.0}).x()));
}

TEST(ProofPoints, TheGridReachesTheEdgesAtEveryDepth) {
  const Lens Through = {800, 810, 322, 238, -0.25, 0.08};
  const Proof_Points Points = Points_Over_Frame(Through, 640, 480, 5, 3, {0.5, 2.0});
  ASSERT_EQ(Points.Points_Cam.size(), 5u * 3u * 2u);
  EXPECT_EQ(Points.Unseen, 0u);
  std::set<std::pair<long, long>> Seen;
  for (const Eigen::Vector3d& Point : Points.Points_Cam) {
    const Eigen::Vector2d Pixel = Projected(Through, Point);
    EXPECT_NEAR(Pixel.x(), std::round(2 * Pixel.x()) / 2, 1e-9);
    Seen.insert({std::lround(2 * Pixel.x()), std::lround(2 * Pixel.y())});
  }
  EXPECT_EQ(Seen.size(), 15u);
  for (const long X : {-1L, 1279L}) {
    for (const long Y : {-1L, 959L}) EXPECT_EQ(Seen.count({X, Y}), 1u) << X << " " << Y;
  }
}

// r (1 - r^2) is at most 0.385, at r = 0.577: a corner at 0.5 shows nothing.
TEST(ProofPoints, PixelsBeyondTheEndOfTheModelHaveNoPoint) {
  const Lens Ending = {1000, 1000, 499.5, 499.5, -1.0, 0.0};
  const Proof_Points Points = Points_Over_Frame(Ending, 1000, 1000, 3, 3, {1.0});
  EXPECT_EQ(Points.Points_Cam.size(), 1u);  // the middle alone: the edges are at 0.5 too
  EXPECT_EQ(Points.Unseen, 8u);
  const Lens Reaching = {1400, 1400, 499.5, 499.5, -1.0, 0.0};  // edges at 0.357, corners at 0.505
  EXPECT_EQ(Points_Over_Frame(Reaching, 1000, 1000, 3, 3, {1.0}).Unseen, 4u);
}

// The radius grows again beyond a fold, and a ray from there isn't the one that is seen.
TEST(ProofPoints, ThePointIsTheOneBeforeTheFold) {
  const Lens Folded = {1000, 1000, 0, 0, -1.0, 0.4};
  // 1 - 3 s + 2 s^2 is 0 at s = 0.5, where the image's radius is 0.424.
  const Proof_Points Points = Points_Over_Frame(Folded, 302, 302, 2, 2, {1.0});
  for (const Eigen::Vector3d& Point : Points.Points_Cam) {
    EXPECT_LT(Point.head<2>().norm(), std::sqrt(0.5));
  }
  EXPECT_EQ(Points.Unseen, 1u);  // 426 pixels from the centre
}

TEST(ProofPoints, FixedPosesAreADozenDifferentOnes) {
  const rigsync::Proof_Samples Fixed = rigsync::Fixed_Samples();
  ASSERT_EQ(Fixed.Samples.size(), 12u);
  EXPECT_EQ(Fixed.Source, "12 fixed poses");
  for (std::size_t i = 0; i < 12; ++i) {
    const auto& Q = Fixed.Samples[i].Quaternion;
    EXPECT_NEAR(Eigen::Vector4d(Q[0], Q[1], Q[2], Q[3]).norm(), 1.0, 1e-12);
    for (std::size_t j = 0; j < i; ++j) EXPECT_FALSE(Fixed.Samples[i] == Fixed.Samples[j]);
  }
}

TEST(ProofPoints, SamplesAreThoseOfTheSoundRows) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv",
                                        "Time,image\n"
                                        "0,a.png,1,2,3,1,0,0,0,0,0,0,1,0,0,0\n"
                                        "1,b.png,4,5,6,0,0,0,0,0,0,0,1,0,0,0\n"    // no rotation
                                        "2,c.png,nan,5,6,1,0,0,0,0,0,0,1,0,0,0\n"  // lost
                                        "3,d.png,7,8,9,0,1,0,0,0,0,0,1,0,0,0\n");
  const rigsync::Proof_Samples Chosen = rigsync::Samples_Of_Capture(Csv, 100);
  ASSERT_EQ(Chosen.Samples.size(), 2u);
  EXPECT_EQ(Chosen.Samples[1].Position, (std::array<double, 3>{7, 8, 9}));
  EXPECT_EQ(Chosen.Source, "2 rows of " + Csv);
  EXPECT_EQ(rigsync::Samples_Of_Capture(Csv, 1).Source, "1 row of " + Csv);
  EXPECT_THROW(rigsync::Samples_Of_Capture(Scratch.Path() / "none.csv", 10), rigsync::Usage_Error);
}

}  // namespace
