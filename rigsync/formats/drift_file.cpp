// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/drift_file.h"

#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"

#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

Json List_Json(const Eigen::VectorXd& Values) {
  return std::vector<double>(Values.data(), Values.data() + Values.size());
}

Json Causes_Json(const Drift& Seen, const std::vector<std::string>& Texts) {
  Json List = Json::array();
  for (std::size_t i = 0; i < Seen.Causes.size(); ++i) {
    List.push_back({{"id", Cause_Name(Seen.Causes[i])}, {"text", Texts[i]}});
  }
  return List;
}

Json Shifts_Json(const std::vector<Picture_Shift>& Shifts) {
  Json List = Json::array();
  for (const Picture_Shift& Shift : Shifts) {
    List.push_back(
        {{"pixel", List_Json(Shift.Pixel)}, {"shift_px", List_Json(Shift.Px)}, {"mm", Shift.Mm}});
  }
  return List;
}

Json Mount_Json(const Mount_Drift& Of_Mount) {
  Json Object = {{"difference_mm", Of_Mount.Mm()},
                 {"difference_deg", Of_Mount.Deg()},
                 {"shift_mm", List_Json(Of_Mount.Shift_Mm)},
                 {"turn_deg", List_Json(Of_Mount.Turn_Deg)}};
  Object["joint"] = nullptr;
  if (!Of_Mount.Joint_Motion) return Object;
  Object["joint"] = {{"shift_mm", List_Json(Mm_In_Metre * Of_Mount.Joint_Motion->tail<3>())},
                     {"turn_deg", List_Json(Degrees_Per_Radian * Of_Mount.Joint_Motion->head<3>())},
                     {"half_width_mm", List_Json(Of_Mount.Uncertainty.Half_Width_Mm)},
                     {"half_width_deg", List_Json(Of_Mount.Uncertainty.Half_Width_Deg)},
                     {"widest_mm", Of_Mount.Uncertainty.Widest_Mm.Half_Width},
                     {"widest_deg", Of_Mount.Uncertainty.Widest_Deg.Half_Width},
                     {"probability_of_less", Of_Mount.Probability_Of_Less},
                     {"within_uncertainty", Of_Mount.Probability_Of_Less <= Sure_Part}};
  return Object;
}

Json Lens_Json(const std::optional<Lens_Drift>& Of_Lens) {
  if (!Of_Lens) return nullptr;
  Json Object = {{"then", List_Json(Lens_Numbers(Of_Lens->Then))},
                 {"now", List_Json(Lens_Numbers(Of_Lens->Now))}};
  Object["joint"] = nullptr;
  if (Of_Lens->Joint_Difference) {
    Object["joint"] = {{"difference", List_Json(*Of_Lens->Joint_Difference)},
                       {"half_width", List_Json(Of_Lens->Half_Width)},
                       {"probability_of_less", Of_Lens->Probability_Of_Less},
                       {"within_uncertainty", Of_Lens->Probability_Of_Less <= Sure_Part}};
  }
  Object["shifts"] = Shifts_Json(Of_Lens->Shifts);
  return Object;
}

Json Picture_Json(const Drift& Seen) {
  if (!Seen.Of_Lens) return nullptr;
  return {{"distance_m", Seen.Talent_Distance},
          {"largest_1080p_px", Largest_Shift_1080p_Px(Seen)},
          {"shifts", Shifts_Json(Seen.Shifts)}};
}

Json Lag_Json(const std::optional<Lag_Estimate>& Lag) {
  if (!Lag) return nullptr;
  return {{"evidence", Lag_Evidence_Name(Evidence_Of(*Lag))},
          {"ms", 1000.0 * Lag->Seconds},
          {"half_width_ms", 1000.0 * Lag->Half_Width_Seconds}};
}

}  // namespace

const char* Cause_Name(Drift_Cause Cause) {
  switch (Cause) {
    case Drift_Cause::Resolution:
      return "resolution";
    case Drift_Cause::Sensor:
      return "sensor";
    case Drift_Cause::Board:
      return "board";
    case Drift_Cause::Square_Typed:
      return "square_typed";
    case Drift_Cause::Square_Scale:
      return "square_scale";
    case Drift_Cause::Axes_Redefined:
      return "axes_redefined";
    case Drift_Cause::Mount_Turned:
      return "mount_turned";
    case Drift_Cause::Mount_Shifted:
      return "mount_shifted";
    case Drift_Cause::Lens_Changed:
      return "lens_changed";
    case Drift_Cause::Lens_Displaced:
      return "lens_displaced";
    case Drift_Cause::Unknown:
      return "unknown";
  }
  return "";
}

std::string Drift_Json(const Drift& Seen, const std::vector<std::string>& Texts,
                       bool Is_Within_Bounds) {
  Json File;
  File["format"] = "rigsync-drift";
  File["format_version"] = 1;
  File["within_bounds"] = Is_Within_Bounds;
  File["within_uncertainty"] =
      Seen.Has_Uncertainty ? Json(Seen.Is_Within_Uncertainty) : Json(nullptr);
  File["causes"] = Causes_Json(Seen, Texts);
  File["same_capture"] = Seen.Is_Same_Capture;
  File["mount"] = Mount_Json(Seen.Of_Mount);
  File["lens"] = Lens_Json(Seen.Of_Lens);
  File["picture"] = Picture_Json(Seen);
  File["lag"] = {{"then", Lag_Json(Seen.Lag_Then)}, {"now", Lag_Json(Seen.Lag_Now)}};
  return File.dump(2) + "\n";
}

}  // namespace rigsync
