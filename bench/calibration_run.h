// SPDX-License-Identifier: Apache-2.0
//
// One Calibration in a process of its own, so that its peak memory is its own.
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
  double Peak_MiB = 0;  // resident, the loaded libraries among it
};

// Forks, so that nothing may have been decoded here before: it would count. Standard output leads
// to /dev/null there; with a Mirror, std::cout writes to that instead. Throws std::runtime_error
// when the child doesn't end by itself.
Calibration_Run Run_In_Child(const Calibration_Job& Job, std::streambuf* Mirror = nullptr);

#endif  // RIGSYNC_BENCH_CALIBRATION_RUN_H
