// SPDX-License-Identifier: Apache-2.0
//
// Files that are written completely or not at all, even if the process ends or the disk is full.
#ifndef RIGSYNC_SYSTEM_WHOLE_FILE_H
#define RIGSYNC_SYSTEM_WHOLE_FILE_H

#include <filesystem>
#include <string>
#include <string_view>

namespace rigsync {

// The temporary file in File's folder that Write_Whole writes before it is renamed to File. Each
// process has its own.
std::filesystem::path Unfinished_File(const std::filesystem::path& File);

// Writes Text to a temporary file in File's folder, makes sure that it is on the disk, and renames
// it to File. The rename is atomic, so a reader finds either the earlier file or the new one. If
// writing fails, the temporary file is removed and File is unchanged. Throws std::runtime_error
// naming File and the reason.
void Write_Whole(const std::filesystem::path& File, std::string_view Text);

// The same without an exception: returns why File could not be written ("No space left on device"),
// or an empty text on success.
std::string Try_Write_Whole(const std::filesystem::path& File, std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_WHOLE_FILE_H
