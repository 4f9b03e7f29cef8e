// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/joint_reader.h"

#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/geometry/units.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr double Open = Mount_Uncertainty::Open;

// A motion that the file has in degrees and millimetres.
Vector6d Motion_At(const Json_Fields& Object, const char* Turn_Deg, const char* Shift_Mm) {
  Vector6d Motion;
  Motion << Unscaled(Object.Vector(Turn_Deg), Degrees_Per_Radian),
      Unscaled(Object.Vector(Shift_Mm), Mm_In_Metre);
  return Motion;
}

Eigen::Isometry3d Transform_Of(const std::vector<double>& Numbers, const Json_Fields& Object,
                               const char* Key) {
  if (Numbers.empty()) Object.Refuse(fmt::format("'{}' is null", Key));
  const bool Is_Finite = std::all_of(Numbers.begin(), Numbers.end(),
                                     [](double Value) { return std::isfinite(Value); });
  if (!Is_Finite) Object.Refuse_Null_In(Key);
  return Eigen::Isometry3d(Matrix_From_List(Numbers));
}

Widest Widest_At(const Json_Fields& Object, const char* Key) {
  const Json_Fields In_Direction = Object.Object(Key);
  Widest Read;
  Read.Half_Width = In_Direction.Number("half_width", Open);
  if (In_Direction.Has("direction")) Read.Direction = In_Direction.Vector("direction");
  return Read;
}

Mount_Uncertainty Uncertainty_At(const Json_Fields& Object) {
  Mount_Uncertainty Mount;
  Mount.Half_Width_Mm = Object.Vector("half_width_mm", Open);
  Mount.Half_Width_Deg = Object.Vector("half_width_deg", Open);
  Mount.Widest_Mm = Widest_At(Object, "widest_mm");
  Mount.Widest_Deg = Widest_At(Object, "widest_deg");
  Mount.Covariance = Object.Matrix("covariance").value_or(Mount.Covariance);
  const std::vector<double> Freedom = Object.Numbers("degrees_of_freedom", 6);
  if (!Freedom.empty()) Mount.Freedom = Vector6d::Map(Freedom.data());
  Mount.Joint_Freedom = Object.Number("joint_degrees_of_freedom");
  return Mount;
}

std::optional<Place_Comparison> Place_At(const Json_Fields& Board) {
  if (!Board.Has("stated")) return std::nullopt;
  const Json_Fields Object = Board.Object("stated");
  return Place_Comparison{Object.Number("difference_deg"), Object.Number("difference_mm"),
                          Object.Truth("within_uncertainty"), Object.Truth("prior")};
}

void Read_Noise(const Json_Fields& Object, Capture_Solution& Solved) {
  Noise_Estimate& Noise = Solved.Joint.Noise;
  Noise.Corner_Factor = Object.Number("corner_factor");
  Noise.Rotation_Rad = Unscaled(Object.Number("rotation_deg"), Degrees_Per_Radian);
  Noise.Position = Unscaled(Object.Number("position_mm"), Mm_In_Metre);
  // The root of a square is the number itself, to the last bit.
  const double Corner_Px = Unscaled(Object.Number("corner_px"), Noise.Corner_Factor);
  Solved.Seen.Corner_Variance = Corner_Px * Corner_Px;
  const std::string Still = Object.Text("still_tracker");
  Solved.Joint.Settings.Moving.Camera = Still != "camera";
  Solved.Joint.Settings.Moving.Board = Still != "board";
}

void Read_Lag(const Json_Fields& Joint, Joint_Solution& Solution) {
  if (!Joint.Has("lag")) return;
  const Json_Fields Object = Joint.Object("lag");
  Lag_Estimate Lag;
  Lag.Seconds = Unscaled(Object.Number("ms"), Ms_In_Second);
  Lag.Half_Width_Seconds = Unscaled(Object.Number("half_width_ms", Open), Ms_In_Second);
  Lag.Is_Stated = Object.Text("evidence") == Lag_Evidence_Name(Lag_Evidence::Stated);
  Lag.Speed = {Unscaled(Object.Number("speed_mm_s"), Mm_In_Metre),
               Unscaled(Object.Number("turn_deg_s"), Degrees_Per_Radian)};
  Solution.At.Lag_Seconds = Lag.Seconds;
  Solution.Lag = Lag;
}

