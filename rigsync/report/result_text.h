// SPDX-License-Identifier: Apache-2.0
//
// A run's result as a person reads it: the verdict and what to do next, how well it fits, which
// images were dropped and why, lens, mount, and where the files are.
#ifndef RIGSYNC_REPORT_RESULT_TEXT_H
#define RIGSYNC_REPORT_RESULT_TEXT_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// For a run that returned a code. Reprojections are the reprojection images that it wrote, Latest
// is the newest result's file. Readable at 80 columns, but for paths; coloured when Colour is true.
std::string Result_Text(const Calibration_Result& Result,
                        const std::vector<std::filesystem::path>& Reprojections,
                        const std::filesystem::path& Latest, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_RESULT_TEXT_H
