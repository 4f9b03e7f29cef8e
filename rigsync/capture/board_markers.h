// SPDX-License-Identifier: Apache-2.0
//
// Chessboards whose white squares bear ArUco markers: which marker is in which square, the cells of
// a marker, markers in an image, and the corners of a board that is cut off or partly covered. The
// only place of the command that calls OpenCV's ArUco module, which not every OpenCV has.
//
// The markers are those of DICT_4X4_1000. Of all dictionaries its cells are the largest, a sixth of
// the marker (2.5 mm for squares of 30 mm), so that they are read from farthest away; and 1000 ids
// are enough for 18 boards of 12 by 9 squares. Its codes differ in two cells or more, so one that
// is misread in two cells may be another marker's: whoever uses markers checks their places too.
#ifndef RIGSYNC_CAPTURE_BOARD_MARKERS_H
#define RIGSYNC_CAPTURE_BOARD_MARKERS_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/seen_corner.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace cv {
class Mat;
}

namespace rigsync {

// Whether this program was built with OpenCV's ArUco module. Without it no marker can be drawn and
// none is found.
bool Can_Find_Markers();

// Ids are at least 0 and below this, with or without the module.
constexpr int Marker_Count = 1000;

// The white squares are numbered row by row from the first corner's side, beginning with First_Id.
// The square outside of the board's first corner is black, so that of 4 by 3 squares these are
// white:
//
//   #  0  #  1
//   2  #  3  #
//   #  4  #  5
//
// A marker is upright as the board is: its top faces the side of the first row of corners.
struct Marked_Board {
  Board_Size Board;
  int First_Id = 0;
};

// A square, counted from the one outside of the first corner.
struct Square_Place {
  int Col = 0, Row = 0;
};

int White_Square_Count(const Board_Size& Board);

// None for an id that isn't on the board.
std::optional<Square_Place> Square_Of_Marker(const Marked_Board& Board, int Id);

// Along a marker's edge: four cells with its code, and its black border on both sides.
constexpr std::size_t Marker_Cells = 6;

// Whether a cell is white, by row and column of the upright marker. Throws std::logic_error without
// the module.
std::array<std::array<bool, Marker_Cells>, Marker_Cells> Cells_Of_Marker(int Id);

struct Seen_Marker {
  int Id = 0;
  // Full-image pixels, clockwise from the upright marker's top left.
  std::array<std::array<float, 2>, 4> Corners = {};
};

std::array<float, 2> Middle_Of(const Seen_Marker& Marker);

// The markers in an image, 8-bit grey or BGR. Those with edges below 10 pixels are not read
// reliably. None without the module.
std::vector<Seen_Marker> Find_Markers(const cv::Mat& Image);

// The inner corners of the board whose four squares are in the picture, by index, as far as markers
// next to them are read: each is predicted from these, refined as a chessboard corner, and left out
// if it moves away from its prediction or does not look like black and white squares meeting.
// Image is 8-bit grey or BGR. None without the module, or with fewer than four markers.
std::vector<Seen_Corner> Find_Corners_By_Markers(const cv::Mat& Image, const Marked_Board& Board);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_MARKERS_H
