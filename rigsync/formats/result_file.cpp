// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/result_file.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/formats/joint_json.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>
#include <Eigen/Core>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
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
  Object["board_accuracy"] = Board ? Json({{"offset_m", Inputs.Board_Accuracy.Offset},
                                           {"euler_deg", Inputs.Board_Accuracy.Euler_Deg}})
                                   : Json(nullptr);
  Object["sensor_mm"] = Value_Or_Null(Inputs.Sensor_Size_Mm);
  Object["solution"] = Solution_Name(Inputs.Solution);
  Object["limits"] = {{"mm", Inputs.Limits.Mm}, {"deg", Inputs.Limits.Deg}};
  Object["talent_distance_m"] = Inputs.Talent_Distance;
  Object["body_axes"] = Inputs.Keeps_Body_Axes ? "as-given" : "auto";
  Object["library_only"] = Inputs.Is_Library_Only;
  return Object;
}

// What the library's call got and brought.
Json Library_Json(const Calibration_Result& Result) {
  Json Library;
  Library["code"] = Value_Or_Null(Result.Code);
  Library["transform_cam_tc"] = Numbers_Or_Null(Result.Transform_Cam_Tc);
  Library["board_euler_deg"] = Result.Library_Board.Euler_Deg;
  Library["board_offset_m"] = Result.Library_Board.Offset;
  return Library;
}

