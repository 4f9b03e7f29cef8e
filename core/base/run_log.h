// SPDX-License-Identifier: Apache-2.0
//
// The run log: a text file for each exported call, named after the second at which the call began,
// and a copy of every line on standard output. There is no logger object. The path is a string,
// built once at the entry of an exported function and passed to every stage; no file is open
// between two lines. A failed write does not fail a calibration: when the file cannot be opened,
// the line still goes to standard output.
#ifndef RIGSYNC_CORE_BASE_RUN_LOG_H
#define RIGSYNC_CORE_BASE_RUN_LOG_H

#include <Eigen/Core>

#include <string>

// Local time as text. Kind "now" gives 2022-11-17 09:05:33 for the start of a line; kind "date"
// gives 2022-11-17-09.05.33 for the file name. There are no other kinds.
std::string Time_Text(std::string Kind);

// Log_Path = Output_Dir, the platform's separator, "log_", date text, "txt". There is no dot before
// "txt", and a folder that ends in a separator gives two separators: tools that collect run logs
// rely on this form.
void Make_Log_Path(std::string& Log_Path, std::string Output_Dir);

// Appends one line (local time, tab, message) to the run log and copies it to standard output.
// Opens and closes the file for each line, so that the line is in the file when the call returns.
// A missing folder is not created.
void Write_Log(const std::string& Log_Path, std::string Message);

// Logs a pose as five lines: the label followed by " : ", then the rows, elements in "%f" form.
void Write_Matrix(const std::string& Log_Path, const std::string& Label,
                  const Eigen::Matrix4d& Matrix);

#endif  // RIGSYNC_CORE_BASE_RUN_LOG_H
