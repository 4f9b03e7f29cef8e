// SPDX-License-Identifier: Apache-2.0
//
// The estimate of the board's place on its tracker (--board-euler, --board-offset) beside what
// images and samples tell of it. Counts of --board that are swapped show here and nowhere else: the
// board is found as well, only that its rows and columns change places.
#ifndef RIGSYNC_INSPECT_BOARD_ESTIMATE_H
#define RIGSYNC_INSPECT_BOARD_ESTIMATE_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/finding.h"
#include "rigsync/inspect/tracker_agreement.h"

#include <array>
#include <optional>

namespace rigsync {

// What a person said of the board: both parts of the estimate may be missing.
struct Board_Estimate {
  Board_Size Board;
  double Square_Size = 0;                       // metres
  std::optional<std::array<double, 3>> Euler;   // degrees, Rx(A) Ry(B) Rz(C)
  std::optional<std::array<double, 3>> Offset;  // of the first inner corner in Tr, metres
};

// Tells of an estimate that images and samples contradict, and what they say instead. Offsets are
// judged when the angles are right. Distance_Is_Told is false when boards were held so that their
// distance isn't.
void Judge_Estimate(const Board_Estimate& Estimate, const Agreement& Measured,
                    bool Distance_Is_Told, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_BOARD_ESTIMATE_H
