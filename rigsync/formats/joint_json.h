// SPDX-License-Identifier: Apache-2.0
//
// The second opinion in result.json: joint solution with its uncertainty, comparison, cause.
// docs/result-file.md describes the keys.
#ifndef RIGSYNC_FORMATS_JOINT_JSON_H
#define RIGSYNC_FORMATS_JOINT_JSON_H

#include "rigsync/calibrate/calibration_result.h"

#include <nlohmann/json_fwd.hpp>

namespace rigsync {

// The values of the keys "second_opinion", "joint" and "cause"; null where there is nothing.
nlohmann::ordered_json Opinion_Json(const Calibration_Result& Result);
nlohmann::ordered_json Joint_Json(const Calibration_Result& Result);
nlohmann::ordered_json Cause_Json(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_JOINT_JSON_H
