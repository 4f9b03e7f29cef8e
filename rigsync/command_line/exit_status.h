// SPDX-License-Identifier: Apache-2.0
//
// Exit statuses of the command beside the library's codes, which are passed through as they are.
// The library's own code 2 can't arise from a file, so 2 always means usage.
#ifndef RIGSYNC_COMMAND_LINE_EXIT_STATUS_H
#define RIGSYNC_COMMAND_LINE_EXIT_STATUS_H

namespace rigsync {

constexpr int Exit_Success = 0;
constexpr int Exit_Beyond_Bound = 1;  // compare: the difference is beyond what was asked for
constexpr int Exit_Warnings = 1;      // inspect: the capture has weak spots
constexpr int Exit_Unusable = 2;      // inspect: the capture has to be put right first
constexpr int Exit_Usage = 2;         // a flag, value or file that a person has to put right
constexpr int Exit_Exception = 70;    // an exception reached the command

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_EXIT_STATUS_H
