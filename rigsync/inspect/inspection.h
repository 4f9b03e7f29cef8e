// SPDX-License-Identifier: Apache-2.0
//
// The inspection of a capture before a calibration: its file, its samples, its images and the
// boards in them, and the findings about each.
#ifndef RIGSYNC_INSPECT_INSPECTION_H
#define RIGSYNC_INSPECT_INSPECTION_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/board_estimate.h"
#include "rigsync/inspect/capture_survey.h"
#include "rigsync/inspect/count_findings.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/inspect/tracker_survey.h"
#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/second_opinion.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

struct Inspection_Inputs {
  std::filesystem::path Csv;         // as typed by the user
  std::filesystem::path Image_Root;  // where relative image paths start, absolute
  bool Opens_Images = true;          // false: no image is opened, and Board is not read
  Board_Estimate Board;
  std::optional<int> First_Marker;  // of the board's ArUco markers, if it is stated
  Accuracy_Limits Limits;           // how far off the mount may be
  Lag_Choice Lag;                   // of the samples behind the pictures
  Row_Motions Motions;              // by row of the file; needed for a lag
};

struct Inspection {
  Inspection_Inputs Inputs;
  Capture_File File;
  Rotation_Range Rotations;
  std::optional<Board_Search> Search;       // none without a search for boards
  std::optional<Seen_Counts> Other_Counts;  // of the board; then not all images were searched
  std::optional<Coverage> Frame_Coverage;   // none without a board
  std::optional<Lens_Fit> Lens;             // none with too few boards
  std::optional<Pose_Spread> Board_Poses;
  std::optional<Agreement> Tracker_Agreement;
  std::optional<Capture_Solution> Solution;  // none without a lens
  // Whether conventions and units of the samples are right, so that the solution means something.
  bool Are_Samples_Readable = false;
  Findings All_Findings;
};

// Whether the solved mounts and the board's place can be told: everything was read as it was meant,
// and no tracker slipped.
bool Is_Solution_Sound(const Inspection& Inspected);

// Throws Usage_Error when the CSV file cannot be read. Progress is called after each image.
Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Search_Progress& Progress);

// The same with a search of the caller's, which may know some of the images.
Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Board_Searcher& Searcher);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_INSPECTION_H
