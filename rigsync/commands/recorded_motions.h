// SPDX-License-Identifier: Apache-2.0
//
// The speeds of the trackers at each picture of a capture, from the import.json beside it.
#ifndef RIGSYNC_COMMANDS_RECORDED_MOTIONS_H
#define RIGSYNC_COMMANDS_RECORDED_MOTIONS_H

#include "rigsync/calibrate/calibration_result.h"

namespace rigsync {

// By row of the CSV; empty when no lag is asked for. Throws Usage_Error, which begins with --lag or
// the file, when there is no import.json, when it can't be read, or when it is not that of these
// rows.
Row_Motions Read_Recorded_Motions(const Calibration_Inputs& Inputs);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_RECORDED_MOTIONS_H
