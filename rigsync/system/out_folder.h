// SPDX-License-Identifier: Apache-2.0
//
// Output folders: made where they are missing and tried out before long work begins.
#ifndef RIGSYNC_SYSTEM_OUT_FOLDER_H
#define RIGSYNC_SYSTEM_OUT_FOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace rigsync {

// The output folder, created where it is missing, as an absolute path without ".." and links. Tries
// it out: refuses (Usage_Error naming Flag, folder and reason) one that can't be made, in which no
// file can be written, or that hasn't Needed_Bytes of space for What, before long work begins. Of a
// folder that is refused, nothing stays that wasn't there.
std::filesystem::path Make_Out_Folder(const std::string& Flag, const std::string& Given,
                                      std::uintmax_t Needed_Bytes, const std::string& What);

// "12 kB", "3.4 MB", "1.2 GB"
std::string Bytes_Text(std::uintmax_t Bytes);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_OUT_FOLDER_H
