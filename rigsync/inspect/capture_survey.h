// SPDX-License-Identifier: Apache-2.0
//
// How good a capture is, from the boards that were found in it: how much of the frame they cover,
// and how they were held.
#ifndef RIGSYNC_INSPECT_CAPTURE_SURVEY_H
#define RIGSYNC_INSPECT_CAPTURE_SURVEY_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/capture/finding.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// The frame cut into 16 by 9 cells, 9 by 16 for images that are higher than wide.
struct Coverage {
  int Cols = 0, Rows = 0;
  std::vector<int> Images;  // by cell, row by row: how many images have a corner there

  int At(int Row, int Col) const { return Images[static_cast<std::size_t>(Row * Cols + Col)]; }
  double Share() const;  // of the cells that have one
};

// None without a board.
std::optional<Coverage> Measure_Coverage(const Board_Search& Search);

// The map's lines: two characters a cell, which are about as wide as a line is high.
std::vector<std::string> Map_Lines(const Coverage& Measured);

struct Pose_Spread {
  double Nearest = 0, Farthest = 0;         // of the board's middle, metres
  double Least_Tilt = 0, Largest_Tilt = 0;  // of the board against the image plane, degrees
  // How much the board was tilted about the axis of most tilt and about the one across it: the
  // root of the mean square, degrees.
  double Main_Tilt = 0, Cross_Tilt = 0;
};

// None without a pose.
std::optional<Pose_Spread> Measure_Poses(const std::vector<Board_Pose>& Poses);

// Whether tilts tell focal length and distance apart.
bool Is_Tilted(const Pose_Spread& Measured);

// What is weak, and what to do about it.
void Judge_Image_Count(std::size_t Rows, Findings& Told);                      // without a search
void Judge_Board_Count(std::size_t Usable, std::size_t Rows, Findings& Told);  // after one
void Judge_Board_Shape(const Board_Size& Board, Findings& Told);
void Judge_Coverage(const Coverage& Measured, Findings& Told);
void Judge_Poses(const Pose_Spread& Measured, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_CAPTURE_SURVEY_H
