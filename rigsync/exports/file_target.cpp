// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/file_target.h"

#include "rigsync/exports/blender_script.h"
#include "rigsync/exports/board_corners.h"
#include "rigsync/exports/kalibr_camchain.h"
#include "rigsync/exports/opencv_yaml.h"
#include "rigsync/exports/opentrackio_sample.h"
#include "rigsync/exports/unreal_lens_script.h"

#include <algorithm>

namespace rigsync {

File_Request Request_From(const std::filesystem::path& Result_File,
                          const Calibration_Result& Result) {
  return {Result_File,
          Result,
          /*Axes=*/std::nullopt,
          Result.Inputs.Sensor_Size_Mm,
          /*At=*/std::nullopt,
          Result.Inputs.Csv,
          Result.Inputs.Image_Root,
          /*Is_Capture_Stated=*/false,
          /*Doubts=*/""};
}

bool Has_Use(const File_Target& Target, File_Option Option) {
  return std::find(Target.Options.begin(), Target.Options.end(), Option) != Target.Options.end();
}

const std::vector<File_Target>& File_Targets() {
  using Option = File_Option;
  static const std::vector<File_Target> All = {
      {"blender",
       "Blender",
       Engine_Space::Right_Handed_Z_Up,
       {Option::Axes, Option::Sensor},
       Write_Blender_Script},
      {"unreal-lens",
       "Unreal Engine, LensFile",
       Engine_Space::Left_Handed_Z_Up,
       {Option::Axes, Option::Sensor, Option::Position},
       Write_Unreal_Lens_Script},
      {"opentrackio",
       "OpenTrackIO 1.0.1",
       Engine_Space::Right_Handed_Z_Up,
       {Option::Axes, Option::Sensor, Option::Capture},
       Write_Opentrackio},
      {"opencv",
       "YAML of OpenCV",
       Engine_Space::Right_Handed_Z_Up,
       {Option::Capture},
       Write_Opencv},
      {"kalibr", "camchain of Kalibr", Engine_Space::Right_Handed_Z_Up, {}, Write_Kalibr},
      {"corners",
       "corners.vnl of mrcal",
       Engine_Space::Right_Handed_Z_Up,
       {Option::Capture, Option::Image_Root},
       Write_Corners},
  };
  return All;
}

}  // namespace rigsync
