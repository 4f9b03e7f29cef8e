// SPDX-License-Identifier: Apache-2.0
//
// The file of --output, which must not be one that the command was made to read.
#ifndef RIGSYNC_COMMANDS_OUTPUT_FILE_H
#define RIGSYNC_COMMANDS_OUTPUT_FILE_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <string>

namespace rigsync {

// Throws Usage_Error, which begins with --output, when Output is by whatever path the file itself.
// A file that doesn't exist is no other.
void Refuse_As_Output(const std::string& Output, const std::filesystem::path& Input);

// The same for a result's file, the CSV of its capture, and the import.json beside that.
void Refuse_Result_As_Output(const std::string& Output, const std::filesystem::path& Result_File,
                             const Calibration_Result& Result);

// Writes the whole file, or the one that a link leads to. Throws Usage_Error, which begins with
// --output, when it can't be written, and for a device or a pipe: the file would take its place.
void Write_Output(const std::string& Output, const std::string& Text);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_OUTPUT_FILE_H
