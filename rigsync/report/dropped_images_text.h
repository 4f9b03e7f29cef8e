// SPDX-License-Identifier: Apache-2.0
//
// The images that the library's run dropped: one line of the report for each reason.
#ifndef RIGSYNC_REPORT_DROPPED_IMAGES_TEXT_H
#define RIGSYNC_REPORT_DROPPED_IMAGES_TEXT_H

#include "rigsync/calibrate/calibration_result.h"

#include <string>

namespace rigsync {

// Empty when no image was dropped. Images are named by their lines in the CSV, or by their paths
// where the lines are not known. Lines have at most 80 columns, except those with paths.
std::string Dropped_Images_Text(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_DROPPED_IMAGES_TEXT_H
