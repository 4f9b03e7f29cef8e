// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/corner_errors.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/geometry/units.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

bool Is_Joint_Chosen(const Run_View& View) {
  return View.Result.Inputs.Solution == Solution_Choice::Joint;
}

std::optional<Solved_Row> Joint_Row(const Run_View& View, std::size_t Row) {
  if (!View.Result.Solved) return std::nullopt;
  for (const Solved_Row& Solved : View.Result.Solved->Joint.Rows) {
    if (Solved.Row == Row) return Solved;
  }
  return std::nullopt;
}

// Why the joint solve does without the row.
std::string Joint_Reason(const Row_Error& Error, const Viewed_Row& Row) {
  if (Row.Corners.empty() && Row.Some_Corners.empty()) return "no board found";
  if (!Error.Joint) return "its samples can't be used";
  return fmt::format("contradicts the other images by {:.1f} deg and {:.0f} mm",
                     Degrees_Per_Radian * Error.Joint->Residual.head<3>().norm(),
                     Mm_In_Metre * Error.Joint->Residual.tail<3>().norm());
}

void Take_Fate(const Run_View& View, const Viewed_Row& Row, Row_Error& Error) {
  const Run_Report& Report = View.Result.Report;
  Error.Is_Kept = Row.Report.Fate == Image_Fate::Kept;
  if (Row.Report.Fate == Image_Fate::Unknown) Error.Drop_Reason = "the run ended before it";
  if (!Error.Is_Kept && Error.Drop_Reason.empty()) {
    Error.Drop_Reason = Drop_Reason(Report, Row.Report);
  }
  const bool Is_Read = Row.Report.Fate != Image_Fate::Unreadable;
  if (!Is_Joint_Chosen(View) || !Is_Read) return;
  Error.Is_Kept = Error.Joint && Error.Joint->Is_Kept;
  Error.Drop_Reason = Error.Is_Kept ? "" : Joint_Reason(Error, Row);
}

// With the square as it was solved, so that lengths are those of the chain.
void Take_Seen_Pose(const Run_View& View, const Viewed_Row& Row, Row_Error& Error) {
  const Calibration_Inputs& Inputs = View.Result.Inputs;
  if (!View.Lens_Px || Inputs.Board.Cols < 2 || Inputs.Board.Rows < 2) return;
  const double Square = View.Chain ? View.Chain->Square_Size : Inputs.Square_Size;
  Row_Facts Facts;
  Facts.Corners = Row.Corners;
  Facts.Some_Corners = Row.Some_Corners;
  const auto Seen = Solve_Board_Pose(Facts, Inputs.Board, Square, *View.Lens_Px);
  if (Seen) Error.Seen_Transform_Cam_Chart = Seen->Transform_Cam_Chart;
}

// Of a board that is cut off, the corners that were seen, in the order of the board.
bool Is_Compared(const Viewed_Row& Row, std::size_t Corner) {
  const std::vector<Seen_Corner>& Some = Row.Some_Corners;
  return Some.empty() || std::any_of(Some.begin(), Some.end(), [Corner](const Seen_Corner& Seen) {
           return Seen.Index == Corner;
         });
}

void Take_Prediction(const Run_View& View, const Viewed_Row& Row, Row_Error& Error) {
  if (!View.Chain || !View.Lens_Px || !Row.Camera || !Row.Board) return;
  Error.Predicted_Transform_Cam_Chart = Predicted_Board_Pose(*View.Chain, *Row.Camera, *Row.Board);
  if (!Error.Predicted_Transform_Cam_Chart) return;
  const std::vector<Eigen::Vector3d> Corners_Chart =
      Board_Corners_Chart(View.Chain->Board, View.Chain->Square_Size);
  std::vector<Eigen::Vector3d> Corners_Cam;
  for (std::size_t k = 0; k < Corners_Chart.size(); ++k) {
    if (!Is_Compared(Row, k)) continue;
    Corners_Cam.push_back(*Error.Predicted_Transform_Cam_Chart * Corners_Chart[k]);
  }
  Error.Predicted_Px = Project(*View.Lens_Px, Corners_Cam);
}

