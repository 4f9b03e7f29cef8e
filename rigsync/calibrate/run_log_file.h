// SPDX-License-Identifier: Apache-2.0
//
// Finds the run log that a call of the library wrote. The library names it by the second in which
// the call began and does not return the name.
#ifndef RIGSYNC_CALIBRATE_RUN_LOG_FILE_H
#define RIGSYNC_CALIBRATE_RUN_LOG_FILE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace rigsync {

// The run logs of a folder: file sizes by file name.
using Run_Logs = std::map<std::string, std::uintmax_t>;

Run_Logs List_Run_Logs(const std::filesystem::path& Folder);

// The run log in Folder that is new or has grown since Earlier_Logs were listed; the latest by name
// if there are several, the empty path if there is none.
std::filesystem::path Run_Log_Since(const Run_Logs& Earlier_Logs,
                                    const std::filesystem::path& Folder);

// Whether File can be read as a run log. A result.json names one, and somebody may have changed the
// name to that of a pipe, of a device, or of a file beyond a gigabyte, which no run writes.
bool May_Be_Run_Log(const std::filesystem::path& File);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_LOG_FILE_H
