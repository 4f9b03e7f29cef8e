// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync inspect' says, as text for a person and as JSON for a program. docs/inspect.md
// describes both.
#ifndef RIGSYNC_HOST_INSPECT_REPORT_H
#define RIGSYNC_HOST_INSPECT_REPORT_H

#include "host/inspection.h"

#include <string>

namespace host {

// The report, at most Terminal_Width wide but for paths.
std::string Report_Text(const Inspection& Made, bool Colour);

std::string Report_Json(const Inspection& Made);

// Exit_Success, Exit_Warnings or Exit_Unusable.
int Inspection_Status(const Findings& Told);

}  // namespace host

#endif  // RIGSYNC_HOST_INSPECT_REPORT_H
