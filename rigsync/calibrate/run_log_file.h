// SPDX-License-Identifier: Apache-2.0
//
// Which run log a call has written. The library names it by the second at which the call began and
// doesn't tell the name.
#ifndef RIGSYNC_CALIBRATE_RUN_LOG_FILE_H
#define RIGSYNC_CALIBRATE_RUN_LOG_FILE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace rigsync {

// The run logs of a folder, file name to size.
using Run_Logs = std::map<std::string, std::uintmax_t>;

Run_Logs List_Run_Logs(const std::filesystem::path& Folder);

// The run log in Folder that is new or has grown since Before was listed: the latest by name,
// should there be more. The empty path when there is none.
std::filesystem::path Run_Log_Since(const Run_Logs& Before, const std::filesystem::path& Folder);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_LOG_FILE_H
