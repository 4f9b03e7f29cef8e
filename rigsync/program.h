// SPDX-License-Identifier: Apache-2.0
//
// The whole command line, for the program itself and for the tool that writes its man page and
// completion.
#ifndef RIGSYNC_PROGRAM_H
#define RIGSYNC_PROGRAM_H

#include "rigsync/command_line/command.h"

#include <memory>

namespace rigsync {

// All commands with their flags and help texts.
std::unique_ptr<Command_Line> Make_Command_Line();

}  // namespace rigsync

#endif  // RIGSYNC_PROGRAM_H
