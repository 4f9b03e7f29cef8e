// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/file_target.h"

#include "rigsync/exports/blender_script.h"
#include "rigsync/exports/board_corners.h"
#include "rigsync/exports/kalibr_camchain.h"
#include "rigsync/exports/opencv_yaml.h"
#include "rigsync/exports/opentrackio_sample.h"
#include "rigsync/exports/unreal_lens_script.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

namespace rigsync {

void Refuse_Position(const File_Request& Request, const char* Title) {
  if (!Request.At) return;
  throw Usage_Error("--focus",
                    fmt::format("--focus, --zoom: the export to {} has no use for them", Title));
}

const std::vector<File_Target>& File_Targets() {
  static const std::vector<File_Target> All = {
      {"blender",
       "Blender",
       Engine_Space::Right_Handed_Z_Up,
       /*Has_Tracker=*/true,
       {"--tracker-axes", "--sensor"},
       Write_Blender_Script},
      {"unreal-lens",
       "Unreal Engine, LensFile",
       Engine_Space::Left_Handed_Z_Up,
       /*Has_Tracker=*/true,
       {"--tracker-axes", "--sensor", "--focus", "--zoom"},
       Write_Unreal_Lens_Script},
      {"opentrackio",
       "OpenTrackIO 1.0.1",
       Engine_Space::Right_Handed_Z_Up,
       /*Has_Tracker=*/true,
       {"--tracker-axes", "--sensor", "--capture"},
       Write_Opentrackio},
      {"opencv",
       "YAML of OpenCV",
       Engine_Space::Right_Handed_Z_Up,
       /*Has_Tracker=*/false,
       {"--capture"},
       Write_Opencv},
      {"kalibr",
       "camchain of Kalibr",
       Engine_Space::Right_Handed_Z_Up,
       /*Has_Tracker=*/false,
       {},
       Write_Kalibr},
      {"corners",
       "corners.vnl of mrcal",
       Engine_Space::Right_Handed_Z_Up,
       /*Has_Tracker=*/false,
       {"--capture", "--image-root"},
       Write_Corners},
  };
  return All;
}

}  // namespace rigsync
