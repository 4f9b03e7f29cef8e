// SPDX-License-Identifier: Apache-2.0
//
// The lens and the board's poses with the least squared error of the corners, from a start that is
// near. cv::calibrateCamera finds the same and takes a hundred times as long, because it solves for
// all poses at once; here every pose is eliminated on its own. A test compares the two.
#ifndef RIGSYNC_BENCH_QUICK_LENS_H
#define RIGSYNC_BENCH_QUICK_LENS_H

#include "bench/library_sequence.h"

#include <optional>
#include <vector>

namespace bench {

// How many coefficients of the distortion are solved: k1 and k2, or p1, p2 and k3 too.
enum class Distortion_Model { Two, Five };

// Start has the lens, with five coefficients, and a pose for each image. None when the steps don't
// settle.
std::optional<Library_Lens> Refine_Lens(const std::vector<rigsync::Corner_List>& Corners,
                                        const Photographed_Board& Board, const Library_Lens& Start,
                                        Distortion_Model Model);

}  // namespace bench

#endif  // RIGSYNC_BENCH_QUICK_LENS_H
