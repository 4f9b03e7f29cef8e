// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_size.h"

namespace rigsync {

bool Looks_Same_Half_Turned(const Board_Size& Board) {
  return (Board.Cols + Board.Rows) % 2 == 0;
}

}  // namespace rigsync
