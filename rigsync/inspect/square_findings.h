// SPDX-License-Identifier: Apache-2.0
//
// Judgement of --square against the trackers' metre: a wrong unit or a mistyped length, and the few
// tenths of a percent by which a printed board may be off.
#ifndef RIGSYNC_INSPECT_SQUARE_FINDINGS_H
#define RIGSYNC_INSPECT_SQUARE_FINDINGS_H

#include "rigsync/inspect/finding.h"
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/solve/joint_solve.h"

namespace rigsync {

// Whether positions fit only with a scale that is no measuring error. A scale that was fitted
// beside everything else is off by percents in short captures, and its stated deviation does not
// tell, so the fit with a scale of 1 has to be much worse.
bool Is_Scale_Gross(const Agreement& Measured);

// Square_Size in metres, as stated.
void Add_Gross_Scale(const Agreement& Measured, double Square_Size, Findings& List);

// Adds a square that differs slightly from the stated one, with the length that fits.
void Judge_Square(const Joint_Solution& Joint, double Square_Size, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_SQUARE_FINDINGS_H
