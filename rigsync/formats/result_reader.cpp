// SPDX-License-Identifier: Apache-2.0
//
// result.json read back: see result_file.h.
#include "rigsync/capture/library_limits.h"
#include "rigsync/formats/cross_check_json.h"
#include "rigsync/formats/joint_reader.h"
#include "rigsync/formats/json_fields.h"
#include "rigsync/formats/label_words.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/formats/result_format.h"
#include "rigsync/formats/shallow_json.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <Eigen/LU>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <system_error>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

// The whole document, when it is a result of this version.
Json Read_Root(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (std::filesystem::is_directory(File, Ignored)) Refuse_File(File, "is a folder");
  if (!Is_Document_File(File))
    Refuse_File(File, "is a pipe or a device, to be saved as a file first");
  std::ifstream Stream(File);
  if (!Stream) {
    Refuse_File(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  Json Root = Shallow_Json(Stream);
  if (!Root.is_object() || Root.value("format", Json()) != Result_Format) {
    Refuse_File(File, "is not a result file");
  }
  if (Root.value("format_version", Json()) != Result_Format_Version) {
    Refuse_File(File, "was written by another version of the command");
  }
  return Root;
}

std::optional<int> Code_Of(const std::filesystem::path& File, const Json& Root) {
  const Json Code = Root.value("code", Json());
  if (!Code.is_number_integer()) return std::nullopt;
  const int Value = Code.get<int>();
  // A number beyond the range of int would become another code, possibly 0.
  if (Code != Value) Refuse_File(File, fmt::format("'code' is {}", Code.dump()));
  return Value;
}

void Read_Lens(const Json_Fields& Root, Calibration_Result& Result) {
  if (!Root.Has("lens")) Root.Refuse("'lens' is missing");
  const Json_Fields Lens = Root.Object("lens");
  Result.Image_Size = Lens.Finite_Numbers_At("image_size", 2);
  Result.Norm_Fxy = Lens.Finite_Numbers_At("norm_fxy", 2);
  Result.Norm_Cxy = Lens.Finite_Numbers_At("norm_cxy", 2);
  Result.Distortion = Lens.Finite_Numbers_At("distortion", 5);
  Result.FoV = Lens.Numbers("fov_deg", 2);
  const auto Focal_Length = Lens.Optional_Number("focal_length_mm");
  if (Focal_Length) Result.Focal_Length_mm = {*Focal_Length};
}

// A file from before there were two solutions has the library's alone.
void Read_Transforms(const Json_Fields& Root, Calibration_Result& Result) {
  const char* const Key = "transform_cam_tc";
  const std::vector<double> Chosen = Root.Numbers_At(Key, 16);
  Result.Transform_Cam_Tc = Chosen;
  if (!Root.Has("solution")) return;
  const auto Solution = Solution_Named(Root.Text("solution"));
  if (!Solution) Root.Refuse("'solution' is not library or joint");
  Result.Inputs.Solution = *Solution;
  Result.Transform_Cam_Tc = Root.Object("library").Numbers(Key, 16);
  Result.Joint_Transform_Cam_Tc = Root.Object("joint").Numbers(Key, 16);
  // The chosen one is what the file says at its top.
  (*Solution == Solution_Choice::Joint ? Result.Joint_Transform_Cam_Tc : Result.Transform_Cam_Tc) =
      Chosen;
}

std::optional<Board_Place> Place_At(const Json_Fields& Object) {
  const auto Euler_Deg = Object.Three("board_euler_deg");
  const auto Offset = Object.Three("board_offset_m");
  if (!Euler_Deg || !Offset) return std::nullopt;
  return Board_Place{*Euler_Deg, *Offset};
}

Board_Size Board_At(const Json_Fields& Object) {
  const std::vector<std::size_t> Corners = Object.Counts("board");
  if (Corners.empty()) return {};
  if (Corners.size() != 2) Object.Refuse("'board' is not a list of 2 numbers");
  // The corners of a board are listed in memory; nobody prints as many.
  constexpr std::size_t Most_Corners = 1000;
  if (std::max(Corners[0], Corners[1]) > Most_Corners) Object.Refuse("'board' is no board");
  return {static_cast<int>(Corners[0]), static_cast<int>(Corners[1])};
}

void Read_Inputs(const Json_Fields& Object, Calibration_Inputs& Inputs) {
  Inputs.Csv = Object.Text("csv");
  Inputs.Image_Root = Object.Text("image_root");
  Inputs.Board = Board_At(Object);
  Inputs.Square_Size = Object.Number("square_m", 0.0);
  Inputs.Stated_Board = Place_At(Object);
  const Json_Fields Accuracy = Object.Object("board_accuracy");
  Inputs.Board_Accuracy.Offset = Accuracy.Number("offset_m", Inputs.Board_Accuracy.Offset);
  Inputs.Board_Accuracy.Euler_Deg = Accuracy.Number("euler_deg", Inputs.Board_Accuracy.Euler_Deg);
  const std::vector<double> Sensor = Object.Numbers("sensor_mm", 2);
  if (!Sensor.empty()) Inputs.Sensor_Size_Mm = {{Sensor[0], Sensor[1]}};
  const Json_Fields Limits = Object.Object("limits");
  Inputs.Limits.Mm = Limits.Number("mm", Inputs.Limits.Mm);
  Inputs.Limits.Deg = Limits.Number("deg", Inputs.Limits.Deg);
  Inputs.Talent_Distance = Object.Number("talent_distance_m", Inputs.Talent_Distance);
  Inputs.Is_Library_Only = Object.Truth("library_only");
  Inputs.Keeps_Body_Axes = Object.Text("body_axes") == "as-given";
  if (Object.Has("camera_tracker_axes")) {
    const auto Labels = Labels_Named(Object.Text("camera_tracker_axes"));
    if (!Labels) Object.Refuse("'camera_tracker_axes' is not right_forward_up");
    Inputs.Camera_Labels = *Labels;
  }
  const Json_Fields Lag = Object.Object("lag");
  Inputs.Lag = {Lag.Truth("solved"), Unscaled(Lag.Number("stated_ms", 0.0), 1000.0)};
}

Eigen::Matrix3d Signed_Permutation_At(const Json_Fields& Object) {
  const auto Rows = Object.Lists("rotation");
  if (Rows.empty()) return Eigen::Matrix3d::Identity();
  if (Rows.size() != 3) Object.Refuse("'rotation' is not 3 lists");
  Eigen::Matrix3d Rotation;
  for (int r = 0; r < 3; ++r) {
    const auto& Row = Rows[static_cast<std::size_t>(r)];
    if (Row.size() != 3) Object.Refuse("'rotation' has a list that is not 3 numbers");
    Rotation.row(r) << Row[0], Row[1], Row[2];
  }
  return Rotation;
}

Body_Axes Body_Axes_At(const Json_Fields& Object) {
  Body_Axes Axes;
  Axes.Is_Turned = Object.Truth("turned");
  Axes.Rotation_Chosen_Body = Signed_Permutation_At(Object);
  Axes.Mount_Angle_Deg = Object.Number("mount_angle_deg");
  Axes.Chosen_Mount_Angle_Deg = Object.Number("library_mount_angle_deg");
  return Axes;
}

// ---- Images ------------------------------------------------------------------------------------

std::optional<Image_Fate> Dropped_Fate(const std::string& Stage) {
  if (Stage == "reading") return Image_Fate::Unreadable;
  if (Stage == "board") return Image_Fate::No_Board;
  if (Stage == "outliers") return Image_Fate::Outlier;
  return std::nullopt;
}

// The line of an image whose line is not in the file: after all others.
constexpr std::size_t No_Line = std::numeric_limits<std::size_t>::max();

// An image of the report, and the line of the CSV that sorts it.
struct Lined_Image {
  std::size_t Line = No_Line;
  Image_Report Report;
};

void Add_Images(const Json_Fields& Images, const char* List, Image_Fate Fate,
                std::vector<Lined_Image>& All) {
  for (const Json_Fields& Object : Images.Objects(List)) {
    Lined_Image New;
    New.Line = Object.Count("line").value_or(No_Line);
    New.Report.Name = Object.Text("image");
    New.Report.Fate = Fate;
    if (Object.Has("stage")) {
      const auto Dropped = Dropped_Fate(Object.Text("stage"));
      if (!Dropped) Object.Refuse("'stage' is not reading, board or outliers");
      New.Report.Fate = *Dropped;
    }
    New.Report.Axis_Difference_Deg = Object.Optional_Number("axis_difference_deg");
    New.Report.First_Reprojection_Px = Object.Optional_Number("first_reprojection_px");
    New.Report.Reprojection_Px = Object.Optional_Number("reprojection_px");
    All.push_back(std::move(New));
  }
}

// In the order of their lines; those without a line at the end, in the order of the file.
std::vector<Lined_Image> Reported_Images(const Json_Fields& Images) {
  std::vector<Lined_Image> All;
  Add_Images(Images, "kept", Image_Fate::Kept, All);
  Add_Images(Images, "dropped", Image_Fate::Outlier, All);
  Add_Images(Images, "unknown", Image_Fate::Unknown, All);
  std::stable_sort(All.begin(), All.end(), [](const Lined_Image& Left, const Lined_Image& Right) {
    return Left.Line < Right.Line;
  });
  return All;
}

// With the list of all images that the CSV names.
void Read_Hashed_Images(const Json_Fields& Hashes, Calibration_Result& Result) {
  Result.Hashes.Csv = Hashes.Text("csv");
  for (const Json_Fields& Object : Hashes.Objects("images")) {
    Result.Images.push_back({Object.Count("line").value_or(0), Object.Text("image")});
    Result.Hashes.Images.push_back(Object.Text("sha256"));
  }
}

// More than anyone photographs; a file can ask for any number.
constexpr std::size_t Most_Images = 100'000;

// From a file without that list: what the others name, filled up to the number that was given.
std::vector<Capture_Image> Named_Images(const Json_Fields& Root,
                                        const std::vector<Lined_Image>& Reported) {
  std::map<std::size_t, std::string> Names;
  for (const Lined_Image& Image : Reported) {
    if (Image.Line != No_Line) Names[Image.Line] = Image.Report.Name;
  }
  for (const Json_Fields& Row : Root.Object("joint").Objects("rows")) {
    if (const auto Line = Row.Count("line")) Names[*Line] = Row.Text("image");
  }
  std::vector<Capture_Image> Images;
  for (const auto& [Line, Name] : Names) Images.push_back({Line, Name});
  const std::size_t Given = Root.Object("images").Count("given").value_or(0);
  if (Given > Most_Images) Root.Refuse("'given' is no number of images");
  if (Given > Images.size()) Images.resize(Given);
  return Images;
}

void Read_Images(const Json_Fields& Root, Calibration_Result& Result) {
  const Json_Fields Images = Root.Object("images");
  const std::vector<Lined_Image> Reported = Reported_Images(Images);
  for (const Lined_Image& Image : Reported) Result.Report.Images.push_back(Image.Report);
  Result.Report.Too_Few_Remaining = Images.Count("too_few_remaining");
  if (Root.Object("inputs").Has("hashes")) {
    Read_Hashed_Images(Root.Object("inputs").Object("hashes"), Result);
  } else {
    Result.Images = Named_Images(Root, Reported);
  }
}

void Read_Quality(const Json_Fields& Object, Run_Report& Report) {
  Report.Lens_Rms_Px = Object.Optional_Number("lens_rms_px");
  Report.First_Reprojection_Px = Object.Optional_Number("first_reprojection_px");
  Report.Reprojection_Px = Object.Optional_Number("reprojection_px");
  if (const auto Px = Object.Optional_Number("reprojection_1080p_px")) {
    Report.Norm_Reprojection = Unscaled(*Px, library_limits::Reference_Height_Px);
  }
  Report.Filter_Spread_M = Object.Three("filter_spread_m");
  Report.Spread_M = Object.Three("spread_m");
  Report.Max_Spread_M = Object.Optional_Number("max_spread_m");
}

void Read_Versions(const Json_Fields& Root, Calibration_Result& Result) {
  const Json_Fields Object = Root.Object("versions");
  Result.Versions.Rigsync = One_Line(Root.Text("version"));
  Result.Versions.Opencv = One_Line(Object.Text("opencv"));
  Result.Versions.Eigen = One_Line(Object.Text("eigen"));
  Result.Report.Version = One_Line(Object.Text("rigsync_core"));
}

// The mean of a run is narrowed to float, so its rotation is one to about 1e-6.
bool Is_Rigid(const Eigen::Matrix4d& Transform) {
  constexpr double Tolerance = 1e-3;
  const Eigen::Matrix3d Rotation = Transform.topLeftCorner<3, 3>();
  const Eigen::Matrix3d Off = Rotation * Rotation.transpose() - Eigen::Matrix3d::Identity();
  const Eigen::RowVector4d Last = Transform.row(3) - Eigen::RowVector4d(0.0, 0.0, 0.0, 1.0);
  return Off.cwiseAbs().maxCoeff() <= Tolerance && Last.cwiseAbs().maxCoeff() <= Tolerance &&
         Rotation.determinant() > 0.0;
}

}  // namespace

Calibration_Result Read_Result(const std::filesystem::path& File) {
  const Json Document = Read_Root(File);
  const Json_Fields Root(File, Document);
  Calibration_Result Result;
  Result.Code = Code_Of(File, Document);
  Result.Message = One_Line(Root.Text("message"));
  Read_Versions(Root, Result);
  Result.Start_Time = One_Line(Root.Text("begun"));
  Result.Seconds = Root.Number("seconds", 0.0);
  Read_Lens(Root, Result);
  Read_Inputs(Root.Object("inputs"), Result.Inputs);
  Read_Transforms(Root, Result);
  Read_Images(Root, Result);
  Read_Quality(Root.Object("quality"), Result.Report);
  Result.Library_Board = Place_At(Root.Object("library")).value_or(Board_Place{});
  Result.Library_Axes = Body_Axes_At(Root.Object("body_axes"));
  Result.Run_Folder = Root.Text("run_folder");
  Result.Run_Log = Root.Text("run_log");
  Read_Second_Opinion(Root, Result);
  Read_Cross_Check(Root, Result);
  return Result;
}

std::filesystem::path Result_File(const std::filesystem::path& Typed) {
  std::error_code Ignored;
  return std::filesystem::is_directory(Typed, Ignored) ? Typed / "result.json" : Typed;
}

bool Is_Result_File(const std::filesystem::path& File) {
  if (!Is_Document_File(File)) return false;
  std::ifstream Stream(File);
  const Json Root = Shallow_Json(Stream);
  return Root.is_object() && Root.value("format", Json()) == Result_Format;
}

void Require_Mount(const std::filesystem::path& File, const std::vector<double>& Transform_Cam_Tc) {
  const bool Is_Finite = std::all_of(Transform_Cam_Tc.begin(), Transform_Cam_Tc.end(),
                                     [](double Value) { return std::isfinite(Value); });
  if (!Is_Finite) Refuse_Not_Finite(File, "transform_cam_tc");
  if (!Is_Rigid(Matrix_From_List(Transform_Cam_Tc))) {
    Refuse_File(File, "'transform_cam_tc' is no rotation with a position, so the file was changed");
  }
}

}  // namespace rigsync
