// SPDX-License-Identifier: Apache-2.0
#include "host/inspect_report.h"

#include "host/exit_status.h"
#include "host/plain_path.h"
#include "host/terminal.h"
#include "host/text.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t Name_Width = 18;

std::string Row_Text(const char* Name, const std::string& Text) {
  const std::string Right = Folded(Text, 2 + Name_Width);
  return fmt::format("  {:<{}}{}", Name, Name_Width, Right.substr(2 + Name_Width));
}

std::string Counted(std::size_t Count, const char* Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

std::string File_Text(const Inspection& Made) {
  const Capture_File& File = Made.File;
  std::string Text = Made.Inputs.Csv.string() + "\n";
  Text += Row_Text("lines",
                   fmt::format("{}: {}, {}", File.Line_Count, Counted(File.Header_Count, "header"),
                               Counted(File.Rows.size(), "data line")));
  if (!Made.Search) return Text + Row_Text("boards", "not looked for (--no-images)");
  if (Made.Search->Width > 0) {
    Text += Row_Text("image size",
                     fmt::format("{} x {} pixels", Made.Search->Width, Made.Search->Height));
  }
  Text += Row_Text("boards", fmt::format("found in {} of {}", Made.Search->Usable(),
                                         Counted(File.Rows.size(), "data line")));
  return Text;
}

std::string Map_Text(const Coverage& Covered) {
  std::string Text = fmt::format("\nWhere corners were found: {:.0f} percent of the frame\n",
                                 100.0 * Covered.Share());
  for (const std::string& Line : Map_Lines(Covered)) Text += "  " + Line + "\n";
  return Text + Folded("blank: no corners, . in one image, o in two or three, # in more", 2);
}

std::string Agreement_Text(const Agreement& Agreed) {
  std::string Text = fmt::format("turns differ by {:.2f} degrees", Agreed.Typical_Turn_Deg);
  if (Agreed.Typical_Position) {
    Text += fmt::format(", positions by {:.1f} mm", 1000.0 * *Agreed.Typical_Position);
  }
  return Text;
}

std::string Spread_Text(const Inspection& Made) {
  std::string Text;
  if (Made.Lens) {
    Text += Row_Text("lens", fmt::format("fits the boards to {:.2f} pixels", Made.Lens->Rms));
  }
  if (Made.Posed) {
    Text += Row_Text("board tilt", fmt::format("{:.0f} to {:.0f} degrees", Made.Posed->Least_Tilt,
                                               Made.Posed->Largest_Tilt));
    Text += Row_Text("board distance",
                     fmt::format("{:.2f} to {:.2f} m", Made.Posed->Nearest, Made.Posed->Farthest));
  }
  if (Made.Turned.Rows > 1) {
    Text += Row_Text("camera tracker",
                     fmt::format("turned by up to {:.0f} degrees", Made.Turned.Camera_Deg));
    Text += Row_Text("board tracker",
                     fmt::format("turned by up to {:.0f} degrees", Made.Turned.Board_Deg));
    std::string Relative = fmt::format("turned by up to {:.0f} degrees", Made.Turned.Relative_Deg);
    if (Made.Turned.Axes_Apart_Deg) {
      Relative += fmt::format(", about axes {:.0f} degrees apart", *Made.Turned.Axes_Apart_Deg);
    }
    Text += Row_Text("one to the other", Relative);
  }
  if (Made.Agreed) Text += Row_Text("to the images", Agreement_Text(*Made.Agreed));
  return Text.empty() ? Text : "\nHow the capture is spread, about\n" + Text;
}

Style Style_Of(Level Severity) {
  switch (Severity) {
    case Level::Note:
      return Style::Faint;
    case Level::Warning:
      return Style::Warning;
    case Level::Error:
      return Style::Bad;
  }
  return Style::Strong;
}

std::string Finding_Text(const Finding& One, bool Colour) {
  const std::string Lines = One.Lines.empty() ? "whole capture" : Lines_Text(One.Lines);
  const std::string Name = Level_Name(One.Severity);
  std::string Text = Folded(Name + ", " + Lines, 2);
  Text.replace(2, Name.size(), Painted(Style_Of(One.Severity), Name, Colour));
  Text += Folded(One.What + (One.Example.empty() ? "" : " " + One.Example), 4);
  return Text + Folded("What to do: " + One.Advice, 4);
}

std::string Verdict_Text(const Findings& Told, bool Colour) {
  const std::size_t Errors = Told.Count(Level::Error), Warnings = Told.Count(Level::Warning);
  switch (Told.Gravest()) {
    case Level::Note:
      return "\n" + Painted(Style::Good, "Clean:", Colour) +
             " nothing speaks against calibrating this capture.\n";
    case Level::Warning:
      return "\n" + Painted(Style::Warning, Counted(Warnings, "warning") + ":", Colour) +
             " the capture can be calibrated, but look at the findings first.\n";
    case Level::Error:
      break;
  }
  std::string Counts = Counted(Errors, "error");
  if (Warnings > 0) Counts += fmt::format(" and {}", Counted(Warnings, "warning"));
  return "\n" + Painted(Style::Bad, "Unusable:", Colour) + " " + Counts +
         "; put the errors right before calibrating.\n";
}

// ---- JSON ------------------------------------------------------------------------------------

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

std::string Report_Text(const Inspection& Made, bool Colour) {
  std::string Text = File_Text(Made);
  if (Made.Covered) Text += Map_Text(*Made.Covered);
  Text += Spread_Text(Made);
  const std::vector<Finding> Sorted = Made.Told.Sorted();
  if (!Sorted.empty()) Text += "\nFindings\n";
  for (const Finding& One : Sorted) Text += Finding_Text(One, Colour);
  return Text + Verdict_Text(Made.Told, Colour);
}

std::string Report_Json(const Inspection& Made) {
  const Inspection_Inputs& Inputs = Made.Inputs;
  Json Report = {{"format", "rigsync-inspection"}, {"format_version", 1}};
  Report["status"] = Status_Name(Made.Told.Gravest());
  Report["version"] = RIGSYNC_VERSION;
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

int Inspection_Status(const Findings& Told) {
  switch (Told.Gravest()) {
    case Level::Note:
      return Exit_Success;
    case Level::Warning:
      return Exit_Warnings;
    case Level::Error:
      return Exit_Unusable;
  }
  return Exit_Unusable;
}

}  // namespace host
