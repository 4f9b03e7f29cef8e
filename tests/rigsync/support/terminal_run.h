// SPDX-License-Identifier: Apache-2.0
//
// Runs the built command on a pseudo-terminal of 80 columns.
#ifndef RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H
#define RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H

#include <functional>
#include <string>
#include <vector>

struct Terminal_Run {
  int Status = -1;                         // exit status, or 128 plus the signal's number
  std::string Shown;                       // every byte written to the terminal
  std::vector<std::string> Lines() const;  // the visible text, without colours
};

// Runs 'rigsync' with these arguments and environment entries ("NO_COLOR=1") on top of TERM=xterm.
// Sends Ctrl-C once, as soon as Stop_At returns true for the text shown so far.
Terminal_Run Rigsync_On_Terminal(const std::vector<std::string>& Arguments,
                                 const std::vector<std::string>& Environment = {},
                                 const std::function<bool(const std::string&)>& Stop_At = {});

#endif  // RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H
