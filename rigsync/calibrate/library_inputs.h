// SPDX-License-Identifier: Apache-2.0
//
// What the library's call gets from the capture's own solve: the board's place on its tracker, and
// a copy of the capture with other axes of the camera's tracker where the library needs them.
#ifndef RIGSYNC_CALIBRATE_LIBRARY_INPUTS_H
#define RIGSYNC_CALIBRATE_LIBRARY_INPUTS_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <vector>

namespace rigsync {

// Fills Library_Board and Library_Axes from Inputs and Solved. The board's place is the solved one.
// Where nothing is solved it is the stated one, or zeros: the run then ends in a code that says
// why, or in a result that nothing confirms.
void Choose_Library_Inputs(Calibration_Result& Result);

// Writes the capture with Library_Axes: the same rows in the same order, their image paths
// unchanged, each number as the library reads it in the original. Throws std::runtime_error when
// the file can't be written.
void Write_Turned_Capture(const std::filesystem::path& File, const std::vector<Capture_Row>& Rows,
                          const Body_Axes& Axes);

// Takes the turn of Library_Axes out of Transform_Cam_Tc, which the library's call filled.
void Restore_Own_Axes(Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_LIBRARY_INPUTS_H
