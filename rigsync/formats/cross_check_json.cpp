// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/cross_check_json.h"

#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/transform_list.h"

#include <fmt/format.h>

#include <cstddef>
#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

// Null where the halves were not compared.
constexpr const char* Comparison_Keys[] = {"halves",         "difference_mm", "expected_mm",
                                           "difference_deg", "expected_deg",  "probability_nearer",
                                           "distance_m",     "difference_px", "expected_px",
                                           "points_across",  "points"};

Json Half_Json(const Cross_Half& Half) {
  const Lens& Solved = Half.Lens_Px;
  return {{"rows", Half.Rows},
          {"transform_cam_tc", List_From_Matrix(Half.Transform_Cam_Tc.matrix())},
          {"lens", {Solved.Fx, Solved.Fy, Solved.Cx, Solved.Cy, Solved.K1, Solved.K2}}};
}

Json Points_Json(const std::vector<Cross_Point>& Points) {
  Json List = Json::array();
  for (const Cross_Point& Point : Points) {
    List.push_back({{"pixel", {Point.Pixel.x(), Point.Pixel.y()}},
                    {"difference_px", {Point.Difference_Px.x(), Point.Difference_Px.y()}},
                    {"expected_px", Point.Expected_Px}});
  }
  return List;
}

void Add_Comparison(const Cross_Check& Check, Json& Object) {
  Object["halves"] = {Half_Json(Check.Halves[0]), Half_Json(Check.Halves[1])};
  Object["difference_mm"] = Check.Mm.Seen;
  Object["expected_mm"] = Check.Mm.Expected;
  Object["difference_deg"] = Check.Deg.Seen;
  Object["expected_deg"] = Check.Deg.Expected;
  Object["probability_nearer"] = Check.Probability_Nearer;
  Object["distance_m"] = Check.Distance;
  Object["difference_px"] = Check.Px.Seen;
  Object["expected_px"] = Check.Px.Expected;
  Object["points_across"] = Check.Cols;
  Object["points"] = Points_Json(Check.Points);
}

Eigen::Vector2d Two_At(const Json_Fields& Object, const char* Key) {
  const std::vector<double> Numbers = Object.Numbers(Key, 2);
  if (Numbers.empty()) Object.Refuse(fmt::format("'{}' is null", Key));
  return {Numbers[0], Numbers[1]};
}

Cross_Half Half_At(const Json_Fields& Object) {
  const std::vector<double> Matrix = Object.Finite_Numbers_At("transform_cam_tc", 16);
  const std::vector<double> Solved = Object.Finite_Numbers_At("lens", Lens_Parameters);
  if (Matrix.empty() || Solved.empty()) Object.Refuse("a half of 'cross_check' is not solved");
  Cross_Half Half;
  Half.Rows = Object.Count("rows").value_or(0);
  Half.Transform_Cam_Tc = Eigen::Isometry3d(Matrix_From_List(Matrix));
  Half.Lens_Px = {Solved[0], Solved[1], Solved[2], Solved[3], Solved[4], Solved[5]};
  return Half;
}

void Read_Points(const Json_Fields& Object, Cross_Check& Check) {
  for (const Json_Fields& Point : Object.Objects("points")) {
    Check.Points.push_back(
        {Two_At(Point, "pixel"), Two_At(Point, "difference_px"), Point.Number("expected_px")});
  }
  const std::size_t Across = Object.Count("points_across").value_or(0);
  if (Across == 0 || Check.Points.size() % Across != 0) {
    Object.Refuse("'points' of 'cross_check' are no whole rows of 'points_across'");
  }
  Check.Cols = static_cast<int>(Across);
  Check.Rows = static_cast<int>(Check.Points.size() / Across);
}

void Read_Comparison(const Json_Fields& Object, Cross_Check& Check) {
  const std::vector<Json_Fields> Halves = Object.Objects("halves");
  if (Halves.size() != Check.Halves.size()) Object.Refuse("'cross_check' has no two halves");
  Check.Halves = {Half_At(Halves[0]), Half_At(Halves[1])};
  Check.Mm = {Object.Number("difference_mm"), Object.Number("expected_mm")};
  Check.Deg = {Object.Number("difference_deg"), Object.Number("expected_deg")};
  Check.Probability_Nearer = Object.Number("probability_nearer");
  Check.Distance = Object.Number("distance_m");
  Check.Px = {Object.Number("difference_px"), Object.Number("expected_px")};
  Read_Points(Object, Check);
}

}  // namespace

Json Cross_Check_Json(const Calibration_Result& Result) {
  if (!Result.Halves) return nullptr;
  Json Object;
  Object["status"] = Cross_Status_Name(Result.Halves->Status);
  for (const char* const Key : Comparison_Keys) Object[Key] = nullptr;
  if (Result.Halves->Status == Cross_Status::Compared) Add_Comparison(*Result.Halves, Object);
  return Object;
}

void Read_Cross_Check(const Json_Fields& Root, Calibration_Result& Result) {
  if (!Root.Has("cross_check")) return;
  const Json_Fields Object = Root.Object("cross_check");
  const auto Status = Cross_Status_Named(Object.Text("status"));
  if (!Status) Root.Refuse("'status' of 'cross_check' is none that there is");
  Cross_Check Check;
  Check.Status = *Status;
  if (*Status == Cross_Status::Compared) Read_Comparison(Object, Check);
  Result.Halves = Check;
}

}  // namespace rigsync
