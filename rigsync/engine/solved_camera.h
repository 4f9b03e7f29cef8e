// SPDX-License-Identifier: Apache-2.0
//
// The camera of a result as other programs need it: its lens in pixels, and where it is as seen
// from the tracked body's own axes, without the labels Tc of the library.
#ifndef RIGSYNC_ENGINE_SOLVED_CAMERA_H
#define RIGSYNC_ENGINE_SOLVED_CAMERA_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/capture/lens.h"

#include <Eigen/Geometry>

#include <filesystem>

namespace rigsync {

struct Solved_Camera {
  int Width = 0, Height = 0;  // pixels
  Lens Lens_Px;               // the library's, which every export has
  // Points in Cam to points along the body's own axes, metres.
  Eigen::Isometry3d Transform_Body_Cam = Eigen::Isometry3d::Identity();
};

// With the chosen mount. Throws Usage_Error, which begins with File and names the key of
// result.json, for a lens that is missing or that no camera has, and without a finite mount. So
// what is made from it can divide by its sizes and focal lengths.
Solved_Camera Solved_Camera_Of(const Calibration_Result& Result,
                               const std::filesystem::path& File = "result.json");

// Coordinates along the body's own axes to those in Tc or Tr: (a, b, c) becomes (-a, -c, -b). Its
// own inverse.
Eigen::Matrix3d Rotation_Tc_Body();

}  // namespace rigsync

#endif  // RIGSYNC_ENGINE_SOLVED_CAMERA_H
