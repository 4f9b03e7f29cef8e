// SPDX-License-Identifier: Apache-2.0
//
// The second opinion on a run of the library.
#ifndef RIGSYNC_CALIBRATE_RESULT_JUDGEMENT_H
#define RIGSYNC_CALIBRATE_RESULT_JUDGEMENT_H

#include "rigsync/calibrate/calibration_result.h"

#include <optional>

namespace rigsync {

// Fills Joint_Transform_Cam_Tc, Opinion and Cause from Solved and the library's outputs. Likeliest
// is what the capture's inspection blames; a result that both solves agree on has no cause.
void Judge_Result(const std::optional<Finding>& Likeliest, Calibration_Result& Result);

// Whether the joint mount can be used where the library's can't: there is a lens to export with it,
// and judged as the chosen one, it isn't refused.
bool Is_Joint_Offered(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RESULT_JUDGEMENT_H
