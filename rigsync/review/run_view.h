// SPDX-License-Identifier: Apache-2.0
//
// A finished run with what its capture held: what the figures of a report are computed from. The
// result alone has the numbers of the verdict; the rows add samples and corners.
#ifndef RIGSYNC_REVIEW_RUN_VIEW_H
#define RIGSYNC_REVIEW_RUN_VIEW_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/review/rig_chain.h"
#include "rigsync/solve/observation.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

// One image of the capture.
struct Viewed_Row {
  Capture_Image Image;         // line and path, as the CSV names them; line 0 where it is unknown
  std::filesystem::path File;  // the photograph, absolute; it may be gone by now
  // With the tracker's own axes, also where the library got others. None when the CSV can't be read
  // any more and the run log doesn't have them either.
  std::optional<Tracker_Sample> Camera, Board;
  // Found corners, pixels of the full image, row by row of the board; empty without a board.
  Corner_List Corners;
  std::vector<Seen_Corner> Some_Corners;  // of a board that is cut off or partly covered
  Image_Report Report;  // what became of it; Unknown for one that the run didn't get to
};

struct Run_View {
  Calibration_Result Result;
  std::vector<Viewed_Row> Rows;    // one for each image that the CSV named, in its order
  int Width = 0, Height = 0;       // of the images, pixels; 0 when no image could be read
  std::optional<Lens> Lens_Px;     // that of the library; of the second opinion when it gave none
  std::optional<Rig_Chain> Chain;  // with the chosen mount; none when there is none
};

// Inspected is the inspection of the run's capture. Without one, as for an older run, samples and
// corners come from what is left of it (recalled_rows.h).
Run_View Make_Run_View(const Calibration_Result& Result,
                       const std::optional<Inspection>& Inspected = {});

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_RUN_VIEW_H
