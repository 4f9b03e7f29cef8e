// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync compare' prints about two results.
#ifndef RIGSYNC_REPORT_DRIFT_TEXT_H
#define RIGSYNC_REPORT_DRIFT_TEXT_H

#include "rigsync/calibrate/drift.h"

#include <string>

namespace rigsync {

// Beyond one of these the exit status says so. Pixels are those of an image with 1080 lines.
struct Drift_Bounds {
  double Mm = 5.0, Deg = 0.3, Px_1080p = 8.0;
};

// NaN is beyond every bound. The picture counts where both results have a lens.
bool Is_Within_Bounds(const Drift& Seen, const Drift_Bounds& Bounds);

// What happened in a sentence, and what to do about it.
std::string Cause_Text(Drift_Cause Cause, const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then);

// "30 mm then, 30.3 mm now" and so on; tables; the bounds. Ends with a newline.
std::string Drift_Text(const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then, const Drift_Bounds& Bounds, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_DRIFT_TEXT_H
