// SPDX-License-Identifier: Apache-2.0
//
// A Python script that makes the solved camera in Blender, below an empty object that moves with
// the tracker.
//
// Blender's camera looks along -z, with x right and y up. Its picture is a pinhole's: focal length
// over sensor width, the principal point as a shift in parts of the frame's width, and the ratio of
// fx and fy as the aspect of a pixel. Image coordinates of Blender begin at the frame's corner, so
// its centre is that of (W - 1) / 2 here.
#ifndef RIGSYNC_EXPORTS_BLENDER_SCRIPT_H
#define RIGSYNC_EXPORTS_BLENDER_SCRIPT_H

#include "rigsync/exports/file_target.h"

namespace rigsync {

// The tracker's object has the body's own axes unless Request.Axes says otherwise. Throws
// Usage_Error for a lens position, which a camera of Blender has no place for.
File_Text Write_Blender_Script(const File_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_BLENDER_SCRIPT_H
