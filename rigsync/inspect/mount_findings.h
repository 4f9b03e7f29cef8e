// SPDX-License-Identifier: Apache-2.0
//
// Judgement of the solved mounts: a tracker that slipped during the capture, and a mount that the
// capture leaves open.
#ifndef RIGSYNC_INSPECT_MOUNT_FINDINGS_H
#define RIGSYNC_INSPECT_MOUNT_FINDINGS_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/solve/joint_solve.h"
#include "rigsync/solve/second_opinion.h"
#include "rigsync/solve/slip.h"

#include <optional>
#include <vector>

namespace rigsync {

// Whether a slip was found, and is large enough to matter.
bool Is_Slip_Found(const std::optional<Slip>& Likeliest);

// Adds a slip that was found or is suspected, with the lines from which on it shows.
void Judge_Slip(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint,
                const std::optional<Slip>& Likeliest, Findings& List);

// Adds a mount that is less certain than the accuracy that a result must have, or turns that are
// known not to determine it: which part of it is open, and how to turn camera or board.
void Judge_Mount_Uncertainty(const Joint_Solution& Joint, const Accuracy_Limits& Limits,
                             Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_MOUNT_FINDINGS_H
