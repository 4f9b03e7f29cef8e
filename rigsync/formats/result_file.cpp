// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/result_file.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>
#include <Eigen/Core>

#include <cerrno>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <opencv2/core/utility.hpp>
#include <system_error>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Format_Name = "rigsync-result";
constexpr int Format_Version = 1;

// The JSON library writes as many digits as it takes to read the same double back, and null for a
// number that is not finite.
Json Numbers_Or_Null(const std::vector<double>& Values) {
  return Values.empty() ? Json(nullptr) : Json(Values);
}

template <typename Value>
Json Value_Or_Null(const std::optional<Value>& Optional) {
  return Optional ? Json(*Optional) : Json(nullptr);
}

Json Lens_Json(const Calibration_Result& Result) {
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

Json Inputs_Json(const Calibration_Inputs& Inputs) {
  Json Object;
  Object["csv"] = Plain_Path(Inputs.Csv).string();
  Object["image_root"] = Plain_Path(Inputs.Image_Root).string();
  Object["board"] = {Inputs.Board.Cols, Inputs.Board.Rows};
  Object["square_m"] = Inputs.Square_Size;
  const auto& Board = Inputs.Stated_Board;
  Object["board_euler_deg"] = Board ? Json(Board->Euler_Deg) : Json(nullptr);
  Object["board_offset_m"] = Board ? Json(Board->Offset) : Json(nullptr);
  Object["sensor_mm"] = Value_Or_Null(Inputs.Sensor_Size_Mm);
  return Object;
}

Json Path_Or_Null(const std::filesystem::path& Path) {
  return Path.empty() ? Json(nullptr) : Json(Path.string());
}

Json Quality_Json(const Run_Report& Report) {
  Json Quality;
  Quality["lens_rms_px"] = Value_Or_Null(Report.Lens_Rms_Px);
  Quality["first_reprojection_px"] = Value_Or_Null(Report.First_Reprojection_Px);
  Quality["reprojection_px"] = Value_Or_Null(Report.Reprojection_Px);
  Quality["reprojection_1080p_px"] =
      Report.Norm_Reprojection
          ? Json(*Report.Norm_Reprojection * library_limits::Reference_Height_Px)
          : Json(nullptr);
  Quality["spread_m"] = Value_Or_Null(Report.Spread_M);
  Quality["max_spread_m"] = Value_Or_Null(Report.Max_Spread_M);
  return Quality;
}

// Which part of the run dropped an image: the values of the key "stage".
std::string Drop_Stage(Image_Fate Fate) {
  switch (Fate) {
    case Image_Fate::Unreadable:
      return "reading";
    case Image_Fate::No_Board:
      return "board";
    case Image_Fate::Outlier:
      return "outliers";
    case Image_Fate::Kept:
    case Image_Fate::Unknown:
      break;
  }
  return "";
}

Json Images_Json(const Calibration_Result& Result) {
  const Run_Report& Report = Result.Report;
  Json Kept = Json::array(), Dropped = Json::array(), Unknown = Json::array();
  for (std::size_t i = 0; i < Report.Images.size(); ++i) {
    const Image_Report& Image = Report.Images[i];
    Json Entry;
    Entry["image"] = Image.Name;
    Entry["line"] = Value_Or_Null(Csv_Line(Result, i));
    if (Image.Fate != Image_Fate::Kept && Image.Fate != Image_Fate::Unknown) {
      Entry["stage"] = Drop_Stage(Image.Fate);
      Entry["reason"] = Drop_Reason(Report, Image);
    }
    Entry["axis_difference_deg"] = Value_Or_Null(Image.Axis_Difference_Deg);
    Entry["reprojection_px"] = Value_Or_Null(Image.Reprojection_Px);
    Json& List = Image.Fate == Image_Fate::Kept      ? Kept
                 : Image.Fate == Image_Fate::Unknown ? Unknown
                                                     : Dropped;
    List.push_back(std::move(Entry));
  }
  Json Images;
  Images["given"] = Result.Images.size();
  Images["kept"] = std::move(Kept);
  Images["dropped"] = std::move(Dropped);
  Images["unknown"] = std::move(Unknown);
  return Images;
}

Json Versions_Json(const Calibration_Result& Result) {
  Json Versions;
  Versions["rigsync"] = Command_Version;
  Versions["rigsync_core"] =
      Result.Report.Version.empty() ? Json(nullptr) : Json(Result.Report.Version);
  Versions["opencv"] = cv::getVersionString();
  Versions["eigen"] =
      fmt::format("{}.{}.{}", EIGEN_WORLD_VERSION, EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION);
  return Versions;
}

std::string Result_Json(const Calibration_Result& Result) {
  Json File;
  File["format"] = Format_Name;
  File["format_version"] = Format_Version;
  File["code"] = Value_Or_Null(Result.Code);
  File["usable"] = Is_Usable(Result);
  File["message"] = Result.Message;
  File["version"] = Command_Version;
  File["versions"] = Versions_Json(Result);
  File["begun"] = Result.Start_Time;
  File["seconds"] = Result.Seconds;
  File["lens"] = Lens_Json(Result);
  File["transform_cam_tc"] = Numbers_Or_Null(Result.Transform_Cam_Tc);
  File["quality"] = Quality_Json(Result.Report);
  File["images"] = Images_Json(Result);
  File["run_folder"] = Path_Or_Null(Result.Run_Folder);
  File["run_log"] = Path_Or_Null(Result.Run_Log);
  File["inputs"] = Inputs_Json(Result.Inputs);
  // Bytes of a path that are not UTF-8 are replaced, so that the file is always valid.
  return File.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

[[noreturn]] void Refuse_File(const std::filesystem::path& File, const std::string& Reason) {
  throw Usage_Error(fmt::format("{}: {}; expected a result.json that 'rigsync calibrate' wrote",
                                File.string(), Reason));
}

// For a null inside a list, which the writer puts there for a number that is not finite.
[[noreturn]] void Refuse_Not_Finite(const std::filesystem::path& File, const char* Key) {
  throw Usage_Error(fmt::format(
      "{}: '{}' has NaN or infinite values, so the result cannot be used. The probable "
      "cause is a NaN tracker value in the CSV: 'rigsync inspect' names its line. Remove "
      "that line and calibrate again",
      File.string(), Key));
}

std::vector<double> Numbers_At(const std::filesystem::path& File, const Json& Parent,
                               const char* Key, std::size_t Size) {
  const auto List = Parent.find(Key);
  if (List == Parent.end()) Refuse_File(File, fmt::format("'{}' is missing", Key));
  if (List->is_null()) return {};
  if (!List->is_array() || List->size() != Size) {
    Refuse_File(File, fmt::format("'{}' is not a list of {} numbers", Key, Size));
  }
  std::vector<double> Values;
  for (const Json& Element : *List) {
    if (Element.is_null()) Refuse_Not_Finite(File, Key);
    if (!Element.is_number()) {
      Refuse_File(File, fmt::format("'{}' has an element that is not a number", Key));
    }
    Values.push_back(Element.get<double>());
  }
  return Values;
}

}  // namespace

void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result) {
  Write_Whole(Folder / "result.json", Result_Json(Result));
}

Calibration_Result Read_Result(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (std::filesystem::is_directory(File, Ignored)) Refuse_File(File, "is a folder");
  std::ifstream Stream(File);
  if (!Stream) {
    Refuse_File(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  const Json Root = Json::parse(Stream, nullptr, /*allow_exceptions=*/false);
  if (!Root.is_object() || Root.value("format", Json()) != Format_Name) {
    Refuse_File(File, "is not a result file");
  }
  if (Root.value("format_version", Json()) != Format_Version) {
    Refuse_File(File, "was written by another version of the command");
  }
  Calibration_Result Result;
  const Json Code = Root.value("code", Json());
  if (Code.is_number_integer()) {
    Result.Code = Code.get<int>();
    // A number beyond the range of int would become another code, possibly 0.
    if (Code != *Result.Code) Refuse_File(File, fmt::format("'code' is {}", Code.dump()));
  }
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

}  // namespace rigsync
