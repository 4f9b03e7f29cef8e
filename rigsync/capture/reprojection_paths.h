// SPDX-License-Identifier: Apache-2.0
//
// Where the library writes the reprojection image of an image: a name in the output folder.
#ifndef RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
#define RIGSYNC_CAPTURE_REPROJECTION_PATHS_H

#include <filesystem>
#include <string>

namespace rigsync {

// The path of an image's reprojection image in the output folder, as the library builds it:
// "Reproject_" and the part of the image path after its last backslash. Forward slashes stay, so
// the result may contain folders.
std::filesystem::path Reprojection_Name(const std::string& Image_Name);

// Whether a ".." in the path leads out of the folder or file name that begins with "Reproject_".
// The reprojection image could then replace another file, an original photograph for example, or be
// written outside the output folder.
bool Climbs_Out(const std::string& Image_Name);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
