// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/board_estimate.h"

#include "rigsync/geometry/angle.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// What images and samples tell is off by less than half of what half of their rows are off by: in
// simulated captures of 14 images, with tracker noise up to 5 mm and half a degree. An estimate is
// off when it is off by five times that, and by what matters: at half a degree the outlier filter
// keeps 6 images of 24, and of 10 mm the result keeps 4 to 8.
constexpr double Off_Factor = 5.0;
constexpr double Euler_Floor = 0.5;
constexpr double Offset_Floor = 0.01;
// With an estimate that is this far off no calibration comes out that could be trusted.
constexpr double Euler_Far = 2.0;
// A board that is turned by a right angle in its plane, give or take what estimates are off.
constexpr double Right_Angle_Limit = 10.0;

using Eigen::AngleAxisd;
using Eigen::Matrix3d;
using Eigen::Vector3d;

Matrix3d Rotation_Of(const std::array<double, 3>& Euler_Deg) {
  return (AngleAxisd(Euler_Deg[0] / Degrees_Per_Radian, Vector3d::UnitX()) *
          AngleAxisd(Euler_Deg[1] / Degrees_Per_Radian, Vector3d::UnitY()) *
          AngleAxisd(Euler_Deg[2] / Degrees_Per_Radian, Vector3d::UnitZ()))
      .toRotationMatrix();
}

double Angle_Deg(const Matrix3d& Rotation) {
  return AngleAxisd(Rotation).angle() * Degrees_Per_Radian;
}

// To tenths, where what is next to 0 has no sign.
double Tenths(double Value) {
  return std::round(10.0 * Value) / 10.0 + 0.0;
}

// The angles of Rx(A) Ry(B) Rz(C), B from -90 to 90: the rotation's last column is
// sin B, -sin A cos B, cos A cos B, and its first row cos B cos C, -cos B sin C, sin B.
std::string Euler_Text(const Matrix3d& Rotation) {
  const double A = std::atan2(-Rotation(1, 2), Rotation(2, 2));
  const double B = std::asin(std::clamp(Rotation(0, 2), -1.0, 1.0));
  const double C = std::atan2(-Rotation(0, 1), Rotation(0, 0));
  return fmt::format("{:.1f},{:.1f},{:.1f}", Tenths(A * Degrees_Per_Radian),
                     Tenths(B * Degrees_Per_Radian), Tenths(C * Degrees_Per_Radian));
}

// The board's middle, seen from its first inner corner.
Vector3d Middle_Chart(const Board_Estimate& Of) {
  return {0.5 * (Of.Board.Cols - 1) * Of.Square_Size, 0.5 * (Of.Board.Rows - 1) * Of.Square_Size,
          0.0};
}

void Tell_Swapped(const Board_Estimate& Estimate, const Matrix3d& Rotation, Findings& Told) {
  Told.Add({"board_turned",
            Level::Error,
            fmt::format("By images and samples the board sits on its tracker turned by a right "
                        "angle in its plane against what --board-euler says. Counts of --board "
                        "that are swapped, {0}x{1} for {1}x{0}, look like this.",
                        Estimate.Board.Cols, Estimate.Board.Rows),
            "",
            fmt::format("Count again: the first count of --board is that of the corners along a "
                        "row, the direction of x. If {}x{} is right, --board-euler is about {}.",
                        Estimate.Board.Cols, Estimate.Board.Rows, Euler_Text(Rotation)),
            {}});
}

void Tell_Turned(double Off_Deg, const Matrix3d& Rotation, Findings& Told) {
  Told.Add(
      {"board_euler",
       Off_Deg > Euler_Far ? Level::Error : Level::Warning,
       fmt::format("By images and samples the board sits on its tracker {:.1f} degrees off "
                   "what --board-euler says.",
                   Off_Deg),
       "",
       fmt::format("Measure --board-euler again: they make it about {}.", Euler_Text(Rotation)),
       {}});
}

long Whole_Mm(double Metres) {
  return std::lround(1000.0 * Metres);
}

void Tell_Moved(double Off, const Vector3d& First_Corner, Findings& Told) {
  Told.Add({"board_offset",
            Level::Warning,
            fmt::format("By images and samples the board sits on its tracker {:.0f} mm off where "
                        "--board-offset puts it.",
                        1000.0 * Off),
            "",
            fmt::format("Measure --board-offset again: they make it about {}mm,{}mm,{}mm.",
                        Whole_Mm(First_Corner.x()), Whole_Mm(First_Corner.y()),
                        Whole_Mm(First_Corner.z())),
            {}});
}

}  // namespace

void Judge_Estimate(const Board_Estimate& Estimate, const Agreement& Measured,
                    bool Distance_Is_Told, Findings& Told) {
  if (!Estimate.Euler || !Measured.Rotation_Tr_Chart || !Measured.Is_Good()) return;
  // In mirrored axes the board's tracker seems turned, and how isn't known.
  if (Measured.Hand != Mirrored::Nothing) return;
  const Matrix3d Estimated = Rotation_Of(*Estimate.Euler);
  const Matrix3d& Rotation = *Measured.Rotation_Tr_Chart;
  const double Off_Deg = Angle_Deg(Estimated.transpose() * Rotation);
  for (const double Right_Angle : {90.0, -90.0}) {
    const Matrix3d Turned = Estimated * Rotation_Of({0.0, 0.0, Right_Angle});
    if (Angle_Deg(Turned.transpose() * Rotation) > Right_Angle_Limit) continue;
    return Tell_Swapped(Estimate, Rotation, Told);
  }
  const double Doubt_Deg =
      std::max(Measured.Typical_Turn_Deg, Measured.Typical_Axis_Deg.value_or(0));
  if (Off_Deg > std::max(Euler_Floor, Off_Factor * Doubt_Deg)) {
    return Tell_Turned(Off_Deg, Rotation, Told);
  }
  if (!Estimate.Offset || !Measured.Middle_Tr || !Distance_Is_Told) return;
  // Measured in metres that are none, an offset that is right looks wrong.
  if (!Measured.Is_To_Scale()) return;
  const Vector3d Middle = Estimated * Middle_Chart(Estimate) + Vector3d(Estimate.Offset->data());
  const double Off = (*Measured.Middle_Tr - Middle).norm();
  if (!(Off > std::max(Offset_Floor, Off_Factor * *Measured.Typical_Position))) return;
  Tell_Moved(Off, *Measured.Middle_Tr - Rotation * Middle_Chart(Estimate), Told);
}

}  // namespace rigsync
