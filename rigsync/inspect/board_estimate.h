// SPDX-License-Identifier: Apache-2.0
//
// Compares the estimate of the board's pose on its tracker (--board-euler, --board-offset) with the
// pose that images and samples give. Swapped counts of --board show only here: the board is
// detected with swapped counts too, but with its rows and columns exchanged.
#ifndef RIGSYNC_INSPECT_BOARD_ESTIMATE_H
#define RIGSYNC_INSPECT_BOARD_ESTIMATE_H

#include "rigsync/capture/board_size.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/solve/board_place.h"

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

// Adds an estimate that images and samples contradict, with the values that they give. Offsets are
// judged only when the angles are right. Is_Distance_Known is false when the boards were not tilted
// enough to determine their distance.
void Judge_Estimate(const Board_Estimate& Estimate, const Agreement& Measured,
                    bool Is_Distance_Known, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_BOARD_ESTIMATE_H
