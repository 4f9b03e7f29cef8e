// SPDX-License-Identifier: Apache-2.0
//
// The axes of the object that moves with the tracker in an engine's scene. The axes of a tracked
// body are labels; what brings its samples into the engine names them anew, and the camera's pose
// below the object depends on how.
#ifndef RIGSYNC_ENGINE_TRACKER_AXES_H
#define RIGSYNC_ENGINE_TRACKER_AXES_H

#include "rigsync/capture/body_labels.h"

#include <Eigen/Core>

#include <string>
#include <vector>

namespace rigsync {

// The space of a target's scene.
enum class Engine_Space {
  Right_Handed_Z_Up,
  Left_Handed_Z_Up,
  Left_Handed_Y_Up,
};

bool Is_Left_Handed(Engine_Space Space);

// Coordinates in the body's own axes, as the tracking system reports them, to those along the
// object's axes. Row r is the object's axis r, one of the body's axes or its reverse. The
// determinant is -1 in a left-handed space, otherwise 1.
using Tracker_Axes = Eigen::Matrix3d;

// The names that --tracker-axes takes, in the order in which they are listed. Any labelling can
// also be written out: "z,-x,y".
const std::vector<std::string>& Tracker_Axes_Names();

// The object's axes by a name or written out:
//
//                 right-handed, z up   left-handed, z up   left-handed, y up
//   as-tracked    x, y, z              y, x, z             x, z, y
//   z-up          x, y, z              x, -y, z            x, z, y
//   y-up          x, -z, y             x, z, y             x, y, -z
//
// "z-up" and "y-up" say which axis of the tracking system is up. "as-tracked" leaves the labels as
// they are; a left-handed space has other ones in any case, so there the body's have to be known
// (Right_Forward_Up: x right, y forward, z up).
//
// Throws Usage_Error, which begins with Flag, for any other text, for axes of the other handedness
// than Space, and for "as-tracked" in a left-handed space when Labels are Unknown.
Tracker_Axes Parse_Tracker_Axes(const std::string& Flag, const std::string& Text,
                                Engine_Space Space, Body_Labels Labels);

// "z, -x, y"
std::string Tracker_Axes_Text(const Tracker_Axes& Axes);

}  // namespace rigsync

#endif  // RIGSYNC_ENGINE_TRACKER_AXES_H
