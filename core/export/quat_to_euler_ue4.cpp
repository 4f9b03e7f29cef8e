// SPDX-License-Identifier: Apache-2.0
#include "core/export/quat_to_euler_ue4.h"

#include <cmath>

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"
#include "core/base/short_constants.h"

namespace {

// Half the sine of the pitch above which the export reports gimbal lock. The limit itself still
// gives angles; the next float above it, 0x3EFFFFF0, does not. It is a float, like the value that
// is compared with it.
constexpr float UE4_Gimbal_Limit = 0.4999995f;
static_assert(static_cast<double>(UE4_Gimbal_Limit) == 0.4999994933605194091796875,
              "the bound's bits are 0x3EFFFFEF");

int Report_Gimbal_Lock(const std::string& Log_Path, float SingularityTest, float X, float Y,
                       float Z) {
  // The first line ends in a space: the numbers are in the lines after it.
  Write_Log(Log_Path, "Encountered Gimbal lock : ");
  Write_Log(Log_Path, "SingularityTest : " + std::to_string(SingularityTest));
  Write_Log(Log_Path, "x : " + std::to_string(X) + ", y : " + std::to_string(Y) +
                          ", z : " + std::to_string(Z));
  Write_Log(Log_Path, "Error code 3 : " + Error_Text(3));
  return 3;
}

}  // namespace

int Quat_To_Euler_UE4(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg) {
  const float X = static_cast<float>(Quat.x());
  const float Y = static_cast<float>(Quat.y());
  const float Z = static_cast<float>(Quat.z());
  const float W = static_cast<float>(Quat.w());

  const float SingularityTest = Z * X - W * Y;

  const float Yaw_Half = W * Z + Y * X;
  const float Yaw_Numerator = Yaw_Half + Yaw_Half;

  // pow in double on narrowed values. The square of a float is exact in a double.
  const double Y2 = std::pow(static_cast<double>(Y), 2.0);
  const double Z2 = std::pow(static_cast<double>(Z), 2.0);
  const double Yaw_Squares = Z2 + Y2;
  const float Yaw_Denominator = static_cast<float>(1.0 - (Yaw_Squares + Yaw_Squares));

  if (-UE4_Gimbal_Limit > SingularityTest || SingularityTest > UE4_Gimbal_Limit) {
    return Report_Gimbal_Lock(Log_Path, SingularityTest, X, Y, Z);
  }

  const float Pitch_Deg = asinf(SingularityTest + SingularityTest) * Degree_Factor;
  const float Yaw_Deg = atan2f(Yaw_Numerator, Yaw_Denominator) * Degree_Factor;

  // Roll is computed in double, and unlike the denominator of yaw its denominator is not narrowed.
  const double X2 = std::pow(static_cast<double>(X), 2.0);
  const float Roll_Product = (Z * Y + W * X) * -2.0f;
  const double Roll_Numerator = static_cast<double>(Roll_Product);
  const double Roll_Squares = X2 + Y2;
  const double Roll_Denominator = 1.0 - (Roll_Squares + Roll_Squares);
  const double Roll_Deg = std::atan2(Roll_Numerator, Roll_Denominator) * Degree_Factor_Wide;

  Euler_Deg = Eigen::Vector3f(static_cast<float>(Roll_Deg), Pitch_Deg, Yaw_Deg);
  return 0;
}
