// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/file_target.h"

#include "rigsync/exports/blender_script.h"

namespace rigsync {

const std::vector<File_Target>& File_Targets() {
  static const std::vector<File_Target> All = {
      {"blender", "Blender", Engine_Space::Right_Handed_Z_Up, /*Has_Tracker=*/true,
       Write_Blender_Script},
  };
  return All;
}

}  // namespace rigsync
