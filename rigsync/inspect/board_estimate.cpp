// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/board_estimate.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/solve/rigid_motion.h"

#include <fmt/format.h>
#include <Eigen/Eigenvalues>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// An estimate is judged when it differs by an amount that matters where a run takes it as it is
// (with an error of half a degree the outlier filter keeps 6 images of 24, and of an error of 10 mm
// the result inherits 4 to 8 mm) and by twice the half-width of the solved place.
constexpr double Euler_Floor_Deg = 0.5;
constexpr double Offset_Floor = 0.01;
constexpr double Clear_Half_Widths = 2.0;
// Tolerance for a board that is rotated by 90 degrees in its plane, for the error of an estimate.
constexpr double Right_Angle_Tolerance_Deg = 10.0;

using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Vector3d;

double Angle_Deg(const Matrix3d& Rotation) {
  return Degrees_Per_Radian * Turn_From_Rotation(Rotation).norm();
}

// The board's place by the capture alone.
struct Measured_Place {
  Isometry3d Transform_Tr_Chart;
  Mount_Uncertainty Uncertainty;

  double Half_Width_Deg() const { return Uncertainty.Widest_Deg.Half_Width; }
  // Of a point of the board, in the direction in which it is least certain, metres.
  double Half_Width_At(const Vector3d& Point_Chart) const;
};

// A motion moves the point by its shift and by its turn about the first inner corner.
double Measured_Place::Half_Width_At(const Vector3d& Point_Chart) const {
  Eigen::Matrix<double, 3, 6> By_Motion;
  By_Motion << -Cross_Matrix(Transform_Tr_Chart.linear() * Point_Chart), Matrix3d::Identity();
  const Matrix3d Covariance = By_Motion * Uncertainty.Covariance * By_Motion.transpose();
  const double Largest =
      Eigen::SelfAdjointEigenSolver<Matrix3d>(Covariance).eigenvalues().maxCoeff();
  return Half_Width_Factor(Uncertainty.Freedom.minCoeff()) * std::sqrt(std::max(Largest, 0.0));
}

// An estimate that was a prior has drawn the solved place towards itself, so the place is solved
// again without it.
Measured_Place Measure_Place(const Capture_Solution& Solution) {
  const bool Had_Prior = Solution.Place && Solution.Place->Is_Prior;
  Joint_Options Without_Prior;
  Without_Prior.Lag.Seconds = Solution.Joint.At.Lag_Seconds;
  const Joint_Solution Own =
      Had_Prior ? Solve_Mounts(Solution.Seen, Without_Prior) : Solution.Joint;
  return {Own.At.Transform_Tr_Chart, Own.Board_Mount};
}

// The board's centre relative to its first inner corner.
Vector3d Centre_Chart(const Board_Estimate& Estimate, double Square_Scale) {
  const double Square = Square_Scale * Estimate.Square_Size;
  return {0.5 * (Estimate.Board.Cols - 1) * Square, 0.5 * (Estimate.Board.Rows - 1) * Square, 0.0};
}

Isometry3d Estimated_Place(const Board_Estimate& Estimate) {
  constexpr std::array<double, 3> None{};
  return Transform_From_Place({Estimate.Euler.value_or(None), Estimate.Offset.value_or(None)});
}

// ---- Texts -----------------------------------------------------------------------------------

// Rounded, and never -0.
double Rounded(double Value, double Step) {
  return Step * std::round(Value / Step) + 0.0;
}

std::string Euler_Text(const Measured_Place& Measured) {
  const std::array<double, 3> Euler = Place_From_Transform(Measured.Transform_Tr_Chart).Euler_Deg;
  return fmt::format("{:.2f},{:.2f},{:.2f} (+- {} at 95 percent)", Rounded(Euler[0], 0.01),
                     Rounded(Euler[1], 0.01), Rounded(Euler[2], 0.01),
                     Amount_Deg(Measured.Half_Width_Deg()));
}

std::string Offset_Text(const Measured_Place& Measured) {
  const Vector3d Mm = 1000.0 * Measured.Transform_Tr_Chart.translation();
  return fmt::format("{:.1f}mm,{:.1f}mm,{:.1f}mm (+- {})", Rounded(Mm.x(), 0.1),
                     Rounded(Mm.y(), 0.1), Rounded(Mm.z(), 0.1),
                     Amount_Mm(Measured.Half_Width_At(Vector3d::Zero())));
}

// What to do about an estimate that differs.
std::string Estimate_Advice(const Board_Estimate& Estimate, const Capture_Solution& Solution,
                            const Measured_Place& Measured) {
  if (Solution.Place && Solution.Place->Is_Prior) {
    return fmt::format(
        "The stated place was used with its accuracy. The capture alone shows angles of {} and an "
        "offset of {}. State a wider --board-accuracy, or measure the place again.",
        Euler_Text(Measured), Offset_Text(Measured));
  }
  if (!Estimate.Offset) {
    return "Leave --board-euler out: the place is solved from the capture. The solved angles are " +
           Euler_Text(Measured) + ".";
  }
  if (!Estimate.Euler) {
    return "Leave --board-offset out: the place is solved from the capture. The solved offset is " +
           Offset_Text(Measured) + ".";
  }
  return fmt::format(
      "Leave both --board-euler and --board-offset out: the place is solved from the capture. The "
      "solved angles are {}, the solved offset is {}.",
      Euler_Text(Measured), Offset_Text(Measured));
}

