// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/opentrackio_sample.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/kept_rows.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/utf8.h"
#include "rigsync/system/version.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

// Millimetres for each pixel, along a row and along a column.
struct Pixel_Pitch {
  double X = 0, Y = 0;
};

// The characters of a text in the format: 1 to 1023.
constexpr std::size_t Longest_Text = 1023;

// ---- The camera and its lens -------------------------------------------------------------------

std::array<double, 2> Required_Sensor(const File_Request& Request) {
  if (Request.Sensor_Mm) return *Request.Sensor_Mm;
  throw Usage_Error("--sensor",
                    "--sensor: missing. A sample of OpenTrackIO has its lens in millimetres, so it "
                    "needs the size of the sensor's part that the images show, for example "
                    "--sensor 36x20.25");
}

// The one focal length is that of the image's width. Where fy says another one, the rows come out
// too far from the principal point or too near to it, in proportion to their distance.
void Warn_Of_Two_Focal_Lengths(const Solved_Camera& Camera, const std::array<double, 2>& Sensor_Mm,
                               const Pixel_Pitch& Pitch_Mm, std::vector<std::string>& Warnings) {
  constexpr double Told_Px = 0.01;
  const Lens& Px = Camera.Lens_Px;
  const double Fy_Of_Sample = Pitch_Mm.X * Px.Fx / Pitch_Mm.Y;
  const double To_Edge = std::max(Px.Cy + 0.5, Camera.Height - 0.5 - Px.Cy);
  const double Off_Px = std::abs(Fy_Of_Sample / Px.Fy - 1.0) * To_Edge;
  if (!(Off_Px >= Told_Px)) return;
  const double Fitting_Height_Mm = Pitch_Mm.X * Px.Fx * Camera.Height / Px.Fy;
  Warnings.push_back(fmt::format(
      "OpenTrackIO has one focal length for both axes, here the {:.3f} mm of fx; by fy it is "
      "{:.3f} "
      "mm. That moves pixels by up to {:.2f} px at the upper or lower edge of the frame. A sensor "
      "of {:g}x{:.6g} mm would hold both",
      Pitch_Mm.X * Px.Fx, Pitch_Mm.Y * Px.Fy, Off_Px, Sensor_Mm[0], Fitting_Height_Mm));
}

// Coefficients of a length in millimetres on the sensor: k1 goes with the square of r / F, k2 with
// its fourth power. Numerator and denominator take turns in the list, so the second is the
// denominator's.
Json Lens_Json(const Solved_Camera& Camera, const Pixel_Pitch& Pitch_Mm) {
  const Lens& Px = Camera.Lens_Px;
  const double F = Pitch_Mm.X * Px.Fx;
  // The image's centre lies between the centres of its first and its last pixel.
  const double Offset_X = Pitch_Mm.X * (Px.Cx - 0.5 * (Camera.Width - 1));
  const double Offset_Y = Pitch_Mm.Y * (Px.Cy - 0.5 * (Camera.Height - 1));
  Json Lens;
  Lens["pinholeFocalLength"] = F;
  Lens["projectionOffset"] = {{"x", Offset_X}, {"y", Offset_Y}};
  Lens["distortionOffset"] = {{"x", 0.0}, {"y", 0.0}};
  const Json Model = {{"model", "Brown-Conrady U-D"},
                      {"radial", {Px.K1 / (F * F), 0.0, Px.K2 / (F * F * F * F)}}};
  Lens["distortion"] = Json::array({Model});
  Lens["entrancePupilOffset"] = 0.0;
  return Lens;
}

std::string History_Text(const Calibration_Result& Result) {
  std::string Text =
      "rigsync " + (Result.Versions.Rigsync.empty() ? Command_Version : Result.Versions.Rigsync);
  if (!Result.Start_Time.empty()) Text += ", " + Result.Start_Time;
  return First_Characters(Text, Longest_Text);
}

Json Static_Json(const Solved_Camera& Camera, const std::array<double, 2>& Sensor_Mm,
                 const Calibration_Result& Result) {
  Json Static;
  Static["camera"] = {
      {"activeSensorPhysicalDimensions", {{"width", Sensor_Mm[0]}, {"height", Sensor_Mm[1]}}},
      {"activeSensorResolution", {{"width", Camera.Width}, {"height", Camera.Height}}}};
  Static["lens"] = {{"calibrationHistory", Json::array({History_Text(Result)})}};
  return Static;
}

