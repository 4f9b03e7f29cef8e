// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/unreal_lens_script.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/camera_numbers.h"
#include "rigsync/exports/script_text.h"
#include "rigsync/formats/opinion_words.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Purpose =
    R"(# A lens, and where it sits on its tracker, for Unreal Engine 5; made by rigsync.
#
# NOT YET TRIED IN AN ENGINE. It uses the calls that the engine's Python documentation has, and was
# run against a stand-in that refuses all others. Compare a rendered marker with the picture
# before you rely on it.
#
# Plugins: Camera Calibration, Python Editor Script Plugin, Editor Scripting Utilities. Run it with
# "Execute Python Script" of the Tools menu. It makes a LensFile, or loads it if there is one, and
# adds a point for each result. A point at the same focus and zoom is replaced, others stay.
#
)";

constexpr const char* Names = R"(
import unreal

# Where the LensFile is. Another name makes another one.
ASSET = "/Game/rigsync/lens"

)";

constexpr const char* Code = R"(

def structure(kind, **values):
    """A struct of the engine with these properties."""
    made = kind()
    for name, value in values.items():
        made.set_editor_property(name, value)
    return made


def vector2(pair):
    return unreal.Vector2D(x=pair[0], y=pair[1])


def lens_file():
    """The LensFile, made if there is none."""
    if unreal.EditorAssetLibrary.does_asset_exist(ASSET):
        asset = unreal.EditorAssetLibrary.load_asset(ASSET)
    else:
        folder, name = ASSET.rsplit("/", 1)
        tools = unreal.AssetToolsHelpers.get_asset_tools()
        asset = tools.create_asset(name, folder, unreal.LensFile, unreal.LensFileFactoryNew())
    if not isinstance(asset, unreal.LensFile):
        raise RuntimeError("%s is no LensFile and can't be made one" % ASSET)
    return asset


def set_lens_info(lens):
    width, height = NUMBERS["image_dimensions_px"]
    info = lens.get_editor_property("lens_info")
    info.set_editor_property("lens_model", unreal.SphericalLensModel)
    info.set_editor_property("sensor_dimensions", vector2(NUMBERS["sensor_dimensions_mm"]))
    info.set_editor_property("image_dimensions", unreal.IntPoint(x=width, y=height))
    lens.set_editor_property("lens_info", info)


def add_point(lens, point):
    focus, zoom = point["focus"], point["zoom"]
    x, y, z = point["location_cm"]
    qx, qy, qz, qw = point["rotation_xyzw"]
    focal = structure(unreal.FocalLengthInfo, fx_fy=vector2(point["fx_fy"]))
    centre = structure(
        unreal.ImageCenterInfo, principal_point=vector2(point["principal_point"]))
    distortion = structure(unreal.DistortionInfo, parameters=point["k1_k2_k3_p1_p2"])
    offset = structure(
        unreal.NodalPointOffset,
        location_offset=unreal.Vector(x=x, y=y, z=z),
        rotation_offset=unreal.Quat(x=qx, y=qy, z=qz, w=qw))
    lens.add_focal_length_point(focus, zoom, focal)
    lens.add_image_center_point(focus, zoom, centre)
    lens.add_distortion_point(focus, zoom, distortion, focal)
    lens.add_nodal_offset_point(focus, zoom, offset)


def fill():
    lens = lens_file()
    set_lens_info(lens)
    for point in NUMBERS["points"]:
        add_point(lens, point)
    if not unreal.EditorAssetLibrary.save_loaded_asset(lens):
        raise RuntimeError("%s can't be saved" % ASSET)


fill()
)";

// The axes of the engine's camera in Cam: x along the view, y right, z up.
Eigen::Matrix3d Rotation_Cam_Unreal() {
  Eigen::Matrix3d Rotation;
  Rotation << 0, 1, 0, 0, 0, -1, 1, 0, 0;
  return Rotation;
}

// The labelling that CamAxisToUE4 has: z, -x, y of the body.
Tracker_Axes UE4_Axes() {
  Tracker_Axes Axes;
  Axes << 0, 0, 1, -1, 0, 0, 0, 1, 0;
  return Axes;
}

bool Know_Labels(const std::vector<Lens_File_Point>& Points) {
  return std::all_of(Points.begin(), Points.end(), [](const Lens_File_Point& Point) {
    return Point.Result.Inputs.Camera_Labels == Body_Labels::Right_Forward_Up;
  });
}

struct Chosen_Axes {
  Tracker_Axes Axes;
  std::string Text;  // a sentence
  bool Is_Guess = false;
};

