// SPDX-License-Identifier: Apache-2.0
//
// The image paths of a capture against the file system, before any image is opened.
#ifndef RIGSYNC_CAPTURE_IMAGE_PATHS_H
#define RIGSYNC_CAPTURE_IMAGE_PATHS_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/finding.h"

#include <filesystem>
#include <vector>

namespace rigsync {

// Tells, by line, of paths that are empty, lead to no file, repeat an earlier one, or would lead a
// reprojection image astray. A relative path starts at Image_Root. Returns for each row whether a
// file is there to be read.
std::vector<bool> Check_Image_Paths(const std::vector<Capture_Row>& Rows,
                                    const std::filesystem::path& Image_Root, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_IMAGE_PATHS_H
