// SPDX-License-Identifier: Apache-2.0
//
// The markers in some of a capture's images, and the boards that they belong to. Needs no counts of
// a board: they are read from the ids of markers that are neighbours.
#ifndef RIGSYNC_CAPTURE_MARKER_SEARCH_H
#define RIGSYNC_CAPTURE_MARKER_SEARCH_H

#include "rigsync/capture/board_markers.h"
#include "rigsync/capture/capture_file.h"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace rigsync {

struct Marked_Image {
  std::size_t Row = 0;        // index of the row
  int Width = 0, Height = 0;  // pixels; 0 for an image that can't be read
  std::vector<Seen_Marker> Markers;
  bool Has_Board = false;  // whether they are those of a board, or misread ones
  // Whether the markers are those of the image with right and left exchanged, in its pixels. In a
  // mirror some markers look like others, but no board looks like one.
  bool Is_Mirrored = false;
};

// Searches the images of the chosen rows, each as it is, and mirrored if that shows no board.
std::vector<Marked_Image> Search_Markers(const std::vector<Capture_Row>& Rows,
                                         const std::vector<std::size_t>& Chosen,
                                         const std::filesystem::path& Image_Root);

// A board that was read from its markers. First_Id is the smallest that was seen, or a little less
// where the first row was seen in part.
struct Read_Board {
  Marked_Board Board;
  bool Has_All_Rows = false;        // false where the frame may cut off more rows
  std::size_t Marker_Count = 0;     // different ones
  std::vector<std::size_t> Images;  // those with at least four of its markers, by their index
};

// The boards with at least six markers that were read beside each other, those with most first.
std::vector<Read_Board> Read_Boards(const std::vector<Marked_Image>& Images);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_MARKER_SEARCH_H
