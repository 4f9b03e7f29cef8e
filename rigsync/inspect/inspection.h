// SPDX-License-Identifier: Apache-2.0
//
// Everything that is known about a capture before a solve: the file's lines, the samples, the
// images and the boards in them, and what is to be told of each.
#ifndef RIGSYNC_INSPECT_INSPECTION_H
#define RIGSYNC_INSPECT_INSPECTION_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/finding.h"
#include "rigsync/inspect/board_estimate.h"
#include "rigsync/inspect/capture_survey.h"
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/inspect/tracker_survey.h"

#include <filesystem>
#include <optional>

namespace rigsync {

struct Inspection_Inputs {
  std::filesystem::path Csv;         // as it was given
  std::filesystem::path Image_Root;  // where relative image paths start, absolute
  bool Look_For_Boards = true;
  Board_Estimate Board;  // unread without boards
};

struct Inspection {
  Inspection_Inputs Inputs;
  Capture_File File;
  Turns Turned;
  std::optional<Board_Search> Search;  // none when boards weren't looked for
  std::optional<Coverage> Covered;     // none without a board
  std::optional<Lens_Fit> Lens;        // none with too few boards
  std::optional<Pose_Spread> Posed;
  std::optional<Agreement> Agreed;
  Findings Told;
};

// Throws Usage_Error when the CSV file can't be read. Progress is called after each image.
Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Search_Progress& Progress);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_INSPECTION_H
