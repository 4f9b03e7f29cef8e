// SPDX-License-Identifier: Apache-2.0
//
// Output folders: created if missing and checked before long work begins.
#ifndef RIGSYNC_SYSTEM_OUT_FOLDER_H
#define RIGSYNC_SYSTEM_OUT_FOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace rigsync {

// Creates the output folder if it is missing, checks it, and returns it as an absolute path without
// ".." and symbolic links. Throws a Usage_Error that names Flag, folder and reason if the folder
// cannot be created, if no file can be written in it, or if it has less than Needed_Bytes of space
// for What. Folders created by a call that fails are removed again.
std::filesystem::path Make_Out_Folder(const std::string& Flag, const std::string& Path,
                                      std::uintmax_t Needed_Bytes, const std::string& What);

// Whether this process may write so much. Part of what is free may be reserved for others.
bool Has_Space(const std::filesystem::space_info& Space, std::uintmax_t Needed_Bytes);

// "12 kB", "3.4 MB", "1.2 GB"
std::string Bytes_Text(std::uintmax_t Bytes);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_OUT_FOLDER_H
