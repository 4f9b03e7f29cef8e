// SPDX-License-Identifier: Apache-2.0
//
// What is wrong in the lines of a capture's CSV file. The library reports none of it.
#ifndef RIGSYNC_INSPECT_CAPTURE_FILE_FINDINGS_H
#define RIGSYNC_INSPECT_CAPTURE_FILE_FINDINGS_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"

namespace rigsync {

// Adds findings about the file's encoding, and about each line's kind, field count, numbers and
// carriage returns. docs/inspect.md lists them. For a file in UTF-16, only the encoding is judged.
void Judge_Capture_File(const Capture_File& File, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_CAPTURE_FILE_FINDINGS_H