// ---- Transforms --------------------------------------------------------------------------------

// Zeros have no sign: 0 + -0 is 0.
Json Transform_Json(const char* Id, const Eigen::Isometry3d& Transform) {
  const Eigen::Vector3d Shift = Transform.translation();
  const auto [Pan, Tilt, Roll] = Pan_Tilt_Roll_Of(Transform.linear());
  return {{"id", Id},
          {"translation", {{"x", 0.0 + Shift.x()}, {"y", 0.0 + Shift.y()}, {"z", 0.0 + Shift.z()}}},
          {"rotation", {{"pan", 0.0 + Pan}, {"tilt", 0.0 + Tilt}, {"roll", 0.0 + Roll}}}};
}

// The camera of the format in Cam: its x is right, its y along the view, its z up.
Eigen::Matrix3d Rotation_Cam_Camera() {
  Eigen::Matrix3d Rotation;
  Rotation << 1, 0, 0, 0, 0, -1, 0, 1, 0;
  return Rotation;
}

Eigen::Isometry3d Mount(const Solved_Camera& Camera, const Tracker_Axes& Axes) {
  Eigen::Isometry3d Transform_Object_Camera;
  Transform_Object_Camera.setIdentity();
  Transform_Object_Camera.linear() =
      Axes * Camera.Transform_Body_Cam.linear() * Rotation_Cam_Camera();
  Transform_Object_Camera.translation() = Axes * Camera.Transform_Body_Cam.translation();
  return Transform_Object_Camera;
}

// The tracker's sample in a scene whose axes are named anew as the body's are.
Eigen::Isometry3d Tracker_In_Scene(const Tracker_Sample& Sample, const Tracker_Axes& Axes) {
  const Eigen::Matrix3d Rotation_Base_Body =
      Sample_Rotation_Body_Base(Sample).conjugate().toRotationMatrix();
  const Eigen::Map<const Eigen::Vector3d> Position(Sample.Position.data());
  Eigen::Isometry3d Transform;
  Transform.setIdentity();
  Transform.linear() = Axes * Rotation_Base_Body * Axes.transpose();
  Transform.translation() = Axes * Position;
  return Transform;
}

// The two transforms, and what the first one is.
struct Transform_Chain {
  Json Transforms;
  std::string Notes;
};

// The format has z up, and what is up in a tracking system is known only where somebody said so.
void Warn_Of_Unknown_Axes(const File_Request& Request, std::vector<std::string>& Warnings) {
  const bool Is_Known = Request.Result.Inputs.Camera_Labels == Body_Labels::Right_Forward_Up;
  if (Request.Axes || Is_Known) return;
  Warnings.emplace_back(
      "the transforms have the axes of the tracking system, and in OpenTrackIO z is up. Say "
      "--tracker-axes z-up if it is so, or --tracker-axes y-up if y is up");
}

Transform_Chain Chain_Of(const File_Request& Request, const Solved_Camera& Camera,
                         std::vector<std::string>& Warnings) {
  const Tracker_Axes Axes = Request.Axes.value_or(Tracker_Axes(Tracker_Axes::Identity()));
  const Kept_Rows Kept = Read_Kept_Rows(Request);
  Eigen::Isometry3d Tracker = Eigen::Isometry3d::Identity();
  Transform_Chain Chain;
  if (Kept.Rows.empty()) {
    Warnings.push_back(fmt::format("the first transform, the tracker's sample, is the identity: {}",
                                   Kept.Problem));
    Chain.Notes = "transforms: the tracker, at the origin for want of a sample; the camera on it";
  } else {
    const Kept_Row& First = Kept.Rows.front();
    Tracker = Tracker_In_Scene(First.Camera, Axes);
    Chain.Notes =
        fmt::format("transforms: the tracker, as it was for {} (line {}); the camera on it",
                    One_Line(First.Image), First.Line);
  }
  Chain.Notes += fmt::format(". Axes of the tracker: {} of the body", Tracker_Axes_Text(Axes));
  const std::string Doubts = Request.Doubts.empty() ? "" : "Warning: " + Request.Doubts + " ";
  if (Doubts.size() + Chain.Notes.size() > Longest_Text) {
    Chain.Notes = "transforms: the tracker; the camera on it";
  }
  Chain.Notes = First_Characters(Doubts + Chain.Notes, Longest_Text);
  Chain.Transforms = Json::array(
      {Transform_Json("tracker", Tracker), Transform_Json("camera", Mount(Camera, Axes))});
  return Chain;
}

