// SPDX-License-Identifier: Apache-2.0
//
// Calls at once: nothing is shared but standard output and, for calls that begin in the same
// second with the same folder, the run log file.
#include "rigsync_core.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <streambuf>
#include <thread>

namespace {

// Standard output goes nowhere: lines of calls at once may interleave there.
class Nowhere : public std::streambuf {
 protected:
  int overflow(int Letter) override { return traits_type::not_eof(Letter); }
  std::streamsize xsputn(const char*, std::streamsize Count) override { return Count; }
};

std::vector<std::string> Sorted(std::vector<std::string> Lines) {
  std::sort(Lines.begin(), Lines.end());
  return Lines;
}

TEST(Threads, CalibrationsAtOnceEachGetTheResultAndTheLinesThatTheyGetAlone) {
  const Scratch_Folder Folder;
  const Run_Input Input = Write_And_Describe(Small_Capture(), Folder);
  const Run_Output Alone = Run_First_Overload(Input);
  ASSERT_EQ(Alone.Code, 0);

  constexpr int Callers = 4;
  const Scratch_Folder Shared;
  std::vector<Run_Output> Outputs(Callers);
  Nowhere Discard;
  std::streambuf* Before = std::cout.rdbuf(&Discard);
  std::vector<std::thread> Threads;
  for (int i = 0; i < Callers; ++i) {
    Threads.emplace_back([&Input, &Shared, &Output = Outputs[static_cast<std::size_t>(i)]] {
      Output.Code = Calibration(Input.Csv_Path, Input.Board_Cols, Input.Board_Rows,
                                Input.Square_Size, Input.Chart_Euler_Deg, Input.Chart_Translation,
                                Output.Image_Size, Output.Norm_Fxy, Output.Norm_Cxy,
                                Output.Distortion, Output.Transform_Cam_Tc, Shared.String());
    });
  }
  for (std::thread& Thread : Threads) Thread.join();
  std::cout.rdbuf(Before);

  for (const Run_Output& Output : Outputs) {
    EXPECT_EQ(Output.Code, 0);
    EXPECT_EQ(Output.Transform_Cam_Tc, Alone.Transform_Cam_Tc);
    EXPECT_EQ(Output.Norm_Fxy, Alone.Norm_Fxy);
    EXPECT_EQ(Output.Distortion, Alone.Distortion);
  }
  // One file or two, by whether a second passed between the starts; whole lines, all of them.
  std::vector<std::string> Expected;
  for (int i = 0; i < Callers; ++i) {
    Expected.insert(Expected.end(), Alone.Log.begin(), Alone.Log.end());
  }
  EXPECT_EQ(Sorted(Read_Run_Log(Shared.Path())), Sorted(Expected));
}

}  // namespace