Json Body_Axes_Json(const Calibration_Result& Result) {
  const Body_Axes& Axes = Result.Library_Axes;
  Json Rotation = Json::array();
  for (int r = 0; r < 3; ++r) {
    const Eigen::Vector3d Row = Axes.Rotation_Chosen_Body.row(r);
    Rotation.push_back({Row.x(), Row.y(), Row.z()});
  }
  // The axes are chosen from the solved mount: without one nobody has measured its angle.
  const bool Is_Measured = !Result.Joint_Transform_Cam_Tc.empty();
  Json Object;
  Object["turned"] = Axes.Is_Turned;
  Object["rotation"] = std::move(Rotation);
  Object["mount_angle_deg"] = Is_Measured ? Json(Axes.Mount_Angle_Deg) : Json(nullptr);
  Object["library_mount_angle_deg"] =
      Is_Measured ? Json(Axes.Chosen_Mount_Angle_Deg) : Json(nullptr);
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

// Bytes that are not UTF-8 are replaced, so that the file is always valid.
std::string Plain_Text(const Json& Value) {
  return Value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// As the JSON library writes it with two spaces for each level, but with a list of numbers or texts
// on one line.
// NOLINTNEXTLINE(misc-no-recursion): as deep as the document
std::string Readable_Text(const Json& Value, const std::string& Margin = "") {
  if (!Value.is_structured() || Value.empty()) return Plain_Text(Value);
  const bool Is_Flat =
      Value.is_array() && std::all_of(Value.begin(), Value.end(),
                                      [](const Json& Element) { return Element.is_primitive(); });
  const std::string Inner_Margin = Margin + "  ";
  const std::string Break = Is_Flat ? "" : "\n" + Inner_Margin;
  std::string Text;
  for (auto Item = Value.begin(); Item != Value.end(); ++Item) {
    if (Item != Value.begin()) Text += Is_Flat ? ", " : ",";
    Text += Break;
    if (Value.is_object()) Text += Plain_Text(Item.key()) + ": ";
    Text += Readable_Text(*Item, Inner_Margin);
  }
  if (!Is_Flat) Text += "\n" + Margin;
  return Value.is_object() ? "{" + Text + "}" : "[" + Text + "]";
}

std::string Result_Json(const Calibration_Result& Result) {
  Json File;
  File["format"] = Format_Name;
  File["format_version"] = Format_Version;
  File["code"] = Value_Or_Null(Result.Code);
  File["usable"] = Is_Usable(Result);
  File["verdict"] = Result.Opinion ? Json(Verdict_Name(Result.Opinion->Judgement)) : Json(nullptr);
  File["message"] = Result.Message;
  File["version"] = Command_Version;
  File["versions"] = Versions_Json(Result);
  File["begun"] = Result.Start_Time;
  File["seconds"] = Result.Seconds;
  File["lens"] = Lens_Json(Result);
  File["solution"] = Solution_Name(Result.Inputs.Solution);
  File["transform_cam_tc"] = Numbers_Or_Null(Chosen_Transform_Cam_Tc(Result));
  File["second_opinion"] = Opinion_Json(Result);
  File["cause"] = Cause_Json(Result);
  File["joint"] = Joint_Json(Result);
  File["library"] = Library_Json(Result);
  File["body_axes"] = Body_Axes_Json(Result);
  File["quality"] = Quality_Json(Result.Report);
  File["images"] = Images_Json(Result);
  File["run_folder"] = Path_Or_Null(Result.Run_Folder);
  File["run_log"] = Path_Or_Null(Result.Run_Log);
  File["inputs"] = Inputs_Json(Result.Inputs);
  return Readable_Text(File) + "\n";
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

bool Are_Finite(const std::vector<double>& Values) {
  return std::all_of(Values.begin(), Values.end(),
                     [](double Value) { return std::isfinite(Value); });
}

// A null element is read as NaN.
std::vector<double> Numbers_Or_NaN_At(const std::filesystem::path& File, const Json& Parent,
                                      const char* Key, std::size_t Size) {
  const auto List = Parent.find(Key);
  if (List == Parent.end()) Refuse_File(File, fmt::format("'{}' is missing", Key));
  if (List->is_null()) return {};
  if (!List->is_array() || List->size() != Size) {
    Refuse_File(File, fmt::format("'{}' is not a list of {} numbers", Key, Size));
  }
  std::vector<double> Values;
  for (const Json& Element : *List) {
    if (!Element.is_null() && !Element.is_number()) {
      Refuse_File(File, fmt::format("'{}' has an element that is not a number", Key));
    }
    Values.push_back(Element.is_null() ? std::numeric_limits<double>::quiet_NaN()
                                       : Element.get<double>());
  }
  return Values;
}

std::vector<double> Numbers_At(const std::filesystem::path& File, const Json& Parent,
                               const char* Key, std::size_t Size) {
  std::vector<double> Values = Numbers_Or_NaN_At(File, Parent, Key, Size);
  if (!Are_Finite(Values)) Refuse_Not_Finite(File, Key);
  return Values;
}

// The number at Key; NaN for null and for what is no number.
double Number_At(const Json& Parent, const char* Key) {
  const Json Value = Parent.value(Key, Json());
  return Value.is_number() ? Value.get<double>() : std::numeric_limits<double>::quiet_NaN();
}

std::string Text_At(const Json& Parent, const char* Key) {
  const Json Value = Parent.value(Key, Json());
  return Value.is_string() ? One_Line(Value.get<std::string>()) : "";
}

Json Object_At(const Json& Parent, const char* Key) {
  const Json Value = Parent.value(Key, Json());
  return Value.is_object() ? Value : Json::object();
}

std::optional<int> Code_Of(const std::filesystem::path& File, const Json& Root) {
  const Json Code = Root.value("code", Json());
  if (!Code.is_number_integer()) return std::nullopt;
  const int Value = Code.get<int>();
  // A number beyond the range of int would become another code, possibly 0.
  if (Code != Value) Refuse_File(File, fmt::format("'code' is {}", Code.dump()));
  return Value;
}

void Read_Lens(const std::filesystem::path& File, const Json& Root, Calibration_Result& Result) {
  const Json Lens = Root.value("lens", Json());
  if (!Lens.is_object()) Refuse_File(File, "'lens' is missing");
  Result.Image_Size = Numbers_At(File, Lens, "image_size", 2);
  Result.Norm_Fxy = Numbers_At(File, Lens, "norm_fxy", 2);
  Result.Norm_Cxy = Numbers_At(File, Lens, "norm_cxy", 2);
  Result.Distortion = Numbers_At(File, Lens, "distortion", 5);
}

// A file from before there were two solutions has the library's alone.
void Read_Solutions(const std::filesystem::path& File, const Json& Root,
                    Calibration_Result& Result) {
  const char* const Key = "transform_cam_tc";
  const std::vector<double> Chosen = Numbers_Or_NaN_At(File, Root, Key, 16);
  Result.Transform_Cam_Tc = Chosen;
  if (Root.count("solution") == 0) return;
  const auto Solution = Solution_Named(Text_At(Root, "solution"));
  if (!Solution) Refuse_File(File, "'solution' is not library or joint");
  Result.Inputs.Solution = *Solution;
  Result.Transform_Cam_Tc = Numbers_Or_NaN_At(File, Object_At(Root, "library"), Key, 16);
  const Json Joint = Root.value("joint", Json());
  if (Joint.is_object()) Result.Joint_Transform_Cam_Tc = Numbers_At(File, Joint, Key, 16);
  // The chosen one is what the file says at its top.
  (*Solution == Solution_Choice::Joint ? Result.Joint_Transform_Cam_Tc : Result.Transform_Cam_Tc) =
      Chosen;
}

void Read_Opinion(const std::filesystem::path& File, const Json& Root, Calibration_Result& Result) {
  const Json Name = Root.value("verdict", Json());
  if (Name.is_null()) return;
  const auto Judgement = Verdict_Named(Text_At(Root, "verdict"));
  if (!Judgement) Refuse_File(File, "'verdict' is not agree, look, dont_use or null");
  const Json Object = Object_At(Root, "second_opinion");
  Second_Opinion Opinion;
  Opinion.Judgement = *Judgement;
  Opinion.Difference_Mm = Number_At(Object, "difference_mm");
  Opinion.Difference_Deg = Number_At(Object, "difference_deg");
  Opinion.Probability_Nearer = Number_At(Object, "probability_nearer");
  for (const Json& Each : Object.value("reasons", Json::array())) {
    const auto Reason = Each.is_string() ? Reason_Named(Each.get<std::string>()) : std::nullopt;
    if (Reason) Opinion.Reasons.push_back(*Reason);
  }
  const Json Limits = Object_At(Object, "limits");
  Result.Inputs.Limits = {Number_At(Limits, "mm"), Number_At(Limits, "deg")};
  Result.Opinion = Opinion;
}

void Read_Cause(const Json& Root, Calibration_Result& Result) {
  const Json Object = Root.value("cause", Json());
  if (!Object.is_object()) return;
  Finding Cause;
  Cause.Id = Text_At(Object, "id");
  Cause.What = Text_At(Object, "text");
  Cause.Advice = Text_At(Object, "advice");
  Result.Cause = Cause;
}

Matrix6d Covariance_Of(const std::filesystem::path& File, const Json& Joint) {
  const Json Rows = Joint.value("covariance", Json());
  if (!Rows.is_array() || Rows.size() != 6) Refuse_File(File, "'covariance' is not 6 lists");
  Matrix6d Covariance;
  for (int r = 0; r < 6; ++r) {
    const std::vector<double> Row =
        Numbers_At(File, {{"covariance", Rows[static_cast<std::size_t>(r)]}}, "covariance", 6);
    if (Row.empty()) Refuse_File(File, "'covariance' has an empty list");
    for (int c = 0; c < 6; ++c) Covariance(r, c) = Row[static_cast<std::size_t>(c)];
  }
  return Covariance;
}

// The whole document, when it is a result of this version.
Json Read_Root(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (std::filesystem::is_directory(File, Ignored)) Refuse_File(File, "is a folder");
  std::ifstream Stream(File);
  if (!Stream) {
    Refuse_File(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  Json Root = Json::parse(Stream, nullptr, /*allow_exceptions=*/false);
  if (!Root.is_object() || Root.value("format", Json()) != Format_Name) {
    Refuse_File(File, "is not a result file");
  }
  if (Root.value("format_version", Json()) != Format_Version) {
    Refuse_File(File, "was written by another version of the command");
  }
  return Root;
}

}  // namespace

void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result) {
  Write_Whole(Folder / "result.json", Result_Json(Result));
}

Calibration_Result Read_Result(const std::filesystem::path& File) {
  const Json Root = Read_Root(File);
  Calibration_Result Result;
  Result.Code = Code_Of(File, Root);
  Result.Message = Text_At(Root, "message");
  Read_Lens(File, Root, Result);
  Read_Solutions(File, Root, Result);
  Read_Opinion(File, Root, Result);
  Read_Cause(Root, Result);
  return Result;
}

std::optional<Joint_Mount> Read_Joint_Mount(const std::filesystem::path& File) {
  const Json Joint = Object_At(Read_Root(File), "joint");
  if (Joint.empty()) return std::nullopt;
  const std::vector<double> Transform = Numbers_At(File, Joint, "transform_cam_tc", 16);
  if (Transform.empty()) return std::nullopt;
  Joint_Mount Mount;
  Mount.Transform_Cam_Tc = Eigen::Isometry3d(Matrix_From_List(Transform));
  Mount.Uncertainty.Covariance = Covariance_Of(File, Joint);
  Mount.Uncertainty.Joint_Freedom = Number_At(Joint, "joint_degrees_of_freedom");
  return Mount;
}

void Require_Finite_Mount(const std::filesystem::path& File,
                          const std::vector<double>& Transform_Cam_Tc) {
  if (!Are_Finite(Transform_Cam_Tc)) Refuse_Not_Finite(File, "transform_cam_tc");
}

}  // namespace rigsync
