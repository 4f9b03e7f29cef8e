// SPDX-License-Identifier: Apache-2.0
//
// The files of an import: the capture's CSV and import.json beside it. They take the place of an
// earlier import only.
#ifndef RIGSYNC_COMMANDS_IMPORT_OUTPUT_H
#define RIGSYNC_COMMANDS_IMPORT_OUTPUT_H

#include "rigsync/import/import_record.h"

#include <filesystem>

namespace rigsync {

// Throws Usage_Error, beginning with --output, unless neither Csv nor an import.json beside it
// exists, or both are as an import left them.
void Refuse_Other_Capture(const std::filesystem::path& Csv);

// Creates the folder, and those above it. Throws Usage_Error, beginning with --output.
void Make_Image_Folder(const std::filesystem::path& Folder);

// Writes both files, and the folder of Csv if it is missing. Pictures below that folder get a
// relative path, the others an absolute one, and rows with a picture their Csv_Line. Throws
// Usage_Error, beginning with --output, where a file can't be written.
void Write_Capture(const std::filesystem::path& Csv, Import_Record& Record);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_IMPORT_OUTPUT_H