// The camera's mount is the one that was read already: with the joint solution chosen, the top of
// the file has it.
void Read_Mounts(const Json_Fields& Object, const std::vector<double>& Joint_Transform_Cam_Tc,
                 Capture_Solution& Solved) {
  Joint_Solution& Joint = Solved.Joint;
  Joint.At.Transform_Cam_Tc = Transform_Of(Joint_Transform_Cam_Tc, Object, "transform_cam_tc");
  Joint.Camera_Mount = Uncertainty_At(Object);
  const Json_Fields Board = Object.Object("board_place");
  Joint.At.Transform_Tr_Chart =
      Transform_Of(Board.Numbers("transform_tr_chart", 16), Board, "transform_tr_chart");
  Joint.Board_Mount = Uncertainty_At(Board);
  Solved.Place = Place_At(Board);
  const Json_Fields Square = Object.Object("square");
  Joint.At.Square_Scale = Square.Number("scale");
  Joint.Scale_Deviation = Square.Number("deviation", Open);
  Joint.Exact_Square_Probability = Square.Number("probability_exact");
  Read_Noise(Object.Object("noise"), Solved);
  Read_Lag(Object, Joint);
}

void Read_Lens(const Json_Fields& Joint, Capture_Solution& Solved) {
  if (!Joint.Has("lens")) return;
  const Json_Fields Object = Joint.Object("lens");
  Solved.Lens_Px = {Object.Number("fx"), Object.Number("fy"), Object.Number("cx"),
                    Object.Number("cy"), Object.Number("k1"), Object.Number("k2")};
  Solved.Seen.Lens_Covariance = Object.Matrix("covariance").value_or(Matrix6d::Zero());
}

std::optional<Lens_Model_Check> Lens_Check_At(const Json_Fields& Joint) {
  if (!Joint.Has("lens_check")) return std::nullopt;
  const Json_Fields Object = Joint.Object("lens_check");
  Lens_Model_Check Check;
  Check.Coefficients = {Object.Number("p1"), Object.Number("p2"), Object.Number("k3")};
  Check.F = Object.Number("f");
  Check.Mount_Motion = Motion_At(Object, "turn_deg", "shift_mm");
  return Check;
}

// The row of the capture that the object's "line" names. Without lines, as of a CSV that came
// through a pipe, the rows are numbered after all images, so that none has the name of another.
std::size_t Row_At(const Json_Fields& Object, const Calibration_Result& Result,
                   std::size_t Number) {
  const auto Line = Object.Count("line");
  if (!Line) return Result.Images.size() + Number;
  const auto Image =
      std::find_if(Result.Images.begin(), Result.Images.end(),
                   [&Line](const Capture_Image& Each) { return Each.Line == *Line; });
  if (Image == Result.Images.end()) {
    Object.Refuse(fmt::format("no image of the capture is in line {}", *Line));
  }
  return static_cast<std::size_t>(Image - Result.Images.begin());
}

std::vector<Solved_Row> Rows_At(const Json_Fields& Joint, const Calibration_Result& Result) {
  std::vector<Solved_Row> Rows;
  for (const Json_Fields& Object : Joint.Objects("rows")) {
    Solved_Row Row;
    Row.Row = Row_At(Object, Result, Rows.size());
    Row.Is_Kept = Object.Truth("kept");
    Row.F = Object.Number("f");
    Row.Residual = Motion_At(Object, "residual_deg", "residual_mm");
    Row.Is_Cut_Off = Object.Truth("cut_off");
    Rows.push_back(Row);
  }
  return Rows;
}

