// SPDX-License-Identifier: Apache-2.0
//
// Compares the estimate of the board's place on its tracker (--board-euler, --board-offset) with
// the place that is solved from the capture. Swapped counts of --board show only here: the board is
// detected with swapped counts too, but with its rows and columns exchanged.
#ifndef RIGSYNC_INSPECT_BOARD_ESTIMATE_H
#define RIGSYNC_INSPECT_BOARD_ESTIMATE_H

#include "rigsync/capture/board_size.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/solve/board_place.h"
#include "rigsync/solve/capture_solution.h"

#include <array>
#include <optional>

namespace rigsync {

// The board as the user describes it. Either part of the estimate may be missing.
struct Board_Estimate {
  Board_Size Board;
  double Square_Size = 0;                       // metres
  std::optional<std::array<double, 3>> Euler;   // degrees, Rx(A) Ry(B) Rz(C)
  std::optional<std::array<double, 3>> Offset;  // of the first inner corner in Tr, metres
  Place_Accuracy Accuracy;                      // of both parts
};

// Adds an estimate that the capture contradicts, with the place that it gives. An estimate is
// judged only where the capture determines the place far better than the two differ, and offsets
// only where the angles are right or missing.
void Judge_Estimate(const Board_Estimate& Estimate, const Capture_Solution& Solution,
                    Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_BOARD_ESTIMATE_H
