// SPDX-License-Identifier: Apache-2.0
//
// The size of a chessboard, counted in inner corners.
#ifndef RIGSYNC_CAPTURE_BOARD_SIZE_H
#define RIGSYNC_CAPTURE_BOARD_SIZE_H

namespace rigsync {

struct Board_Size {
  int Cols = 0, Rows = 0;  // inner corners along a row, along a column
};

// Whether the board looks the same after half a turn, so that its first corner can't be told from
// its last. It does when both counts are even or both are odd.
bool Looks_Same_Half_Turned(const Board_Size& Board);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_SIZE_H
