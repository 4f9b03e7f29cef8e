// SPDX-License-Identifier: Apache-2.0
//
// The image paths of a capture against the file system, before any image is opened.
#ifndef RIGSYNC_HOST_IMAGE_PATHS_H
#define RIGSYNC_HOST_IMAGE_PATHS_H

#include "host/capture_file.h"
#include "host/finding.h"

#include <filesystem>
#include <vector>

namespace host {

// Tells, by line, of paths that are empty, lead to no file, repeat an earlier one, or would lead a
// reprojection image astray. A relative path starts at Image_Root. Returns for each row whether a
// file is there to be read.
std::vector<bool> Check_Image_Paths(const std::vector<Capture_Row>& Rows,
                                    const std::filesystem::path& Image_Root, Findings& Told);

}  // namespace host

#endif  // RIGSYNC_HOST_IMAGE_PATHS_H
