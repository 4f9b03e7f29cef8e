// SPDX-License-Identifier: Apache-2.0
#include "host/result_file.h"

#include "host/text.h"
#include "host/whole_file.h"

#include <fmt/format.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Format_Name = "rigsync-result";
constexpr int Format_Version = 1;

// Numbers print with as many digits as it takes to read the same double back. The writer turns a
// number that isn't finite into null.
Json Numbers_Or_Null(const std::vector<double>& Values) {
  return Values.empty() ? Json(nullptr) : Json(Values);
}

Json Lens_Of(const Calibration_Result& Result) {
  Json Lens;
  Lens["image_size"] = Numbers_Or_Null(Result.Image_Size);
  Lens["norm_fxy"] = Numbers_Or_Null(Result.Norm_Fxy);
  Lens["norm_cxy"] = Numbers_Or_Null(Result.Norm_Cxy);
  Lens["distortion"] = Numbers_Or_Null(Result.Distortion);
  Lens["fov_deg"] = Numbers_Or_Null(Result.FoV);
  Lens["focal_length_mm"] =
      Result.Focal_Length_mm.empty() ? Json(nullptr) : Json(Result.Focal_Length_mm.front());
  return Lens;
}

Json Inputs_Of(const Calibration_Inputs& Inputs) {
  Json Given;
  Given["csv"] = Inputs.Csv.string();
  Given["image_root"] = Inputs.Image_Root.string();
  Given["board"] = {Inputs.Board.Cols, Inputs.Board.Rows};
  Given["square_m"] = Inputs.Square_Size;
  Given["board_euler_deg"] = Inputs.Board_Euler;
  Given["board_offset_m"] = Inputs.Board_Offset;
  Given["sensor_mm"] = Inputs.Sensor_Size ? Json(*Inputs.Sensor_Size) : Json(nullptr);
  return Given;
}

std::string Text_Of(const Calibration_Result& Result) {
  Json File;
  File["format"] = Format_Name;
  File["format_version"] = Format_Version;
  File["code"] = Result.Code ? Json(*Result.Code) : Json(nullptr);
  File["message"] = Result.Message;
  File["version"] = RIGSYNC_VERSION;
  File["lens"] = Lens_Of(Result);
  File["transform_cam_tc"] = Numbers_Or_Null(Result.Transform_Cam_Tc);
  File["run_log"] = Result.Run_Log.empty() ? Json(nullptr) : Json(Result.Run_Log.string());
  File["inputs"] = Inputs_Of(Result.Inputs);
  // Paths may hold bytes that are no UTF-8; they are replaced, so that the file always is.
  return File.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

[[noreturn]] void Refuse_File(const std::filesystem::path& File, const std::string& Why) {
  throw Usage_Error(fmt::format("{}: {}; expected a result.json that 'rigsync calibrate' wrote",
                                File.string(), Why));
}

std::vector<double> Numbers_At(const std::filesystem::path& File, const Json& Parent,
                               const char* Key, std::size_t Size) {
  const auto Found = Parent.find(Key);
  if (Found == Parent.end()) Refuse_File(File, fmt::format("'{}' is missing", Key));
  if (Found->is_null()) return {};
  if (!Found->is_array() || Found->size() != Size) {
    Refuse_File(File, fmt::format("'{}' isn't a list of {} numbers", Key, Size));
  }
  std::vector<double> Values;
  for (const Json& Element : *Found) {
    if (!Element.is_number()) {
      Refuse_File(File, fmt::format("'{}' holds an element that isn't a finite number", Key));
    }
    Values.push_back(Element.get<double>());
  }
  return Values;
}

}  // namespace

bool All_Finite(const Calibration_Result& Result) {
  for (const std::vector<double>* Values :
       {&Result.Image_Size, &Result.Norm_Fxy, &Result.Norm_Cxy, &Result.Distortion,
        &Result.Transform_Cam_Tc, &Result.FoV, &Result.Focal_Length_mm}) {
    for (const double Value : *Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
}

void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result) {
  Write_Whole(Folder / "result.json", Text_Of(Result));
}

void Require_Writable(const std::string& Flag, const std::filesystem::path& Folder) {
  const std::filesystem::path Probe = Unfinished_File(Folder / "result.json");
  const bool Opened = std::ofstream(Probe, std::ios::trunc).is_open();
  std::error_code Ignored;
  std::filesystem::remove(Probe, Ignored);
  if (!Opened) Refuse(Flag, Folder.string(), "a folder that this user may write to");
}

Calibration_Result Read_Result(const std::filesystem::path& File) {
  std::ifstream Stream(File);
  if (!Stream) Refuse_File(File, "can't be opened");
  const Json Root = Json::parse(Stream, nullptr, /*allow_exceptions=*/false);
  if (!Root.is_object() || Root.value("format", Json()) != Format_Name) {
    Refuse_File(File, "not a result file");
  }
  if (Root.value("format_version", Json()) != Format_Version) {
    Refuse_File(File, "written by another version of the command");
  }
  Calibration_Result Result;
  const Json Code = Root.value("code", Json());
  if (Code.is_number_integer()) Result.Code = Code.get<int>();
  const Json Message = Root.value("message", Json());
  if (Message.is_string()) Result.Message = One_Line(Message.get<std::string>());
  const Json Lens = Root.value("lens", Json());
  if (!Lens.is_object()) Refuse_File(File, "'lens' is missing");
  Result.Image_Size = Numbers_At(File, Lens, "image_size", 2);
  Result.Norm_Fxy = Numbers_At(File, Lens, "norm_fxy", 2);
  Result.Norm_Cxy = Numbers_At(File, Lens, "norm_cxy", 2);
  Result.Distortion = Numbers_At(File, Lens, "distortion", 5);
  Result.Transform_Cam_Tc = Numbers_At(File, Root, "transform_cam_tc", 16);
  return Result;
}

}  // namespace host
