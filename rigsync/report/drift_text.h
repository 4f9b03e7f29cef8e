// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync compare' prints about two results.
#ifndef RIGSYNC_REPORT_DRIFT_TEXT_H
#define RIGSYNC_REPORT_DRIFT_TEXT_H

#include "rigsync/calibrate/drift.h"

#include <string>

namespace rigsync {

// What happened in a sentence, and what to do about it. Bounds are those of Compare_Results.
std::string Cause_Text(Drift_Cause Cause, const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then, const Drift_Bounds& Bounds);

// "30 mm then, 30.3 mm now" and so on; tables; the bounds. Ends with a newline.
std::string Drift_Text(const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then, const Drift_Bounds& Bounds, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_DRIFT_TEXT_H