void Take_Distances(Row_Error& Error) {
  if (Error.Found_Px.empty() || Error.Found_Px.size() != Error.Predicted_Px.size()) return;
  double Sum = 0, Squares = 0;
  for (std::size_t k = 0; k < Error.Found_Px.size(); ++k) {
    const double Distance = (Error.Found_Px[k] - Error.Predicted_Px[k]).norm();
    Sum += Distance;
    Squares += Distance * Distance;
  }
  const auto Count = static_cast<double>(Error.Found_Px.size());
  Error.Mean_Px = Sum / Count;
  Error.Rms_Px = std::sqrt(Squares / Count);
}

void Take_Logged_Means(const Run_View& View, const Viewed_Row& Row, Row_Error& Error) {
  if (Row.Report.First_Reprojection_Px) Error.First_Mean_Px = *Row.Report.First_Reprojection_Px;
  if (Is_Joint_Chosen(View) || Row.Report.Fate != Image_Fate::Kept) return;
  // Only the last pass has the mounts of the result.
  if (View.Result.Report.Reprojection_Px && Row.Report.Reprojection_Px) {
    Error.Mean_Px = *Row.Report.Reprojection_Px;
  }
}

void Take_Length(const Run_View& View, Row_Error& Error) {
  const auto& Pose = Error.Seen_Transform_Cam_Chart ? Error.Seen_Transform_Cam_Chart
                                                    : Error.Predicted_Transform_Cam_Chart;
  if (!Pose || !View.Lens_Px) return;
  const Calibration_Inputs& Inputs = View.Result.Inputs;
  const double Square = View.Chain ? View.Chain->Square_Size : Inputs.Square_Size;
  const Eigen::Vector3d Centre_Chart(0.5 * (Inputs.Board.Cols - 1) * Square,
                                     0.5 * (Inputs.Board.Rows - 1) * Square, 0.0);
  Error.Distance = (*Pose * Centre_Chart).z();
  Error.Mean_Mm = Mm_Of_Px(Error.Mean_Px, Error.Distance, *View.Lens_Px);
}

Row_Error Measure_Row(const Run_View& View, std::size_t i) {
  const Viewed_Row& Row = View.Rows[i];
  Row_Error Error;
  Error.Joint = Joint_Row(View, i);
  for (const auto& [X, Y] : Row.Corners) Error.Found_Px.emplace_back(X, Y);
  for (const Seen_Corner& Seen : Row.Some_Corners) {
    Error.Found_Px.emplace_back(Seen.Pixel[0], Seen.Pixel[1]);
  }
  Take_Fate(View, Row, Error);
  Take_Seen_Pose(View, Row, Error);
  Take_Prediction(View, Row, Error);
  Take_Distances(Error);
  Take_Logged_Means(View, Row, Error);
  Take_Length(View, Error);
  return Error;
}

}  // namespace

bool Is_Set_Aside(const Row_Error& Error) {
  return !Error.Is_Kept && Error.Joint && Error.Joint->Is_Kept;
}

std::vector<Row_Error> Measure_Row_Errors(const Run_View& View) {
  std::vector<Row_Error> Errors;
  for (std::size_t i = 0; i < View.Rows.size(); ++i) Errors.push_back(Measure_Row(View, i));
  return Errors;
}

double Mm_Of_Px(double Px, double Distance, const Lens& Lens_Px) {
  return Mm_In_Metre * Px * Distance / std::sqrt(Lens_Px.Fx * Lens_Px.Fy);
}

double Finite_Median(std::vector<double> Values) {
  Values.erase(std::remove_if(Values.begin(), Values.end(),
                              [](double Value) { return !std::isfinite(Value); }),
               Values.end());
  return Values.empty() ? Row_Error::Unknown : Median(Values);
}

}  // namespace rigsync
