// SPDX-License-Identifier: Apache-2.0
//
// The run log: a text file for each exported call, named by the second at which the call began,
// and a copy of every line on standard output. There is no logger object. The path is a string,
// built once at the entry of an exported function and handed down to every stage; between two
// lines no file is open. Writing can't fail a calibration: where the file can't be opened, the
// line still goes to standard output.
#ifndef RIGSYNC_CORE_BASE_RUN_LOG_H
#define RIGSYNC_CORE_BASE_RUN_LOG_H

#include <Eigen/Core>

#include <string>

// Local time as text. Kind "now" gives 2022-11-17 09:05:33, the head of a line; kind "date" gives
// 2022-11-17-09.05.33, for the file name. There are no other kinds.
std::string Time_Text(std::string Kind);

// Log_Path = Output_Dir, the platform's separator, "log_", date text, "txt". There is no dot
// before "txt", and a folder that ends in a separator yields two: tools that collect run logs
// know the name in this form.
void Make_Log_Path(std::string& Log_Path, std::string Output_Dir);

// Appends one line (local time, tab, message) to the run log and mirrors it to standard output.
// Opens and closes the file for each line, so that a line is on disk when the call returns. A
// folder that doesn't exist is not created.
void Write_Log(const std::string& Log_Path, std::string Message);

// A pose as five lines: the label with " : " behind it, then the rows, elements in "%f" form.
void Write_Matrix(const std::string& Log_Path, const std::string& Label,
                  const Eigen::Matrix4d& Matrix);

#endif  // RIGSYNC_CORE_BASE_RUN_LOG_H
