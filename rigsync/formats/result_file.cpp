// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/result_file.h"

#include "rigsync/calibrate/codes.h"
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
  Given["csv"] = Plain_Path(Inputs.Csv).string();
  Given["image_root"] = Plain_Path(Inputs.Image_Root).string();
  Given["board"] = {Inputs.Board.Cols, Inputs.Board.Rows};
  Given["square_m"] = Inputs.Square_Size;
  Given["board_euler_deg"] = Inputs.Board_Euler;
  Given["board_offset_m"] = Inputs.Board_Offset;
  Given["sensor_mm"] = Inputs.Sensor_Size ? Json(*Inputs.Sensor_Size) : Json(nullptr);
  return Given;
}

template <typename Value>
Json Value_Or_Null(const std::optional<Value>& Given) {
  return Given ? Json(*Given) : Json(nullptr);
}

Json Path_Or_Null(const std::filesystem::path& Path) {
  return Path.empty() ? Json(nullptr) : Json(Path.string());
}

Json Quality_Of(const Run_Report& Report) {
  Json Quality;
  Quality["lens_rms_px"] = Value_Or_Null(Report.Lens_Rms_Px);
  Quality["first_reprojection_px"] = Value_Or_Null(Report.First_Reprojection_Px);
  Quality["reprojection_px"] = Value_Or_Null(Report.Reprojection_Px);
  Quality["reprojection_1080p_px"] =
      Report.Norm_Reprojection ? Json(*Report.Norm_Reprojection * 1080.0) : Json(nullptr);
  Quality["spread_m"] = Value_Or_Null(Report.Spread_M);
  Quality["max_spread_m"] = Value_Or_Null(Report.Max_Spread_M);
  return Quality;
}

// Where a run dropped an image, in one word: "reading", "board", "outliers".
std::string Stage_Name(Image_Fate Fate) {
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

Json Images_Of(const Calibration_Result& Result) {
  const Run_Report& Report = Result.Report;
  Json Kept = Json::array(), Dropped = Json::array(), Unknown = Json::array();
  for (std::size_t i = 0; i < Report.Images.size(); ++i) {
    const Image_Report& Image = Report.Images[i];
    Json Entry;
    Entry["image"] = Image.Name;
    Entry["line"] = Value_Or_Null(Csv_Line(Result, i));
    if (Image.Fate != Image_Fate::Kept && Image.Fate != Image_Fate::Unknown) {
      Entry["stage"] = Stage_Name(Image.Fate);
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

Json Versions_Of(const Calibration_Result& Result) {
  Json Versions;
  Versions["rigsync"] = Command_Version;
  Versions["rigsync_core"] =
      Result.Report.Version.empty() ? Json(nullptr) : Json(Result.Report.Version);
  Versions["opencv"] = cv::getVersionString();
  Versions["eigen"] =
      fmt::format("{}.{}.{}", EIGEN_WORLD_VERSION, EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION);
  return Versions;
}

std::string Text_Of(const Calibration_Result& Result) {
  Json File;
  File["format"] = Format_Name;
  File["format_version"] = Format_Version;
  File["code"] = Value_Or_Null(Result.Code);
  File["usable"] = Is_Usable(Result);
  File["message"] = Result.Message;
  File["version"] = Command_Version;
  File["versions"] = Versions_Of(Result);
  File["begun"] = Result.Begun;
  File["seconds"] = Result.Seconds;
  File["lens"] = Lens_Of(Result);
  File["transform_cam_tc"] = Numbers_Or_Null(Result.Transform_Cam_Tc);
  File["quality"] = Quality_Of(Result.Report);
  File["images"] = Images_Of(Result);
  File["run_folder"] = Path_Or_Null(Result.Run_Folder);
  File["run_log"] = Path_Or_Null(Result.Run_Log);
  File["inputs"] = Inputs_Of(Result.Inputs);
  // Paths may hold bytes that are no UTF-8; they are replaced, so that the file always is.
  return File.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

[[noreturn]] void Refuse_File(const std::filesystem::path& File, const std::string& Why) {
  throw Usage_Error(fmt::format("{}: {}; expected a result.json that 'rigsync calibrate' wrote",
                                File.string(), Why));
}

// The writer's null inside a list.
[[noreturn]] void Refuse_Not_Finite(const std::filesystem::path& File, const char* Key) {
  throw Usage_Error(
      fmt::format("{}: '{}' isn't finite, so there is nothing to use. Probably a tracker value in "
                  "the CSV is no "
                  "number (nan): 'rigsync inspect' names its line. Take it out and calibrate again",
                  File.string(), Key));
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
    if (Element.is_null()) Refuse_Not_Finite(File, Key);
    if (!Element.is_number()) {
      Refuse_File(File, fmt::format("'{}' holds an element that isn't a number", Key));
    }
    Values.push_back(Element.get<double>());
  }
  return Values;
}

}  // namespace

void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result) {
  Write_Whole(Folder / "result.json", Text_Of(Result));
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
    Refuse_File(File, "not a result file");
  }
  if (Root.value("format_version", Json()) != Format_Version) {
    Refuse_File(File, "written by another version of the command");
  }
  Calibration_Result Result;
  const Json Code = Root.value("code", Json());
  if (Code.is_number_integer()) {
    Result.Code = Code.get<int>();
    // A longer number would be cut to another code, to 0 for one.
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
