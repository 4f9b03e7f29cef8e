// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/reprojection_paths.h"

namespace rigsync {
std::filesystem::path Reprojection_Name(const std::string& Image_Name) {
  // Without a backslash find_last_of gives npos, and npos + 1 is 0: the whole path.
  return "Reproject_" + Image_Name.substr(Image_Name.find_last_of('\\') + 1);
}

bool Climbs_Out(const std::string& Image_Name) {
  int Depth = 0;
  for (const std::filesystem::path& Component : Reprojection_Name(Image_Name)) {
    if (Component.empty() || Component == ".") continue;
    Depth += Component == ".." ? -1 : 1;
    if (Depth < 1) return true;
  }
  return false;
}

}  // namespace rigsync
