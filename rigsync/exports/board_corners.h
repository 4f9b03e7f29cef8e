// SPDX-License-Identifier: Apache-2.0
//
// The corners of every image of a capture, as the library finds them, in the table that mrcal reads
// instead of looking for boards itself.
#ifndef RIGSYNC_EXPORTS_BOARD_CORNERS_H
#define RIGSYNC_EXPORTS_BOARD_CORNERS_H

#include "rigsync/capture/board_search.h"
#include "rigsync/exports/file_target.h"

#include <string>
#include <vector>

namespace rigsync {

// A vnlog with the columns filename, x, y and level: a line for each corner, row by row of the
// board, full-image pixels, level 0 (full resolution). An image without a board has one line with
// dashes. Paths are those of the CSV.
//
// Opens the images. Warns of a capture that is not that of the result. Throws Usage_Error when the
// CSV can't be read, when the result doesn't say which board it was, when an image's path has a
// blank, which a table of words can't hold, and when no image shows the board.
File_Text Write_Corners(const File_Request& Request);

// The table of these rows; Search.Images has an entry for each. Titled is the sentence at its top.
std::string Corners_Table(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                          const std::string& Titled);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_BOARD_CORNERS_H
