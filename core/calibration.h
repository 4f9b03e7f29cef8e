// SPDX-License-Identifier: Apache-2.0
//
// The driver's own steps, declared here so that tests can call them. The two exported functions
// that run them are declared in include/rigsync_core.h.
#ifndef RIGSYNC_CORE_CALIBRATION_H
#define RIGSYNC_CORE_CALIBRATION_H

#include <opencv2/core.hpp>

#include <cstddef>
#include <string>
#include <vector>

// The number of points to reserve for a board: Board_Cols * Board_Rows * 3 as a 32-bit product,
// wrapped. It is three times what is needed.
//
// Throws std::length_error("vector too long") when the wrapped product is negative, as for -3 x 5
// or 30000 x 30000. Two negative counts give a positive product and pass.
std::size_t Board_Reserve(int Board_Cols, int Board_Rows);

// The board's inner corners, metres, z = 0, row by row with x along the row: the order in which
// detection returns them. Products are computed in double and narrowed to float when stored.
// A count of 0 or less gives no points.
//
// Logs    one line per point, x and y before narrowing; z is the integer text "0".
void Build_Board_Index(const std::string& Log_Path, std::vector<cv::Point3f>& Board_Index,
                       int Board_Cols, int Board_Rows, double Square_Size);

// Returns 0, or 2 when the capture's two lists differ in length. A successful read adds one entry
// to each list for every line, so code 2 does not occur in a run.
// Logs    for code 2 its one line.
int Compare_Amounts(const std::string& Log_Path, std::size_t Images, std::size_t Rows);

#endif  // RIGSYNC_CORE_CALIBRATION_H
