// SPDX-License-Identifier: Apache-2.0
//
// The lens with the least squared error of the corners, from one that is near.
#ifndef RIGSYNC_SOLVE_LENS_REFINEMENT_H
#define RIGSYNC_SOLVE_LENS_REFINEMENT_H

#include "rigsync/solve/observation.h"

#include <optional>
#include <vector>

namespace rigsync {

// Steps of Gauss and Newton over the six numbers of the lens; each board's pose is solved for each
// of them. The minimum is that of Fit_Lens (rigsync/capture/board_search.h), whose time grows with
// the cube of the number of boards and this one's with the number. As there, boards that are cut
// off have no part in it. None with fewer than three boards, or when the steps don't settle.
std::optional<Lens> Refine_Lens(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                                double Square_Size, const Lens& Start);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_LENS_REFINEMENT_H
