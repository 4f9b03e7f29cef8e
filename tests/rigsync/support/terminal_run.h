// SPDX-License-Identifier: Apache-2.0
//
// Runs the built command on a terminal of 80 columns, as a person at a keyboard sees it.
#ifndef RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H
#define RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H

#include <functional>
#include <string>
#include <vector>

struct Terminal_Run {
  int Status = -1;                         // exit status, or 128 and the signal's number
  std::string Shown;                       // every byte that the terminal was sent
  std::vector<std::string> Lines() const;  // what can be read, without colours and overwritten text
};

// Runs 'rigsync' with these arguments and environment entries ("NO_COLOR=1") on top of TERM=xterm.
// Presses Ctrl-C once, as soon as Stop_At is true of what was shown so far.
Terminal_Run Rigsync_On_Terminal(const std::vector<std::string>& Arguments,
                                 const std::vector<std::string>& Environment = {},
                                 const std::function<bool(const std::string&)>& Stop_At = {});

#endif  // RIGSYNC_TESTS_RIGSYNC_SUPPORT_TERMINAL_RUN_H
