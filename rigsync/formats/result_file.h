// SPDX-License-Identifier: Apache-2.0
//
// result.json: the result of one calibration, for scripts and for 'rigsync export', 'rigsync
// report' and 'rigsync compare'. docs/result-file.md describes the format.
#ifndef RIGSYNC_FORMATS_RESULT_FILE_H
#define RIGSYNC_FORMATS_RESULT_FILE_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <vector>

namespace rigsync {

// Writes Folder/result.json completely or not at all. A number that is not finite becomes null.
// Throws std::runtime_error when the file can't be written.
void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result);

// Reads back what Write_Result wrote, so that the same result written again gives the same bytes.
// What the file does not have is as in a result that was just made: of a solution the rows'
// observations and the settings of its fit, of a cause its level, the text of an exception beside
// the message. Opinion has the half-widths of the joint mount.
//
// A vector that is null in the file is empty; a null element is NaN, or infinite in the half-widths
// and on the diagonals of covariances. An older file lacks some keys: what they hold is empty, the
// images are those that the file names, and their number is right. One from before there were two
// solutions has the library's alone and no opinion.
//
// Throws Usage_Error, which names the file, for any other file, and for a null element of the lens,
// since that is a number that is not finite.
Calibration_Result Read_Result(const std::filesystem::path& File);

// What a user types for a result: a folder stands for the result.json in it, any other path for
// itself.
std::filesystem::path Result_File(const std::filesystem::path& Typed);

// Whether the file is a result.json by its "format"; false for one that can't be read.
bool Is_Result_File(const std::filesystem::path& File);

// Throws Usage_Error, which names the file and the probable cause, for a mount that holds NaN or is
// no rotation with a position.
void Require_Mount(const std::filesystem::path& File, const std::vector<double>& Transform_Cam_Tc);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_RESULT_FILE_H
