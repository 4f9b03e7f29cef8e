// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/inspection_file.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/version.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <vector>

namespace rigsync {

namespace {

using Json = nlohmann::ordered_json;

const char* State_Name(Image_State State) {
  switch (State) {
    case Image_State::Not_An_Image:
      return "not_an_image";
    case Image_State::Missing:
      return "missing";
    case Image_State::Unreadable:
    case Image_State::Refused:
      return "unreadable";
    case Image_State::Not_Searched:
      return "not_searched";
    case Image_State::No_Board:
      return "no_board";
    case Image_State::Other_Size:
      return "other_size";
    case Image_State::Board_Cut_Off:
      return "board_cut_off";
    case Image_State::Board_Found:
      return "board_found";
  }
  return "";
}

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

Json Findings_Json(const Findings& List) {
  Json Array = Json::array();
  for (const Finding& One : List.Sorted()) {
    Array.push_back({{"id", One.Id},
                     {"level", Level_Name(One.Severity)},
                     {"lines", One.Lines},
                     {"what", One.What},
                     {"example", One.Example},
                     {"advice", One.Advice}});
  }
  return Array;
}

Json Rows_Json(const Inspection& Result) {
  Json Array = Json::array();
  for (std::size_t i = 0; i < Result.File.Rows.size(); ++i) {
    const Capture_Row& Row = Result.File.Rows[i];
    Array.push_back(
        {{"line", Row.Line},
         {"image", Row.Image},
         {"state", Result.Search ? Json(State_Name(Result.Search->Images[i].State)) : Json()}});
  }
  return Array;
}

Json Boards_Json(const Inspection& Result) {
  if (!Result.Search) return nullptr;
  const Board_Search& Search = *Result.Search;
  return {{"image_size",
           Search.Width > 0 ? Json(std::vector<int>{Search.Width, Search.Height}) : Json()},
          {"found", Search.Usable_Count()},
          {"lens_rms_px", Result.Lens ? Json(Result.Lens->Rms) : Json()},
          {"norm_fx", Result.Lens ? Json(Result.Lens->Lens_Px.Fx / Search.Width) : Json()}};
}

Json Coverage_Json(const std::optional<Coverage>& Frame_Coverage) {
  if (!Frame_Coverage) return nullptr;
  Json Map = Json::array();
  for (int r = 0; r < Frame_Coverage->Rows; ++r) {
    Json Row = Json::array();
    for (int c = 0; c < Frame_Coverage->Cols; ++c) Row.push_back(Frame_Coverage->At(r, c));
    Map.push_back(Row);
  }
  return {{"share", Frame_Coverage->Share()}, {"images_by_cell", Map}};
}

Json Poses_Json(const std::optional<Pose_Spread>& Spread) {
  if (!Spread) return nullptr;
  return {{"tilt_deg", {Spread->Least_Tilt, Spread->Largest_Tilt}},
          {"main_tilt_deg", Spread->Main_Tilt},
          {"cross_tilt_deg", Spread->Cross_Tilt},
          {"distance_m", {Spread->Nearest, Spread->Farthest}}};
}

Json Or_Null(const std::optional<double>& Value) {
  return Value ? Json(*Value) : Json();
}

Json Rotations_Json(const Rotation_Range& Range) {
  if (Range.Rows < 2) return nullptr;
  return {{"camera_deg", Range.Camera_Deg},
          {"board_deg", Range.Board_Deg},
          {"relative_deg", Range.Relative_Deg},
          {"axes_apart_deg", Or_Null(Range.Axis_Spread_Deg)}};
}

Json Agreement_Json(const std::optional<Agreement>& Measured) {
  if (!Measured) return nullptr;
  return {{"rows", Measured->Rows.size()},
          {"turns_deg", Measured->Median_Rotation_Residual_Deg},
          {"axes_deg", Or_Null(Measured->Median_Axis_Residual_Deg)},
          {"positions_m", Or_Null(Measured->Median_Position_Residual)},
          {"scale", Or_Null(Measured->Scale)}};
}

// ---- What was solved ---------------------------------------------------------------------------

Json Three(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

Json Uncertainty_Json(const Mount_Uncertainty& Mount) {
  return {{"half_width_mm", Three(Mount.Half_Width_Mm)},
          {"half_width_deg", Three(Mount.Half_Width_Deg)},
          {"widest_mm", Mount.Widest_Mm.Half_Width},
          {"widest_deg", Mount.Widest_Deg.Half_Width}};
}

Json Camera_Mount_Json(const Joint_Solution& Joint) {
  Json Mount = {{"transform_cam_tc", List_From_Matrix(Joint.At.Transform_Cam_Tc.matrix())}};
  Mount.update(Uncertainty_Json(Joint.Camera_Mount));
  return Mount;
}

Json Board_Mount_Json(const Joint_Solution& Joint) {
  const Board_Place Place = Place_From_Transform(Joint.At.Transform_Tr_Chart);
  Json Mount = {{"euler_deg", Place.Euler_Deg}, {"offset_m", Place.Offset}};
  Mount.update(Uncertainty_Json(Joint.Board_Mount));
  return Mount;
}

Json Square_Json(const Joint_Solution& Joint) {
  return {{"scale", Joint.At.Square_Scale}, {"deviation", Joint.Scale_Deviation}};
}

Json Noise_Json(const Capture_Solution& Solution) {
  const Noise_Estimate& Noise = Solution.Joint.Noise;
  return {{"position_mm", 1000.0 * Noise.Position},
          {"rotation_deg", Degrees_Per_Radian * Noise.Rotation_Rad},
          {"corner_px", Noise.Corner_Factor * std::sqrt(Solution.Seen.Corner_Variance)}};
}

Json Solved_Rows_Json(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint) {
  Json Array = Json::array();
  for (const Solved_Row& Row : Joint.Rows) {
    Array.push_back({{"line", Rows[Row.Row].Line},
                     {"agrees", Row.Is_Kept},
                     {"off_mm", 1000.0 * Row.Residual.tail<3>().norm()},
                     {"off_deg", Degrees_Per_Radian * Row.Residual.head<3>().norm()}});
  }
  return Array;
}

// Only the status where nothing could be solved, or where the samples aren't read as they were
// meant.
Json Solution_Json(const Inspection& Result) {
  if (!Result.Solution) return nullptr;
  const Joint_Solution& Joint = Result.Solution->Joint;
  Json Object = {{"status", Status_Name(Joint.Status)},
                 {"camera_mount", nullptr},
                 {"board_mount", nullptr},
                 {"square", nullptr},
                 {"noise", nullptr},
                 {"rows", Json::array()}};
  if (!Result.Are_Samples_Readable) return Object;
  Object["rows"] = Solved_Rows_Json(Result.File.Rows, Joint);
  if (!Is_Solution_Sound(Result)) return Object;
  Object["camera_mount"] = Camera_Mount_Json(Joint);
  Object["board_mount"] = Board_Mount_Json(Joint);
  Object["square"] = Square_Json(Joint);
  Object["noise"] = Noise_Json(*Result.Solution);
  return Object;
}

}  // namespace

std::string Inspection_Json(const Inspection& Result) {
  const Inspection_Inputs& Inputs = Result.Inputs;
  Json Document = {{"format", "rigsync-inspection"}, {"format_version", 1}};
  Document["status"] = Status_Name(Result.All_Findings.Gravest());
  Document["version"] = Command_Version;
  Document["inputs"] = {
      {"csv", Inputs.Csv.string()}, {"image_root", Plain_Path(Inputs.Image_Root).string()},
      {"board", nullptr},           {"square_m", nullptr},
      {"board_euler_deg", nullptr}, {"board_offset_m", nullptr}};
  if (Inputs.Opens_Images) {
    const Board_Estimate& Board = Inputs.Board;
    Document["inputs"]["board"] = {Board.Board.Cols, Board.Board.Rows};
    Document["inputs"]["square_m"] = Board.Square_Size;
    if (Board.Euler) Document["inputs"]["board_euler_deg"] = *Board.Euler;
    if (Board.Offset) Document["inputs"]["board_offset_m"] = *Board.Offset;
  }
  Document["file"] = {{"lines", Result.File.Line_Count},
                      {"headers", Result.File.Header_Count},
                      {"data_lines", Result.File.Rows.size()}};
  Document["findings"] = Findings_Json(Result.All_Findings);
  Document["rows"] = Rows_Json(Result);
  Document["boards"] = Boards_Json(Result);
  Document["coverage"] = Coverage_Json(Result.Frame_Coverage);
  Document["poses"] = Poses_Json(Result.Board_Poses);
  Document["turns"] = Rotations_Json(Result.Rotations);
  Document["agreement"] = Agreement_Json(Result.Tracker_Agreement);
  Document["solution"] = Solution_Json(Result);
  // Paths and fields may hold bytes that are not UTF-8. They are replaced, so that the JSON is
  // valid.
  return Document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rigsync