// ---- Names -------------------------------------------------------------------------------------

// A UUID of version 8, whose bits are those of a hash.
std::string Uuid_Of(const Json& Content) {
  std::string Hex =
      Text_Sha256(Content.dump(-1, ' ', false, Json::error_handler_t::replace)).substr(0, 32);
  Hex.resize(32, '0');
  Hex[12] = '8';                                              // the version
  Hex[16] = "89ab"[static_cast<unsigned char>(Hex[16]) % 4];  // the variant
  return fmt::format("urn:uuid:{}-{}-{}-{}-{}", Hex.substr(0, 8), Hex.substr(8, 4),
                     Hex.substr(12, 4), Hex.substr(16, 4), Hex.substr(20));
}

}  // namespace

// The rotation's third column of its rows 0 and 1 is left out: with c and s for cosine and sine,
// column 1 is (-s(pan) c(tilt), c(pan) c(tilt), s(tilt)), and after the pan is taken out, row 0 is
// (c(roll), 0, s(roll)) and column 1 (0, c(tilt), s(tilt)). So near the lock an inexact pan is made
// up for by the roll.
std::array<double, 3> Pan_Tilt_Roll_Of(const Eigen::Matrix3d& Rotation) {
  constexpr double Lock = 1e-12;  // of the cosine of tilt; what is left out then is no larger
  const bool Is_Locked = std::hypot(Rotation(0, 1), Rotation(1, 1)) < Lock;
  const double Pan = Is_Locked ? std::atan2(Rotation(1, 0), Rotation(0, 0))
                               : std::atan2(-Rotation(0, 1), Rotation(1, 1));
  const Eigen::Matrix3d Rest =
      Eigen::AngleAxisd(-Pan, Eigen::Vector3d::UnitZ()).toRotationMatrix() * Rotation;
  const double Tilt = Is_Locked ? std::copysign(std::atan(1.0) * 2.0, Rotation(2, 1))
                                : std::atan2(Rest(2, 1), Rest(1, 1));
  const double Roll = Is_Locked ? 0.0 : std::atan2(Rest(0, 2), Rest(0, 0));
  return {Degrees_Per_Radian * Pan, Degrees_Per_Radian * Tilt, Degrees_Per_Radian * Roll};
}

File_Text Write_Opentrackio(const File_Request& Request) {
  const Solved_Camera Camera = Solved_Camera_Of(Request.Result, Request.Result_File);
  const std::array<double, 2> Sensor_Mm = Required_Sensor(Request);
  const Pixel_Pitch Pitch_Mm = {Sensor_Mm[0] / Camera.Width, Sensor_Mm[1] / Camera.Height};
  File_Text Written;
  Warn_Of_Two_Focal_Lengths(Camera, Sensor_Mm, Pitch_Mm, Written.Warnings);
  Written.Warnings.emplace_back(
      "entrancePupilOffset is 0: the camera's origin in this sample is the entrance pupil itself, "
      "where the solve found it. Add no offset of the lens to it");
  Warn_Of_Unknown_Axes(Request, Written.Warnings);
  const Transform_Chain Chain = Chain_Of(Request, Camera, Written.Warnings);
  Json Sample;
  Sample["protocol"] = {{"name", "OpenTrackIO"}, {"version", {1, 0, 1}}};
  Sample["sampleId"] = "";
  Sample["sourceId"] = "";
  Sample["sourceNumber"] = 1;
  Sample["tracker"] = {{"notes", Chain.Notes}};
  Sample["static"] = Static_Json(Camera, Sensor_Mm, Request.Result);
  Sample["lens"] = Lens_Json(Camera, Pitch_Mm);
  Sample["transforms"] = Chain.Transforms;
  // The source is the camera as it was calibrated: other samples of the tracker have the same one.
  Sample["sourceId"] =
      Uuid_Of(Json::array({Sample["static"], Sample["lens"], Sample["transforms"][1]}));
  Sample["sampleId"] = Uuid_Of(Sample);
  Written.Text = Sample.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  return Written;
}

}  // namespace rigsync
