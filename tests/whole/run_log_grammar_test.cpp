// SPDX-License-Identifier: Apache-2.0
//
// Real run logs compared with the grammar on the page that describes them: each log follows it, and
// other text does not. The tests of the other codes check their logs in the same way.
#include "rigsync_core.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

// Rotated by some tens of degrees about each axis.
const std::vector<double> Mount = {0.851651,  -0.309975, -0.422618, 0.06,     0.052378, 0.852656,
                                   -0.519837, -0.14,     0.521491,  0.420583, 0.742403, -0.08,
                                   0.0,       0.0,       0.0,       1.0};
// A pitch of 90 degrees in Unreal Engine 4 and a gimbal lock for Aximmetry.
const std::vector<double> Identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
const std::vector<double> Upright = {1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1};

TEST(RunLogGrammar, HoldsForEveryExportAndBothGimbalLocks) {
  bool UE4_Locked = false, Aximmetry_Locked = false;
  for (const std::vector<double>& Transform : {Mount, Identity, Upright}) {
    const Quiet_Output Quiet;
    const auto Check = [&](const auto& Call) {
      const Scratch_Folder Folder;
      std::vector<double> A, B, C, D;
      const int Code = Call(A, B, C, D, Folder.String());
      Expect_Logs_Follow_Grammar("export", Folder.Path());
      const auto Log = Read_Run_Log(Folder.Path());
      UE4_Locked = UE4_Locked || Code == 3;
      Aximmetry_Locked =
          Aximmetry_Locked || !Lines_Starting(Log, "Encountered Gimbal lock").empty();
    };
    using Numbers = std::vector<double>;
    Check([&](Numbers& A, Numbers& B, Numbers&, Numbers&, const std::string& Folder) {
      return CamAxisToUE4(Transform, A, B, Folder);
    });
    Check([&](Numbers& A, Numbers& B, Numbers&, Numbers&, const std::string& Folder) {
      return CamAxisToUE5(Transform, A, B, Folder);
    });
    Check([&](Numbers& A, Numbers& B, Numbers&, Numbers&, const std::string& Folder) {
      return CamAxisToUE5_ExportxN(Transform, A, B, Folder);
    });
    Check([&](Numbers& A, Numbers& B, Numbers& C, Numbers& D, const std::string& Folder) {
      return CamAxisToAximmetry({1.1, 1.9}, {0.5, 0.5}, Transform, A, B, C, D, Folder);
    });
  }
  EXPECT_TRUE(UE4_Locked);
  EXPECT_TRUE(Aximmetry_Locked);
}

TEST(RunLogGrammar, HoldsForTheSecondOverloadAndForNoOtherText) {
  const Scratch_Folder Folder;
  simulate::Options Options = Small_Capture();
  Options.Width = 640;
  Options.Height = 360;
  Options.Board_Cols = 7;
  Options.Board_Rows = 4;
  const Run_Input Input = Write_And_Describe(Options, Folder);
  ASSERT_EQ(Run_Second_Overload(Input).Code, 0);
  Expect_Logs_Follow_Grammar("calibration", Input.Output_Dir);

  std::vector<std::string> Lines;
  std::istringstream Log(Read_Text(Run_Logs(Input.Output_Dir).front()));
  for (std::string Line; std::getline(Log, Line);) Lines.push_back(Line);
  const std::string Page = std::string(RIGSYNC_SOURCE_DIR) + "/docs/run-log.md";
  const auto Follows = [&](const std::vector<std::string>& Text) {
    std::string Whole;
    for (const std::string& Line : Text) Whole += Line + "\n";
    const std::string Command = "python3 '" RIGSYNC_SOURCE_DIR "/tests/whole/check_run_log.py' '" +
                                Page + "' calibration '" + Folder.Write("changed", Whole) +
                                "' > /dev/null 2>&1";
    return std::system(Command.c_str()) == 0;
  };
  ASSERT_TRUE(Follows(Lines));
  for (const std::size_t Missing :
       {std::size_t{0}, std::size_t{1}, Lines.size() - 5, Lines.size() - 1}) {
    std::vector<std::string> Fewer = Lines;
    Fewer.erase(Fewer.begin() + static_cast<std::ptrdiff_t>(Missing));
    EXPECT_FALSE(Follows(Fewer)) << Lines[Missing];
  }
  std::vector<std::string> Changed = Lines;
  Changed.back() += " ";
  EXPECT_FALSE(Follows(Changed));
  Changed = Lines;
  std::swap(Changed[0], Changed[1]);
  EXPECT_FALSE(Follows(Changed));
}

}  // namespace
