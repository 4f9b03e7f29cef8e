// SPDX-License-Identifier: Apache-2.0
//
// Samples and corners of a run whose capture is not at hand any more: from its run log, from the
// CSV if that is still the one of the run, and from the photographs where the log has no corners.
#ifndef RIGSYNC_REVIEW_RECALLED_ROWS_H
#define RIGSYNC_REVIEW_RECALLED_ROWS_H

#include "rigsync/calibrate/run_log_rows.h"

namespace rigsync {

struct Run_View;

// Fills samples and corners of View's rows, and the size of its images where it is 0. View has its
// result and a row for each image by now.
//
// Samples get the tracker's own axes. Those of the log have six decimals. The CSV has all digits,
// and those of rows without a board too, but it may have changed since: it counts when its SHA-256
// is that of the run's, or where the result has none, when its samples are those of the log.
//
// The log has corners unless too few boards were found; then the photographs are searched again.
// Those of boards that are cut off are in no log: they too are looked for in the photographs.
void Recall_Rows(const Logged_Run& Logged, Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_RECALLED_ROWS_H
