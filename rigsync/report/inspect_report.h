// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync inspect' prints for a person. docs/inspect.md describes it.
#ifndef RIGSYNC_REPORT_INSPECT_REPORT_H
#define RIGSYNC_REPORT_INSPECT_REPORT_H

#include "rigsync/inspect/inspection.h"

#include <string>
#include <vector>

namespace rigsync {

// At most Terminal_Width wide, except for lines with paths.
std::string Inspection_Text(const Inspection& Result, bool Colour);

// The lines of the coverage map. A cell is two characters wide, which is about the height of a
// line.
std::vector<std::string> Map_Lines(const Coverage& Frame_Coverage);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_INSPECT_REPORT_H
