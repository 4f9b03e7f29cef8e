// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/rig_chain.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

TEST(RigChain, CornersRunAlongTheRowsOfTheBoard) {
  const auto Corners_Chart = Board_Corners_Chart({3, 2}, 0.5);
  ASSERT_EQ(Corners_Chart.size(), 6u);
  EXPECT_EQ(Corners_Chart[1], Eigen::Vector3d(0.5, 0.0, 0.0));
  EXPECT_EQ(Corners_Chart[3], Eigen::Vector3d(0.0, 0.5, 0.0));
}

TEST(RigChain, ProjectsWithTwoRadialCoefficients) {
  const Lens Lens_Px{1000.0, 2000.0, 100.0, 200.0, 0.5, 0.25};
  // At half the distance to the right r^2 is 1/4: 1 + 0.125 + 0.015625.
  const auto Pixels = Project(Lens_Px, {{1.0, 0.0, 2.0}, {0.0, 1.0, 2.0}, {0.0, 0.0, -2.0}});
  EXPECT_NEAR(Pixels[0].x(), 100.0 + 1000.0 * 0.5 * 1.140625, 1e-9);
  EXPECT_NEAR(Pixels[1].y(), 200.0 + 2000.0 * 0.5 * 1.140625, 1e-9);
  EXPECT_TRUE(std::isnan(Pixels[2].x()) && std::isnan(Pixels[2].y()));
}

// Both trackers at the origin with their axes as they are: the chain is the product of the mounts.
TEST(RigChain, TheBoardIsWhereTheMountsPutIt) {
  Rig_Chain Chain;
  Chain.Transform_Cam_Tc.translation() = Eigen::Vector3d(0.0, 0.0, 2.0);
  Chain.Transform_Tr_Chart.translation() = Eigen::Vector3d(0.5, 0.0, 0.0);
  Tracker_Sample Still;
  Still.Quaternion = {1.0, 0.0, 0.0, 0.0};
  const auto Transform_Cam_Chart = Predicted_Board_Pose(Chain, Still, Still);
  ASSERT_TRUE(Transform_Cam_Chart);
  EXPECT_TRUE(Transform_Cam_Chart->translation().isApprox(Eigen::Vector3d(0.5, 0.0, 2.0), 1e-12));
  EXPECT_FALSE(Predicted_Board_Pose(Chain, Still, Tracker_Sample{}));
}

}  // namespace
}  // namespace rigsync
