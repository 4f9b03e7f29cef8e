// SPDX-License-Identifier: Apache-2.0
//
// Lens, mounts and the kept rows with their poses as YAML of OpenCV, so that its hand-eye solvers
// can be run on the same capture.
#ifndef RIGSYNC_EXPORTS_OPENCV_YAML_H
#define RIGSYNC_EXPORTS_OPENCV_YAML_H

#include "rigsync/exports/file_target.h"

namespace rigsync {

// What cv::FileStorage reads; docs/files.md has the keys. Every transform is 4 by 4, of doubles, in
// metres. Without the capture there are no rows, and without the board's place none and no
// predicted poses; a warning says why.
File_Text Write_Opencv(const File_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_OPENCV_YAML_H
