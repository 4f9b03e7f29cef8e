// SPDX-License-Identifier: Apache-2.0
//
// The inputs and the outcome of one calibration: the values that reports and files are made from.
#ifndef RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H
#define RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H

#include "rigsync/calibrate/run_report.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/capture/body_labels.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/finding.h"
#include "rigsync/solve/board_place.h"
#include "rigsync/solve/body_axes.h"
#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/cross_check.h"
#include "rigsync/solve/second_opinion.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// What the user stated about the stage and the capture.
struct Calibration_Inputs {
  std::filesystem::path Csv;         // absolute
  std::filesystem::path Image_Root;  // absolute; relative image paths start here
  Board_Size Board;
  double Square_Size = 0;                               // metres
  std::optional<Board_Place> Stated_Board;              // none: its place is solved
  Place_Accuracy Board_Accuracy;                        // of Stated_Board
  std::optional<std::array<double, 2>> Sensor_Size_Mm;  // width, height
  Solution_Choice Solution = Solution_Choice::Library;
  Accuracy_Limits Limits;
  double Talent_Distance = 3.0;     // metres from the camera
  std::optional<int> First_Marker;  // of the board's ArUco markers, if it is stated
  // Only the library's call, without a second opinion. Needs Stated_Board.
  bool Is_Library_Only = false;
  bool Keeps_Body_Axes = false;                      // --body-axes as-given
  Lag_Choice Lag;                                    // of the joint solve
  Body_Labels Camera_Labels = Body_Labels::Unknown;  // of the camera's tracker
};

// SHA-256 of the files of a capture, 64 lower-case hexadecimal digits. Empty for a file that can't
// be read.
struct Input_Hashes {
  std::string Csv;                  // empty for a pipe, too
  std::vector<std::string> Images;  // one for each image that the CSV names
};

// Of a run whose result was read from a file; empty for those of this program.
struct Run_Versions {
  std::string Rigsync, Opencv, Eigen;
};

// The outcome of one library run.
struct Calibration_Result {
  Calibration_Inputs Inputs;
  std::vector<Capture_Image> Images;  // named by the CSV, in its order
  Input_Hashes Hashes;
  Run_Versions Versions;

  std::optional<int> Code;  // the library's; none when an exception ended the run
  std::string Message;      // the meaning of the code, or the exception's text in a sentence
  std::string Exception;    // the exception's text on one line; empty without one

  // What the library's call got: the board's place, and other axes of the camera's tracker where it
  // needs them.
  Board_Place Library_Board;
  Body_Axes Library_Axes;
  std::filesystem::path Library_Csv;  // Inputs.Csv, or the copy with Library_Axes

  // The library's outputs under the names that they have in its header. One that the run did not
  // fill is empty; the last two need Inputs.Sensor_Size_Mm. Transform_Cam_Tc is that of the
  // tracker's own axes.
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  std::vector<double> FoV, Focal_Length_mm;

  // The second opinion; nothing of it with Inputs.Is_Library_Only.
  std::optional<Capture_Solution> Solved;
  std::vector<double> Joint_Transform_Cam_Tc;  // row by row; empty when it is not solved
  std::optional<Second_Opinion> Opinion;
  // Every other image solved apart. None also in a result of before there was a cross-check.
  std::optional<Cross_Check> Halves;
  // What explains the opinion: a finding of the inspection. None when no cause stands out.
  std::optional<Finding> Cause;

  std::filesystem::path Run_Folder;  // absolute; belongs to this run alone
  std::filesystem::path Run_Log;     // empty when none could be written
  Run_Report Report;                 // read from the run log
  std::string Start_Time;            // local, "2022-11-17T09:05:33+0100"
  double Seconds = 0;                // duration of the library's call
};

// Why the run dropped an image, as a phrase: "no board found". Empty for an image that it kept. The
// limits of an outlier's position come from the report.
std::string Drop_Reason(const Run_Report& Report, const Image_Report& Image);

// The line of the CSV that names image i of the report. None when the images of the CSV are not
// those of the report, as with a CSV that came through a pipe.
std::optional<std::size_t> Csv_Line(const Calibration_Result& Result, std::size_t i);

// The mount that is the result: Inputs.Solution says which. Empty when it was not solved.
const std::vector<double>& Chosen_Transform_Cam_Tc(const Calibration_Result& Result);

// Whether the result may go to an engine without a further look: its code is a usable one, all its
// numbers are finite, and the second opinion, where there is one, agrees. The code alone does not
// say so: NaN is above no limit.
bool Is_Usable(const Calibration_Result& Result);

// Whether the result is unusable although its code is a usable one: it holds NaN or infinite
// numbers.
bool Has_Misleading_Code(const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_CALIBRATION_RESULT_H
