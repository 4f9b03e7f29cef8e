// SPDX-License-Identifier: Apache-2.0
//
// Shows the progress of a calibration: one line that is rewritten on a terminal, plain lines
// elsewhere. The library reports progress in its run log alone, so the log is followed as it grows.
#ifndef RIGSYNC_CALIBRATE_RUN_PROGRESS_H
#define RIGSYNC_CALIBRATE_RUN_PROGRESS_H

#include "rigsync/calibrate/run_report.h"
#include "rigsync/system/progress_output.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace rigsync {

// Estimates the remaining time of a run from its time so far. All times are in seconds from a start
// that the caller chooses.
class Time_Estimate {
 public:
  explicit Time_Estimate(std::size_t Images) : Image_Count(Images) {}

  // Notes the state of the run at time Now. To be called at least when the step changes.
  void Take(const Run_Report& Report, double Now);

  // The remaining time; none while there is nothing to estimate from.
  std::optional<double> Remaining(const Run_Report& Report, double Now) const;

 private:
  double Image_Seconds(const Run_Report& Report, double Now) const;

  std::size_t Image_Count;
  Run_Step Step = Run_Step::Begun;
  double Step_Start = 0;
  double Search_Seconds = 0;  // of all images together; set when the search ends
};

// The line on a terminal, without the time: "Finding boards: 12 of 40 images, 11 found".
std::string Progress_Text(const Run_Report& Report, std::size_t Images);

// The line that announces a step where standard error is not a terminal; empty for steps that take
// no noticeable time.
std::string Step_Text(const Run_Report& Report, std::size_t Images);

// Follows the run log in Run_Folder on a thread of its own during its lifetime. It writes to what
// standard error was when it was created, so that the line goes on while the process's standard
// error is redirected. It reads files and writes to that descriptor, nothing else.
class Progress {
 public:
  Progress(const std::filesystem::path& Run_Folder, std::size_t Images, Progress_Kind Kind);
  ~Progress();  // removes the line from the terminal
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  struct Follower;
  std::unique_ptr<Follower> Active_Follower;
};

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_PROGRESS_H
