// SPDX-License-Identifier: Apache-2.0
//
// Both mounts without a start, in closed form.
#ifndef RIGSYNC_SOLVE_CLOSED_FORM_H
#define RIGSYNC_SOLVE_CLOSED_FORM_H

#include "rigsync/solve/joint_model.h"

#include <optional>
#include <vector>

namespace rigsync {

// Robot-world and hand-eye calibration by Kronecker products (Shah 2013): rotations first, from the
// largest singular vectors, then both translations by linear least squares. All rows count alike.
// None for fewer than three rows, or when the rotations leave no finite answer.
std::optional<Mounts> Closed_Form_Mounts(const std::vector<Observation>& Rows);

// The same from the rows with these indices.
std::optional<Mounts> Closed_Form_Mounts(const std::vector<Observation>& Rows,
                                         const std::vector<std::size_t>& Chosen);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_CLOSED_FORM_H
