// SPDX-License-Identifier: Apache-2.0
//
// The headings of the command's reports.
#ifndef RIGSYNC_REPORT_HEADING_H
#define RIGSYNC_REPORT_HEADING_H

#include "rigsync/system/terminal.h"

#include <string>

namespace rigsync {

// A line of its own after an empty one.
inline std::string Heading(const std::string& Text, bool Colour) {
  return "\n" + Painted(Style::Strong, Text, Colour) + "\n";
}

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_HEADING_H
