// SPDX-License-Identifier: Apache-2.0
//
// The man page and the tables of the completion for bash, made from the command line's own help: a
// command or flag that is added there is in both without a change here.
#ifndef RIGSYNC_COMMAND_LINE_DOCUMENTS_H
#define RIGSYNC_COMMAND_LINE_DOCUMENTS_H

#include "rigsync/command_line/command.h"

#include <string>

namespace rigsync {

// In roff, for section 1. The paragraphs of a command's footer that begin with "Exit status:" or
// "Example" move to the page's sections of that name.
std::string Man_Page(const CLI::App& Program);

// The shell functions that bash_completion.sh calls: commands, flags, and the kind of each value.
// An option completes to its choices where it has some, otherwise to files or folders when its type
// is FILE or DIR. A positional argument without choices is a folder when it is called DIR,
// otherwise a file.
std::string Completion_Tables(const Command_Line& Line);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_DOCUMENTS_H
