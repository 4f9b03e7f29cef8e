// SPDX-License-Identifier: Apache-2.0
//
// Writes a capture's files (photographs, capture.csv, truth.json) and reads truth.json. README.md
// in this folder describes the CSV and JSON files.
#include "simulate/clip.h"
#include "simulate/render.h"
#include "simulate/simulate.h"
#include "simulate/take.h"
#include "simulate/unfinished_file.h"

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <limits>
#include <locale>
#include <stdexcept>

namespace simulate {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr int Format_Version = 1;
constexpr Row_Kind All_Kinds[] = {
    Row_Kind::Good,        Row_Kind::Stale,           Row_Kind::Jumped,   Row_Kind::Missing_Image,
    Row_Kind::Blank_Image, Row_Kind::Truncated_Image, Row_Kind::Cut_Board};

const char* Kind_Name(Row_Kind Kind) {
  switch (Kind) {
    case Row_Kind::Good:
      return "good";
    case Row_Kind::Stale:
      return "stale";
    case Row_Kind::Jumped:
      return "jumped";
    case Row_Kind::Missing_Image:
      return "missing";
    case Row_Kind::Blank_Image:
      return "blank";
    case Row_Kind::Truncated_Image:
      return "truncated";
    case Row_Kind::Cut_Board:
      return "cut";
  }
  return "";
}

const char* Spread_Name(Spread Pose_Spread) {
  switch (Pose_Spread) {
    case Spread::Good:
      return "good";
    case Spread::Frontal:
      return "frontal";
    case Spread::Centred:
      return "centred";
    case Spread::One_Axis:
      return "one_axis";
    case Spread::Same_Pose:
      return "same_pose";
  }
  return "";
}

const char* Path_Form_Name(Path_Form Form) {
  switch (Form) {
    case Path_Form::Absolute:
      return "absolute";
    case Path_Form::Relative:
      return "relative";
    case Path_Form::Name_Only:
      return "name_only";
    case Path_Form::Backslash:
      return "backslash";
  }
  return "";
}

const char* Take_Format_Name(Take_Format Format) {
  switch (Format) {
    case Take_Format::None:
      return "none";
    case Take_Format::Motive:
      return "motive";
    case Take_Format::Vicon:
      return "vicon";
    case Take_Format::Vicon_Quaternion:
      return "vicon_quaternion";
    case Take_Format::Qualisys:
      return "qualisys";
    case Take_Format::Tum:
      return "tum";
    case Take_Format::Eth:
      return "eth";
    case Take_Format::Euroc:
      return "euroc";
    case Take_Format::Csv:
      return "csv";
  }
  return "";
}

// ---- Paths -----------------------------------------------------------------------------------

// The image's path in the CSV.
std::string Path_In_Csv(const Plan& Capture, const Image_Truth& Image, const fs::path& Directory) {
  switch (Capture.Settings.Paths) {
    case Path_Form::Relative:
      return "images/" + Image.Name;
    case Path_Form::Name_Only:
      return Image.Name;
    case Path_Form::Backslash:
      return (fs::absolute(Directory) / "images").string() + "\\" + Image.Name;
    case Path_Form::Absolute:
      break;
  }
  return (fs::absolute(Directory) / "images" / Image.Name).string();
}

// The file that this path refers to when the CSV's folder is the working directory.
fs::path Image_File(const Plan& Capture, const Image_Truth& Image, const fs::path& Directory) {
  return fs::absolute(Directory) / Path_In_Csv(Capture, Image, Directory);
}

void Make_Folder(const fs::path& Folder) {
  std::error_code Failure;
  fs::create_directories(Folder, Failure);
  if (!fs::is_directory(Folder)) {
    throw fs::filesystem_error("simulate: can't create the folder", Folder, Failure);
  }
}

void Write_Bytes(const fs::path& File, const char* Bytes, size_t Count) {
  Unfinished_File Unfinished(File);
  errno = 0;
  std::ofstream Out(Unfinished.Path(), std::ios::binary | std::ios::trunc);
  if (Out && Out.write(Bytes, static_cast<std::streamsize>(Count))) Out.close();
  if (!Out) Throw_Unwritable(File);
  Unfinished.Finish();
}

void Write_Text(const fs::path& File, const std::string& Text) {
  Write_Bytes(File, Text.data(), Text.size());
}

// ---- Tables ----------------------------------------------------------------------------------

int Csv_Line(const Plan& Capture, size_t Index) {
  return static_cast<int>(Index) + (Capture.Settings.Header ? 2 : 1);
}

double Csv_Time(const Plan& Capture, size_t Index) {
  constexpr double Seconds_Per_Image = 2.5;
  if (!Is_Timed(Capture.Settings.Recording)) return Seconds_Per_Image * static_cast<double>(Index);
  return Capture.Images[Index].Still.Picture;
}

// On the pictures' own clock.
double Picture_Seconds(const Plan& Capture, const Image_Truth& Image) {
  return Image.Still.Picture - Capture.Settings.Recording.Clock_Offset;
}

void Put_Sample(std::ostream& Out, const Sample& Reported) {
  for (const double Value :
       {Reported.Position.x(), Reported.Position.y(), Reported.Position.z(), Reported.Rotation.w(),
        Reported.Rotation.x(), Reported.Rotation.y(), Reported.Rotation.z()}) {
    Out << ',' << Value;
  }
}

std::string Csv_Text(const Plan& Capture, const fs::path& Directory) {
  std::ostringstream Out;
  Out.imbue(std::locale::classic());
  // With 17 significant digits every double reads back exactly.
  Out << std::setprecision(std::numeric_limits<double>::max_digits10);
  if (Capture.Settings.Header) {
    Out << "Time,Image,Tc_X,Tc_Y,Tc_Z,Tc_Qw,Tc_Qx,Tc_Qy,Tc_Qz,"
           "Tr_X,Tr_Y,Tr_Z,Tr_Qw,Tr_Qx,Tr_Qy,Tr_Qz\n";
  }
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    const Image_Truth& Image = Capture.Images[i];
    const std::string Path = Path_In_Csv(Capture, Image, Directory);
    if (Path.find_first_of(",\n\r") != std::string::npos) {
      throw std::runtime_error("simulate: a CSV field can't hold a comma or a line end: " + Path);
    }
    Out << Csv_Time(Capture, i) << ',' << Path;
    Put_Sample(Out, Image.Tc);
    Put_Sample(Out, Image.Tr);
    Out << '\n';
  }
  return Out.str();
}

