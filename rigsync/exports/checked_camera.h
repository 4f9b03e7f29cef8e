// SPDX-License-Identifier: Apache-2.0
//
// The camera of a request, checked: what the writers of files divide by is above 0.
#ifndef RIGSYNC_EXPORTS_CHECKED_CAMERA_H
#define RIGSYNC_EXPORTS_CHECKED_CAMERA_H

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/file_target.h"

namespace rigsync {

// Throws Usage_Error, which begins with the result's file, for a result whose image size, focal
// lengths or distortion are missing or not above 0. No run writes one; hands can.
Solved_Camera Checked_Camera(const File_Request& Request);

// Throws Usage_Error, which begins with the flag, when a place on the lens's rings is stated, for a
// file that has no field for it.
void Refuse_Position(const File_Request& Request, const char* Title);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_CHECKED_CAMERA_H
