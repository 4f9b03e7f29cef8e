// SPDX-License-Identifier: Apache-2.0
//
// The second opinion in result.json: verdict, joint solution with its uncertainty, cause. Words for
// programs stay the same from version to version. docs/result-file.md describes the keys.
#ifndef RIGSYNC_FORMATS_JOINT_JSON_H
#define RIGSYNC_FORMATS_JOINT_JSON_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/solve/second_opinion.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace rigsync {

// "library", "joint"
const char* Solution_Name(Solution_Choice Solution);
std::optional<Solution_Choice> Solution_Named(const std::string& Name);

// "agree", "look", "dont_use"
const char* Verdict_Name(Verdict Judgement);
std::optional<Verdict> Verdict_Named(const std::string& Name);

// "difference_beyond_limit" and so on: the name of the reason, with small letters.
const char* Reason_Name(Verdict_Reason Reason);
std::optional<Verdict_Reason> Reason_Named(const std::string& Name);

// The values of the keys "second_opinion", "joint" and "cause"; null where there is nothing.
nlohmann::ordered_json Opinion_Json(const Calibration_Result& Result);
nlohmann::ordered_json Joint_Json(const Calibration_Result& Result);
nlohmann::ordered_json Cause_Json(const Calibration_Result& Result);

// Six numbers in each of six lists, row by row.
nlohmann::ordered_json Matrix_Json(const Matrix6d& Matrix);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_JOINT_JSON_H
