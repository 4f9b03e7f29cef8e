// SPDX-License-Identifier: Apache-2.0
//
// The images that a capture's CSV names, and where their reprojection images will land. The library
// writes reprojection images beside the run log but creates no folder; what it needs is made here.
#ifndef RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
#define RIGSYNC_CAPTURE_REPROJECTION_PATHS_H

#include "rigsync/capture/capture_file.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// What the library appends to the output folder for an image: "Reproject_" and what stands behind
// the last backslash of its path. Forward slashes stay, so the result may name folders.
std::filesystem::path Reprojection_Name(const std::string& Image_Name);

// True when a ".." in the path takes the reprojection image out of the folder or file name that
// begins with "Reproject_": beside other files, over an original photograph, or out of the output
// folder altogether.
bool Climbs_Out(const std::string& Image_Name);

// Refuses (Usage_Error naming the line) a capture in which an image that exists climbs out.
void Refuse_Climbing_Images(const std::filesystem::path& Csv,
                            const std::vector<Capture_Image>& Images,
                            const std::filesystem::path& Image_Root);

// Creates, inside Out, the folders that the reprojection images of the existing images need.
// Returns the image paths whose folder can't be made: their reprojection image will be missing.
std::vector<std::string> Make_Reprojection_Folders(const std::filesystem::path& Out,
                                                   const std::vector<Capture_Image>& Images,
                                                   const std::filesystem::path& Image_Root);

// The reprojection images of this capture that are in Folder.
std::vector<std::filesystem::path> Written_Reprojections(const std::filesystem::path& Folder,
                                                         const std::vector<Capture_Image>& Images);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_REPROJECTION_PATHS_H
