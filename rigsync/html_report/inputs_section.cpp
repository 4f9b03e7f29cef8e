// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/inputs_section.h"

#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/table.h"
#include "rigsync/review/missing_files.h"
#include "rigsync/system/plain_path.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// A cell of words or of a path, which may break anywhere.
Element Add_Words(Element Row, std::string_view Text) {
  return Add_Text(Row, "td", Text, "words");
}

void Add_Path(Element Body, const char* Name, const fs::path& Path) {
  Add_Words(Add_Row(Body, Name), Path.empty() ? "none" : Plain_Path(Path).string());
}

// Numbers that stand in one cell, with a text between them and one after them.
struct Number_Group {
  std::string Key;
  std::vector<double> Values;
  int Digits;
  double Factor;
  bool Is_Short;
  const char* Between;
  const char* After;
};

void Add_Group(Element Body, const char* Name, const Number_Group& Group) {
  const Element Cell = Add(Add_Row(Body, Name), "td", "words");
  for (std::size_t k = 0; k < Group.Values.size(); ++k) {
    if (k > 0) Append_Text(Cell, Group.Between);
    Add_Number(Cell, "span",
               {fmt::format("{}.{}", Group.Key, k), Group.Values[k], Group.Digits, Group.Factor,
                Group.Is_Short});
  }
  Append_Text(Cell, Group.Values.empty() ? "none" : Group.After);
}

void Add_Single(Element Body, const char* Name, const Keyed_Number& Number, const char* Unit) {
  const Element Cell = Add(Add_Row(Body, Name), "td", "words");
  Add_Number(Cell, "span", Number);
  Append_Text(Cell, Unit);
}

void Add_Stated_Place(Element Body, const Calibration_Inputs& Inputs) {
  if (!Inputs.Stated_Board) {
    Add_Words(Add_Row(Body, "board on its tracker"), "not stated: solved from the capture");
    return;
  }
  const auto& Angles = Inputs.Stated_Board->Euler_Deg;
  const auto& Offset = Inputs.Stated_Board->Offset;
  Add_Group(
      Body, "stated angles of the board",
      {"inputs.board_euler_deg", {Angles.begin(), Angles.end()}, 3, 1, true, ", ", " degrees"});
  Add_Group(Body, "stated offset of the board",
            {"inputs.board_offset_m", {Offset.begin(), Offset.end()}, 2, 1000, true, ", ", " mm"});
}

void Add_Inputs(Element Parent, const Calibration_Inputs& Inputs) {
  const Element Body = Add_Table(Parent, "What was stated", {});
  const double Cols = Inputs.Board.Cols, Rows = Inputs.Board.Rows;
  Add_Path(Body, "capture", Inputs.Csv);
  Add_Path(Body, "images start at", Inputs.Image_Root);
  Add_Group(Body, "board", {"inputs.board", {Cols, Rows}, 0, 1, true, " x ", " inner corners"});
  Add_Single(Body, "square", {"inputs.square_m", Inputs.Square_Size, 3, 1000, true}, " mm");
  Add_Stated_Place(Body, Inputs);
  if (const auto& Sensor = Inputs.Sensor_Size_Mm) {
    Add_Group(Body, "sensor",
              {"inputs.sensor_mm", {(*Sensor)[0], (*Sensor)[1]}, 3, 1, true, " x ", " mm"});
  }
  Add_Single(Body, "limit of the position", {"inputs.limits.mm", Inputs.Limits.Mm, 3, 1, true},
             " mm");
  Add_Single(Body, "limit of the rotation", {"inputs.limits.deg", Inputs.Limits.Deg, 3, 1, true},
             " degrees");
  Add_Single(Body, "distance of the talent",
             {"inputs.talent_distance_m", Inputs.Talent_Distance, 2, 1, true}, " m");
  Add_Words(Add_Row(Body, "the result is"),
            Inputs.Solution == Solution_Choice::Joint ? "the joint mount" : "the library's mount");
}

void Add_Version(Element Body, const char* Name, const char* Key, const std::string& Version) {
  if (Version.empty()) return;
  Set(Add_Keyed_Text(Add_Row(Body, Name), "td", Key, Version), "class", "words");
}

void Add_Run(Element Parent, const Calibration_Result& Result) {
  const Element Body = Add_Table(Parent, "The run", {});
  const Element Begun = Add_Row(Body, "begun");
  Set(Add_Keyed_Text(Begun, "td", "begun", Result.Start_Time), "class", "words");
  Add_Single(Body, "the library worked", {"seconds", Result.Seconds, 1}, " s");
  if (Result.Code) {
    const Element Cell = Add(Add_Row(Body, "the library's code"), "td", "words");
    Add_Number(Cell, "span", {"code", static_cast<double>(*Result.Code), 0});
    Append_Text(Cell, ". ");
    Add_Keyed_Text(Cell, "span", "message", Result.Message);
  }
  Add_Version(Body, "rigsync", "versions.rigsync", Result.Versions.Rigsync);
  Add_Version(Body, "rigsync_core", "versions.rigsync_core", Result.Report.Version);
  Add_Version(Body, "OpenCV", "versions.opencv", Result.Versions.Opencv);
  Add_Version(Body, "Eigen", "versions.eigen", Result.Versions.Eigen);
  Add_Path(Body, "folder of the run", Result.Run_Folder);
  Add_Path(Body, "run log", Result.Run_Log);
}

