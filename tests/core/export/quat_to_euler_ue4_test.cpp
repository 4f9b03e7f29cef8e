// SPDX-License-Identifier: Apache-2.0
#include "core/export/quat_to_euler_ue4.h"

#include <limits>

#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

struct Extracted {
  int Code;
  Eigen::Vector3f Euler_Deg;
  Lines Log;
};

Extracted Extract(const Eigen::Quaterniond& Quat,
                  const Eigen::Vector3f& Before = Eigen::Vector3f::Zero()) {
  const Quiet_Output Screen;
  Extracted Result{-1, Before, {}};
  Result.Code = Quat_To_Euler_UE4("", Quat, Result.Euler_Deg);
  Result.Log = Messages(Screen.Captured());
  return Result;
}

Eigen::Matrix3d Rotation_Of(const Eigen::Vector3f& Euler_Deg) {
  const Eigen::Vector3d E = Euler_Deg.cast<double>();
  return Turn(2, E[2]) * Turn(1, -E[1]) * Turn(0, -E[0]);
}

Lines Gimbal_Lines(float Test_Value, float X, float Y, float Z) {
  return {"Encountered Gimbal lock : ", "SingularityTest : " + Text(Test_Value),
          "x : " + Text(X) + ", y : " + Text(Y) + ", z : " + Text(Z),
          "Error code 3 : Encountered Gimbal lock."};
}

}  // namespace

TEST(QuatToEulerUE4, GivesTheDerivedAnglesToTheLastBit) {
  for (const Derived_UE4_Angles& Case : UE4_Angles) {
    SCOPED_TRACE(Case.What);
    const Eigen::Vector3f Before(1.0f, 2.0f, 3.0f);
    const Extracted Result = Extract(Quaternion_XYZW(Case.Quat), Before);
    EXPECT_EQ(Result.Code, Case.Code);
    if (Case.Code == 3) {
      EXPECT_EQ(Result.Euler_Deg, Before);
      EXPECT_EQ(Result.Log,
                Gimbal_Lines(Case.Test_Value, static_cast<float>(Case.Quat[0]),
                             static_cast<float>(Case.Quat[1]), static_cast<float>(Case.Quat[2])));
    } else {
      for (int i = 0; i < 3; ++i) EXPECT_TRUE(Same_Bits(Result.Euler_Deg[i], Case.Euler_Deg[i]));
      EXPECT_EQ(Result.Log, Lines{});
    }
  }
}

// With y = w = 0 and z = 1 the test value is x itself.
TEST(QuatToEulerUE4, PassesOnTheLimitAndRefusesTheNextFloatBeyondIt) {
  const float Limit = 0.4999995f;
  ASSERT_EQ(Bits(Limit), 0x3EFFFFEFu);
  for (const float Sign : {1.0f, -1.0f}) {
    SCOPED_TRACE(Sign);
    const float Below = std::nextafterf(Limit, 0.0f), Above = std::nextafterf(Limit, 1.0f);
    EXPECT_EQ(Extract({0.0, Sign * Below, 0.0, 1.0}).Code, 0);
    EXPECT_EQ(Extract({0.0, Sign * Limit, 0.0, 1.0}).Code, 0);
    EXPECT_EQ(Extract({0.0, Sign * Above, 0.0, 1.0}).Code, 3);
    // The double next to the limit is narrowed onto it.
    const double Just_Above = std::nextafter(static_cast<double>(Limit), 1.0);
    EXPECT_EQ(Extract({0.0, static_cast<double>(Sign) * Just_Above, 0.0, 1.0}).Code, 0);
  }
}

TEST(QuatToEulerUE4, StaysInsideTheDomainOfAsinOnTheLimit) {
  const Extracted Result = Extract({0.0, 0.4999995f, 0.0, 1.0});
  EXPECT_TRUE(std::isfinite(Result.Euler_Deg[1]));
  EXPECT_LT(Result.Euler_Deg[1], 90.0f);
}

TEST(QuatToEulerUE4, WritesFourLinesForAQuarterTurnAboutYAndLeavesTheAnglesAlone) {
  const double Root_Half = std::sqrt(0.5);
  const Eigen::Vector3f Before(1.0f, 2.0f, 3.0f);
  const Extracted Result = Extract({Root_Half, 0.0, Root_Half, 0.0}, Before);
  EXPECT_EQ(Result.Code, 3);
  EXPECT_EQ(Result.Euler_Deg, Before);
  EXPECT_EQ(Result.Log, (Lines{"Encountered Gimbal lock : ", "SingularityTest : -0.500000",
                               "x : 0.000000, y : 0.707107, z : 0.000000",
                               "Error code 3 : Encountered Gimbal lock."}));
}

