// SPDX-License-Identifier: Apache-2.0
//
// The key "cross_check" of result.json, written and read back. docs/result-file.md describes it.
#ifndef RIGSYNC_FORMATS_CROSS_CHECK_JSON_H
#define RIGSYNC_FORMATS_CROSS_CHECK_JSON_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/json_fields.h"

#include <nlohmann/json_fwd.hpp>

namespace rigsync {

// Null where the result has none.
nlohmann::ordered_json Cross_Check_Json(const Calibration_Result& Result);

// Fills Halves. A file from before there was a cross-check has none.
void Read_Cross_Check(const Json_Fields& Root, Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_CROSS_CHECK_JSON_H
