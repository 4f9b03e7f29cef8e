// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/tracker_sample.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Tracker_Sample;

// A quarter turn about z, w first. It takes Base's x direction to the body's y direction.
TEST(TrackerSample, ItsRotationTakesBaseDirectionsToTheBody) {
  const double Half = std::sqrt(0.5);
  const Tracker_Sample Sample{{}, {Half, 0, 0, Half}};
  const Eigen::Vector3d Direction_Body =
      rigsync::Sample_Rotation_Body_Base(Sample) * Eigen::Vector3d::UnitX();
  EXPECT_TRUE(Direction_Body.isApprox(Eigen::Vector3d::UnitY(), 1e-15));
}

TEST(TrackerSample, TheLengthOfItsQuaternionIsDividedOut) {
  const Tracker_Sample Unit{{}, {0.5, -0.5, 0.5, 0.5}}, Long{{}, {5, -5, 5, 5}};
  const Eigen::Vector3d Direction_Base(0.3, -1.2, 2.0);
  EXPECT_TRUE((rigsync::Sample_Rotation_Body_Base(Long) * Direction_Base)
                  .isApprox(rigsync::Sample_Rotation_Body_Base(Unit) * Direction_Base, 1e-15));
}

TEST(TrackerSample, RelabellingTheAxesIsARotationAndItsOwnInverse) {
  const Eigen::Matrix3d Relabelling = rigsync::Tracker_Axes_Relabelling();
  EXPECT_EQ(Relabelling * Eigen::Vector3d(1, 2, 3), Eigen::Vector3d(-1, -3, -2));
  EXPECT_EQ(Relabelling * Relabelling, Eigen::Matrix3d::Identity());
  EXPECT_EQ(Relabelling.determinant(), 1.0);
}

}  // namespace
