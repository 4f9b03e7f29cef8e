// SPDX-License-Identifier: Apache-2.0
//
// What a technician needs first: whether the result can be used, the mount and how well it is
// known, what went wrong, and what to do next.
#ifndef RIGSYNC_REPORT_VERDICT_TEXT_H
#define RIGSYNC_REPORT_VERDICT_TEXT_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/system/terminal.h"

#include <string>

namespace rigsync {

// For a run with a code and a second opinion. Result_File is the path of the newest result. Lines
// have at most 80 columns, except those with paths.
std::string Verdict_Text(const Calibration_Result& Result, const std::filesystem::path& Result_File,
                         bool Colour);

// The colour of a verdict.
Style Verdict_Style(Verdict Judgement);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_VERDICT_TEXT_H
