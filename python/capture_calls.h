// SPDX-License-Identifier: Apache-2.0
//
// Inspection, joint solve and result file for Python: the documents of rigsync/formats, as JSON.
#ifndef RIGSYNC_PYTHON_CAPTURE_CALLS_H
#define RIGSYNC_PYTHON_CAPTURE_CALLS_H

#include <array>
#include <optional>
#include <string>

namespace rigsync {

// A capture and what is known of it, as the flags of 'rigsync inspect' say it.
struct Capture_Request {
  std::string Csv;
  std::string Image_Root;      // empty: the folder of the CSV
  std::array<int, 2> Board{};  // inner corners, columns and rows; 0 to open no image
  double Square_M = 0;
  std::optional<std::array<double, 3>> Board_Euler_Deg, Board_Offset_M;
  std::array<double, 2> Board_Accuracy{0.005, 1.0};  // metres, degrees
  std::array<double, 2> Limits{3.0, 0.3};            // millimetres, degrees
  std::optional<int> First_Marker;
  double Talent_Distance_M = 3.0;
};

struct Solve_Documents {
  std::string Inspection;  // as 'rigsync inspect --json' prints it
  std::string Joint;       // the value of "joint" in result.json; "null" without a lens
  bool Are_Samples_Readable = false;
};

// Both throw Usage_Error for a CSV that can't be read, and solve the same: only the second writes
// the solution whole.
std::string Inspect_Json(const Capture_Request& Request);
Solve_Documents Solve_Json(const Capture_Request& Request);

// Throws Usage_Error for a file that is no whole result.json. A folder stands for the one in it.
void Check_Result(const std::string& Path);

}  // namespace rigsync

#endif  // RIGSYNC_PYTHON_CAPTURE_CALLS_H
