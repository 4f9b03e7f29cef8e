// SPDX-License-Identifier: Apache-2.0
//
// The folder of a run's files. Each run has one of its own inside the output folder, so that two
// runs, successive or simultaneous, never touch each other's log, images or result:
//
//   OUT/result.json, report.html          the newest run that ended
//   OUT/run_2022-11-17-09.05.33/          one run: run log, reprojection images, both files
#ifndef RIGSYNC_CALIBRATE_RUN_FOLDER_H
#define RIGSYNC_CALIBRATE_RUN_FOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace rigsync {

// Creates a folder inside Out that no other run has, named by the local time; the name of a second
// run in the same second ends with "_2". Throws std::runtime_error when none can be created.
std::filesystem::path Make_Run_Folder(const std::filesystem::path& Out);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_FOLDER_H
