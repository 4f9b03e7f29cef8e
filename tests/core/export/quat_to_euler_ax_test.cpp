// SPDX-License-Identifier: Apache-2.0
#include "core/export/quat_to_euler_ax.h"

#include <limits>

#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

struct Extracted {
  Eigen::Vector3f Euler_Deg;
  Lines Log;
};

Extracted Extract(const Eigen::Quaterniond& Quat) {
  const Quiet_Output Screen;
  Extracted Result{Eigen::Vector3f::Zero(), {}};
  EXPECT_EQ(Quat_To_Euler_AX("", Quat, Result.Euler_Deg), 0);
  Result.Log = Messages(Screen.Captured());
  return Result;
}

// The angles as the host gets them are negated.
Eigen::Matrix3d Rotation_Of(const Eigen::Vector3f& Extracted_Deg) {
  const Eigen::Vector3d E = -Extracted_Deg.cast<double>();
  return Turn(1, E[1]) * Turn(0, E[0]) * Turn(2, E[2]);
}

const Lines Gimbal_Line = {"Encountered Gimbal lock"};

}  // namespace

TEST(QuatToEulerAX, GivesTheDerivedAnglesToTheLastBit) {
  for (const Derived_AX_Angles& Case : AX_Angles) {
    SCOPED_TRACE(Case.What);
    const Extracted Result = Extract(Quaternion_XYZW(Case.Quat));
    EXPECT_EQ(Result.Log, Case.Gimbal_Line ? Gimbal_Line : Lines{});
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Same_Bits(Result.Euler_Deg[i], Case.Euler_Deg[i]));
  }
}

// With w = 1 and y = z = 0 the value compared with the limit is twice x. No float equals the limit.
TEST(QuatToEulerAX, TakesTheNextFloatBeyondTheLimitForAGimbalLockAndTheOneBeforeItNot) {
  float Above = 0.9999987f;
  while (static_cast<double>(Above) > 0.9999987) Above = std::nextafterf(Above, 0.0f);
  const float Below = Above;
  Above = std::nextafterf(Below, 1.0f);
  ASSERT_LT(static_cast<double>(Below), 0.9999987);
  ASSERT_GT(static_cast<double>(Above), 0.9999987);
  for (const double Sign : {1.0, -1.0}) {
    SCOPED_TRACE(Sign);
    const Extracted Normal = Extract({1.0, Sign * static_cast<double>(Below) / 2.0, 0.0, 0.0});
    EXPECT_EQ(Normal.Log, Lines{});
    EXPECT_LT(std::fabs(Normal.Euler_Deg[0]), 90.0f);
    const Extracted Locked = Extract({1.0, Sign * static_cast<double>(Above) / 2.0, 0.0, 0.0});
    EXPECT_EQ(Locked.Log, Gimbal_Line);
    EXPECT_EQ(Locked.Euler_Deg[0], Sign > 0 ? -90.0f : 90.0f);
  }
}

TEST(QuatToEulerAX, GivesANegativeZeroAsTheSecondAngleOfAGimbalLock) {
  const double Root_Half = std::sqrt(0.5);
  for (const double Sign : {1.0, -1.0}) {
    const Extracted Result = Extract({Root_Half, Sign * Root_Half, 0.0, 0.0});
    EXPECT_EQ(Result.Euler_Deg[1], 0.0f);
    EXPECT_TRUE(std::signbit(Result.Euler_Deg[1]));
  }
}

TEST(QuatToEulerAX, RebuildsTheRotationFromYThenXThenZ) {
  Random_Numbers Random(61);
  int Rebuilt = 0;
  for (int i = 0; i < 5000; ++i) {
    const Eigen::Quaterniond Quat = Random_Quaternion(Random);
    const Extracted Result = Extract(Quat);
    if (!Result.Log.empty()) continue;
    const double Cosine = std::cos(Radians(static_cast<double>(Result.Euler_Deg[0])));
    const Eigen::Matrix3d Difference = Rotation_Of(Result.Euler_Deg) - Quat.toRotationMatrix();
    ASSERT_LE(Largest_Element(Difference), Rebuild_Tolerance / Cosine) << i;
    ++Rebuilt;
  }
  EXPECT_GT(Rebuilt, 4900);
}

// At exactly 90 degrees only the rotation of the quaternion's narrowing is left: 1 + 1 products of
// some 1e-7. The two turns that share an axis come out as one.
constexpr double Gimbal_Tolerance = 1e-6;

