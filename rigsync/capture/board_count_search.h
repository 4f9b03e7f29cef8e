// SPDX-License-Identifier: Apache-2.0
//
// How many inner corners the board in a few images has, when the stated counts find none. The
// images themselves propose counts; the library's own detection decides, so that what is found here
// is found in a calibration too. Facts only: rigsync/inspect/count_findings.h judges them.
#ifndef RIGSYNC_CAPTURE_BOARD_COUNT_SEARCH_H
#define RIGSYNC_CAPTURE_BOARD_COUNT_SEARCH_H

#include "rigsync/capture/board_size.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

struct Seen_Counts {
  // With more columns than rows, unless the stated size has fewer: an image doesn't tell them
  // apart.
  Board_Size Board;
  std::vector<std::size_t> Images;  // indices of the images that show it, ascending; two or more
};

// Beyond this no further detection begins. One that has begun takes up to a second or two.
constexpr double Most_Count_Seconds = 10.0;

// The largest board that at least two of the images show, whatever its counts. A part of a larger
// board sometimes passes for a board, which is why the largest wins and one image is not enough.
// Stated is the size that was searched for before and isn't looked at again. Width and Height are
// those of the capture's first image, whose settings hold for all (board_detection.h). Images that
// do not open are passed over. None when no two images agree, or the time is over.
std::optional<Seen_Counts> Find_Board_Counts(const std::vector<std::filesystem::path>& Images,
                                             int Width, int Height, const Board_Size& Stated,
                                             double Most_Seconds = Most_Count_Seconds);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_COUNT_SEARCH_H