std::optional<Slip> Slip_At(const Json_Fields& Joint, const Calibration_Result& Result) {
  if (!Joint.Has("slip")) return std::nullopt;
  const Json_Fields Object = Joint.Object("slip");
  Slip Seen;
  Seen.Evidence = Object.Text("evidence") == "found" ? Slip_Evidence::Found : Slip_Evidence::Look;
  Seen.Tracker =
      Object.Text("tracker") == "camera" ? Slipped_Tracker::Camera : Slipped_Tracker::Board;
  Seen.First_Row = Row_At(Object, Result, 0);
  Seen.Gain = Object.Number("gain");
  Seen.Motion = Motion_At(Object, "turn_deg", "shift_mm");
  return Seen;
}

void Read_Solved(const Json_Fields& Root, Calibration_Result& Result) {
  const Json_Fields Object = Root.Object("joint");
  // Without one the object has at most the mount, which is read already.
  if (!Object.Has("status")) return;
  Capture_Solution Solved;
  const auto Status = Status_Named(Object.Text("status"));
  if (!Status) Root.Refuse("'status' of the joint solution is none that there is");
  Solved.Joint.Status = *Status;
  if (*Status == Solve_Status::Solved) Read_Mounts(Object, Result.Joint_Transform_Cam_Tc, Solved);
  Read_Lens(Object, Solved);
  Solved.Lens_Check = Lens_Check_At(Object);
  Solved.Joint.Rows = Rows_At(Object, Result);
  Solved.Likeliest_Slip = Slip_At(Object, Result);
  Result.Solved = std::move(Solved);
}

std::vector<Verdict_Reason> Reasons_At(const Json_Fields& Opinion) {
  std::vector<Verdict_Reason> Reasons;
  for (const std::string& Name : Opinion.Texts("reasons")) {
    if (const auto Reason = Reason_Named(Name)) Reasons.push_back(*Reason);
  }
  return Reasons;
}

void Read_Opinion(const Json_Fields& Root, Calibration_Result& Result) {
  if (!Root.Has("verdict")) return;
  const auto Judgement = Verdict_Named(Root.Text("verdict"));
  if (!Judgement) Root.Refuse("'verdict' is not agree, look, dont_use or null");
  const Json_Fields Object = Root.Object("second_opinion");
  Second_Opinion Opinion;
  Opinion.Judgement = *Judgement;
  Opinion.Reasons = Reasons_At(Object);
  Opinion.Difference_Mm = Object.Number("difference_mm");
  Opinion.Difference_Deg = Object.Number("difference_deg");
  Opinion.Probability_Nearer = Object.Number("probability_nearer");
  const Mount_Uncertainty Mount =
      Result.Solved ? Result.Solved->Joint.Camera_Mount : Mount_Uncertainty{};
  Opinion.Half_Width_Mm = Mount.Widest_Mm.Half_Width;
  Opinion.Half_Width_Deg = Mount.Widest_Deg.Half_Width;
  const Json_Fields Limits = Object.Object("limits");
  Accuracy_Limits& Stated = Result.Inputs.Limits;
  Stated = {Limits.Number("mm", Stated.Mm), Limits.Number("deg", Stated.Deg)};
  Result.Opinion = Opinion;
}

void Read_Cause(const Json_Fields& Root, Calibration_Result& Result) {
  if (!Root.Has("cause")) return;
  const Json_Fields Object = Root.Object("cause");
  Finding Cause;
  Cause.Id = One_Line(Object.Text("id"));
  Cause.What = One_Line(Object.Text("text"));
  Cause.Example = One_Line(Object.Text("example"));
  Cause.Advice = One_Line(Object.Text("advice"));
  Cause.Lines = Object.Counts("lines");
  Result.Cause = Cause;
}

}  // namespace

void Read_Second_Opinion(const Json_Fields& Root, Calibration_Result& Result) {
  Read_Solved(Root, Result);
  Read_Opinion(Root, Result);
  Read_Cause(Root, Result);
}

}  // namespace rigsync
