// SPDX-License-Identifier: Apache-2.0
//
// Judgement of the rows by the solve of both mounts: rows that the others contradict, and captures
// of which too few rows agree.
#ifndef RIGSYNC_INSPECT_ROW_FINDINGS_H
#define RIGSYNC_INSPECT_ROW_FINDINGS_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/solve/joint_solve.h"

#include <vector>

namespace rigsync {

// Adds the lines that were left out of the solve, with how far they are off, or why nothing could
// be solved.
void Judge_Solved_Rows(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint,
                       Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_ROW_FINDINGS_H
