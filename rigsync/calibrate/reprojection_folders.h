// SPDX-License-Identifier: Apache-2.0
//
// The folders of a run's reprojection images. The library writes the images next to the run log but
// creates no folder; the folders that it needs are created here, inside the output folder only.
#ifndef RIGSYNC_CALIBRATE_REPROJECTION_FOLDERS_H
#define RIGSYNC_CALIBRATE_REPROJECTION_FOLDERS_H

#include "rigsync/calibrate/run_report.h"
#include "rigsync/capture/capture_file.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// Throws Usage_Error, naming the line, for the first existing image whose path climbs out.
void Refuse_Climbing_Images(const std::filesystem::path& Csv,
                            const std::vector<Capture_Image>& Images,
                            const std::filesystem::path& Image_Root);

// Throws Usage_Error, naming the line, for the first image that the library can't be given: a pipe
// or a device, for which it might wait forever, a header with more pixels than the memory holds, or
// a name for whose ending no reprojection image can be written.
void Refuse_Unfit_Images(const std::filesystem::path& Csv, const std::vector<Capture_Image>& Images,
                         const std::filesystem::path& Image_Root);

// Creates, inside Out, the folders for the reprojection images of all existing images. Returns the
// image paths whose folder can't be created: their reprojection images will be missing.
std::vector<std::string> Make_Reprojection_Folders(const std::filesystem::path& Out,
                                                   const std::vector<Capture_Image>& Images,
                                                   const std::filesystem::path& Image_Root);

// The reprojection images of this capture that are in Folder.
std::vector<std::filesystem::path> Written_Reprojections(const std::filesystem::path& Folder,
                                                         const std::vector<Capture_Image>& Images);

// Removes the reprojection images of this capture that end early, as some do on a full disk though
// OpenCV removes most itself. Those of other formats than PNG and JPEG are left.
void Remove_Cut_Reprojections(const std::filesystem::path& Folder,
                              const std::vector<Capture_Image>& Images);

// The image paths, each once, whose reprojection image should be in Folder and isn't: of all kept
// images of a run that came to its end. Not those whose own folder is missing.
std::vector<std::string> Missing_Reprojections(const std::filesystem::path& Folder,
                                               const Run_Report& Report);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_REPROJECTION_FOLDERS_H
