// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
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

TEST(WatchCommand, APageIsNeverWrittenInThePlaceOfAnotherFile) {
  const Scratch_Folder Scratch;
  const std::string Capture = Scratch.String() + "/capture.csv";
  fs::copy_file(Capture_File("capture.csv"), Capture);
  const std::string Values = Scratch.Write("stage.json", "{}");
  const std::string Older = Scratch.Write("page.html", "<!DOCTYPE html><html></html>\n");
  const auto Watch = [&](const std::string& Page) {
    return Rigsync({"inspect", Capture, "--board", "7x5", "--square", "30mm", "--image-root",
                    Capture_File("capture.csv").parent_path().string(), "--watch", "--until-enough",
                    "--page", Page});
  };
  for (const std::string& Page : {Capture, Values, Scratch.String()}) {
    SCOPED_TRACE(Page);
    const Finished Done = Watch(Page);
    EXPECT_EQ(Done.Status, 2);
    EXPECT_EQ(Done.Output, "");
    EXPECT_THAT(Done.Said, AllOf(HasSubstr("--page"), HasSubstr(Page)));
  }
  EXPECT_EQ(Read_Text(Capture), Read_Text(Capture_File("capture.csv")));
  EXPECT_EQ(Read_Text(Values), "{}");
  EXPECT_EQ(Watch(Older).Status, 0);
  EXPECT_THAT(Read_Text(Older), HasSubstr("Enough: the mount is known to"));
}

TEST(WatchCommand, ACsvThatIsYetToComeIsNoPlaceForThePage) {
  const Scratch_Folder Scratch;
  const Finished Done = Rigsync({"inspect", "new.csv", "--board", "7x5", "--square", "30mm",
                                 "--watch", "--page", "./new.csv"},
                                Scratch.Path());
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, HasSubstr("new.csv is the capture"));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "new.csv"));
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
