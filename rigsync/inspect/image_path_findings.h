// SPDX-License-Identifier: Apache-2.0
//
// What is wrong with the image paths of a capture, before any image is opened.
#ifndef RIGSYNC_INSPECT_IMAGE_PATH_FINDINGS_H
#define RIGSYNC_INSPECT_IMAGE_PATH_FINDINGS_H

#include "rigsync/capture/image_paths.h"
#include "rigsync/inspect/finding.h"

#include <filesystem>
#include <vector>

namespace rigsync {

// Adds findings about paths that are empty, lead to no file, repeat an earlier one, or would lead
// the reprojection image out of its folder. Paths has an entry for each row, found from Image_Root.
void Judge_Image_Paths(const std::vector<Capture_Row>& Rows, const std::vector<Image_Path>& Paths,
                       const std::filesystem::path& Image_Root, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_IMAGE_PATH_FINDINGS_H
