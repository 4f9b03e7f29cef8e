// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/tracker_axes.h"

#include "rigsync/system/usage_error.h"

#include <Eigen/LU>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using rigsync::Body_Labels;
using rigsync::Engine_Space;
using rigsync::Parse_Tracker_Axes;
using rigsync::Tracker_Axes;
using testing::HasSubstr;

constexpr Engine_Space Spaces[] = {Engine_Space::Right_Handed_Z_Up, Engine_Space::Left_Handed_Z_Up,
                                   Engine_Space::Left_Handed_Y_Up};

std::string Refusal(const std::string& Text, Engine_Space Space,
                    Body_Labels Labels = Body_Labels::Unknown) {
  try {
    Parse_Tracker_Axes("--tracker-axes", Text, Space, Labels);
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

// The row that names the engine's up axis.
int Up_Row(Engine_Space Space) {
  return Space == Engine_Space::Left_Handed_Y_Up ? 1 : 2;
}

TEST(TrackerAxes, NamedAxesHaveTheHandednessOfTheSpace) {
  for (const Engine_Space Space : Spaces) {
    for (const std::string& Name : rigsync::Tracker_Axes_Names()) {
      const Tracker_Axes Axes = Parse_Tracker_Axes("", Name, Space, Body_Labels::Right_Forward_Up);
      EXPECT_EQ(Axes.determinant(), rigsync::Is_Left_Handed(Space) ? -1.0 : 1.0) << Name;
      EXPECT_EQ(Axes * Axes.transpose(), Tracker_Axes::Identity()) << Name;
    }
  }
}

TEST(TrackerAxes, TheAxisThatIsUpIsUpInTheSceneToo) {
  for (const Engine_Space Space : Spaces) {
    const auto Up_Of = [&](const char* Name) {
      return Eigen::RowVector3d(
          Parse_Tracker_Axes("", Name, Space, Body_Labels::Right_Forward_Up).row(Up_Row(Space)));
    };
    EXPECT_EQ(Up_Of("z-up"), Eigen::RowVector3d::UnitZ());
    EXPECT_EQ(Up_Of("y-up"), Eigen::RowVector3d::UnitY());
    EXPECT_EQ(Up_Of("as-tracked"), Eigen::RowVector3d::UnitZ());
  }
}

// A device that says which way it points is an object that points there: x forward and y right in a
// scene with z up, x right and z forward in one with y up.
TEST(TrackerAxes, AKnownBodyPointsWhereTheEnginesObjectsPoint) {
  const auto Known = Body_Labels::Right_Forward_Up;
  const Tracker_Axes Z_Up =
      Parse_Tracker_Axes("", "as-tracked", Engine_Space::Left_Handed_Z_Up, Known);
  EXPECT_EQ(Z_Up * Eigen::Vector3d::UnitY(), Eigen::Vector3d::UnitX());
  EXPECT_EQ(Z_Up * Eigen::Vector3d::UnitX(), Eigen::Vector3d::UnitY());
  const Tracker_Axes Y_Up =
      Parse_Tracker_Axes("", "as-tracked", Engine_Space::Left_Handed_Y_Up, Known);
  EXPECT_EQ(Y_Up * Eigen::Vector3d::UnitY(), Eigen::Vector3d::UnitZ());
  EXPECT_EQ(Y_Up * Eigen::Vector3d::UnitX(), Eigen::Vector3d::UnitX());
}

TEST(TrackerAxes, AxesCanBeWrittenOut) {
  const Tracker_Axes Axes =
      Parse_Tracker_Axes("", "z,-x,y", Engine_Space::Left_Handed_Z_Up, Body_Labels::Unknown);
  EXPECT_EQ(rigsync::Tracker_Axes_Text(Axes), "z, -x, y");
  EXPECT_EQ(Axes * Eigen::Vector3d(1, 2, 3), Eigen::Vector3d(3, -1, 2));
}

TEST(TrackerAxes, UnknownAxesAreNotCalledAsTrackedInALeftHandedSpace) {
  EXPECT_THAT(Refusal("as-tracked", Engine_Space::Left_Handed_Z_Up), HasSubstr("z-up or y-up"));
  EXPECT_THAT(Refusal("as-tracked", Engine_Space::Left_Handed_Y_Up), HasSubstr("z-up or y-up"));
  EXPECT_EQ(Refusal("as-tracked", Engine_Space::Right_Handed_Z_Up), "");
}

TEST(TrackerAxes, TheOtherHandednessIsRefused) {
  EXPECT_THAT(Refusal("x,y,z", Engine_Space::Left_Handed_Z_Up), HasSubstr("right-handed"));
  EXPECT_THAT(Refusal("x,-y,z", Engine_Space::Right_Handed_Z_Up), HasSubstr("left-handed"));
}

TEST(TrackerAxes, OtherTextsAreRefusedWithWhatIsExpected) {
  EXPECT_THAT(Refusal("upwards", Engine_Space::Right_Handed_Z_Up), HasSubstr("as-tracked"));
  EXPECT_THAT(Refusal("x,x,z", Engine_Space::Right_Handed_Z_Up), HasSubstr("x,x,z"));
}

}  // namespace
