// SPDX-License-Identifier: Apache-2.0
//
// The one call into the library, with all that has to hold around it. Whatever else comes to judge
// a capture gets the same inputs and stands beside this.
#ifndef RIGSYNC_CALIBRATE_LIBRARY_RUN_H
#define RIGSYNC_CALIBRATE_LIBRARY_RUN_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/system/progress_output.h"

namespace rigsync {

// Calls Calibration with the inputs, images and run folder of Result and fills what it gives: code
// or exception text, vectors, run log and its report. The library's chatter is kept off the
// terminal unless Verbose is true. Throws nothing that the library throws.
void Run_Library(Calibration_Result& Result, bool Verbose, Progress_Kind Kind);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_LIBRARY_RUN_H
