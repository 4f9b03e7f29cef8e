// SPDX-License-Identifier: Apache-2.0
//
// The row of the capture whose sample stands in a file of the result: the first one that the mount
// rests on. A line of the CSV decides which it is, and never what the file says.
#ifndef RIGSYNC_VERIFY_FIRST_ROW_H
#define RIGSYNC_VERIFY_FIRST_ROW_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/capture/tracker_sample.h"

#include <optional>
#include <string>

namespace rigsync {

struct First_Row {
  std::optional<Tracker_Sample> Camera;  // the sample of the camera's tracker
  std::string Missing;                   // why there is none, as a phrase; empty with one
};

// Of the rows that the chosen solution of the result keeps, the first in the order of the CSV. A
// CSV that isn't the one of the run by its SHA-256 has none.
First_Row First_Kept_Row(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_FIRST_ROW_H
