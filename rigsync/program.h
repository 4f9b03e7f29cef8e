// SPDX-License-Identifier: Apache-2.0
//
// The whole command line, made in one place for the program itself and for the tool that writes
// its man page and completion.
#ifndef RIGSYNC_PROGRAM_H
#define RIGSYNC_PROGRAM_H

#include "rigsync/command_line/command.h"

#include <memory>

namespace rigsync {

// All commands with their flags, helps and footers. Parsing leaves the command that was asked for
// in Chosen, which has to outlive the program.
std::unique_ptr<CLI::App> Make_Program(Chosen_Command& Chosen);

}  // namespace rigsync

#endif  // RIGSYNC_PROGRAM_H
