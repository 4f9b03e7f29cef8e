// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/result_file.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/formats/cross_check_json.h"
#include "rigsync/formats/joint_json.h"
#include "rigsync/formats/label_words.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_format.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/version.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>
#include <Eigen/Core>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <opencv2/core/utility.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

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

Json Text_Or_Null(const std::string& Text) {
  return Text.empty() ? Json(nullptr) : Json(Text);
}

// Every image that the CSV names. Line 0 is one that nothing is known of.
Json Hashes_Json(const Calibration_Result& Result) {
  Json Images = Json::array();
  for (std::size_t i = 0; i < Result.Images.size(); ++i) {
    const Capture_Image& Image = Result.Images[i];
    const bool Is_Hashed = i < Result.Hashes.Images.size();
    Json Entry;
    Entry["line"] = Image.Line > 0 ? Json(Image.Line) : Json(nullptr);
    Entry["image"] = Image.Name;
    Entry["sha256"] = Is_Hashed ? Text_Or_Null(Result.Hashes.Images[i]) : Json(nullptr);
    Images.push_back(std::move(Entry));
  }
  Json Object;
  Object["csv"] = Text_Or_Null(Result.Hashes.Csv);
  Object["images"] = std::move(Images);
  return Object;
}

Json Labels_Json(Body_Labels Labels) {
  const char* const Word = Labels_Name(Labels);
  return Word == nullptr ? Json(nullptr) : Json(Word);
}

// Null where none was asked for.
Json Lag_Json(const Lag_Choice& Lag) {
  if (!Lag.Is_Solved && Lag.Seconds == 0.0) return nullptr;
  return {{"solved", Lag.Is_Solved},
          {"stated_ms", Lag.Is_Solved ? Json(nullptr) : Json(1000.0 * Lag.Seconds)}};
}

Json Inputs_Json(const Calibration_Result& Result) {
  const Calibration_Inputs& Inputs = Result.Inputs;
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
  Object["camera_tracker_axes"] = Labels_Json(Inputs.Camera_Labels);
  Object["lag"] = Lag_Json(Inputs.Lag);
  Object["library_only"] = Inputs.Is_Library_Only;
  Object["hashes"] = Hashes_Json(Result);
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
  Quality["filter_spread_m"] = Value_Or_Null(Report.Filter_Spread_M);
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
    Entry["first_reprojection_px"] = Value_Or_Null(Image.First_Reprojection_Px);
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
  Images["too_few_remaining"] = Value_Or_Null(Report.Too_Few_Remaining);
  return Images;
}

std::string Text_Or(const std::string& Text, const std::string& Otherwise) {
  return Text.empty() ? Otherwise : Text;
}

// A result that was read from a file keeps the versions of its run.
std::string Version_Of_Command(const Calibration_Result& Result) {
  return Text_Or(Result.Versions.Rigsync, Command_Version);
}

Json Versions_Json(const Calibration_Result& Result) {
  const std::string Eigen_Version =
      fmt::format("{}.{}.{}", EIGEN_WORLD_VERSION, EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION);
  Json Versions;
  Versions["rigsync"] = Version_Of_Command(Result);
  Versions["rigsync_core"] = Text_Or_Null(Result.Report.Version);
  Versions["opencv"] = Text_Or(Result.Versions.Opencv, cv::getVersionString());
  Versions["eigen"] = Text_Or(Result.Versions.Eigen, Eigen_Version);
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
  File["format"] = Result_Format;
  File["format_version"] = Result_Format_Version;
  File["code"] = Value_Or_Null(Result.Code);
  File["usable"] = Is_Usable(Result);
  File["verdict"] = Result.Opinion ? Json(Verdict_Name(Result.Opinion->Judgement)) : Json(nullptr);
  File["message"] = Result.Message;
  File["version"] = Version_Of_Command(Result);
  File["versions"] = Versions_Json(Result);
  File["begun"] = Result.Start_Time;
  File["seconds"] = Result.Seconds;
  File["lens"] = Lens_Json(Result);
  File["solution"] = Solution_Name(Result.Inputs.Solution);
  File["transform_cam_tc"] = Numbers_Or_Null(Chosen_Transform_Cam_Tc(Result));
  File["second_opinion"] = Opinion_Json(Result);
  File["cause"] = Cause_Json(Result);
  File["joint"] = Joint_Json(Result);
  File["cross_check"] = Cross_Check_Json(Result);
  File["library"] = Library_Json(Result);
  File["body_axes"] = Body_Axes_Json(Result);
  File["quality"] = Quality_Json(Result.Report);
  File["images"] = Images_Json(Result);
  File["run_folder"] = Path_Or_Null(Result.Run_Folder);
  File["run_log"] = Path_Or_Null(Result.Run_Log);
  File["inputs"] = Inputs_Json(Result);
  return Readable_Text(File) + "\n";
}

}  // namespace

void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result) {
  Write_Whole(Folder / "result.json", Result_Json(Result));
}

}  // namespace rigsync
