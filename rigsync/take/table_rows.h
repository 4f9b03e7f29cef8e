// SPDX-License-Identifier: Apache-2.0
//
// The lines of a take's table as samples of its bodies, in the capture's own convention.
#ifndef RIGSYNC_TAKE_TABLE_ROWS_H
#define RIGSYNC_TAKE_TABLE_ROWS_H

#include "rigsync/take/table_file.h"
#include "rigsync/take/table_layout.h"
#include "rigsync/take/take.h"

#include <cstddef>
#include <string>

namespace rigsync {

// Reads the lines after File's current one and appends the bodies of Layout, and warnings, to Into.
// A line whose first cell is a word ends the table where Is_Section is true, with a warning;
// otherwise it is refused like any other cell that is no number.
//
// Throws Usage_Error as Read_Take says (take_file.h), and for a table without a line.
void Read_Rows(Table_File& File, const Table_Layout& Layout, bool Is_Section, Take& Into);

// Whether Row has a cell for every column. The last line of a file may be cut off, since a recorder
// may have been ended: then false, with a warning in Into. Throws Usage_Error for a short line
// before that, and for surplus cells that are not blank.
bool Is_Complete_Row(Table_File& File, const Table_Layout& Layout, const Cells& Row, Take& Into);

// "column 5 (camera Rotation X)", as refusals name a cell; Index counts from 0.
std::string Column_Text(const Table_Layout& Layout, std::size_t Index);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TABLE_ROWS_H
