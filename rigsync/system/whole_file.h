// SPDX-License-Identifier: Apache-2.0
//
// Files that are written completely or not at all, even if the process ends or the disk is full.
#ifndef RIGSYNC_SYSTEM_WHOLE_FILE_H
#define RIGSYNC_SYSTEM_WHOLE_FILE_H

#include <filesystem>
#include <string>
#include <string_view>

namespace rigsync {

// Writes Text to a temporary file in File's folder, makes sure that it is on the disk, and renames
// it to File. The rename is atomic, so a reader finds either the earlier file or the new one. If
// writing fails, the temporary file is removed and File is unchanged; a signal waits until it is
// done. The temporary file is always a new one: nobody can place a link there that leads elsewhere,
// and processes of two machines don't share it. Throws std::runtime_error naming File and the
// reason.
void Write_Whole(const std::filesystem::path& File, std::string_view Text);

// The same without an exception: returns why File could not be written and what to do ("No space
// left on device; make room there, or choose another disk"), or an empty text on success.
std::string Try_Write_Whole(const std::filesystem::path& File, std::string_view Text);

// Writes such a temporary file in Folder and removes it. Returns why that failed.
std::string Try_Folder(const std::filesystem::path& Folder, std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_WHOLE_FILE_H
