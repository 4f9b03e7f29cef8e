// SPDX-License-Identifier: Apache-2.0
//
// The files of rigsync/exports for Python.
#ifndef RIGSYNC_PYTHON_FILE_CALLS_H
#define RIGSYNC_PYTHON_FILE_CALLS_H

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// The arguments of 'rigsync export' to a target that is a file. What is not stated is none.
struct File_Arguments {
  std::string Result_File;
  std::string Solution;  // library or joint
  std::string Target;
  std::string Doubts;  // what speaks against the result, in sentences; empty for a good one
  std::optional<std::string> Tracker_Axes;
  std::optional<std::array<double, 2>> Sensor_Mm;  // width, height
  std::optional<double> Focus, Zoom;
  std::optional<std::string> Capture, Image_Root;
};

struct Made_File {
  std::string Text;
  std::vector<std::string> Warnings;  // a sentence each
};

// Of a result that can be exported. Throws Usage_Error, which begins with the argument, for a
// target that there is not, for axes that it can't have, and for what it lacks.
Made_File Make_File(const File_Arguments& Arguments);

}  // namespace rigsync

#endif  // RIGSYNC_PYTHON_FILE_CALLS_H
