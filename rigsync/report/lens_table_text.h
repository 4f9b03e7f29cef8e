// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync lens-table' prints.
#ifndef RIGSYNC_REPORT_LENS_TABLE_TEXT_H
#define RIGSYNC_REPORT_LENS_TABLE_TEXT_H

#include "rigsync/calibrate/lens_table.h"

#include <string>
#include <vector>

namespace rigsync {

// What is wrong with each row whose mount does not agree, in a sentence or two that begin with its
// file, and what to do. Empty for a good table.
std::vector<std::string> Disagreement_Texts(const Lens_Table& Table);

// The verdict, the lenses, the mounts and the files. Ends with a newline.
std::string Lens_Table_Text(const Lens_Table& Table, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_LENS_TABLE_TEXT_H
