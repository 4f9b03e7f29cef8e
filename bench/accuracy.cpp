// SPDX-License-Identifier: Apache-2.0
//
// accuracy rows|faults|poses [CAPTURES [FIRST_SEED]]: how far Transform_Cam_Tc is off on captures
// whose truth is known, as CSV. No image is drawn: the simulator projects the corners, and noise is
// added to corners and tracker samples.
//
//   rows    in many settings, CAPTURES in each: the library with the true place of the board and
//           with the solved one, the joint solve, and OpenCV's solvers by Park and by Shah
//   faults  captures with random faults: what the library alone would call usable, and what it
//           would with the joint solve as a second opinion
//   poses   captures taken pose by pose, as advised and as simulated: how many images it takes
#include "bench/fault_study.h"
#include "bench/next_pose.h"
#include "bench/seed_pool.h"
#include "bench/setting_rows.h"

#include <opencv2/core.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

namespace {

// Every tenth seed is told on standard error.
constexpr unsigned Progress_Step = 10;

void Print_All(const std::string& Header, std::string (*Lines_Of)(unsigned), unsigned First,
               unsigned Count) {
  std::fputs(Header.c_str(), stdout);
  bench::For_Each_Seed(First, Count, Lines_Of, [&](unsigned Seed, const std::string& Lines) {
    std::fputs(Lines.c_str(), stdout);
    std::fflush(stdout);
    const unsigned Done = Seed - First + 1;
    if (Done % Progress_Step == 0) std::fprintf(stderr, "accuracy: %u of %u\n", Done, Count);
  });
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  const std::string What = Argument_Count > 1 ? Arguments[1] : "";
  const long Captures = Argument_Count > 2 ? std::strtol(Arguments[2], nullptr, 10) : 200;
  const long First = Argument_Count > 3 ? std::strtol(Arguments[3], nullptr, 10) : 1;
  if ((What != "rows" && What != "faults" && What != "poses") || Captures < 1 || First < 1) {
    std::fprintf(stderr, "usage: accuracy rows|faults|poses [CAPTURES [FIRST_SEED]]\n");
    return 2;
  }
  std::cout.rdbuf(nullptr);  // the library's log lines
  cv::setNumThreads(1);      // every seed has a thread already
  const auto First_Seed = static_cast<unsigned>(First), Count = static_cast<unsigned>(Captures);
  try {
    if (What == "rows") {
      Print_All(bench::Setting_Rows_Header(), bench::Setting_Rows_Lines, First_Seed, Count);
    } else if (What == "poses") {
      Print_All(bench::Next_Pose_Header(), bench::Next_Pose_Lines, First_Seed, Count);
    } else {
      Print_All(bench::Fault_Study_Header(), bench::Fault_Study_Line, First_Seed, Count);
    }
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "accuracy: %s\n", Error.what());
    return 1;
  }
  return 0;
}
