// SPDX-License-Identifier: Apache-2.0
//
// Tells how far work has come: one line that is written anew on a terminal, plain lines elsewhere.
// Of a calibration the library reports nothing but its run log, so the log is followed as it grows.
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

// How long the rest of a run takes, from how long it took so far. All times are seconds from one
// start that the caller chooses.
class Time_Estimate {
 public:
  explicit Time_Estimate(std::size_t Images) : Image_Count(Images) {}

  // Tells the estimate where the run is now. To be called at least when the step changes.
  void Take(const Run_Report& Report, double Now);

  // Empty while there is nothing to go by.
  std::optional<double> Left(const Run_Report& Report, double Now) const;

 private:
  double Image_Seconds(const Run_Report& Report, double Now) const;

  std::size_t Image_Count;
  Run_Step Step = Run_Step::Begun;
  double Step_Began = 0;
  double Search_Seconds = 0;  // for all images together, once it is over
};

// What the line on a terminal says, without the time: "Finding boards: 12 of 40 images, 11 found".
std::string Progress_Text(const Run_Report& Report, std::size_t Images);

// What is said when a step begins where nobody watches; empty for steps that are over at once.
std::string Step_Text(const Run_Report& Report, std::size_t Images);

// Follows the run log in Run_Folder for as long as it lives, on a thread of its own, and writes to
// what standard error is when it is made: the line may go on while the process's own standard error
// leads elsewhere. It reads files and writes to that descriptor, nothing else.
class Progress {
 public:
  Progress(const std::filesystem::path& Run_Folder, std::size_t Images, Progress_Kind Kind);
  ~Progress();  // takes the line off the terminal
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  struct Follower;
  std::unique_ptr<Follower> Running;
};

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_PROGRESS_H
