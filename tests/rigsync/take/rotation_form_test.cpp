// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/rotation_form.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/system/usage_error.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

constexpr double Quarter = 90.0 / Degrees_Per_Radian;
constexpr double Tolerance = 1e-15;

Eigen::Matrix3d Rotation(const std::string& Word, const Eigen::Vector3d& Radians) {
  return Attitude(Parse_Rotation("--rotation", Word), Radians).toRotationMatrix();
}

// Where the body's axes point in Base, as columns.
Eigen::Matrix3d Axes(const Eigen::Vector3d& X, const Eigen::Vector3d& Y, const Eigen::Vector3d& Z) {
  Eigen::Matrix3d Matrix;
  Matrix << X, Y, Z;
  return Matrix;
}

const Eigen::Vector3d X_Axis(1, 0, 0), Y_Axis(0, 1, 0), Z_Axis(0, 0, 1);

// About x: y goes to z. About the turned y, which is z of Base: x goes to y.
TEST(RotationForm, TurnsAboutTheAxesOfTheBody) {
  EXPECT_TRUE(Rotation("euler-xyz-body", {Quarter, Quarter, 0})
                  .isApprox(Axes(Y_Axis, Z_Axis, X_Axis), Tolerance));
}

// About x: y goes to z, z to -y. About y of Base: x goes to -z, z to x.
TEST(RotationForm, TurnsAboutTheFixedAxes) {
  EXPECT_TRUE(Rotation("euler-xyz-fixed", {Quarter, Quarter, 0})
                  .isApprox(Axes(-Z_Axis, X_Axis, -Y_Axis), Tolerance));
}

// A quarter turn about z first, then one about x: x goes to y, and with fixed axes on to z.
TEST(RotationForm, TakesTheAnglesInTheOrderOfTheTurns) {
  EXPECT_TRUE(Rotation("euler-zxy-fixed", {Quarter, Quarter, 0})
                  .isApprox(Axes(Z_Axis, -X_Axis, -Y_Axis), Tolerance));
  EXPECT_TRUE(Rotation("euler-zxy-body", {Quarter, Quarter, 0})
                  .isApprox(Axes(Y_Axis, Z_Axis, X_Axis), Tolerance));
}

TEST(RotationForm, TurnsRightHandedAboutEachAxisInEveryOrder) {
  for (const std::string Order : {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"}) {
    for (const std::string End : {"-body", "-fixed"}) {
      SCOPED_TRACE(Order + End);
      for (int i = 0; i < 3; ++i) {
        const int Axis = static_cast<int>(std::string("xyz").find(Order[static_cast<size_t>(i)]));
        const Eigen::Vector3d Next = Eigen::Vector3d::Unit((Axis + 1) % 3);
        const Eigen::Vector3d After = Eigen::Vector3d::Unit((Axis + 2) % 3);
        const Eigen::Vector3d Angles = Eigen::Vector3d::Unit(i) * Quarter;
        EXPECT_TRUE((Rotation("euler-" + Order + End, Angles) * Next).isApprox(After, Tolerance));
      }
    }
  }
}

// With the angles reversed in order too, turns about fixed axes are those about the body's.
TEST(RotationForm, HasFixedTurnsEqualToBodyTurnsInTheOppositeOrder) {
  const Eigen::Vector3d Angles(0.3, -1.1, 2.0);
  EXPECT_TRUE(Rotation("euler-xyz-fixed", Angles)
                  .isApprox(Rotation("euler-zyx-body", Angles.reverse()), 4 * Tolerance));
  EXPECT_FALSE(
      Rotation("euler-xyz-fixed", Angles).isApprox(Rotation("euler-xyz-body", Angles), 0.1));
}

TEST(RotationForm, TurnsAboutTheHelicalAxisByItsLength) {
  EXPECT_TRUE(
      Rotation("helical", {0, 0, Quarter}).isApprox(Axes(Y_Axis, -X_Axis, Z_Axis), Tolerance));
  // A third of a turn about the diagonal takes x to y, y to z and z to x.
  const double Part = 120.0 / Degrees_Per_Radian / std::sqrt(3.0);
  EXPECT_TRUE(
      Rotation("helical", {Part, Part, Part}).isApprox(Axes(Y_Axis, Z_Axis, X_Axis), Tolerance));
  EXPECT_TRUE(Rotation("helical", {0, 0, 0}).isIdentity(0.0));
}

TEST(RotationForm, IsReadBackFromItsWord) {
  for (const std::string Word : {"helical", "matrix-columns", "matrix-rows", "euler-xyz-body",
                                 "euler-zxy-fixed", "euler-yxz-body"}) {
    EXPECT_EQ(Rotation_Word(Parse_Rotation("--rotation", Word)), Word);
  }
}

TEST(RotationForm, RefusesWordsThatLeaveSomethingOpen) {
  for (const std::string Word : {"", "euler", "xyz", "euler-xyz", "euler-xyz-", "euler-xy-body",
                                 "euler-xxz-body", "euler-xyw-body", "euler-xyz-moving",
                                 "euler-xyz-body-", "Helical", "matrix", "quaternion"}) {
    EXPECT_FALSE(Find_Rotation(Word)) << Word;
  }
  try {
    Parse_Rotation("--rotation", "xyz");
    FAIL() << "not refused";
  } catch (const Usage_Error& Refusal) {
    EXPECT_STREQ(Refusal.what(),
                 "--rotation: 'xyz' is wrong; expected helical, euler-xyz-body or euler-xyz-fixed "
                 "(or another order of x, y and z), matrix-columns or matrix-rows");
  }
}

}  // namespace
}  // namespace rigsync
