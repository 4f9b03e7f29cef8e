// SPDX-License-Identifier: Apache-2.0
//
// Mounts to begin with, however many rows are bad as long as they are less than half: the least
// median of squares (Rousseeuw 1984) over closed forms of a few rows each, with the rows that fit
// each solved again (the C-step of Rousseeuw and Van Driessen 1999).
#ifndef RIGSYNC_SOLVE_ROBUST_START_H
#define RIGSYNC_SOLVE_ROBUST_START_H

#include "rigsync/solve/joint_model.h"

#include <optional>
#include <vector>

namespace rigsync {

struct Robust_Start {
  Mounts At;
  std::vector<std::size_t> Nearest_Half;  // indices of the rows that fit best, ascending
};

// The same rows give the same start on every machine. None when no closed form has an answer.
std::optional<Robust_Start> Find_Start(const std::vector<Observation>& Rows);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_ROBUST_START_H
