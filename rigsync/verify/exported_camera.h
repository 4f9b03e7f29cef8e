// SPDX-License-Identifier: Apache-2.0
//
// What was exported to one target, and how that target makes a camera of it. Nothing here knows how
// the numbers were made: each target's composition is written from the description of the target
// (docs/engines.md, docs/files.md), not from the exporter.
#ifndef RIGSYNC_VERIFY_EXPORTED_CAMERA_H
#define RIGSYNC_VERIFY_EXPORTED_CAMERA_H

#include "rigsync/capture/lens.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/engine/tracker_axes.h"

#include <Eigen/Geometry>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// The camera below the object that moves with the tracker.
struct Composed_Camera {
  // Points in Cam (x right, y down, z along the view, metres) to points along the object's axes. A
  // reflection in a left-handed space, and no exact rotation where the target has a matrix.
  Eigen::Affine3d Transform_Object_Cam = Eigen::Affine3d::Identity();
  // Where the object is in the target's scene, for a target that has a sample of the tracker too.
  std::optional<Eigen::Affine3d> Transform_Scene_Object;
  // The target's own lens, in pixels of the solved camera's image; none where the target has no
  // number of the lens.
  std::optional<Lens> Own_Lens;
};

// A number that was exported, in the target's own unit.
struct Exported_Field {
  std::string Name;
  double Value = 0;
  // How far Value may be from the number without any rounding. It follows from the solved mount and
  // the steps that the number went through, never from Value.
  double Rounding = 0;
};

struct Exported_Camera {
  std::vector<Exported_Field> Fields;
  // The camera that the target makes of these values, in the order of Fields.
  std::function<Composed_Camera(const std::vector<double>& Values)> Compose;
  Tracker_Axes Axes = Tracker_Axes::Identity();  // of the object in the target's scene
  // Which row of the capture the target's own sample is; only with Transform_Scene_Object.
  std::optional<Tracker_Sample> Own_Sample;

  // What no single field can tell: by how much the whole camera may be turned about any axis, and
  // moved. A field that is left out at a gimbal lock, and a mount that is no exact rotation.
  double Turn_Rad = 0;
  double Shift_M = 0;

  // The solved lens as far as the target has numbers for it. What it has none for is no rounding
  // and is told in Notes instead.
  std::optional<Lens> Lens_Of_Target;
  std::vector<std::string> Notes;
};

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_EXPORTED_CAMERA_H