Chosen_Axes Choose_Axes(const std::vector<Lens_File_Point>& Points,
                        const std::optional<Tracker_Axes>& Stated) {
  const auto Say = [](const Tracker_Axes& Axes, const std::string& Why) {
    return fmt::format(
        "{}: x, y and z of the object that moves with the tracker are {} of the "
        "tracked body.",
        Why, Tracker_Axes_Text(Axes));
  };
  if (Stated) return {*Stated, Say(*Stated, "The tracker axes are those of --tracker-axes")};
  if (Know_Labels(Points)) {
    const Tracker_Axes Axes =
        Parse_Tracker_Axes("--tracker-axes", "as-tracked", Engine_Space::Left_Handed_Z_Up,
                           Body_Labels::Right_Forward_Up);
    return {Axes, Say(Axes, "The stream of the tracker says which way its axes point")};
  }
  return {UE4_Axes(),
          Say(UE4_Axes(),
              "Nothing says which way the axes of the tracked body point, so the "
              "tracker axes are those of --to ue4") +
              " If the scene has others, state them with --tracker-axes.",
          /*Is_Guess=*/true};
}

Json Point_Json(const Lens_File_Point& Point, const Tracker_Axes& Axes) {
  const Solved_Camera Camera = Solved_Camera_Of(Point.Result, Point.Result_File);
  const Lens& Px = Camera.Lens_Px;
  const Eigen::Vector3d Location_Cm = 100.0 * (Axes * Camera.Transform_Body_Cam.translation());
  const Eigen::Quaterniond Rotation(
      Eigen::Matrix3d(Axes * Camera.Transform_Body_Cam.linear() * Rotation_Cam_Unreal()));
  Json Numbers;
  Numbers["result"] = Point.Result_File.u8string();
  Numbers["solution"] = Solution_Name(Point.Result.Inputs.Solution);
  Numbers["focus"] = Point.At.Focus;
  Numbers["zoom"] = Point.At.Zoom;
  Numbers["fx_fy"] = {Px.Fx / Camera.Width, Px.Fy / Camera.Height};
  Numbers["principal_point"] = {From_Corner(Px.Cx) / Camera.Width,
                                From_Corner(Px.Cy) / Camera.Height};
  Numbers["k1_k2_k3_p1_p2"] = {Px.K1, Px.K2, 0.0, 0.0, 0.0};
  Numbers["location_cm"] = {Location_Cm.x(), Location_Cm.y(), Location_Cm.z()};
  Numbers["rotation_xyzw"] = {Rotation.x(), Rotation.y(), Rotation.z(), Rotation.w()};
  return Numbers;
}

Json All_Numbers(const std::vector<Lens_File_Point>& Points, const Tracker_Axes& Axes,
                 const std::optional<std::array<double, 2>>& Sensor_Mm) {
  const Solved_Camera First = Solved_Camera_Of(Points.front().Result, Points.front().Result_File);
  Json Numbers;
  Numbers["format"] = "rigsync-unreal-lens";
  Numbers["format_version"] = 1;
  Numbers["image_dimensions_px"] = {First.Width, First.Height};
  Numbers["sensor_dimensions_mm"] = Sensor_Or_Nominal(Sensor_Mm, First.Width, First.Height);
  Numbers["tracker_axes"] = Axes_Words(Axes);
  for (const Lens_File_Point& Point : Points) Numbers["points"].push_back(Point_Json(Point, Axes));
  return Numbers;
}

// Of several results, which one is meant.
std::string Doubts_Of_Points(const std::vector<Lens_File_Point>& Points) {
  std::string Comments;
  for (const Lens_File_Point& Point : Points) {
    const bool Is_Named = Points.size() > 1 && !Point.Doubts.empty();
    Comments += Doubts_Comment(Is_Named ? Point.Result_File.u8string() + ": " + Point.Doubts
                                        : Point.Doubts);
  }
  return Comments;
}

constexpr const char* Meaning =
    "Focal lengths are divided by the width and height of the frame, the principal point too, from "
    "the frame's top left corner: its centre is 0.5, 0.5. The coefficients are those of OpenCV's "
    "model, which the engine's documentation of its spherical model refers to. The location is "
    "that of the camera along the tracker's axes, the quaternion turns the camera's axes (x along "
    "the view, y right, z up) into them.";

}  // namespace

File_Text Unreal_Lens_Script(const std::vector<Lens_File_Point>& Points,
                             const std::optional<Tracker_Axes>& Axes,
                             const std::optional<std::array<double, 2>>& Sensor_Mm) {
  const Chosen_Axes Chosen = Choose_Axes(Points, Axes);
  File_Text Written;
  Written.Warnings.push_back("The script for Unreal Engine was not yet tried in an engine.");
  if (Chosen.Is_Guess) Written.Warnings.push_back(Chosen.Text);
  std::string Comments = Comment(Chosen.Text) + "#\n";
  if (!Sensor_Mm) {
    Written.Warnings.push_back(Nominal_Sensor_Text());
    Comments += Comment(Nominal_Sensor_Text()) + "#\n";
  }
  Written.Text = Doubts_Of_Points(Points) + Purpose + Comments + Comment(Meaning) + Names +
                 Numbers_Assignment(All_Numbers(Points, Chosen.Axes, Sensor_Mm)) + Code;
  return Written;
}

File_Text Write_Unreal_Lens_Script(const File_Request& Request) {
  return Unreal_Lens_Script(
      {{Request.Result_File, Request.Result, Request.At.value_or(Lens_Position{}), Request.Doubts}},
      Request.Axes, Request.Sensor_Mm);
}

}  // namespace rigsync