void Add_Lens(Element Parent, const Calibration_Result& Result) {
  if (Result.Norm_Fxy.empty()) return;
  const Element Body = Add_Table(Parent, "The lens, as engines take it", {});
  Add_Group(Body, "image size",
            {"lens.image_size", Result.Image_Size, 0, 1, false, " x ", " pixels"});
  Add_Group(Body, "focal length, of width and height",
            {"lens.norm_fxy", Result.Norm_Fxy, 6, 1, false, ", ", ""});
  Add_Group(Body, "principal point, of width and height",
            {"lens.norm_cxy", Result.Norm_Cxy, 6, 1, false, ", ", ""});
  Add_Group(Body, "distortion", {"lens.distortion", Result.Distortion, 6, 1, false, ", ", ""});
  if (!Result.FoV.empty()) {
    Add_Group(Body, "field of view, across and down",
              {"lens.fov_deg", Result.FoV, 4, 1, false, ", ", " degrees"});
    Add_Single(Body, "focal length", {"lens.focal_length_mm", Result.Focal_Length_mm.front(), 4},
               " mm");
  }
}

void Add_Transform(Element Parent, const Calibration_Result& Result) {
  const std::vector<double>& Transform = Chosen_Transform_Cam_Tc(Result);
  if (Transform.size() != 16) return;
  const Element Body =
      Add_Table(Parent, "Transform_Cam_Tc: tracker to camera, the last column in metres", {});
  const std::array<const char*, 4> Names = {"x", "y", "z", ""};
  for (std::size_t r = 0; r < 4; ++r) {
    const Element Row = Add_Row(Body, Names[r]);
    for (std::size_t k = 4 * r; k < 4 * r + 4; ++k) {
      Add_Number_Cell(Row, {fmt::format("transform_cam_tc.{}", k), Transform[k], 6});
    }
  }
}

void Add_Optional(Element Body, const char* Name, const char* Key,
                  const std::optional<double>& Value, double Factor, const char* Unit) {
  if (Value) Add_Single(Body, Name, {Key, *Value, 3, Factor}, Unit);
}

void Add_Fit(Element Parent, const Run_Report& Report) {
  if (!Report.Lens_Rms_Px) return;
  const Element Body = Add_Table(Parent, "The library's fit", {});
  Add_Optional(Body, "error before outliers were removed", "quality.first_reprojection_px",
               Report.First_Reprojection_Px, 1, " pixels");
  Add_Optional(Body, "error of the result", "quality.reprojection_px", Report.Reprojection_Px, 1,
               " pixels");
  Add_Optional(Body, "largest spread of the mounts", "quality.max_spread_m", Report.Max_Spread_M,
               1000, " mm");
  Add_Optional(Body, "RMS error of the lens", "quality.lens_rms_px", Report.Lens_Rms_Px, 1,
               " pixels");
}

// The hash of an image says whether it is still the one that was calibrated from.
void Add_Hashes(Element Section, const Calibration_Result& Result) {
  const Input_Hashes& Hashes = Result.Hashes;
  if (Hashes.Csv.empty() && Hashes.Images.empty()) return;
  const Element Details = Add(Section, "details");
  Add_Text(Details, "summary", "SHA-256 of the inputs");
  const Element Body = Add_Table(Details, "SHA-256 of each file", {});
  const auto Add_Hash = [&Body](const std::string& Name, const std::string& Hash) {
    Add_Text(Add_Row(Body, Name), "td", Hash.empty() ? "could not be read" : Hash, "hash");
  };
  Add_Hash(Result.Inputs.Csv.filename().string(), Hashes.Csv);
  for (std::size_t i = 0; i < Hashes.Images.size() && i < Result.Images.size(); ++i) {
    Add_Hash(Result.Images[i].Name, Hashes.Images[i]);
  }
}

void Add_Missing(Element Section, const Run_View& View) {
  for (const std::string& Sentence : Missing_Files(View)) {
    Add_Text(Section, "p", Sentence, "missing");
  }
}

}  // namespace

void Add_Inputs_Section(Element Main, const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  const Element Section = Add_Section(Main, "inputs", "Inputs, versions, files");
  Add_Missing(Section, View);
  const Element Pair = Add(Section, "div", "pair");
  Add_Inputs(Pair, Result.Inputs);
  Add_Run(Pair, Result);
  const Element Details = Add(Section, "details");
  Add_Text(Details, "summary", "All numbers of the result");
  Add_Transform(Details, Result);
  Add_Lens(Details, Result);
  Add_Fit(Details, Result.Report);
  Add_Hashes(Section, Result);
}

}  // namespace rigsync
