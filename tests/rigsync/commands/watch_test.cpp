// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

std::vector<std::string> Watch_Arguments(const std::vector<std::string>& More) {
  std::vector<std::string> Arguments = {
      "inspect", Capture_File("capture.csv").string(), "--board", "7x5", "--square", "30mm",
      "--watch"};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Arguments;
}

TEST(WatchCommand, EndsWithStatus0WhenAFinishedCaptureHasEnough) {
  const Scratch_Folder Scratch;
  const std::string Page = (Scratch.Path() / "watch.html").string();
  const Finished Done = Rigsync(Watch_Arguments({"--until-enough", "--page", Page}));
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Read_Text(Page), HasSubstr("Enough: the mount is known to"));
  EXPECT_THAT(Done.Output, HasSubstr("board found in 14 of 14 data lines"));
  EXPECT_THAT(Done.Output, HasSubstr("\nEnough: the mount is known to"));
  EXPECT_EQ(Done.Output.find('\x1b'), std::string::npos);
  EXPECT_LE(Line_Count(Done.Output), 23U);
  EXPECT_LE(Widest_Line(Done.Output), 80U);
}

TEST(WatchCommand, CtrlCEndsItWithStatus0AndLeavesTheScreenAsItIs) {
  const Terminal_Run Run =
      Rigsync_On_Terminal(Watch_Arguments({}), {}, [](const std::string& Shown) {
        return Shown.find("can be calibrated") != std::string::npos;
      });
  EXPECT_EQ(Run.Status, 0);
  EXPECT_THAT(Run.Shown, HasSubstr("\x1b[2J"));
  // Nothing that would have to be undone: no other screen, no hidden cursor.
  EXPECT_EQ(Run.Shown.find("\x1b[?"), std::string::npos);
}

TEST(WatchCommand, FlagsThatMakeNoSenseTogetherAreRefused) {
  for (const char* const Other : {"--json", "--no-images"}) {
    const Finished Done = Rigsync(Watch_Arguments({Other}));
    EXPECT_EQ(Done.Status, 2);
    EXPECT_THAT(Done.Said, HasSubstr("--watch"));
  }
  std::vector<std::string> Without_Watch = Watch_Arguments({});
  Without_Watch.back() = "--until-enough";
  const Finished Done = Rigsync(Without_Watch);
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, HasSubstr("--until-enough"));
}

}  // namespace