// When each photograph was taken, on the pictures' clock. One that isn't written has no line.
std::string Times_Text(const Plan& Capture) {
  std::ostringstream Out;
  Out.imbue(std::locale::classic());
  Out << std::fixed << std::setprecision(6);
  for (const Image_Truth& Image : Capture.Images) {
    if (Image.Kind == Row_Kind::Missing_Image) continue;
    Out << Image.Name << ',' << Picture_Seconds(Capture, Image) << '\n';
  }
  return Out.str();
}

Json Flat(const Eigen::Matrix4d& Pose) {
  Json Values = Json::array();
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Values.push_back(Pose(r, c));
  }
  return Values;
}

Json Triple(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

Json Options_As_Json(const Options& Settings) {
  Json Values = {{"seed", Settings.Seed},
                 {"image_count", Settings.Image_Count},
                 {"width", Settings.Width},
                 {"height", Settings.Height},
                 {"board_cols", Settings.Board_Cols},
                 {"board_rows", Settings.Board_Rows},
                 {"square_size_m", Settings.Square_Size},
                 {"norm_fx", Settings.Norm_Fx},
                 {"norm_fy", Settings.Norm_Fy},
                 {"norm_cx", Settings.Norm_Cx},
                 {"norm_cy", Settings.Norm_Cy},
                 {"k1", Settings.K1},
                 {"k2", Settings.K2},
                 {"camera_mount_euler_deg", Triple(Settings.Camera_Mount_Euler_Deg)},
                 {"camera_mount_offset_m", Triple(Settings.Camera_Mount_Offset)},
                 {"board_mount_euler_deg", Triple(Settings.Board_Mount_Euler_Deg)},
                 {"board_mount_offset_m", Triple(Settings.Board_Mount_Offset)},
                 {"position_noise_mm", Settings.Position_Noise_Mm},
                 {"rotation_noise_deg", Settings.Rotation_Noise_Deg},
                 {"stale_count", Settings.Stale_Count},
                 {"stale_mm", Settings.Stale_Mm},
                 {"stale_deg", Settings.Stale_Deg},
                 {"jump_count", Settings.Jump_Count},
                 {"jump_mm", Settings.Jump_Mm},
                 {"jump_deg", Settings.Jump_Deg},
                 {"missing_count", Settings.Missing_Count},
                 {"blank_count", Settings.Blank_Count},
                 {"truncated_count", Settings.Truncated_Count},
                 {"estimate_error_deg", Settings.Estimate_Error_Deg},
                 {"estimate_error_mm", Settings.Estimate_Error_Mm},
                 {"pose_spread", Spread_Name(Settings.Pose_Spread)},
                 {"blur_pixels", Settings.Blur_Pixels},
                 {"sensor_noise", Settings.Sensor_Noise},
                 {"lighting_gradient", Settings.Lighting_Gradient},
                 {"image_format", Settings.Image_Format},
                 {"jpeg_quality", Settings.Jpeg_Quality},
                 {"paths", Path_Form_Name(Settings.Paths)},
                 {"header", Settings.Header}};
  // Only where they are asked for: other captures are the same as before there were markers.
  if (Settings.First_Marker >= 0) {
    Values["first_marker"] = Settings.First_Marker;
    Values["marker_size"] = Settings.Marker_Size;
  }
  if (Settings.Cut_Count > 0) Values["cut_count"] = Settings.Cut_Count;
  return Values;
}

Json Recording_As_Json(const Recording_Options& Recording) {
  return {{"format", Take_Format_Name(Recording.Format)},
          {"clip", Recording.Clip},
          {"unit", Recording.Unit == Length_Unit::Metres ? "m" : "mm"},
          {"rate_hz", Recording.Rate_Hz},
          {"hold_s", {Recording.Shortest_Hold, Recording.Longest_Hold}},
          {"move_s", {Recording.Shortest_Move, Recording.Longest_Move}},
          {"regular_holds", Recording.Regular_Holds},
          {"clock_offset_s", Recording.Clock_Offset},
          {"lost_percent", Recording.Lost_Percent},
          {"drift_mm_per_s", Recording.Drift_Mm_Per_Second},
          {"drift_deg_per_s", Recording.Drift_Deg_Per_Second},
          {"lag_s", Recording.Lag_Ms * 1e-3},
          {"one_body", Recording.One_Body}};
}

Json Velocity_As_Json(const Velocity& Speed) {
  return {{"linear_m_per_s", Triple(Speed.Linear)}, {"angular_rad_per_s", Triple(Speed.Angular)}};
}

Json Hold_As_Json(const Plan& Capture, const Image_Truth& Image) {
  return {{"take_s", Image.Still.Picture},
          {"picture_s", Picture_Seconds(Capture, Image)},
          {"hold_s", {Image.Still.Begin, Image.Still.End}},
          {"camera_velocity", Velocity_As_Json(Image.Still.Camera)},
          {"board_velocity", Velocity_As_Json(Image.Still.Board)}};
}

Json Image_As_Json(const Plan& Capture, size_t Index) {
  const Image_Truth& Image = Capture.Images[Index];
  Json Entry = {{"name", Image.Name},
                {"kind", Kind_Name(Image.Kind)},
                {"csv_line", Csv_Line(Capture, Index)},
                {"Transform_Cam_Chart", Flat(Image.Transform_Cam_Chart)}};
  if (Is_Timed(Capture.Settings.Recording)) Entry["time"] = Hold_As_Json(Capture, Image);
  return Entry;
}

Json Truth_As_Json(const Plan& Capture) {
  const Options& Settings = Capture.Settings;
  const Lens& Model = Capture.True_Lens;
  Json Images = Json::array();
  for (size_t i = 0; i < Capture.Images.size(); ++i) Images.push_back(Image_As_Json(Capture, i));
  Json Content = {{"format_version", Format_Version},
                  {"options", Options_As_Json(Settings)},
                  {"lens_pixels",
                   {{"fx", Model.Fx},
                    {"fy", Model.Fy},
                    {"cx", Model.Cx},
                    {"cy", Model.Cy},
                    {"k1", Model.K1},
                    {"k2", Model.K2}}},
                  {"lens_normalised",
                   {{"fx", Model.Fx / Settings.Width},
                    {"fy", Model.Fy / Settings.Height},
                    {"cx", Model.Cx / Settings.Width},
                    {"cy", Model.Cy / Settings.Height}}},
                  {"Transform_Cam_Tc", Flat(Capture.Transform_Cam_Tc)},
                  {"Transform_Chart_Tr", Flat(Capture.Transform_Chart_Tr)},
                  {"host_estimate",
                   {{"chart_euler_deg", Triple(Capture.Chart_Euler_Deg)},
                    {"chart_translation_m", Triple(Capture.Chart_Translation)}}},
                  {"noise",
                   {{"position_mm", Settings.Position_Noise_Mm},
                    {"rotation_deg", Settings.Rotation_Noise_Deg}}},
                  {"images", Images}};
  if (Is_Timed(Settings.Recording)) {
    Content["options"]["recording"] = Recording_As_Json(Settings.Recording);
  }
  return Content;
}

// ---- Reading back ----------------------------------------------------------------------------

Eigen::Matrix4d Pose_In(const Json& Values) {
  if (Values.size() != 16) throw std::runtime_error("a transform without 16 numbers");
  Eigen::Matrix4d Pose;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Pose(r, c) = Values.at(static_cast<size_t>(4 * r + c));
  }
  return Pose;
}

