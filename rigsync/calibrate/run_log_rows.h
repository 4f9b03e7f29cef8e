// SPDX-License-Identifier: Apache-2.0
//
// What a calibration's run log holds beside the report: samples and found corners of the images
// that show a board, and the mounts of both passes (docs/run-log.md). Numbers have six decimals:
// a sample is known to half a micrometre and its rotation to about a microradian.
#ifndef RIGSYNC_CALIBRATE_RUN_LOG_ROWS_H
#define RIGSYNC_CALIBRATE_RUN_LOG_ROWS_H

#include "rigsync/calibrate/run_report.h"
#include "rigsync/capture/tracker_sample.h"
#include "rigsync/solve/observation.h"

#include <Eigen/Geometry>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

// An image that shows a board. Samples are those that the library read: where it got other axes of
// the camera's tracker, they have these.
struct Logged_Row {
  std::size_t Image = 0;  // index in Run_Report::Images
  Tracker_Sample Camera, Board;
  Corner_List Corners;  // as many as the log has, pixels; fewer than the board's where it was cut
};

struct Logged_Run {
  std::vector<Logged_Row> Rows;  // ascending
  // The camera's mount by the first pass and by the last, with the axes that the library got, and
  // the board's by the last pass: the inverse of Mean_Transform_Chart_Tr. None where the run ended
  // before, and where the log has no pose.
  std::optional<Eigen::Isometry3d> First_Transform_Cam_Tc, Transform_Cam_Tc, Transform_Tr_Chart;
};

// Nothing when the file can't be opened. A row without 15 numbers is left out.
Logged_Run Read_Logged_Run(const std::filesystem::path& Run_Log);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_LOG_ROWS_H