TEST(QuatToEulerUE4, PrintsEachComponentInItsPlaceAndNotW) {
  const Extracted Result = Extract({2.0, 0.125, 1.0, 0.25});
  EXPECT_EQ(Result.Log, (Lines{"Encountered Gimbal lock : ", "SingularityTest : -1.968750",
                               "x : 0.125000, y : 1.000000, z : 0.250000",
                               "Error code 3 : Encountered Gimbal lock."}));
}

TEST(QuatToEulerUE4, RebuildsTheRotationFromYawThenMinusPitchThenMinusRoll) {
  Random_Numbers Random(51);
  int Rebuilt = 0;
  for (int i = 0; i < 5000; ++i) {
    const Eigen::Quaterniond Quat = Random_Quaternion(Random);
    const Extracted Result = Extract(Quat);
    if (Result.Code == 3) continue;
    const double Cosine = std::cos(Radians(static_cast<double>(Result.Euler_Deg[1])));
    const Eigen::Matrix3d Difference = Rotation_Of(Result.Euler_Deg) - Quat.toRotationMatrix();
    ASSERT_LE(Largest_Element(Difference), Rebuild_Tolerance / Cosine) << i;
    ++Rebuilt;
  }
  EXPECT_GT(Rebuilt, 4900);  // a gimbal lock takes one rotation in a million
}

// The steps once more, each result stored in the type that it has to have. Where the recorded
// cases leave out angles near the middle between two floats, this asks for the very function.
TEST(QuatToEulerUE4, MixesSingleAndDoublePrecisionStepByStep) {
  Random_Numbers Random(52);
  for (int i = 0; i < 5000; ++i) {
    Eigen::Quaterniond Quat = Random_Quaternion(Random);
    if (i % 3 == 0) Quat.coeffs() *= 0.8;  // lengths other than 1 count as they are
    const float X = static_cast<float>(Quat.x()), Y = static_cast<float>(Quat.y());
    const float Z = static_cast<float>(Quat.z()), W = static_cast<float>(Quat.w());
    const double XX = double{X} * double{X}, YY = double{Y} * double{Y}, ZZ = double{Z} * double{Z};

    const float ZX = Z * X, WY = W * Y;
    const float Test_Value = ZX - WY;
    const float WZ = W * Z, YX = Y * X;
    const float Yaw_Up = 2.0f * (WZ + YX);
    const float Yaw_Down = static_cast<float>(1.0 - 2.0 * (ZZ + YY));
    const float ZY = Z * Y, WX = W * X;
    const float Roll_Up = (ZY + WX) * -2.0f;
    const double Roll_Down = 1.0 - 2.0 * (XX + YY);

    const float Pitch_Rad = asinf(2.0f * Test_Value), Yaw_Rad = atan2f(Yaw_Up, Yaw_Down);
    const double Roll_Rad = atan2(double{Roll_Up}, Roll_Down);

    const Extracted Result = Extract(Quat);
    ASSERT_EQ(Result.Code, 0) << i;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[0], static_cast<float>(Roll_Rad * 57.295780181884766)));
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[1], Pitch_Rad * 57.29578f)) << i;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[2], Yaw_Rad * 57.29578f)) << i;
  }
}

TEST(QuatToEulerUE4, GivesTheSameForAQuaternionAndItsNegative) {
  Random_Numbers Random(53);
  for (int i = 0; i < 500; ++i) {
    const Eigen::Quaterniond Quat = Random_Quaternion(Random);
    const Eigen::Quaterniond Negative(-Quat.w(), -Quat.x(), -Quat.y(), -Quat.z());
    const Extracted One = Extract(Quat), Other = Extract(Negative);
    ASSERT_EQ(One.Code, Other.Code);
    for (int k = 0; k < 3; ++k) ASSERT_TRUE(Same_Bits(One.Euler_Deg[k], Other.Euler_Deg[k])) << i;
  }
}

TEST(QuatToEulerUE4, TakesNaNForNoGimbalLock) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    Eigen::Quaterniond Quat(0.5, 0.5, 0.5, 0.5);
    if (i < 4) Quat.coeffs()[i] = NaN;
    if (i == 4) Quat.coeffs().setConstant(NaN);
    const Extracted Result = Extract(Quat);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_EQ(Result.Log, Lines{});
    for (int k = 0; k < 3; ++k) EXPECT_FALSE(std::isfinite(Result.Euler_Deg[k]));
  }
}

TEST(QuatToEulerUE4, TakesOpposedInfinitiesForNoGimbalLock) {
  constexpr double Infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Extract({Infinity, Infinity, Infinity, Infinity}).Code, 0);
}