Eigen::Vector3d Triple_In(const Json& Values) {
  if (Values.size() != 3) throw std::runtime_error("a triple without 3 numbers");
  return {Values.at(0).get<double>(), Values.at(1).get<double>(), Values.at(2).get<double>()};
}

Velocity Velocity_In(const Json& Speed) {
  return {Triple_In(Speed.at("linear_m_per_s")), Triple_In(Speed.at("angular_rad_per_s"))};
}

Row_Kind Kind_In(const std::string& Name) {
  for (const Row_Kind Kind : All_Kinds) {
    if (Name == Kind_Name(Kind)) return Kind;
  }
  throw std::runtime_error("an unknown kind of row, " + Name);
}

Truth Truth_In(const Json& File) {
  if (File.at("format_version") != Format_Version) throw std::runtime_error("another format");
  Truth Result;
  const Json& Settings = File.at("options");
  Result.Seed = Settings.at("seed");
  Result.Width = Settings.at("width");
  Result.Height = Settings.at("height");
  Result.Board_Cols = Settings.at("board_cols");
  Result.Board_Rows = Settings.at("board_rows");
  Result.Square_Size = Settings.at("square_size_m");
  const Json& Lens_Pixels = File.at("lens_pixels");
  Result.True_Lens.Fx = Lens_Pixels.at("fx");
  Result.True_Lens.Fy = Lens_Pixels.at("fy");
  Result.True_Lens.Cx = Lens_Pixels.at("cx");
  Result.True_Lens.Cy = Lens_Pixels.at("cy");
  Result.True_Lens.K1 = Lens_Pixels.at("k1");
  Result.True_Lens.K2 = Lens_Pixels.at("k2");
  Result.Transform_Cam_Tc = Pose_In(File.at("Transform_Cam_Tc"));
  Result.Transform_Chart_Tr = Pose_In(File.at("Transform_Chart_Tr"));
  Result.Chart_Euler_Deg = Triple_In(File.at("host_estimate").at("chart_euler_deg"));
  Result.Chart_Translation = Triple_In(File.at("host_estimate").at("chart_translation_m"));
  Result.Position_Noise_Mm = File.at("noise").at("position_mm");
  Result.Rotation_Noise_Deg = File.at("noise").at("rotation_deg");
  if (Settings.contains("recording")) {
    Result.Lag_Seconds = Settings.at("recording").at("lag_s");
    Result.Clock_Offset = Settings.at("recording").at("clock_offset_s");
  }
  for (const Json& Image : File.at("images")) {
    Row_Truth Row;
    Row.Name = Image.at("name");
    Row.Kind = Kind_In(Image.at("kind"));
    Row.Csv_Line = Image.at("csv_line");
    Row.Transform_Cam_Chart = Pose_In(Image.at("Transform_Cam_Chart"));
    if (Image.contains("time")) {
      const Json& Time = Image.at("time");
      Row.Take_Seconds = Time.at("take_s");
      Row.Camera = Velocity_In(Time.at("camera_velocity"));
      Row.Board = Velocity_In(Time.at("board_velocity"));
    }
    Result.Rows.push_back(Row);
  }
  return Result;
}

