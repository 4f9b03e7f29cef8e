// SPDX-License-Identifier: Apache-2.0
//
// A chessboard to print: its place on the paper, and the page as SVG or PDF at true scale.
//
// Lengths are millimetres, from the top left corner of the page to the right and down. The page has
// the board with its white margin, and along one side a strip with a ruler and a line of text.
#ifndef RIGSYNC_BOARD_BOARD_DRAWING_H
#define RIGSYNC_BOARD_BOARD_DRAWING_H

#include "rigsync/capture/board_size.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Paper {
  std::string Name;  // a3, or 420x297 for a custom size
  double Short_Side = 0, Long_Side = 0;
};

// The paper sizes that have a name, smallest first within each standard.
const std::vector<Paper>& Named_Papers();

// The layout of the page.
struct Board_Page {
  Board_Size Board;
  double Square = 0;
  std::string Paper_Name;
  double Width = 0, Height = 0;
  double Board_X = 0, Board_Y = 0;  // the outer corner of the top left square
  double Margin = 0;                // least white margin on any side of the board
  bool Strip_Beside = false;        // the strip is at the right side, not at the bottom
  double Ruler = 0;                 // length, a multiple of 10
  // The first id of the markers in the white squares; none for a board without. Set by the caller
  // of Plan_Page.
  std::optional<int> First_Marker;
  double Marker_Size = 0.5;  // edge of a marker, as a fraction of a square's
};

// The smallest markers, whose cells are a twentieth of a square, and the largest. With markers of
// half a square the library finds boards as without them. Beyond that its search takes ever longer,
// up to seconds for an image, and misses some: the black of a marker comes too close to the
// corners.
constexpr double Least_Marker_Size = 0.3, Largest_Marker_Size = 0.5;

// Width of the edge that printers can't print on. Strip and board keep clear of it.
constexpr double Printer_Edge = 5.0;

// From the edge of the page to the white margin of the board, on the side of the strip.
constexpr double Strip_Depth = 16.0;

// The least white margin around the board. Detection prefers the width of a square and works with a
// third of it; a white panel under the print can supply the rest.
double Least_Margin(double Square);

// The layout with the widest margin: portrait or landscape, with the strip at the bottom or at the
// right. None when the margin would be below Least_Margin.
std::optional<Board_Page> Plan_Page(const Board_Size& Board, double Square, const Paper& Sheet);

// The largest square that fits, rounded down to tenths of a millimetre.
double Largest_Square(const Board_Size& Board, const Paper& Sheet);

// The smallest named paper on which the board fits, of the same standard as Like if possible.
std::optional<Paper> Smallest_Paper(const Board_Size& Board, double Square, const Paper& Like);

enum class Drawing_Form { Svg, Pdf };

// The contents of the file; the same page gives the same bytes. On a board that looks different
// after half a turn, the first corner that detection reports is the one at the top left. Throws
// std::runtime_error when drawing fails, std::logic_error for markers where Can_Find_Markers() is
// false.
std::string Draw_Page(const Board_Page& Page, Drawing_Form Form);

}  // namespace rigsync

#endif  // RIGSYNC_BOARD_BOARD_DRAWING_H
