// SPDX-License-Identifier: Apache-2.0
//
// Where the reprojection images of a capture will be written. The library writes them next to the
// run log but creates no folder; the folders that it needs are created here.
#ifndef RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
#define RIGSYNC_CAPTURE_REPROJECTION_PATHS_H

#include "rigsync/capture/capture_file.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// The path of an image's reprojection image in the output folder, as the library builds it:
// "Reproject_" and the part of the image path after its last backslash. Forward slashes stay, so
// the result may contain folders.
std::filesystem::path Reprojection_Name(const std::string& Image_Name);

// Whether a ".." in the path leads out of the folder or file name that begins with "Reproject_".
// The reprojection image could then replace another file, an original photograph for example, or be
// written outside the output folder.
bool Climbs_Out(const std::string& Image_Name);

// Throws Usage_Error, naming the line, for the first existing image whose path climbs out.
void Refuse_Climbing_Images(const std::filesystem::path& Csv,
                            const std::vector<Capture_Image>& Images,
                            const std::filesystem::path& Image_Root);

// Creates, inside Out, the folders for the reprojection images of all existing images. Returns the
// image paths whose folder can't be created: their reprojection images will be missing.
std::vector<std::string> Make_Reprojection_Folders(const std::filesystem::path& Out,
                                                   const std::vector<Capture_Image>& Images,
                                                   const std::filesystem::path& Image_Root);

// The reprojection images of this capture that are in Folder.
std::vector<std::filesystem::path> Written_Reprojections(const std::filesystem::path& Folder,
                                                         const std::vector<Capture_Image>& Images);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