// ---- Photographs -----------------------------------------------------------------------------

void Write_Photograph(const Plan& Capture, size_t Index, const cv::Mat& Rays,
                      const fs::path& File) {
  const Image_Truth& Image = Capture.Images[Index];
  if (Image.Kind == Row_Kind::Missing_Image) {
    // A photograph of an earlier capture would replace the missing one.
    std::error_code Ignored;
    fs::remove(File, Ignored);
    return;
  }
  Make_Folder(File.parent_path());
  // No PNG level is set: OpenCV then uses the fastest level with a single row filter, which is
  // three times as fast as the same level set by number. Noise does not compress better with any
  // other.
  const std::vector<int> Encoder_Settings = {cv::IMWRITE_JPEG_QUALITY,
                                             Capture.Settings.Jpeg_Quality};
  std::vector<uchar> Encoded;
  if (!cv::imencode("." + Capture.Settings.Image_Format, Render_Photograph(Capture, Index, Rays),
                    Encoded, Encoder_Settings)) {
    throw std::runtime_error("simulate: can't encode " + File.string());
  }
  const bool Cut = Image.Kind == Row_Kind::Truncated_Image;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): streams write chars
  Write_Bytes(File, reinterpret_cast<const char*>(Encoded.data()),
              Cut ? Encoded.size() / 2 : Encoded.size());
}

