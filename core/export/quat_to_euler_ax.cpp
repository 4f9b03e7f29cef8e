// SPDX-License-Identifier: Apache-2.0
#include "core/export/quat_to_euler_ax.h"

#include <cmath>

#include "core/base/run_log.h"
#include "core/base/short_constants.h"

namespace {

// The sine of element 0's angle above which the angle counts as 90 degrees. It is a double, and the
// float that is compared with it is widened: no float equals it, so the limit itself never occurs.
constexpr double AX_Gimbal_Limit = 0.9999987;

}  // namespace

int Quat_To_Euler_AX(std::string Log_Path, Eigen::Quaterniond Quat, Eigen::Vector3f& Euler_Deg) {
  const float X = static_cast<float>(Quat.x());
  const float Y = static_cast<float>(Quat.y());
  const float Z = static_cast<float>(Quat.z());
  const float W = static_cast<float>(Quat.w());

  const float Half_Sine = W * X - Z * Y;
  const float Sine = Half_Sine + Half_Sine;

  // Single-precision products, without pow.
  const float WY = Y * W;
  const float YY = Y * Y;
  const float ZX = Z * X;
  const float ZZ = Z * Z;

  const bool At_Plus_90 = static_cast<double>(Sine) > AX_Gimbal_Limit;
  const bool At_Minus_90 = -AX_Gimbal_Limit > static_cast<double>(Sine);
  if (At_Plus_90 || At_Minus_90) {
    // The text has no colon or number, and no error line follows: this is not a failure.
    Write_Log(Log_Path, "Encountered Gimbal lock");
    const float Numerator_Half = ZX - WY;
    const float Squares = YY + ZZ;
    const float Turn_Rad = atan2f(Numerator_Half + Numerator_Half, 1.0f - (Squares + Squares));
    Euler_Deg = At_Plus_90 ? Eigen::Vector3f(-90.0f, -0.0f, -Turn_Rad * Degree_Factor)
                           : Eigen::Vector3f(90.0f, -0.0f, Turn_Rad * Degree_Factor);
    return 0;
  }

  const float XX = X * X;

  const float Y_Numerator_Half = WY + ZX;
  const float Y_Squares = XX + YY;
  const float Y_Turn_Deg =
      atan2f(Y_Numerator_Half + Y_Numerator_Half, 1.0f - (Y_Squares + Y_Squares)) * Degree_Factor;

  // asinf in single precision, then conversion to degrees in double, with Pi_Short.
  const double X_Turn_Rad = static_cast<double>(-asinf(Sine));
  const float X_Turn_Deg = static_cast<float>(X_Turn_Rad / Pi_Short * 180.0);

  const float Z_Numerator_Half = W * Z + Y * X;
  const float Z_Squares = XX + ZZ;
  const float Z_Turn_Rad =
      atan2f(Z_Numerator_Half + Z_Numerator_Half, 1.0f - (Z_Squares + Z_Squares));

  Euler_Deg = Eigen::Vector3f(X_Turn_Deg, -Y_Turn_Deg, -Z_Turn_Rad * Degree_Factor);
  return 0;
}
