// SPDX-License-Identifier: Apache-2.0
//
// How good a capture is, judged by the boards that were found in it: how much of the frame they
// cover, and how their tilts and distances are spread.
#ifndef RIGSYNC_INSPECT_CAPTURE_SURVEY_H
#define RIGSYNC_INSPECT_CAPTURE_SURVEY_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/inspect/finding.h"

#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// The frame divided into 16 by 9 cells, or 9 by 16 for images that are higher than wide.
struct Coverage {
  int Cols = 0, Rows = 0;
  std::vector<int> Images;  // by cell, row by row: the number of images with a corner there

  int At(int Row, int Col) const { return Images[static_cast<std::size_t>(Row * Cols + Col)]; }
  double Share() const;  // of the cells with at least one image
};

// Distortion is determined only where there are corners. The outermost cells stay empty, because
// the board's white margin has to be in the frame too. Good captures reach two thirds of all cells
// or more.
constexpr double Least_Share = 0.5;
// A part counts as covered when a fifth of its cells are.
constexpr double Least_Part_Share = 0.2;

// One of the nine parts of the frame, three by three.
struct Frame_Part {
  std::string Name;  // "upper left", "centre", "bottom"
  double Share = 0;  // of its cells that have corners
};

// From the upper left, row by row.
std::vector<Frame_Part> Frame_Parts(const Coverage& Frame_Coverage);

// None without a board.
std::optional<Coverage> Measure_Coverage(const Board_Search& Search);

struct Pose_Spread {
  double Nearest = 0, Farthest = 0;         // distances of the board's centre, metres
  double Least_Tilt = 0, Largest_Tilt = 0;  // of the board against the image plane, degrees
  // The root mean square of the tilt about the axis of most tilt, and about the axis perpendicular
  // to it, degrees.
  double Main_Tilt = 0, Cross_Tilt = 0;
};

// None without a pose.
std::optional<Pose_Spread> Measure_Poses(const std::vector<Board_Pose>& Poses);

// Whether the board is tilted enough to determine focal length and distance separately.
bool Is_Tilted(const Pose_Spread& Spread);

// Image_Count is the number of images that the file lists. It is judged only when the images are
// not searched.
void Judge_Image_Count(std::size_t Image_Count, Findings& List);
void Judge_Board_Count(std::size_t Usable_Count, std::size_t Image_Count, Findings& List);
void Judge_Board_Shape(const Board_Size& Board, Findings& List);
void Judge_Coverage(const Coverage& Frame_Coverage, Findings& List);
void Judge_Poses(const Pose_Spread& Spread, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_CAPTURE_SURVEY_H
