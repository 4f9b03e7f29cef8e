// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/blender_script.h"

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
    R"(# A solved camera and its tracker, for Blender 3.4 and newer; made by 'rigsync export'.
#
# Run it in the text editor of Blender ("Run Script"), or
#
#   blender scene.blend --python THIS_FILE
#
# It makes an empty object, which moves with the tracker, and a camera below it, and sets the
# render resolution and the pixel aspect. Run again, it sets the same two objects anew and keeps
# the keyframes of the tracker. Clip range, focus and everything else are left alone.
#
)";

constexpr const char* Names = R"(
import bpy
from mathutils import Quaternion

# Other names make another pair of objects.
TRACKER = "tracker"
CAMERA = "tracker camera"

)";

constexpr const char* Code = R"(

def own_object(name, make_data):
    """The object of that name that this script made before, or a new one."""
    scene = bpy.context.scene
    for candidate in scene.objects:
        if candidate.get("rigsync") == name:
            return candidate
    made = bpy.data.objects.new(name, make_data())
    made["rigsync"] = name
    scene.collection.objects.link(made)
    return made


def put(owner, name, value):
    """Sets a number, and stops where Blender takes another one because of its limits."""
    setattr(owner, name, value)
    taken = getattr(owner, name)
    if abs(taken - value) > 1e-6 * max(1.0, abs(value)):
        raise ValueError("Blender makes %s %g, not %g" % (name, taken, value))


def in_scene_units(metres):
    scale = bpy.context.scene.unit_settings.scale_length
    return [coordinate / scale for coordinate in metres]


def along_tracker_axes(vector):
    """From the axes of the tracking system's samples to those of the objects."""
    tracked = dict(zip("xyz", vector))
    return [
        -tracked[axis[1]] if axis.startswith("-") else tracked[axis]
        for axis in NUMBERS["tracker_axes"]
    ]


def set_lens(data):
    data.type = "PERSP"
    data.sensor_fit = "HORIZONTAL"
    put(data, "sensor_width", NUMBERS["sensor_width_mm"])
    put(data, "sensor_height", NUMBERS["sensor_height_mm"])
    put(data, "lens", NUMBERS["lens_mm"])
    put(data, "shift_x", NUMBERS["shift_x"])
    put(data, "shift_y", NUMBERS["shift_y"])
    # For compositors and scripts; Blender itself does not use them.
    data["k1"] = NUMBERS["k1"]
    data["k2"] = NUMBERS["k2"]


def set_frame(render):
    put(render, "resolution_x", NUMBERS["width_px"])
    put(render, "resolution_y", NUMBERS["height_px"])
    render.resolution_percentage = 100
    put(render, "pixel_aspect_x", NUMBERS["pixel_aspect_x"])
    put(render, "pixel_aspect_y", NUMBERS["pixel_aspect_y"])


def make_camera():
    scene = bpy.context.scene
    tracker = own_object(TRACKER, lambda: None)
    tracker.rotation_mode = "QUATERNION"
    camera = own_object(CAMERA, lambda: bpy.data.cameras.new(CAMERA))
    camera.parent = tracker
    camera.parent_type = "OBJECT"
    camera.matrix_parent_inverse.identity()
    camera.location = in_scene_units(NUMBERS["location_m"])
    camera.rotation_mode = "QUATERNION"
    camera.rotation_quaternion = NUMBERS["rotation_wxyz"]
    camera.scale = (1.0, 1.0, 1.0)
    set_lens(camera.data)
    set_frame(scene.render)
    scene.camera = camera


def set_tracker(location, quaternion_wxyz, frame=None):
    """Puts the tracker where a sample of the tracking system says.

    location         metres, along the axes of the tracking system
    quaternion_wxyz  the attitude, which takes directions of the tracker to the tracking system,
                     w first. A capture's CSV has the inverse: negate x, y and z of those.
    frame            where to set keyframes; without it the tracker is moved and no more
    """
    tracker = own_object(TRACKER, lambda: None)
    w, x, y, z = quaternion_wxyz
    attitude = Quaternion([w] + along_tracker_axes((x, y, z))).normalized()
    # Of the two quaternions of a rotation the one that is nearer, so that Blender does not turn
    # the long way round between keyframes.
    if attitude.dot(tracker.rotation_quaternion) < 0.0:
        attitude.negate()
    tracker.location = in_scene_units(along_tracker_axes(location))
    tracker.rotation_quaternion = attitude
    if frame is not None:
        tracker.keyframe_insert("location", frame=frame)
        tracker.keyframe_insert("rotation_quaternion", frame=frame)


make_camera()

