// SPDX-License-Identifier: Apache-2.0
//
// The result of a run as text for the terminal: the verdict and what to do next, the quality of the
// fit, which images were dropped and why, lens, mount, and the paths of the files.
#ifndef RIGSYNC_REPORT_RESULT_TEXT_H
#define RIGSYNC_REPORT_RESULT_TEXT_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// What a run wrote, beside its run log.
struct Written_Files {
  std::filesystem::path Result;                      // the newest result.json
  std::filesystem::path Page;                        // its report.html; empty when there is none
  std::vector<std::filesystem::path> Reprojections;  // the reprojection images
};

// For a run that returned a code. Lines have at most 80 columns, except those with paths. The text
// is coloured if Colour is true.
std::string Result_Text(const Calibration_Result& Result, const Written_Files& Files, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_RESULT_TEXT_H
