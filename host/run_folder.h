// SPDX-License-Identifier: Apache-2.0
//
// Where a run's files go. Each run has a folder of its own inside the output folder, so that two
// runs, one after the other or at once, never touch each other's log, images or result:
//
//   OUT/result.json                       the newest run that came to an end
//   OUT/run_2022-11-17-09.05.33/          one run: run log, reprojection images, result.json
#ifndef RIGSYNC_HOST_RUN_FOLDER_H
#define RIGSYNC_HOST_RUN_FOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace host {

// The output folder, created where it is missing, as an absolute path without ".." and links. Tries
// it out: refuses (Usage_Error naming Flag, folder and reason) one that can't be made, in which no
// file can be written, or that hasn't Needed_Bytes of space for What, before long work begins. Of a
// folder that is refused, nothing stays that wasn't there.
std::filesystem::path Make_Out_Folder(const std::string& Flag, const std::string& Given,
                                      std::uintmax_t Needed_Bytes, const std::string& What);

// Creates a folder inside Out that no other run has, named after the local time; a second run of
// the same second gets "_2" behind it. Throws std::runtime_error when none can be made.
std::filesystem::path Make_Run_Folder(const std::filesystem::path& Out);

// "12 kB", "3.4 MB", "1.2 GB"
std::string Bytes_Text(std::uintmax_t Bytes);

}  // namespace host

#endif  // RIGSYNC_HOST_RUN_FOLDER_H
