// SPDX-License-Identifier: Apache-2.0
//
// Judgement of the images and of the boards in them: files that cannot be read as images, images
// of another size, images without a board, boards and lenses that fit badly.
#ifndef RIGSYNC_INSPECT_BOARD_FINDINGS_H
#define RIGSYNC_INSPECT_BOARD_FINDINGS_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"

#include <vector>

namespace rigsync {

// Adds, by line, images that cannot be read, have another size than the first, or show no board.
void Judge_Search(const std::vector<Capture_Row>& Rows, const Board_Search& Search, Findings& List);

// Adds, by line, boards that fit far worse than the others, and a lens that fits badly as a whole.
void Judge_Lens(const std::vector<Capture_Row>& Rows, const Lens_Fit& Lens, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_BOARD_FINDINGS_H
