// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/board_estimate.h"

#include "rigsync/geometry/angle.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// In simulated captures of 14 images, with tracker noise up to 5 mm and half a degree, the error of
// the measured pose was below half of the median residual. An estimate is wrong when it differs by
// five times the median residual and by an amount that matters: with an error of half a degree the
// outlier filter keeps 6 images of 24, and of an error of 10 mm the result inherits 4 to 8 mm.
constexpr double Outlier_Factor = 5.0;
constexpr double Euler_Floor_Deg = 0.5;
constexpr double Offset_Floor = 0.01;
// With an estimate that is further off than this, no calibration can be trusted.
constexpr double Euler_Error_Deg = 2.0;
// Tolerance for a board that is rotated by 90 degrees in its plane, for the error of an estimate.
constexpr double Right_Angle_Tolerance_Deg = 10.0;

using Eigen::AngleAxisd;
using Eigen::Matrix3d;
using Eigen::Vector3d;

Matrix3d Rotation_From_Euler(const std::array<double, 3>& Euler_Deg) {
  return (AngleAxisd(Euler_Deg[0] / Degrees_Per_Radian, Vector3d::UnitX()) *
          AngleAxisd(Euler_Deg[1] / Degrees_Per_Radian, Vector3d::UnitY()) *
          AngleAxisd(Euler_Deg[2] / Degrees_Per_Radian, Vector3d::UnitZ()))
      .toRotationMatrix();
}

double Angle_Deg(const Matrix3d& Rotation) {
  return AngleAxisd(Rotation).angle() * Degrees_Per_Radian;
}

// Rounded to tenths, and never -0.
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

// The board's centre relative to its first inner corner.
Vector3d Centre_Chart(const Board_Estimate& Estimate) {
  return {0.5 * (Estimate.Board.Cols - 1) * Estimate.Square_Size,
          0.5 * (Estimate.Board.Rows - 1) * Estimate.Square_Size, 0.0};
}

void Add_Right_Angle(const Board_Estimate& Estimate, const Matrix3d& Rotation, Findings& List) {
  List.Add({"board_turned",
            Level::Error,
            fmt::format("According to images and samples, the board on its tracker is rotated by "
                        "90 degrees in its plane from the angles in --board-euler. Swapped counts "
                        "in --board, {0}x{1} for {1}x{0}, have this effect.",
                        Estimate.Board.Cols, Estimate.Board.Rows),
            "",
            fmt::format("Count again: the first count of --board is that of the inner corners "
                        "along a row, in the direction of x. If {}x{} is right, --board-euler is "
                        "about {}.",
                        Estimate.Board.Cols, Estimate.Board.Rows, Euler_Text(Rotation)),
            {}});
}

void Add_Euler(double Difference_Deg, const Matrix3d& Rotation, Findings& List) {
  List.Add({"board_euler",
            Difference_Deg > Euler_Error_Deg ? Level::Error : Level::Warning,
            fmt::format("According to images and samples, the board's rotation on its tracker "
                        "differs by {:.1f} degrees from --board-euler.",
                        Difference_Deg),
            "",
            fmt::format("Measure --board-euler again. According to images and samples it is about "
                        "{}.",
                        Euler_Text(Rotation)),
            {}});
}

long Whole_Mm(double Metres) {
  return std::lround(1000.0 * Metres);
}

void Add_Offset(double Distance, const Vector3d& First_Corner, Findings& List) {
  List.Add({"board_offset",
            Level::Warning,
            fmt::format("According to images and samples, the board's position on its tracker "
                        "differs by {:.0f} mm from --board-offset.",
                        1000.0 * Distance),
            "",
            fmt::format("Measure --board-offset again. According to images and samples it is about "
                        "{}mm,{}mm,{}mm.",
                        Whole_Mm(First_Corner.x()), Whole_Mm(First_Corner.y()),
                        Whole_Mm(First_Corner.z())),
            {}});
}

}  // namespace

void Judge_Estimate(const Board_Estimate& Estimate, const Agreement& Measured,
                    bool Is_Distance_Known, Findings& List) {
  if (!Estimate.Euler || !Measured.Rotation_Tr_Chart || !Measured.Is_Good()) return;
  // Mirrored axes make the board look rotated on its tracker, by an unknown rotation.
  if (Measured.Axes != Handedness::Right) return;
  const Matrix3d Estimated = Rotation_From_Euler(*Estimate.Euler);
  const Matrix3d& Rotation = *Measured.Rotation_Tr_Chart;
  const double Difference_Deg = Angle_Deg(Estimated.transpose() * Rotation);
  for (const double Right_Angle : {90.0, -90.0}) {
    const Matrix3d Swapped = Estimated * Rotation_From_Euler({0.0, 0.0, Right_Angle});
    if (Angle_Deg(Swapped.transpose() * Rotation) > Right_Angle_Tolerance_Deg) continue;
    return Add_Right_Angle(Estimate, Rotation, List);
  }
  const double Residual_Deg = std::max(Measured.Median_Rotation_Residual_Deg,
                                       Measured.Median_Axis_Residual_Deg.value_or(0));
  if (Difference_Deg > std::max(Euler_Floor_Deg, Outlier_Factor * Residual_Deg)) {
    return Add_Euler(Difference_Deg, Rotation, List);
  }
  if (!Estimate.Offset || !Measured.Centre_Tr || !Is_Distance_Known) return;
  // With a wrong scale, the measured offset is wrong.
  if (!Measured.Is_To_Scale()) return;
  const Vector3d Centre = Estimated * Centre_Chart(Estimate) + Vector3d(Estimate.Offset->data());
  const double Distance = (*Measured.Centre_Tr - Centre).norm();
  const double Limit = std::max(Offset_Floor, Outlier_Factor * *Measured.Median_Position_Residual);
  if (!(Distance > Limit)) return;
  Add_Offset(Distance, *Measured.Centre_Tr - Rotation * Centre_Chart(Estimate), List);
}

}  // namespace rigsync
