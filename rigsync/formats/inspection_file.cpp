// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/inspection_file.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/version.h"

#include <nlohmann/json.hpp>

namespace rigsync {

namespace {

using Json = nlohmann::ordered_json;

const char* Status_Name(Level Gravest) {
  switch (Gravest) {
    case Level::Note:
      return "clean";
    case Level::Warning:
      return "warnings";
    case Level::Error:
      return "unusable";
  }
  return "";
}

Json Findings_Json(const Findings& Told) {
  Json List = Json::array();
  for (const Finding& One : Told.Sorted()) {
    List.push_back({{"id", One.Id},
                    {"level", Level_Name(One.Severity)},
                    {"lines", One.Lines},
                    {"what", One.What},
                    {"example", One.Example},
                    {"advice", One.Advice}});
  }
  return List;
}

Json Rows_Json(const Inspection& Made) {
  Json List = Json::array();
  for (std::size_t i = 0; i < Made.File.Rows.size(); ++i) {
    const Capture_Row& Row = Made.File.Rows[i];
    List.push_back({{"line", Row.Line},
                    {"image", Row.Image},
                    {"state", Made.Search ? Json(State_Name(Made.Search->States[i])) : Json()}});
  }
  return List;
}

Json Boards_Json(const Inspection& Made) {
  if (!Made.Search) return nullptr;
  const Board_Search& Search = *Made.Search;
  return {{"image_size",
           Search.Width > 0 ? Json(std::vector<int>{Search.Width, Search.Height}) : Json()},
          {"found", Search.Usable()},
          {"lens_rms_px", Made.Lens ? Json(Made.Lens->Rms) : Json()},
          {"norm_fx", Made.Lens ? Json(Made.Lens->Norm_Fx) : Json()}};
}

Json Coverage_Json(const std::optional<Coverage>& Covered) {
  if (!Covered) return nullptr;
  Json Map = Json::array();
  for (int r = 0; r < Covered->Rows; ++r) {
    Json Row = Json::array();
    for (int c = 0; c < Covered->Cols; ++c) Row.push_back(Covered->At(r, c));
    Map.push_back(Row);
  }
  return {{"share", Covered->Share()}, {"images_by_cell", Map}};
}

Json Poses_Json(const std::optional<Pose_Spread>& Posed) {
  if (!Posed) return nullptr;
  return {{"tilt_deg", {Posed->Least_Tilt, Posed->Largest_Tilt}},
          {"main_tilt_deg", Posed->Main_Tilt},
          {"cross_tilt_deg", Posed->Cross_Tilt},
          {"distance_m", {Posed->Nearest, Posed->Farthest}}};
}

Json Or_Null(const std::optional<double>& Value) {
  return Value ? Json(*Value) : Json();
}

Json Turns_Json(const Turns& Turned) {
  if (Turned.Rows < 2) return nullptr;
  return {{"camera_deg", Turned.Camera_Deg},
          {"board_deg", Turned.Board_Deg},
          {"relative_deg", Turned.Relative_Deg},
          {"axes_apart_deg", Or_Null(Turned.Axes_Apart_Deg)}};
}

Json Agreement_Json(const std::optional<Agreement>& Agreed) {
  if (!Agreed) return nullptr;
  return {{"rows", Agreed->Rows.size()},
          {"turns_deg", Agreed->Typical_Turn_Deg},
          {"axes_deg", Or_Null(Agreed->Typical_Axis_Deg)},
          {"positions_m", Or_Null(Agreed->Typical_Position)},
          {"scale", Or_Null(Agreed->Scale)}};
}

}  // namespace

std::string Inspection_Json(const Inspection& Made) {
  const Inspection_Inputs& Inputs = Made.Inputs;
  Json Report = {{"format", "rigsync-inspection"}, {"format_version", 1}};
  Report["status"] = Status_Name(Made.Told.Gravest());
  Report["version"] = Command_Version;
  Report["inputs"] = {
      {"csv", Inputs.Csv.string()}, {"image_root", Plain_Path(Inputs.Image_Root).string()},
      {"board", nullptr},           {"square_m", nullptr},
      {"board_euler_deg", nullptr}, {"board_offset_m", nullptr}};
  if (Inputs.Look_For_Boards) {
    const Board_Estimate& Board = Inputs.Board;
    Report["inputs"]["board"] = {Board.Board.Cols, Board.Board.Rows};
    Report["inputs"]["square_m"] = Board.Square_Size;
    if (Board.Euler) Report["inputs"]["board_euler_deg"] = *Board.Euler;
    if (Board.Offset) Report["inputs"]["board_offset_m"] = *Board.Offset;
  }
  Report["file"] = {{"lines", Made.File.Line_Count},
                    {"headers", Made.File.Header_Count},
                    {"data_lines", Made.File.Rows.size()}};
  Report["findings"] = Findings_Json(Made.Told);
  Report["rows"] = Rows_Json(Made);
  Report["boards"] = Boards_Json(Made);
  Report["coverage"] = Coverage_Json(Made.Covered);
  Report["poses"] = Poses_Json(Made.Posed);
  Report["turns"] = Turns_Json(Made.Turned);
  Report["agreement"] = Agreement_Json(Made.Agreed);
  // Paths and fields may hold bytes that are no UTF-8; they are replaced, so that the report is.
  return Report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
