// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_log_file.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using rigsync::List_Run_Logs;
using rigsync::Run_Log_Since;
using rigsync::Run_Logs;

void Append(const std::filesystem::path& File, const std::string& Text) {
  std::ofstream(File, std::ios::app | std::ios::binary) << Text;
}

TEST(RunLogFile, TheListHasTheLogsOfTheFolderWithTheirSizes) {
  const Scratch_Folder Scratch;
  const char* const Log = "log_2022-11-17-09.05.33txt";
  Append(Scratch.Path() / Log, "12345");
  for (const char* Name : {"log_txt", "log_2022.txu", "lof_2022txt", "alog_2022txt", "result.json",
                           "log_2022-11-17-09.05.33txt~"}) {
    Append(Scratch.Path() / Name, "x");
  }
  EXPECT_EQ(List_Run_Logs(Scratch.Path()), (Run_Logs{{Log, 5}}));
  Append(Scratch.Path() / "log_1txt", "x");  // the shortest
  EXPECT_EQ(List_Run_Logs(Scratch.Path()), (Run_Logs{{"log_1txt", 1}, {Log, 5}}));
  EXPECT_TRUE(List_Run_Logs(Scratch.Path() / "none").empty());
}

TEST(RunLogFile, TheLogSinceThenIsTheLastThatIsNewOrHasGrown) {
  const Scratch_Folder Scratch;
  Append(Scratch.Path() / "log_1txt", "x");
  Append(Scratch.Path() / "log_2txt", "x");
  const Run_Logs Before = List_Run_Logs(Scratch.Path());
  EXPECT_EQ(Run_Log_Since(Before, Scratch.Path()), "");
  Append(Scratch.Path() / "log_1txt", "y");
  EXPECT_EQ(Run_Log_Since(Before, Scratch.Path()), Scratch.Path() / "log_1txt");
  Append(Scratch.Path() / "log_3txt", "x");
  EXPECT_EQ(Run_Log_Since(Before, Scratch.Path()), Scratch.Path() / "log_3txt");
}

}  // namespace
