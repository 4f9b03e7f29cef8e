// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/lens_table_file.h"

#include "rigsync/formats/opinion_words.h"

#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

Json List_Json(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

Json Mount_Json(const Lens_Table_Row& Row) {
  const Mount_Drift& Seen = Row.From_Reference;
  Json Object = {{"right_down_ahead_mm", List_Json(Camera_Way_Mm(Row))},
                 {"turn_deg", Seen.Deg()},
                 {"across_mm", Lateral_Mm(Row)}};
  Object["half_width_mm"] = nullptr;
  Object["half_width_deg"] = nullptr;
  Object["probability_of_less"] = nullptr;
  if (!Seen.Joint_Motion) return Object;
  Object["half_width_mm"] = List_Json(Seen.Uncertainty.Half_Width_Mm);
  Object["half_width_deg"] = List_Json(Seen.Uncertainty.Half_Width_Deg);
  Object["probability_of_less"] = Row.Probability_Of_Less;
  return Object;
}

Json Row_Json(const Lens_Table_Row& Row) {
  const Lens& Px = Row.Lens_Px;
  Json Object;
  Object["result"] = Row.Of.File.u8string();
  Object["solution"] = Solution_Name(Row.Of.Result->Inputs.Solution);
  Object["focus"] = Row.Of.At.Focus;
  Object["zoom"] = Row.Of.At.Zoom;
  Object["fx_fy_px"] = {Px.Fx, Px.Fy};
  Object["cx_cy_px"] = {Px.Cx, Px.Cy};
  Object["k1_k2"] = {Px.K1, Px.K2};
  Object["focal_length_mm"] = Row.Focal_Length_Mm;  // NaN is written as null
  Object["agreement"] = Agreement_Name(Row.Agreement);
  Object["camera_from_reference"] = Mount_Json(Row);
  return Object;
}

}  // namespace

const char* Agreement_Name(Mount_Agreement Agreement) {
  switch (Agreement) {
    case Mount_Agreement::Agrees:
      return "agrees";
    case Mount_Agreement::Other_Axes:
      return "other_axes";
    case Mount_Agreement::Unlikely:
      return "unlikely";
    case Mount_Agreement::Beyond_Limits:
      return "beyond_limits";
  }
  return "";
}

std::string Lens_Table_Json(const Lens_Table& Table, const std::vector<std::string>& Texts) {
  Json File;
  File["format"] = "rigsync-lens-table";
  File["format_version"] = 1;
  File["agrees"] = Agrees(Table);
  File["messages"] = Texts;
  File["image_size"] = {Table.Width, Table.Height};
  File["limits"] = {{"mm", Table.Limits.Mm}, {"deg", Table.Limits.Deg}};
  File["reference"] = Table.Reference;
  File["rows"] = Json::array();
  for (const Lens_Table_Row& Row : Table.Rows) File["rows"].push_back(Row_Json(Row));
  return File.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
