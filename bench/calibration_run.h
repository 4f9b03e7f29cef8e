// SPDX-License-Identifier: Apache-2.0
//
// One Calibration in its own process, so that its peak memory can be measured.
#ifndef RIGSYNC_BENCH_CALIBRATION_RUN_H
#define RIGSYNC_BENCH_CALIBRATION_RUN_H

#include <Eigen/Core>

#include <filesystem>
#include <streambuf>

struct Calibration_Job {
  std::filesystem::path Csv;
  int Board_Cols = 0, Board_Rows = 0;
  double Square_Size = 0;             // metres
  Eigen::Vector3d Chart_Euler_Deg;    // the host's estimate, degrees
  Eigen::Vector3d Chart_Translation;  // the host's estimate, metres
  std::filesystem::path Output;       // existing folder
};

struct Calibration_Run {
  int Code = 0;
  double Peak_MiB = 0;  // resident memory, including the loaded libraries
};

// Runs Calibration in a forked child. The parent must not decode images before, because they would
// count in the child's peak. In the child, standard output is /dev/null, and std::cout writes to
// Mirror if there is one. Throws std::runtime_error when the child ends by a signal or an
// exception.
Calibration_Run Run_In_Child(const Calibration_Job& Job, std::streambuf* Mirror = nullptr);

#endif  // RIGSYNC_BENCH_CALIBRATION_RUN_H
