// SPDX-License-Identifier: Apache-2.0
//
// The words for solutions, verdicts and their reasons in files and flags. Programs rely on them, so
// they stay the same from version to version.
#ifndef RIGSYNC_FORMATS_OPINION_WORDS_H
#define RIGSYNC_FORMATS_OPINION_WORDS_H

#include "rigsync/solve/cross_check.h"
#include "rigsync/solve/second_opinion.h"

#include <optional>
#include <string>

namespace rigsync {

// "solved", "too_few_rows", "no_majority", "not_converged"
const char* Status_Name(Solve_Status Status);
std::optional<Solve_Status> Status_Named(const std::string& Name);

// "compared", "too_few_rows", "whole_unsolved", "half_unsolved"
const char* Cross_Status_Name(Cross_Status Status);
std::optional<Cross_Status> Cross_Status_Named(const std::string& Name);

// "stated", "open", "not_seen", "found"
const char* Lag_Evidence_Name(Lag_Evidence Evidence);

// "library", "joint"
const char* Solution_Name(Solution_Choice Solution);
std::optional<Solution_Choice> Solution_Named(const std::string& Name);

// "agree", "look", "dont_use"
const char* Verdict_Name(Verdict Judgement);
std::optional<Verdict> Verdict_Named(const std::string& Name);

// "difference_beyond_limit" and so on: the name of the reason, with small letters.
const char* Reason_Name(Verdict_Reason Reason);
std::optional<Verdict_Reason> Reason_Named(const std::string& Name);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_OPINION_WORDS_H
