// SPDX-License-Identifier: Apache-2.0
//
// What one calibration was given and what it gave: the values that reports and files are made from.
#ifndef RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H
#define RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H

#include "rigsync/calibrate/run_report.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/capture/capture_file.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// What a person said about the stage and the capture.
struct Calibration_Inputs {
  std::filesystem::path Csv;         // absolute
  std::filesystem::path Image_Root;  // absolute; relative image paths start here
  Board_Size Board;
  double Square_Size = 0;                            // metres
  std::array<double, 3> Board_Euler{};               // degrees
  std::array<double, 3> Board_Offset{};              // metres
  std::optional<std::array<double, 2>> Sensor_Size;  // millimetres
};

// What one run gave. A vector that the library left empty is empty here and null in the file.
struct Calibration_Result {
  std::optional<int> Code;  // none when an exception ended the run
  std::string Message;      // the code's meaning, or what the exception said
  std::string Exception;    // in one line; empty without one
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  std::vector<double> FoV, Focal_Length_mm;
  std::filesystem::path Run_Folder;  // absolute, existing; this run's own
  std::filesystem::path Run_Log;     // empty when none was written
  Run_Report Report;                 // what the run log tells
  std::string Begun;                 // local time, "2022-11-17T09:05:33+0100"
  double Seconds = 0;                // that the library worked
  Calibration_Inputs Inputs;
  std::vector<Capture_Image> Images;  // that the CSV names
};

// Why, in a sentence that follows the image's name; for an outlier, from what the log tells of it.
std::string Drop_Reason(const Run_Report& Report, const Image_Report& Image);

// The line of the CSV that image i of the run stands on, if the CSV could be read beside the run.
std::optional<std::size_t> Csv_Line(const Calibration_Result& Result, std::size_t i);

// True when every number that the library gave is finite.
bool All_Finite(const Calibration_Result& Result);

// True when the result may go to an engine: its code says so, and its numbers are all finite. A
// code alone doesn't tell, since no comparison with a limit holds for a number that isn't.
bool Is_Usable(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H
