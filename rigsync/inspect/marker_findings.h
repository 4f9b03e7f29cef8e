// SPDX-License-Identifier: Apache-2.0
//
// Judgement of what the markers on a board tell: wrong counts, a board that is held upside down, a
// mirrored image, another board than the stage's, several boards. A capture without markers has
// none of these findings.
#ifndef RIGSYNC_INSPECT_MARKER_FINDINGS_H
#define RIGSYNC_INSPECT_MARKER_FINDINGS_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/marker_search.h"
#include "rigsync/inspect/finding.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

// The board as the user states it.
struct Stated_Markers {
  Board_Size Board;
  std::optional<int> First_Id;    // --markers; none if it isn't stated
  bool Has_Stated_Place = false;  // --board-euler or --board-offset
};

// Whether no board in the images has the stated counts, which it could be found by, nor the same
// swapped. False without markers.
bool Are_Counts_Wrong(const std::vector<Marked_Image>& Images, const Board_Size& Stated);

// The images that tell whether a capture has markers: one with a board and one without.
std::vector<std::size_t> First_Look(const Board_Search& Search);

// The images that are read where it has, so few that reading them takes a second or two: six with a
// board and six without, or 24 with a board that looks the same upside down.
std::vector<std::size_t> Second_Look(const Board_Search& Search, const Board_Size& Board);

// Searches the images of the second look for markers, and all others too if those show several
// boards: of a second board every line has to be told. By row.
std::vector<Marked_Image> Look_At_Markers(const std::vector<Capture_Row>& Rows,
                                          const Board_Search& Search, const Board_Size& Board,
                                          const std::filesystem::path& Image_Root);

// Adds what is wrong. Images are those that were looked at, also those without a marker.
void Judge_Markers(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                   const std::vector<Marked_Image>& Images, const Stated_Markers& Stated,
                   Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_MARKER_FINDINGS_H
