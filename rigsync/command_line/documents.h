// SPDX-License-Identifier: Apache-2.0
//
// The man page and the completion for bash, made from the command line's own helps: a command or
// flag that is added there is in both without a change here.
#ifndef RIGSYNC_COMMAND_LINE_DOCUMENTS_H
#define RIGSYNC_COMMAND_LINE_DOCUMENTS_H

#include <CLI/CLI.hpp>

#include <string>

namespace rigsync {

// In roff, for section 1. Of each command's footer, what begins with "Exit status:" and "Example"
// stands in the page's sections of that name.
std::string Man_Page(const CLI::App& Program);

// A script for bash-completion's folder, which works without that package too. It offers commands,
// a command's flags, the words noted with Offer, and files or folders for values whose type is FILE
// or DIR; an argument without a flag is a file unless its name is DIR or it has words of its own.
std::string Bash_Completion(CLI::App& Program);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_DOCUMENTS_H
