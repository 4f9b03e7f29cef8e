// SPDX-License-Identifier: Apache-2.0
//
// result.json: what one calibration gave, for people's scripts and for 'rigsync export'.
// docs/result-file.md describes the format.
#ifndef RIGSYNC_FORMATS_RESULT_FILE_H
#define RIGSYNC_FORMATS_RESULT_FILE_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>

namespace rigsync {

// Writes Folder/result.json whole or not at all: into a file beside it, which then takes its name.
// A number that isn't finite becomes null. Throws std::runtime_error when it can't be written.
void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result);

// Reads code, message, lens and transform back, digit for digit. What is null there is empty here.
// A vector with an element that is null, which stands for a number that isn't finite, is refused
// with the probable cause; so is a file of another format. The Usage_Error names the file.
Calibration_Result Read_Result(const std::filesystem::path& File);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_RESULT_FILE_H
