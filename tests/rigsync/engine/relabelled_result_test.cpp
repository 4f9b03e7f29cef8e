// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/relabelled_result.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/take/base_axes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using rigsync::Calibration_Result;
using rigsync::Parse_Axes;
using rigsync::Tracker_Axes;
using rigsync::With_Tracker_Axes;

// A rotation of fractions whose elements all differ.
Calibration_Result Mounted() {
  Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {0.75, 1.5};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {0, 0, 0, 0, 0};
  Result.Transform_Cam_Tc = {0.8, -0.36, -0.48, 0.1, 0, 0.8, -0.6, -0.2,
                             0.6, 0.48,  0.64,  0.3, 0, 0,   0,    1};
  return Result;
}

// All 48 ways to name three axes.
std::vector<Tracker_Axes> All_Axes() {
  std::vector<Tracker_Axes> All;
  const std::string Orders[] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
  for (const std::string& Order : Orders) {
    for (int Signs = 0; Signs < 8; ++Signs) {
      std::array<std::string, 3> Words;
      for (std::size_t k = 0; k < 3; ++k) {
        Words[k] = (Signs >> k) % 2 == 1 ? std::string("-") + Order[k] : std::string(1, Order[k]);
      }
      All.push_back(Parse_Axes("", Words));
    }
  }
  return All;
}

TEST(RelabelledResult, ACallSeesTheCameraFromTheAxesThatAreAsked) {
  const Eigen::Matrix4d Body_Cam = rigsync::Solved_Camera_Of(Mounted()).Transform_Body_Cam.matrix();
  int Pairs = 0;
  for (const Tracker_Axes& Call : All_Axes()) {
    for (const Tracker_Axes& Asked : All_Axes()) {
      if (Call.determinant() != Asked.determinant()) continue;
      const Eigen::Matrix4d Seen =
          rigsync::Solved_Camera_Of(With_Tracker_Axes(Mounted(), Call, Asked))
              .Transform_Body_Cam.matrix();
      EXPECT_LE((Call * Seen.topRows<3>() - Asked * Body_Cam.topRows<3>()).norm(), 1e-15);
      ++Pairs;
    }
  }
  EXPECT_EQ(Pairs, 2 * 24 * 24);
}

TEST(RelabelledResult, EqualAxesLeaveEveryBit) {
  Calibration_Result Result = Mounted();
  Result.Transform_Cam_Tc[1] = -0.0;
  Result.Transform_Cam_Tc[4] = std::nan("");
  for (const Tracker_Axes& Axes : All_Axes()) {
    const std::vector<double> After = With_Tracker_Axes(Result, Axes, Axes).Transform_Cam_Tc;
    ASSERT_EQ(After.size(), 16u);
    for (std::size_t i = 0; i < 16; ++i) {
      if (i == 4) continue;
      EXPECT_EQ(After[i], Result.Transform_Cam_Tc[i]) << i;
      EXPECT_EQ(std::signbit(After[i]), std::signbit(Result.Transform_Cam_Tc[i])) << i;
    }
    EXPECT_TRUE(std::isnan(After[4]));
  }
}

TEST(RelabelledResult, BothMountsAreRelabelledAndAMissingOneStaysAway) {
  Calibration_Result Result = Mounted();
  const Tracker_Axes Call = Parse_Axes("", "x,y,z"), Asked = Parse_Axes("", "x,-z,y");
  EXPECT_TRUE(With_Tracker_Axes(Result, Call, Asked).Joint_Transform_Cam_Tc.empty());
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  const Calibration_Result After = With_Tracker_Axes(Result, Call, Asked);
  EXPECT_NE(After.Transform_Cam_Tc, Result.Transform_Cam_Tc);
  EXPECT_EQ(After.Joint_Transform_Cam_Tc, After.Transform_Cam_Tc);
}

// The camera's place in its own frame is the tracker's concern alone.
TEST(RelabelledResult, TheTranslationAndTheLastRowStay) {
  const Tracker_Axes Call = Parse_Axes("", "x,y,z"), Asked = Parse_Axes("", "-y,-z,x");
  const std::vector<double> After = With_Tracker_Axes(Mounted(), Call, Asked).Transform_Cam_Tc;
  const std::vector<double> Before = Mounted().Transform_Cam_Tc;
  for (const std::size_t i : {3u, 7u, 11u, 12u, 13u, 14u, 15u}) {
    EXPECT_EQ(After[i], Before[i]) << i;
    EXPECT_FALSE(std::signbit(After[i]) && After[i] == 0.0) << i;
  }
}

}  // namespace
