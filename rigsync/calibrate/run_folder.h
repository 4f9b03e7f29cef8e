// SPDX-License-Identifier: Apache-2.0
//
// Where a run's files go. Each run has a folder of its own inside the output folder, so that two
// runs, one after the other or at once, never touch each other's log, images or result:
//
//   OUT/result.json                       the newest run that came to an end
//   OUT/run_2022-11-17-09.05.33/          one run: run log, reprojection images, result.json
#ifndef RIGSYNC_CALIBRATE_RUN_FOLDER_H
#define RIGSYNC_CALIBRATE_RUN_FOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace rigsync {

// Creates a folder inside Out that no other run has, named after the local time; a second run of
// the same second gets "_2" behind it. Throws std::runtime_error when none can be made.
std::filesystem::path Make_Run_Folder(const std::filesystem::path& Out);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_FOLDER_H
