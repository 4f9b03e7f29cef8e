// SPDX-License-Identifier: Apache-2.0
//
// One inner corner of the chessboard in an image where others may be missing, because the board is
// cut off by the frame's edge or partly covered.
#ifndef RIGSYNC_CAPTURE_SEEN_CORNER_H
#define RIGSYNC_CAPTURE_SEEN_CORNER_H

#include <array>
#include <cstddef>

namespace rigsync {

struct Seen_Corner {
  std::size_t Index = 0;            // row by row of the board, 0 is the first corner
  std::array<float, 2> Pixel = {};  // full-image pixels; pixel centres have integer coordinates
};

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_SEEN_CORNER_H
