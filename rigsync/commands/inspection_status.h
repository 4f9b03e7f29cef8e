// SPDX-License-Identifier: Apache-2.0
//
// The exit status of a command that inspected a capture.
#ifndef RIGSYNC_COMMANDS_INSPECTION_STATUS_H
#define RIGSYNC_COMMANDS_INSPECTION_STATUS_H

#include "rigsync/command_line/exit_status.h"
#include "rigsync/inspect/finding.h"

namespace rigsync {

// Exit_Success, Exit_Warnings or Exit_Unusable.
inline int Inspection_Status(const Findings& List) {
  switch (List.Gravest()) {
    case Level::Note:
      return Exit_Success;
    case Level::Warning:
      return Exit_Warnings;
    case Level::Error:
      return Exit_Unusable;
  }
  return Exit_Unusable;
}

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_INSPECTION_STATUS_H
