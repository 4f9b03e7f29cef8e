// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/joint_json.h"

#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/geometry/units.h"
#include "rigsync/solve/lens_uncertainty.h"
#include "rigsync/solve/talent_error.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

Json List_Json(const Eigen::VectorXd& Values) {
  return std::vector<double>(Values.data(), Values.data() + Values.size());
}

Json Matrix_Json(const Matrix6d& Matrix) {
  Json Rows = Json::array();
  for (int r = 0; r < 6; ++r) Rows.push_back(List_Json(Matrix.row(r).transpose()));
  return Rows;
}

// The 16 numbers, row by row.
Json Transform_Json(const Eigen::Isometry3d& Transform) {
  return List_From_Matrix(Transform.matrix());
}

Json Widest_Json(const Widest& In_Direction) {
  return {{"half_width", In_Direction.Half_Width},
          {"direction", List_Json(In_Direction.Direction)}};
}

void Add_Uncertainty(const Mount_Uncertainty& Mount, Json& Object) {
  Object["half_width_mm"] = List_Json(Mount.Half_Width_Mm);
  Object["half_width_deg"] = List_Json(Mount.Half_Width_Deg);
  Object["widest_mm"] = Widest_Json(Mount.Widest_Mm);
  Object["widest_deg"] = Widest_Json(Mount.Widest_Deg);
  Object["covariance"] = Matrix_Json(Mount.Covariance);
  Object["degrees_of_freedom"] = List_Json(Mount.Freedom);
  Object["joint_degrees_of_freedom"] = Mount.Joint_Freedom;
}

Json Talent_Json(const Calibration_Result& Result) {
  const Joint_Solution& Joint = Result.Solved->Joint;
  const Talent_Error Error = Error_At_Talent(Joint.Camera_Mount, Joint.At.Transform_Cam_Tc,
                                             Result.Solved->Lens_Px, Result.Inputs.Talent_Distance);
  return {{"distance_m", Error.Distance},
          {"half_width_mm", Error.Half_Width_Mm},
          {"half_width_px", Error.Half_Width_Px}};
}

Json Comparison_Json(const std::optional<Place_Comparison>& Place) {
  if (!Place) return nullptr;
  return {{"difference_mm", Place->Difference_Mm},
          {"difference_deg", Place->Difference_Deg},
          {"within_uncertainty", Place->Is_Within_Uncertainty},
          {"prior", Place->Is_Prior}};
}

Json Board_Place_Json(const Capture_Solution& Solved) {
  const Eigen::Isometry3d& Transform_Tr_Chart = Solved.Joint.At.Transform_Tr_Chart;
  const Board_Place Place = Place_From_Transform(Transform_Tr_Chart);
  Json Object = {{"euler_deg", Place.Euler_Deg},
                 {"offset_m", Place.Offset},
                 {"transform_tr_chart", Transform_Json(Transform_Tr_Chart)}};
  Add_Uncertainty(Solved.Joint.Board_Mount, Object);
  Object["stated"] = Comparison_Json(Solved.Place);
  return Object;
}

Json Still_Tracker_Json(const Moving_Trackers& Moving) {
  if (!Moving.Camera) return "camera";
  return Moving.Board ? Json(nullptr) : Json("board");
}

Json Noise_Json(const Capture_Solution& Solved) {
  const Noise_Estimate& Noise = Solved.Joint.Noise;
  return {{"corner_px", Noise.Corner_Factor * std::sqrt(Solved.Seen.Corner_Variance)},
          {"corner_factor", Noise.Corner_Factor},
          {"rotation_deg", Degrees_Per_Radian * Noise.Rotation_Rad},
          {"position_mm", Mm_In_Metre * Noise.Position},
          {"still_tracker", Still_Tracker_Json(Solved.Joint.Settings.Moving)}};
}

// A solution that was read from a file has the lens and its covariance without the rows.
Json Lens_Json(const Capture_Solution& Solved) {
  if (Solved.Seen.Rows.empty() && Solved.Seen.Lens_Covariance.isZero(0.0)) return nullptr;
  const Lens& Seen = Solved.Lens_Px;
  const Matrix6d& Covariance = Solved.Seen.Lens_Covariance;
  return {{"fx", Seen.Fx},
          {"fy", Seen.Fy},
          {"cx", Seen.Cx},
          {"cy", Seen.Cy},
          {"k1", Seen.K1},
          {"k2", Seen.K2},
          {"half_width", List_Json(Lens_Half_Widths(Covariance))},
          {"covariance", Matrix_Json(Covariance)}};
}

Json Lens_Check_Json(const std::optional<Lens_Model_Check>& Check) {
  if (!Check) return nullptr;
  return {{"p1", Check->Coefficients[0]},
          {"p2", Check->Coefficients[1]},
          {"k3", Check->Coefficients[2]},
          {"f", Check->F},
          {"turn_deg", List_Json(Degrees_Per_Radian * Check->Mount_Motion.head<3>())},
          {"shift_mm", List_Json(Mm_In_Metre * Check->Mount_Motion.tail<3>())}};
}

// Line and image of a row; null where the CSV came through a pipe.
void Add_Row_Name(const Calibration_Result& Result, std::size_t Row, Json& Object) {
  const bool Is_Known = Row < Result.Images.size();
  Object["line"] = Is_Known ? Json(Result.Images[Row].Line) : Json(nullptr);
  Object["image"] = Is_Known ? Json(Result.Images[Row].Name) : Json(nullptr);
}

