// SPDX-License-Identifier: Apache-2.0
//
// The lag between pictures and tracker samples in words that the terminal and the page of a report
// share.
#ifndef RIGSYNC_REPORT_LAG_TEXT_H
#define RIGSYNC_REPORT_LAG_TEXT_H

#include "rigsync/solve/lag_solve.h"

#include <string>

namespace rigsync {

// What the capture says of the lag and which mount it is in, in sentences on one line.
std::string Lag_Sentences(const Lag_Estimate& Lag);

// "98 +- 14 ms", "not known", "40 ms, as stated"
std::string Lag_Amount(const Lag_Estimate& Lag);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_LAG_TEXT_H
