// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/file_reader.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/take/base_axes.h"
#include "rigsync/verify/matrix_readers.h"
#include "rigsync/verify/opentrackio_reader.h"
#include "rigsync/verify/script_readers.h"

namespace rigsync {
namespace {

Tracker_Axes As_Tracked(const Calibration_Result& /*Result*/) {
  return Tracker_Axes::Identity();
}

Tracker_Axes Of_Tc(const Calibration_Result& /*Result*/) {
  return Rotation_Tc_Body();
}

// A body that says which way it points is x forward, y right, z up; for others the file has the
// axes of the export to ue4.
Tracker_Axes Of_Lens_File(const Calibration_Result& Result) {
  const bool Is_Known = Result.Inputs.Camera_Labels == Body_Labels::Right_Forward_Up;
  return Parse_Axes("", Is_Known ? "y,x,z" : "z,-x,y");
}

}  // namespace

const std::vector<File_Reader>& File_Readers() {
  static const std::vector<File_Reader> All = {
      {"blender", As_Tracked, Read_Blender_Numbers},
      {"unreal-lens", Of_Lens_File, Read_Lens_File_Numbers},
      {"opentrackio", As_Tracked, Read_Opentrackio_Sample},
      {"opencv", Of_Tc, Read_Opencv_Yaml},
      {"kalibr", As_Tracked, Read_Kalibr_Camchain},
  };
  return All;
}

}  // namespace rigsync