// Gives a photograph the file time of the moment at which it was taken.
void Set_File_Time(const Plan& Capture, const Image_Truth& Image, const fs::path& File) {
  if (Image.Kind == Row_Kind::Missing_Image) return;
  using std::chrono::duration;
  using std::chrono::duration_cast;
  // What the clock of file times shows is ahead of the system's clock by a whole number of seconds.
  const double Ahead =
      duration<double>(fs::file_time_type::clock::now().time_since_epoch()).count() -
      duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  const auto Whole = static_cast<long long>(std::llround(Ahead)) + Clock_Epoch;
  const fs::file_time_type Taken(
      duration_cast<fs::file_time_type::duration>(std::chrono::seconds(Whole)) +
      duration_cast<fs::file_time_type::duration>(
          duration<double>(Picture_Seconds(Capture, Image))));
  fs::last_write_time(File, Taken);
}

// Everything but the photographs, the clip and capture.csv.
void Write_Truth_And_Takes(const Plan& Capture, const fs::path& Directory) {
  Write_Text(Directory / "truth.json", Truth_As_Json(Capture).dump(2) + "\n");
  if (Is_Timed(Capture.Settings.Recording)) {
    Write_Text(Directory / "times.csv", Times_Text(Capture));
  }
  for (const Take_File& File : Take_Files(Capture)) Write_Text(Directory / File.Name, File.Text);
}

