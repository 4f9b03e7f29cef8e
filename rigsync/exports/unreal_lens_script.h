// SPDX-License-Identifier: Apache-2.0
//
// A Python script for the editor of Unreal Engine 5 that fills a LensFile: one point of focal
// length, image centre, distortion and nodal offset for each result, by the calls that the engine's
// Python documentation has. It has not been tried in an engine.
//
// Normalised numbers are divided by the frame's width and height, image coordinates from its
// corner: the principal point is (cx + 1/2) / W, where cx is whole at the centres of pixels. The
// nodal offset is the camera as seen from the object that moves with the tracker: centimetres and a
// quaternion, left-handed, with the camera's x along its view, y right, z up.
#ifndef RIGSYNC_EXPORTS_UNREAL_LENS_SCRIPT_H
#define RIGSYNC_EXPORTS_UNREAL_LENS_SCRIPT_H

#include "rigsync/exports/file_target.h"

#include <vector>

namespace rigsync {

// The lens at one focus and zoom. Refers to Result, which has to live longer.
struct Lens_File_Point {
  std::filesystem::path Result_File;  // as typed
  const Calibration_Result& Result;   // one that can be exported
  Lens_Position At;
  std::string Doubts;  // what speaks against the result; empty for a good one
};

// Points is not empty, and their images have one size. Without Axes the object has those of the
// body as it was tracked where every result says which way they point, and otherwise the same as
// 'rigsync export --to ue4': a warning says which.
File_Text Unreal_Lens_Script(const std::vector<Lens_File_Point>& Points,
                             const std::optional<Tracker_Axes>& Axes,
                             const std::optional<std::array<double, 2>>& Sensor_Mm);

// One result, at focus 0 and zoom 0 unless the request says where.
File_Text Write_Unreal_Lens_Script(const File_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_UNREAL_LENS_SCRIPT_H
