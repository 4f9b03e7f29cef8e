// SPDX-License-Identifier: Apache-2.0
//
// Exit statuses of the command besides the library's codes, which are passed on unchanged. The
// library's own code 2 can't come from a file, so 2 always means a usage error.
#ifndef RIGSYNC_COMMAND_LINE_EXIT_STATUS_H
#define RIGSYNC_COMMAND_LINE_EXIT_STATUS_H

namespace rigsync {

constexpr int Exit_Success = 0;
constexpr int Exit_Beyond_Bound = 1;  // compare, verify, lens-table: beyond a bound
constexpr int Exit_Warnings = 1;      // inspect: the capture has warnings
constexpr int Exit_Unusable = 2;      // inspect: the capture has errors
constexpr int Exit_Usage = 2;         // a flag, value or file that the user has to correct
constexpr int Exit_Look = 20;         // calibrate: usable by its code, but worth a look
constexpr int Exit_Dont_Use = 21;     // calibrate: usable by its code, but contradicted
constexpr int Exit_Exception = 70;    // an exception ended the command

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_EXIT_STATUS_H
