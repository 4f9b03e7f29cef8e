// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/script_readers.h"

#include "rigsync/take/base_axes.h"
#include "rigsync/verify/numbers_read.h"

#include <nlohmann/json.hpp>

#include <array>
#include <stdexcept>

namespace rigsync {
namespace {

using Json = nlohmann::json;
using Values_List = std::vector<double>;

constexpr double Cm_In_Metre = 100.0;

// What stands between the two lines that mark the numbers.
Json Numbers_Of(const std::string& Script) {
  const std::string Begin = "# ---- begin of the numbers (JSON)\n",
                    End = "# ---- end of the numbers";
  const std::size_t From = Script.find(Begin), To = Script.find(End);
  if (From == std::string::npos || To == std::string::npos) {
    throw std::runtime_error("a script has no lines that mark its numbers");
  }
  return Json::parse(Script.substr(From + Begin.size(), To - From - Begin.size()));
}

void Require_Axes(const Json& Numbers, const Tracker_Axes& Axes) {
  const auto Words = Numbers.at("tracker_axes").get<std::array<std::string, 3>>();
  if (Parse_Axes("tracker_axes", Words) != Axes) {
    throw std::runtime_error("a script says that its tracker has other axes than it was asked for");
  }
}

void Require_Frame(double Width, double Height, const Solved_Camera& Solved) {
  if (Width != Solved.Width || Height != Solved.Height) {
    throw std::runtime_error("a script has another frame than the solved camera");
  }
}

void Add_Numbers(Exported_Camera& To, const Json& Numbers, const char* Key, double Size) {
  const Values_List Values = Numbers.at(Key).get<Values_List>();
  for (std::size_t i = 0; i < Values.size(); ++i) {
    Add_Field(To, std::string(Key) + "." + std::to_string(i), Values[i], Size);
  }
}

// Blender's camera looks along its -z; its y is up.
Eigen::Matrix3d Blender_Camera_Axes() {
  return Eigen::Vector3d(1, -1, -1).asDiagonal();
}

// Values: location x, y, z in metres; quaternion w, x, y, z; lens and sensor width in mm; shift x,
// y in parts of the frame's width; pixel aspect x, y; k1, k2. The sensor's width is the frame's,
// and the shift moves what the camera sees: the picture goes the other way. Pixels are counted by
// their centres, so the frame's middle is half a pixel before W / 2.
Composed_Camera Composed_By_Blender(const Values_List& V, double Width, double Height) {
  const Eigen::Quaterniond Q(V.at(3), V.at(4), V.at(5), V.at(6));
  const double Fx = V.at(7) / V.at(8) * Width, Aspect = V.at(11) / V.at(12);
  const Lens Own = {Fx,
                    Fx * Aspect,
                    0.5 * (Width - 1.0) - V.at(9) * Width,
                    0.5 * (Height - 1.0) + V.at(10) * Width * Aspect,
                    V.at(13),
                    V.at(14)};
  return {Pose_Of({V.at(0), V.at(1), V.at(2)}, Q.normalized().toRotationMatrix(),
                  Blender_Camera_Axes()),
          std::nullopt, Own};
}

// Unreal Engine's camera: x along the view, y right, z up.
Eigen::Matrix3d Unreal_Camera_Axes() {
  Eigen::Matrix3d Axes;
  Axes << 0, 0, 1, 1, 0, 0, 0, -1, 0;
  return Axes;
}

// Values: location x, y, z in centimetres; quaternion x, y, z, w; fx and fy over width and height;
// the principal point from the frame's corner, in parts of its sides; k1, k2.
Composed_Camera Composed_By_Lens_File(const Values_List& V, double Width, double Height) {
  const Eigen::Quaterniond Q(V.at(6), V.at(3), V.at(4), V.at(5));
  const Lens Own = {V.at(7) * Width,         V.at(8) * Height, V.at(9) * Width - 0.5,
                    V.at(10) * Height - 0.5, V.at(11),         V.at(12)};
  return {Pose_Of(Eigen::Vector3d(V.at(0), V.at(1), V.at(2)) / Cm_In_Metre,
                  Q.normalized().toRotationMatrix(), Unreal_Camera_Axes()),
          std::nullopt, Own};
}

}  // namespace

Exported_Camera Read_Blender_Numbers(const std::string& Text, const Read_Request& Request) {
  const Json Numbers = Numbers_Of(Text);
  Require_Axes(Numbers, Request.Axes);
  const True_Pose True = True_Pose_Of(Request.Result, Request.Axes);
  const double Width = Numbers.at("width_px"), Height = Numbers.at("height_px");
  Require_Frame(Width, Height, True.Solved);
  Exported_Camera Camera = Empty_Camera(True, Request.Axes);
  Add_Numbers(Camera, Numbers, "location_m", True.Position_Object.norm());
  Add_Numbers(Camera, Numbers, "rotation_wxyz", 1.0);
  const auto Add = [&](const char* Key, double Size) {
    Add_Field(Camera, Key, Numbers.at(Key).get<double>(), Size);
  };
  Add("lens_mm", Request.Sensor_Mm[0] * True.Solved.Lens_Px.Fx / Width);
  Add("sensor_width_mm", Request.Sensor_Mm[0]);
  for (const char* Key : {"shift_x", "shift_y"}) Add(Key, 1.0);
  for (const char* Key : {"pixel_aspect_x", "pixel_aspect_y"}) Add(Key, 2.0);
  for (const char* Key : {"k1", "k2"}) Add(Key, 0.0);  // as they are
  if (True.Solved.Lens_Px.K1 != 0.0 || True.Solved.Lens_Px.K2 != 0.0) {
    Camera.Notes.emplace_back(
        "its camera renders without distortion; k1 and k2 stand beside it for the footage");
  }
  Camera.Compose = [Width, Height](const Values_List& V) {
    return Composed_By_Blender(V, Width, Height);
  };
  Camera.Lens_Of_Target = True.Solved.Lens_Px;
  return Camera;
}

Exported_Camera Read_Lens_File_Numbers(const std::string& Text, const Read_Request& Request) {
  const Json Numbers = Numbers_Of(Text);
  Require_Axes(Numbers, Request.Axes);
  const True_Pose True = True_Pose_Of(Request.Result, Request.Axes);
  const Values_List Frame = Numbers.at("image_dimensions_px").get<Values_List>();
  Require_Frame(Frame.at(0), Frame.at(1), True.Solved);
  if (Numbers.at("points").size() != 1) throw std::runtime_error("a script has not one point");
  const Json& Point = Numbers.at("points").at(0);
  Exported_Camera Camera = Empty_Camera(True, Request.Axes);
  Add_Numbers(Camera, Point, "location_cm", Cm_In_Metre * True.Position_Object.norm());
  Add_Numbers(Camera, Point, "rotation_xyzw", 1.0);
  Add_Numbers(Camera, Point, "fx_fy", Request.Result.Norm_Fxy[0] + Request.Result.Norm_Fxy[1]);
  Add_Numbers(Camera, Point, "principal_point", 1.0);
  Add_Numbers(Camera, Point, "k1_k2_k3_p1_p2", 0.0);  // as they are
  for (std::size_t i = Camera.Fields.size() - 3; i < Camera.Fields.size(); ++i) {
    if (Camera.Fields[i].Value != 0.0) {
      throw std::runtime_error("a script has a coefficient that the solved lens doesn't have");
    }
  }
  Camera.Compose = [Frame](const Values_List& V) {
    return Composed_By_Lens_File(V, Frame[0], Frame[1]);
  };
  Camera.Lens_Of_Target = True.Solved.Lens_Px;
  return Camera;
}

}  // namespace rigsync
