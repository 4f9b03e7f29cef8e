// SPDX-License-Identifier: Apache-2.0
//
// What a finished run would have gained from one more image.
#ifndef RIGSYNC_REVIEW_POSE_ADVICE_H
#define RIGSYNC_REVIEW_POSE_ADVICE_H

#include "rigsync/review/run_view.h"
#include "rigsync/solve/next_pose.h"

#include <optional>

namespace rigsync {

// Of the rows that have corners and both samples. A result that was read from a file is solved
// again from them. None without such rows, without a lens, or where the size of the images is not
// known.
std::optional<Capture_Advice> Advise_Run(const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_POSE_ADVICE_H
