// SPDX-License-Identifier: Apache-2.0
//
// The files of an older run: where they are now that its folders may have been moved, and which of
// them are gone.
#ifndef RIGSYNC_REVIEW_MISSING_FILES_H
#define RIGSYNC_REVIEW_MISSING_FILES_H

#include "rigsync/review/run_view.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// The view of a result that was read from Result_File. Where the paths that it states lead nowhere,
// CSV, image root, run folder, run log and photographs are those that lie as they did then, seen
// from the run's folder: a capture and its results that were moved or copied together find each
// other. What is found nowhere keeps its path.
Run_View Make_View_Of_File(const std::filesystem::path& Result_File, Calibration_Result Result);

// A sentence for each kind of file that can't be found any more, and what the page lacks for it.
std::vector<std::string> Missing_Files(const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_MISSING_FILES_H