void Write_Pictures(const Plan& Capture, const fs::path& Directory,
                    const Render_Progress& Progress) {
  const cv::Mat Rays =
      Make_Pixel_Rays(Capture.True_Lens, Capture.Settings.Width, Capture.Settings.Height);
  const bool Has_Clip = Capture.Settings.Recording.Clip;
  const size_t All = Capture.Images.size() + (Has_Clip ? Clip_Frame_Count(Capture) : 0);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    const fs::path File = Image_File(Capture, Capture.Images[i], Directory);
    Write_Photograph(Capture, i, Rays, File);
    if (Is_Timed(Capture.Settings.Recording)) Set_File_Time(Capture, Capture.Images[i], File);
    if (Progress) Progress(i + 1, All);
  }
  if (!Has_Clip) return;
  Write_Clip(Capture, Directory / "clip.avi", Rays, [&](size_t Done, size_t /*Frames*/) {
    if (Progress) Progress(Capture.Images.size() + Done, All);
  });
}

// The names of the tables that every capture may have.
std::vector<std::string> Table_Names(const Plan& Capture) {
  std::vector<std::string> Names = {"truth.json", "capture.csv"};
  if (Is_Timed(Capture.Settings.Recording)) Names.emplace_back("times.csv");
  for (const std::string& Name : Take_Names(Capture.Settings.Recording)) Names.push_back(Name);
  if (Capture.Settings.Recording.Clip) Names.emplace_back("clip.avi");
  return Names;
}

// A document that is nested deeper than any truth is none: to copy its values could take more stack
// than there is.
Json Parsed_Truth(std::istream& In) {
  constexpr int Deepest = 32;
  const auto Check_Depth = [](int Depth, Json::parse_event_t /*Event*/, Json& /*Value*/) {
    if (Depth > Deepest) throw std::runtime_error("it is nested too deep");
    return true;
  };
  return Json::parse(In, Check_Depth);
}

}  // namespace

std::vector<fs::path> Files_Of(const Plan& Capture, const fs::path& Directory) {
  std::vector<fs::path> Files;
  for (const std::string& Name : Table_Names(Capture)) Files.push_back(Directory / Name);
  for (const Image_Truth& Image : Capture.Images) {
    Files.push_back(Image_File(Capture, Image, Directory));
  }
  return Files;
}

void Write_Tables(const Plan& Capture, const fs::path& Directory) {
  Make_Folder(Directory);
  Write_Truth_And_Takes(Capture, Directory);
  Write_Text(Directory / "capture.csv", Csv_Text(Capture, Directory));
}

void Write_Capture(const Plan& Capture, const fs::path& Directory,
                   const Render_Progress& Progress) {
  Make_Folder(Directory);
  // Refused before anything is written, if it is refused.
  const std::string Csv = Csv_Text(Capture, Directory);
  const fs::path Earlier_Csv = Directory / "capture.csv";
  std::error_code Ignored;
  if (!fs::is_directory(Earlier_Csv, Ignored)) fs::remove(Earlier_Csv, Ignored);
  Write_Truth_And_Takes(Capture, Directory);
  Write_Pictures(Capture, Directory, Progress);
  Write_Text(Directory / "capture.csv", Csv);
}

Truth Read_Truth(const fs::path& Path) {
  if (fs::exists(Path) && !fs::is_regular_file(Path)) {
    throw std::runtime_error("simulate: " + Path.string() + " isn't a file");
  }
  std::ifstream In(Path);
  if (!In) throw std::runtime_error("simulate: can't read " + Path.string());
  try {
    return Truth_In(Parsed_Truth(In));
  } catch (const std::exception& Reason) {
    throw std::runtime_error("simulate: " + Path.string() +
                             " isn't a capture's truth: " + Reason.what());
  }
}

}  // namespace simulate
