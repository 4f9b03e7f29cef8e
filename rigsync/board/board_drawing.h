// SPDX-License-Identifier: Apache-2.0
//
// A chessboard to print: where it goes on a paper, and the page as SVG or PDF at true scale.
//
// Lengths are millimetres, from the page's top left corner to the right and down. The page is the
// board within its white margin, and along one side a strip with a ruler and a line of text.
#ifndef RIGSYNC_BOARD_BOARD_DRAWING_H
#define RIGSYNC_BOARD_BOARD_DRAWING_H

#include "rigsync/capture/board_size.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Paper {
  std::string Name;  // a3, or 420x297 for a size of one's own
  double Short_Side = 0, Long_Side = 0;
};

// The sizes that have a name, smallest first within each standard.
const std::vector<Paper>& Named_Papers();

// Where everything is on the page.
struct Board_Page {
  Board_Size Board;
  double Square = 0;
  std::string Paper_Name;
  double Width = 0, Height = 0;
  double Board_X = 0, Board_Y = 0;  // the outer corner of the top left square
  double Margin = 0;                // white on every side of the board: at least so much
  bool Strip_Beside = false;        // the strip runs along the right side, not along the bottom
  double Ruler = 0;                 // length, a multiple of 10
};

// The printer's edge, which the strip and the board keep clear of.
constexpr double Printer_Edge = 5.0;

// From the page's edge to the board's white margin, on the side where the strip is.
constexpr double Strip_Depth = 16.0;

// The least white around the board. Detection wants a square's width and works with a third of it;
// the rest can come from what the print is mounted on.
double Least_Margin(double Square);

// The page, upright or across and with its strip below or beside, as leaves the widest margin.
// None when the margin would be below Least_Margin.
std::optional<Board_Page> Plan_Page(const Board_Size& Board, double Square, const Paper& On);

// The largest square, in full tenths of a millimetre, that Plan_Page finds room for.
double Largest_Square(const Board_Size& Board, const Paper& On);

// The smallest named paper that has room, of the same standard as Like where there is one.
std::optional<Paper> Smallest_Paper(const Board_Size& Board, double Square, const Paper& Like);

enum class Drawing_Form { Svg, Pdf };

// The page's file, the same bytes every time. A board that doesn't look the same half turned has
// its colours such that the first corner which detection reports is the one at the top left.
// Throws std::runtime_error when drawing fails.
std::string Draw_Page(const Board_Page& Page, Drawing_Form Form);

}  // namespace rigsync

#endif  // RIGSYNC_BOARD_BOARD_DRAWING_H
