// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/seen_boards.h"

#include "rigsync/geometry/angle.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace rigsync {
namespace {

// By the formula of Gauss for the polygon of the outermost corners.
double Outline_Area(const Corner_List& Corners, const Board_Size& Board) {
  const auto Cols = static_cast<std::size_t>(Board.Cols);
  const std::array<std::size_t, 4> Outermost = {0, Cols - 1, Corners.size() - 1,
                                                Corners.size() - Cols};
  double Twice = 0;
  for (std::size_t k = 0; k < 4; ++k) {
    const auto& A = Corners[Outermost[k]];
    const auto& B = Corners[Outermost[(k + 1) % 4]];
    Twice += static_cast<double>(A[0]) * static_cast<double>(B[1]) -
             static_cast<double>(B[0]) * static_cast<double>(A[1]);
  }
  return std::abs(Twice) / 2.0;
}

}  // namespace

bool Is_Row_Kept(const Run_View& View, std::size_t Row) {
  const Calibration_Result& Result = View.Result;
  if (Result.Inputs.Solution == Solution_Choice::Library || !Result.Solved) {
    return View.Rows[Row].Report.Fate == Image_Fate::Kept;
  }
  const std::vector<Solved_Row>& Rows = Result.Solved->Joint.Rows;
  return std::any_of(Rows.begin(), Rows.end(),
                     [Row](const Solved_Row& Each) { return Each.Row == Row && Each.Is_Kept; });
}

Seen_Board Describe_Pose(const Eigen::Isometry3d& Transform_Cam_Chart, const Board_Size& Board,
                         double Square_Size) {
  Seen_Board Seen;
  Seen.Transform_Cam_Chart = Transform_Cam_Chart;
  // The normal points away from the camera; the side that it leans to comes nearer.
  Eigen::Vector3d Normal_Cam = Transform_Cam_Chart.linear().col(2);
  if (Normal_Cam.z() < 0.0) Normal_Cam = -Normal_Cam;
  const double Sine = Normal_Cam.head<2>().norm();
  Seen.Tilt_Deg = Degrees_Per_Radian * std::atan2(Sine, Normal_Cam.z());
  if (Sine > 0.0) Seen.Near_Side = Normal_Cam.head<2>() / Sine;
  const Eigen::Vector3d Along_Row_Cam = Transform_Cam_Chart.linear().col(0);
  const double Roll = Degrees_Per_Radian * std::atan2(Along_Row_Cam.y(), Along_Row_Cam.x());
  Seen.Roll_Deg = Roll < 0.0 ? Roll + 360.0 : Roll;
  const Eigen::Vector3d Centre_Chart(0.5 * (Board.Cols - 1) * Square_Size,
                                     0.5 * (Board.Rows - 1) * Square_Size, 0.0);
  Seen.Distance = (Transform_Cam_Chart * Centre_Chart).norm();
  return Seen;
}

std::vector<Seen_Board> Measure_Boards(const Run_View& View) {
  std::vector<Seen_Board> Boards;
  if (!View.Lens_Px) return Boards;
  const Board_Size& Board = View.Result.Inputs.Board;
  const double Square_Size = View.Result.Inputs.Square_Size;
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    const Corner_List& Corners = View.Rows[i].Corners;
    const auto Pose = Solve_Board_Pose(Corners, Board, Square_Size, *View.Lens_Px);
    if (!Pose) continue;
    Seen_Board Seen = Describe_Pose(Pose->Transform_Cam_Chart, Board, Square_Size);
    Seen.Row = i;
    Seen.Is_Kept = Is_Row_Kept(View, i);
    const double Frame = static_cast<double>(View.Width) * View.Height;
    Seen.Frame_Share = Frame > 0.0 ? Outline_Area(Corners, Board) / Frame : 0.0;
    Boards.push_back(Seen);
  }
  return Boards;
}

}  // namespace rigsync
