// SPDX-License-Identifier: Apache-2.0
//
// Everything that is solved from one capture beside the library: the mounts with their
// uncertainty, a slip, and how the stated place of the board compares with the solved one.
#ifndef RIGSYNC_SOLVE_CAPTURE_SOLUTION_H
#define RIGSYNC_SOLVE_CAPTURE_SOLUTION_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/solve/board_place.h"
#include "rigsync/solve/joint_solve.h"
#include "rigsync/solve/lens_model_check.h"
#include "rigsync/solve/slip.h"

#include <optional>
#include <vector>

namespace rigsync {

// The board's place on its tracker as somebody measured it.
struct Stated_Place {
  Board_Place Place;
  Place_Accuracy Accuracy;
};

// The stated place beside the one that the capture gives without it.
struct Place_Comparison {
  double Difference_Deg = 0;  // of the rotations
  double Difference_Mm = 0;   // of the board's centre in Tr
  // Whether the difference is inside 95 % of what the capture's own uncertainty allows.
  bool Is_Within_Uncertainty = false;
  // Whether it is inside 99.9 % of what that and the stated accuracy allow. Only then is the place
  // a prior of the solve.
  bool Is_Prior = false;
};

struct Capture_Solution {
  Lens Lens_Px;
  Observations Seen;
  Joint_Solution Joint;
  std::optional<Slip> Likeliest_Slip;
  std::optional<Lens_Model_Check> Lens_Check;  // none when nothing was solved
  std::optional<Place_Comparison> Place;  // none without a stated place, or when nothing was solved
};

// The motion of each row of the CSV while its picture was taken; none for one of which it isn't
// known. Empty when nothing was recorded.
using Row_Motions = std::vector<std::optional<Row_Motion>>;

// What the sound rows of a capture bring in which the board was found.
std::vector<Row_Facts> Facts_Of(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                                const Row_Motions& Motions = {});

// Solves first without the stated place, and again with it as a prior where the capture does not
// contradict it.
Capture_Solution Solve_Capture(const std::vector<Row_Facts>& Facts, const Board_Size& Board,
                               double Square_Size, const Lens& Lens_Px,
                               const std::optional<Stated_Place>& Stated = {},
                               const Lag_Choice& Lag = {});

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_CAPTURE_SOLUTION_H