// How the stated accuracy stands to the difference. Empty for an estimate that is used.
std::string Unused_Text(const Board_Estimate& Estimate, const Capture_Solution& Solution) {
  if (!Solution.Place || Solution.Place->Is_Prior) return {};
  const Place_Accuracy& Accuracy = Estimate.Accuracy;
  return fmt::format(
      "With an accuracy of {:g} mm and {:g} degree{} that is no chance, so the "
      "estimate is not used.",
      1000.0 * Accuracy.Offset, Accuracy.Euler_Deg, Accuracy.Euler_Deg == 1.0 ? "" : "s");
}

void Add_Right_Angle(const Board_Estimate& Estimate, const Measured_Place& Measured,
                     Findings& List) {
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
                        Estimate.Board.Cols, Estimate.Board.Rows, Euler_Text(Measured)),
            {}});
}

void Add_Euler(const Board_Estimate& Estimate, const Capture_Solution& Solution,
               double Difference_Deg, const Measured_Place& Measured, Findings& List) {
  List.Add({"board_euler",
            Level::Warning,
            fmt::format("According to images and samples, the board's rotation on its tracker "
                        "differs by {} from --board-euler.",
                        Amount_Deg(Difference_Deg)),
            Unused_Text(Estimate, Solution),
            Estimate_Advice(Estimate, Solution, Measured),
            {}});
}

void Add_Offset(const Board_Estimate& Estimate, const Capture_Solution& Solution, double Difference,
                const Measured_Place& Measured, Findings& List) {
  List.Add({"board_offset",
            Level::Warning,
            fmt::format("According to images and samples, the board's position on its tracker "
                        "differs by {} from --board-offset.",
                        Amount_Mm(Difference)),
            Unused_Text(Estimate, Solution),
            Estimate_Advice(Estimate, Solution, Measured),
            {}});
}

// ---- Judgement -------------------------------------------------------------------------------

// False for a half-width that is not known.
bool Is_Clear(double Difference, double Floor, double Half_Width) {
  return Difference > Floor && Difference > Clear_Half_Widths * Half_Width;
}

// False when the angles are wrong, and nothing more can be said about the offset.
bool Judge_Euler(const Board_Estimate& Estimate, const Capture_Solution& Solution,
                 const Measured_Place& Measured, Findings& List) {
  const Matrix3d Estimated = Estimated_Place(Estimate).linear();
  const Matrix3d Rotation = Measured.Transform_Tr_Chart.linear();
  const double Difference_Deg = Angle_Deg(Estimated.transpose() * Rotation);
  if (!Is_Clear(Difference_Deg, Euler_Floor_Deg, Measured.Half_Width_Deg())) return true;
  for (const double Right_Angle : {90.0, -90.0}) {
    const Matrix3d Swapped =
        Estimated * Transform_From_Place({{0.0, 0.0, Right_Angle}, {}}).linear();
    if (Angle_Deg(Swapped.transpose() * Rotation) > Right_Angle_Tolerance_Deg) continue;
    Add_Right_Angle(Estimate, Measured, List);
    return false;
  }
  Add_Euler(Estimate, Solution, Difference_Deg, Measured, List);
  return false;
}

// At the board's centre, where the angles' error does not add to the offset's. Without angles there
// is only the first inner corner.
void Judge_Offset(const Board_Estimate& Estimate, const Capture_Solution& Solution,
                  const Measured_Place& Measured, Findings& List) {
  const Vector3d Point = Estimate.Euler ? Centre_Chart(Estimate, Solution.Joint.At.Square_Scale)
                                        : Vector3d(Vector3d::Zero());
  const Vector3d Estimated = Estimated_Place(Estimate) * Point;
  const double Difference = (Measured.Transform_Tr_Chart * Point - Estimated).norm();
  if (Is_Clear(Difference, Offset_Floor, Measured.Half_Width_At(Point))) {
    Add_Offset(Estimate, Solution, Difference, Measured, List);
  }
}

}  // namespace

void Judge_Estimate(const Board_Estimate& Estimate, const Capture_Solution& Solution,
                    Findings& List) {
  if (!Estimate.Euler && !Estimate.Offset) return;
  if (Solution.Joint.Status != Solve_Status::Solved) return;
  if (Solution.Place && Solution.Place->Is_Within_Uncertainty) return;
  const Measured_Place Measured = Measure_Place(Solution);
  if (Estimate.Euler && !Judge_Euler(Estimate, Solution, Measured, List)) return;
  if (Estimate.Offset) Judge_Offset(Estimate, Solution, Measured, List);
}

}  // namespace rigsync
