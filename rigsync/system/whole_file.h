// SPDX-License-Identifier: Apache-2.0
//
// Files that are there whole or not at all, whatever ends the process or the disk's space.
#ifndef RIGSYNC_SYSTEM_WHOLE_FILE_H
#define RIGSYNC_SYSTEM_WHOLE_FILE_H

#include <filesystem>
#include <string>
#include <string_view>

namespace rigsync {

// The file beside File that Write_Whole fills before it takes File's name. Two processes have two.
std::filesystem::path Unfinished_File(const std::filesystem::path& File);

// Writes Text to a file beside File, makes sure that it is on the disk, and renames it to File,
// which is atomic within a folder: a reader finds the earlier file or the new one. A file that
// can't be finished is removed and File stays as it was. Throws std::runtime_error naming File and
// why.
void Write_Whole(const std::filesystem::path& File, std::string_view Text);

// The same without an exception: why File couldn't be written ("No space left on device"), empty
// when it was.
std::string Try_Write_Whole(const std::filesystem::path& File, std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_WHOLE_FILE_H
