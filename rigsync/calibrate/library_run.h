// SPDX-License-Identifier: Apache-2.0
//
// The command's one calibration call into the library: working directory, output, progress,
// interruption and exceptions are handled here.
#ifndef RIGSYNC_CALIBRATE_LIBRARY_RUN_H
#define RIGSYNC_CALIBRATE_LIBRARY_RUN_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/system/progress_output.h"

namespace rigsync {

// Calls Calibration with the inputs and the run folder of Result and fills the outcome: code or
// exception, message, vectors, run log, report and duration. Images gives the progress its total.
// The library's lines on standard output are suppressed unless Is_Verbose is true. An exception
// from the library ends up in Result.
void Run_Library(Calibration_Result& Result, bool Is_Verbose, Progress_Kind Kind);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_LIBRARY_RUN_H
