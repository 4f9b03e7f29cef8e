// SPDX-License-Identifier: Apache-2.0
//
// The motion of the rows of a capture, from the record of the import that wrote it.
#ifndef RIGSYNC_IMPORT_ROW_MOTIONS_H
#define RIGSYNC_IMPORT_ROW_MOTIONS_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/import/import_record.h"
#include "rigsync/solve/capture_solution.h"

#include <filesystem>
#include <vector>

namespace rigsync {

// One for each row of Csv; none for a line that is no image. A row is found by its picture and has
// the samples that were imported with it, so lines may have been removed from the CSV or moved in
// it. Throws Usage_Error, which begins with --lag and names the line, for a row that the record
// doesn't have or has with other samples.
Row_Motions Motions_Of_Rows(const Import_Record& Record, const std::vector<Capture_Row>& Rows,
                            const std::filesystem::path& Csv);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_ROW_MOTIONS_H
