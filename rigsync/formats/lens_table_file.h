// SPDX-License-Identifier: Apache-2.0
//
// The JSON that 'rigsync lens-table --json' prints. docs/lens-table.md describes the format.
#ifndef RIGSYNC_FORMATS_LENS_TABLE_FILE_H
#define RIGSYNC_FORMATS_LENS_TABLE_FILE_H

#include "rigsync/calibrate/lens_table.h"

#include <string>
#include <vector>

namespace rigsync {

// "agrees" and so on, with small letters. Programs rely on it.
const char* Agreement_Name(Mount_Agreement Agreement);

// Texts has a sentence for each row that does not agree. A number that is not known is null.
std::string Lens_Table_Json(const Lens_Table& Table, const std::vector<std::string>& Texts);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_LENS_TABLE_FILE_H