# Samples go here, for example two keyframes:
# set_tracker((0.2, 1.5, 1.7), (1.0, 0.0, 0.0, 0.0), frame=1)
# set_tracker((0.3, 1.5, 1.7), (0.9914449, 0.0, 0.0, 0.1305262), frame=25)
)";

// Rotation of Blender's camera axes to those of Cam.
Eigen::Matrix3d Rotation_Cam_Blender() {
  return Eigen::Vector3d(1, -1, -1).asDiagonal();
}

// Blender takes no aspect below 1.
void Add_Lens(const Solved_Camera& Camera, const std::array<double, 2>& Sensor_Mm, Json& Numbers) {
  const Lens& Px = Camera.Lens_Px;
  const double Width = Camera.Width, Height = Camera.Height;
  const double Aspect = Px.Fx / Px.Fy;  // height of a pixel by its width
  Numbers["width_px"] = Camera.Width;
  Numbers["height_px"] = Camera.Height;
  Numbers["pixel_aspect_x"] = std::max(1.0, 1.0 / Aspect);
  Numbers["pixel_aspect_y"] = std::max(1.0, Aspect);
  Numbers["sensor_width_mm"] = Sensor_Mm[0];
  Numbers["sensor_height_mm"] = Sensor_Mm[1];
  Numbers["lens_mm"] = Px.Fx / Width * Sensor_Mm[0];
  Numbers["shift_x"] = (Width / 2.0 - From_Corner(Px.Cx)) / Width;
  Numbers["shift_y"] = (From_Corner(Px.Cy) - Height / 2.0) * Aspect / Width;
  Numbers["k1"] = Px.K1;
  Numbers["k2"] = Px.K2;
}

void Add_Pose(const Solved_Camera& Camera, const Tracker_Axes& Axes, Json& Numbers) {
  const Eigen::Vector3d Location = Axes * Camera.Transform_Body_Cam.translation();
  const Eigen::Quaterniond Rotation(
      Eigen::Matrix3d(Axes * Camera.Transform_Body_Cam.linear() * Rotation_Cam_Blender()));
  Numbers["tracker_axes"] = Axes_Words(Axes);
  Numbers["location_m"] = {Location.x(), Location.y(), Location.z()};
  Numbers["rotation_wxyz"] = {Rotation.w(), Rotation.x(), Rotation.y(), Rotation.z()};
}

std::string Axes_Comment(const Tracker_Axes& Axes) {
  if (Axes == Tracker_Axes::Identity()) {
    return Comment(
        "The tracker's object has the axes of the tracked body, as its samples have them.");
  }
  return Comment(
      fmt::format("The tracker's object has other axes than the tracked body: its x, y and z are "
                  "{} of the body. set_tracker turns samples into them.",
                  Tracker_Axes_Text(Axes)));
}

std::string Distortion_Text(double Most_Px) {
  return fmt::format(
      "Blender's camera has no distortion. That of the lens moves the picture by up to {:.1f} "
      "pixels: undistort the footage with k1 and k2, or distort the render.",
      Most_Px);
}

std::string Comments(const Tracker_Axes& Axes, const std::vector<std::string>& Warnings) {
  std::string Text = Axes_Comment(Axes);
  for (const std::string& Warning : Warnings) Text += "#\n" + Comment(Warning);
  return Text + "#\n" +
         Comment(
             "Lengths are metres or millimetres, as the names say. k1 and k2 are those of OpenCV's "
             "model. A shift is in parts of the frame's width.");
}

}  // namespace

File_Text Write_Blender_Script(const File_Request& Request) {
  const Solved_Camera Camera = Solved_Camera_Of(Request.Result, Request.Result_File);
  const Tracker_Axes Axes = Request.Axes.value_or(Tracker_Axes::Identity());
  File_Text Written;
  const double Most_Px = Largest_Distortion_Px(Camera);
  if (Most_Px > 0.0) Written.Warnings.push_back(Distortion_Text(Most_Px));
  if (!Request.Sensor_Mm) Written.Warnings.push_back(Nominal_Sensor_Text());
  Json Numbers;
  Numbers["format"] = "rigsync-blender";
  Numbers["format_version"] = 1;
  Numbers["result"] = Request.Result_File.u8string();
  Numbers["solution"] = Solution_Name(Request.Result.Inputs.Solution);
  Add_Lens(Camera, Sensor_Or_Nominal(Request.Sensor_Mm, Camera.Width, Camera.Height), Numbers);
  Add_Pose(Camera, Axes, Numbers);
  Written.Text = Doubts_Comment(Request.Doubts) + Purpose + Comments(Axes, Written.Warnings) +
                 Names + Numbers_Assignment(Numbers) + Code;
  return Written;
}

}  // namespace rigsync
