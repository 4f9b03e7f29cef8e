// SPDX-License-Identifier: Apache-2.0
#include "bench/calibration_run.h"

#include "rigsync_core.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

constexpr int Exit_Exception = 70;  // not a code of the library

int Calibrate(const Calibration_Job& Job) {
  const Eigen::Vector3d &Angles = Job.Chart_Euler_Deg, &Offset = Job.Chart_Translation;
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  try {
    return Calibration(Job.Csv.string(), Job.Board_Cols, Job.Board_Rows, Job.Square_Size,
                       {Angles.x(), Angles.y(), Angles.z()}, {Offset.x(), Offset.y(), Offset.z()},
                       Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc,
                       Job.Output.string());
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "%s\n", Error.what());
    return Exit_Exception;
  }
}

}  // namespace

Calibration_Run Run_In_Child(const Calibration_Job& Job, std::streambuf* Mirror) {
  std::fflush(stdout);
  const pid_t Child = fork();
  if (Child == 0) {
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    if (Mirror != nullptr) std::cout.rdbuf(Mirror);
    _exit(Calibrate(Job));
  }
  int Status = 0;
  rusage Usage{};
  if (Child < 0 || wait4(Child, &Status, 0, &Usage) != Child) {
    throw std::runtime_error("no child process");
  }
  if (!WIFEXITED(Status) || WEXITSTATUS(Status) == Exit_Exception) {
    throw std::runtime_error("the calibration was ended from outside or by an exception");
  }
  return {WEXITSTATUS(Status), static_cast<double>(Usage.ru_maxrss) / 1024.0};
}
