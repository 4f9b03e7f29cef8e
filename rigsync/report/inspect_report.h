// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync inspect' says, as text for a person and as JSON for a program. docs/inspect.md
// describes both.
#ifndef RIGSYNC_REPORT_INSPECT_REPORT_H
#define RIGSYNC_REPORT_INSPECT_REPORT_H

#include "rigsync/inspect/inspection.h"

#include <string>

namespace rigsync {

// The report, at most Terminal_Width wide but for paths.
std::string Report_Text(const Inspection& Made, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_INSPECT_REPORT_H