TEST(QuatToEulerAX, RebuildsTheRotationOfAGimbalLockFromTwoAngles) {
  Random_Numbers Random(62);
  for (int i = 0; i < 500; ++i) {
    const double X_Deg = i % 2 == 0 ? 90.0 : -90.0;
    const Eigen::Matrix3d Rotation = Turn(1, Random.Between(-180.0, 180.0)) * Turn(0, X_Deg) *
                                     Turn(2, Random.Between(-180.0, 180.0));
    const Extracted Result = Extract(Eigen::Quaterniond(Rotation));
    ASSERT_EQ(Result.Log, Gimbal_Line) << i;
    ASSERT_EQ(-Result.Euler_Deg[0], static_cast<float>(X_Deg)) << i;
    ASSERT_LE(Largest_Element(Rotation_Of(Result.Euler_Deg) - Rotation), Gimbal_Tolerance) << i;
  }
}

// The steps once more, each result stored in the type that it has to have.
TEST(QuatToEulerAX, WorksInSinglePrecisionButForTheFirstAnglesDegrees) {
  Random_Numbers Random(63);
  for (int i = 0; i < 5000; ++i) {
    Eigen::Quaterniond Quat = Random_Quaternion(Random);
    if (i % 3 == 0) Quat.coeffs() *= 0.8;
    const float X = static_cast<float>(Quat.x()), Y = static_cast<float>(Quat.y());
    const float Z = static_cast<float>(Quat.z()), W = static_cast<float>(Quat.w());
    const float WX = W * X, ZY = Z * Y, WY = W * Y, ZX = Z * X, WZ = W * Z, YX = Y * X;
    const float XX = X * X, YY = Y * Y, ZZ = Z * Z;
    const float Sine = 2.0f * (WX - ZY);
    const float X_Rad = asinf(Sine);
    const double X_Deg = static_cast<double>(-X_Rad) / 3.1415926535 * 180.0;
    const float Y_Deg = atan2f(2.0f * (WY + ZX), 1.0f - 2.0f * (XX + YY)) * 57.29578f;
    const float Z_Rad = atan2f(2.0f * (WZ + YX), 1.0f - 2.0f * (XX + ZZ));

    const Extracted Result = Extract(Quat);
    if (std::fabs(static_cast<double>(Sine)) > 0.9999987) continue;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[0], static_cast<float>(X_Deg))) << i;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[1], -Y_Deg)) << i;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[2], -Z_Rad * 57.29578f)) << i;
  }
}

TEST(QuatToEulerAX, WorksInSinglePrecisionInAGimbalLockToo) {
  Random_Numbers Random(64);
  for (int i = 0; i < 5000; ++i) {
    const double X_Deg = i % 2 == 0 ? 90.0 : -90.0;
    Eigen::Quaterniond Quat(Turn(1, Random.Between(-180.0, 180.0)) * Turn(0, X_Deg) *
                            Turn(2, Random.Between(-180.0, 180.0)));
    Quat.coeffs() *= Random.Between(1.0, 1.1);  // lengths other than 1 count as they are
    const float X = static_cast<float>(Quat.x()), Y = static_cast<float>(Quat.y());
    const float Z = static_cast<float>(Quat.z()), W = static_cast<float>(Quat.w());
    const float ZX = Z * X, WY = W * Y, YY = Y * Y, ZZ = Z * Z;
    const float Up = ZX - WY, Squares = YY + ZZ;
    const float Turn_Rad = atan2f(2.0f * Up, 1.0f - 2.0f * Squares);
    const float Turn_Deg = Turn_Rad * 57.29578f;

    const Extracted Result = Extract(Quat);
    ASSERT_EQ(Result.Log, Gimbal_Line) << i;
    ASSERT_TRUE(Same_Bits(Result.Euler_Deg[2], i % 2 == 0 ? -Turn_Deg : Turn_Deg)) << i;
  }
}

TEST(QuatToEulerAX, TakesNaNForNoGimbalLock) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    Eigen::Quaterniond Quat(0.5, 0.5, 0.5, 0.5);
    Quat.coeffs()[i] = NaN;
    const Extracted Result = Extract(Quat);
    EXPECT_EQ(Result.Log, Lines{});
    EXPECT_TRUE(std::isnan(Result.Euler_Deg[0]));
  }
}

TEST(QuatToEulerAX, TakesAnInfiniteSineForAGimbalLock) {
  EXPECT_EQ(Extract({1e30, 1e30, 0.0, 0.0}).Euler_Deg[0], -90.0f);
  EXPECT_EQ(Extract({1e30, -1e30, 0.0, 0.0}).Euler_Deg[0], 90.0f);
}