Json Rows_Json(const Calibration_Result& Result) {
  Json Rows = Json::array();
  for (const Solved_Row& Row : Result.Solved->Joint.Rows) {
    Json Entry;
    Add_Row_Name(Result, Row.Row, Entry);
    Entry["kept"] = Row.Is_Kept;
    Entry["f"] = Row.F;
    Entry["residual_deg"] = List_Json(Degrees_Per_Radian * Row.Residual.head<3>());
    Entry["residual_mm"] = List_Json(Mm_In_Metre * Row.Residual.tail<3>());
    if (Row.Is_Cut_Off) Entry["cut_off"] = true;
    Rows.push_back(std::move(Entry));
  }
  return Rows;
}

Json Slip_Json(const Calibration_Result& Result) {
  const std::optional<Slip>& Seen = Result.Solved->Likeliest_Slip;
  if (!Seen || Seen->Evidence == Slip_Evidence::None) return nullptr;
  Json Object = {{"evidence", Seen->Evidence == Slip_Evidence::Found ? "found" : "look"},
                 {"tracker", Seen->Tracker == Slipped_Tracker::Camera ? "camera" : "board"}};
  Add_Row_Name(Result, Seen->First_Row, Object);
  Object["gain"] = Seen->Gain;
  Object["turn_deg"] = List_Json(Degrees_Per_Radian * Seen->Motion.head<3>());
  Object["shift_mm"] = List_Json(Mm_In_Metre * Seen->Motion.tail<3>());
  return Object;
}

Json Lag_Json(const std::optional<Lag_Estimate>& Lag) {
  if (!Lag) return nullptr;
  return {{"evidence", Lag_Evidence_Name(Evidence_Of(*Lag))},
          {"ms", Ms_In_Second * Lag->Seconds},
          {"half_width_ms", Ms_In_Second * Lag->Half_Width_Seconds},
          {"speed_mm_s", Mm_In_Metre * Lag->Speed.Shift},
          {"turn_deg_s", Degrees_Per_Radian * Lag->Speed.Turn}};
}

// What a mount that was not solved leaves null.
Json Unsolved_Json() {
  Json Object;
  for (const char* Key :
       {"transform_cam_tc", "half_width_mm", "half_width_deg", "widest_mm", "widest_deg",
        "covariance", "degrees_of_freedom", "joint_degrees_of_freedom", "at_talent", "board_place",
        "square", "noise", "lag"}) {
    Object[Key] = nullptr;
  }
  return Object;
}

Json Solved_Json(const Calibration_Result& Result) {
  const Joint_Solution& Joint = Result.Solved->Joint;
  Json Object;
  Object["transform_cam_tc"] = Result.Joint_Transform_Cam_Tc;
  Add_Uncertainty(Joint.Camera_Mount, Object);
  Object["at_talent"] = Talent_Json(Result);
  Object["board_place"] = Board_Place_Json(*Result.Solved);
  Object["square"] = {{"scale", Joint.At.Square_Scale},
                      {"deviation", Joint.Scale_Deviation},
                      {"probability_exact", Joint.Exact_Square_Probability}};
  Object["noise"] = Noise_Json(*Result.Solved);
  Object["lag"] = Lag_Json(Joint.Lag);
  return Object;
}

}  // namespace

Json Opinion_Json(const Calibration_Result& Result) {
  if (!Result.Opinion) return nullptr;
  const Second_Opinion& Opinion = *Result.Opinion;
  Json Reasons = Json::array();
  for (const Verdict_Reason Reason : Opinion.Reasons) Reasons.push_back(Reason_Name(Reason));
  return {{"difference_mm", Opinion.Difference_Mm},
          {"difference_deg", Opinion.Difference_Deg},
          {"probability_nearer", Opinion.Probability_Nearer},
          {"reasons", Reasons},
          {"limits", {{"mm", Result.Inputs.Limits.Mm}, {"deg", Result.Inputs.Limits.Deg}}}};
}

Json Joint_Json(const Calibration_Result& Result) {
  if (!Result.Solved) return nullptr;
  const Solve_Status Status = Result.Solved->Joint.Status;
  Json Object;
  Object["status"] = Status_Name(Status);
  Object.update(Status == Solve_Status::Solved ? Solved_Json(Result) : Unsolved_Json());
  Object["lens"] = Lens_Json(*Result.Solved);
  Object["lens_check"] = Lens_Check_Json(Result.Solved->Lens_Check);
  Object["rows"] = Rows_Json(Result);
  Object["slip"] = Slip_Json(Result);
  if (const std::size_t Cut_Off = Count_Cut_Off(Result.Solved->Joint); Cut_Off > 0) {
    Object["cut_off_boards"] = Cut_Off;
  }
  return Object;
}

Json Cause_Json(const Calibration_Result& Result) {
  if (!Result.Cause) return nullptr;
  const Finding& Cause = *Result.Cause;
  return {{"id", Cause.Id},
          {"text", Cause.What},
          {"example", Cause.Example},
          {"advice", Cause.Advice},
          {"lines", Cause.Lines}};
}

}  // namespace rigsync
