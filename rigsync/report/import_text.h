// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync import' prints about the capture that it made, for one screen.
#ifndef RIGSYNC_REPORT_IMPORT_TEXT_H
#define RIGSYNC_REPORT_IMPORT_TEXT_H

#include "rigsync/import/capture_import.h"

#include <filesystem>
#include <string>

namespace rigsync {

// Csv, the bodies with their noise, holds, clocks, rows, and the pictures without a row by reason:
// at most Most_Reasons reasons, and Most_Names pictures of each.
std::string Import_Text(const Capture_Import& Made, const std::filesystem::path& Csv, bool Colour);

constexpr std::size_t Most_Reasons = 5, Most_Names = 3;

// The command to type next. Board_Flags are what it knows of the board: "--config stage.toml", or
// placeholders.
std::string Next_Command_Text(const Import_Record& Record, const std::filesystem::path& Csv,
                              const std::string& Board_Flags, bool Colour);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_IMPORT_TEXT_H
