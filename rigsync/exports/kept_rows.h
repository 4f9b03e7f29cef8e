// SPDX-License-Identifier: Apache-2.0
//
// The rows of the capture that a result rests on, with their samples. The result itself has no
// samples; they are in the CSV.
#ifndef RIGSYNC_EXPORTS_KEPT_ROWS_H
#define RIGSYNC_EXPORTS_KEPT_ROWS_H

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/exports/file_target.h"

#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {

struct Kept_Row {
  std::string Image;     // the path as the CSV has it
  std::size_t Line = 0;  // of the CSV, counted from 1
  Tracker_Sample Camera, Board;
};

struct Kept_Rows {
  std::vector<Kept_Row> Rows;  // in the order of the CSV
  // Why there are none, as a sentence without a full stop that names the CSV. Empty with rows.
  std::string Problem;
};

// The rows that the chosen solution of the result uses. A CSV that is not the one of the run by its
// SHA-256 gives none. The result of an older version has no hash: then line and image path of a row
// have to be those that it names. Throws Usage_Error, which begins with --capture, where a stated
// capture gives none.
Kept_Rows Read_Kept_Rows(const File_Request& Request);

// Whether the capture is there and is by its SHA-256 another file than the result was made from.
// False where the result has no hash of it.
bool Is_Other_Capture(const File_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_KEPT_ROWS_H
