// SPDX-License-Identifier: Apache-2.0
//
// The numbers of the scripts for Blender and for Unreal Engine's LensFile, read back as these
// programs take them: docs/files.md has their keys.
#ifndef RIGSYNC_VERIFY_SCRIPT_READERS_H
#define RIGSYNC_VERIFY_SCRIPT_READERS_H

#include "rigsync/verify/file_reader.h"

namespace rigsync {

Exported_Camera Read_Blender_Numbers(const std::string& Text, const Read_Request& Request);

// The one point of a LensFile's script.
Exported_Camera Read_Lens_File_Numbers(const std::string& Text, const Read_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_SCRIPT_READERS_H
