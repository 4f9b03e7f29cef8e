// SPDX-License-Identifier: Apache-2.0
//
// How the markers of a board lie on the corners that the library's detection finds: whether they
// are the markers of this board, and at which of its ends the found corners begin.
#ifndef RIGSYNC_CAPTURE_MARKER_MATCH_H
#define RIGSYNC_CAPTURE_MARKER_MATCH_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/marker_search.h"

#include <array>
#include <optional>
#include <vector>

namespace rigsync {

// A board that looks the same after half a turn can be found from its last corner on.
enum class Corner_Order { From_First, From_Last };

// In one image, whose found corners are in pixels, row by row. None where less than three markers
// have corners all around them, and where the markers are not in the squares that these corners
// give them: then the board is another one.
std::optional<Corner_Order> Order_Of_Corners(const Marked_Image& Image,
                                             const std::vector<std::array<float, 2>>& Corners,
                                             const Marked_Board& Board);

struct Matched_Board {
  Marked_Board Board;
  Corner_Order Order = Corner_Order::From_First;  // in most of the images
};

// The board whose markers lie in their squares in most of the images that show it whole. First_Id
// is the stated one; without it, those that the images tell and 0 are tried. None when no image
// shows both, and when the corners are those of another board.
std::optional<Matched_Board> Match_Markers(const Board_Search& Search,
                                           const std::vector<Marked_Image>& Images,
                                           const Board_Size& Board, std::optional<int> First_Id);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_MARKER_MATCH_H
