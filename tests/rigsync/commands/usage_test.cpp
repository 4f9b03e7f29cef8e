// SPDX-License-Identifier: Apache-2.0
//
// Help, version, and what a wrong command line gets: status 2, one sentence, nothing else.
#include "rigsync/system/version.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::size_t Terminal_Width = 80;

TEST(Usage, HelpNamesEveryCommand) {
  const Finished Help = Rigsync({"--help"});
  EXPECT_EQ(Help.Status, 0);
  EXPECT_EQ(Help.Error, "");
  for (const char* Command :
       {"simulate", "inspect", "calibrate", "report", "compare", "export", "codes", "board"}) {
    EXPECT_THAT(Help.Output, HasSubstr(std::string("  ") + Command + " "));
  }
}

TEST(Usage, HelpOfEachCommandHasAnExampleAndFitsATerminal) {
  for (const char* Command :
       {"simulate", "inspect", "calibrate", "report", "compare", "export", "codes", "board"}) {
    SCOPED_TRACE(Command);
    const Finished Help = Rigsync({Command, "--help"});
    EXPECT_EQ(Help.Status, 0);
    EXPECT_EQ(Help.Error, "");
    EXPECT_THAT(Help.Output, AllOf(HasSubstr(std::string("Usage: rigsync ") + Command),
                                   HasSubstr(std::string("Example:\n  rigsync ") + Command)));
    EXPECT_LE(Widest_Line(Help.Output), Terminal_Width);
  }
  EXPECT_LE(Widest_Line(Rigsync({"--help"}).Output), Terminal_Width);
}

TEST(Usage, HelpAsAWordIsTheFlagOfTheProgramOrOfACommand) {
  const auto Is_Same = [](const std::vector<std::string>& Typed,
                          const std::vector<std::string>& With_Flag) {
    const Finished Help = Rigsync(Typed);
    return Help.Status == 0 && Help.Error.empty() && Help.Output == Rigsync(With_Flag).Output;
  };
  EXPECT_TRUE(Is_Same({"help"}, {"--help"}));
  EXPECT_TRUE(Is_Same({"help", "export"}, {"export", "--help"}));
  const Finished Unknown = Rigsync({"help", "exprot"});
  EXPECT_EQ(Unknown.Status, 2);
  EXPECT_THAT(Unknown.Error, AllOf(HasSubstr("'exprot'"), HasSubstr("expected one of simulate")));
}

TEST(Usage, SimulateHelpNamesEveryOptionOfTheSimulator) {
  const std::string Help = Rigsync({"simulate", "--help"}).Output;
  for (const char* Flag : {"--seed",
                           "--images",
                           "--size",
                           "--board",
                           "--square",
                           "--focal",
                           "--principal-point",
                           "--distortion",
                           "--camera-mount-euler",
                           "--camera-mount-offset",
                           "--board-mount-euler",
                           "--board-mount-offset",
                           "--position-noise",
                           "--rotation-noise",
                           "--stale",
                           "--stale-offset",
                           "--stale-angle",
                           "--jumped",
                           "--jump-offset",
                           "--jump-angle",
                           "--missing",
                           "--blank",
                           "--truncated",
                           "--cut",
                           "--markers",
                           "--marker-size",
                           "--estimate-error-angle",
                           "--estimate-error-offset",
                           "--spread",
                           "--blur",
                           "--sensor-noise",
                           "--lighting",
                           "--format",
                           "--jpeg-quality",
                           "--paths",
                           "--no-header",
                           "--take",
                           "--take-unit",
                           "--take-rate",
                           "--lost",
                           "--hold",
                           "--move",
                           "--clock-offset",
                           "--drift",
                           "--drift-angle",
                           "--lag",
                           "--clip",
                           "--regular-holds",
                           "--one-body"}) {
    EXPECT_THAT(Help, HasSubstr(std::string("  ") + Flag));
  }
}

// The parser converted the value to a number of times, and its exception was all that was told.
TEST(Usage, ASwitchWithAValueIsRefusedByItsName) {
  for (const char* const Value : {"nan", "x", "99999999999999999999"}) {
    const Finished Refused = Rigsync({"simulate", "nowhere", std::string("--clip=") + Value});
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_EQ(Refused.Error,
              "rigsync: --clip takes no value; write it alone, or leave it out\n"
              "  See 'rigsync simulate --help'.\n");
  }
}

TEST(Usage, VersionIsOneLine) {
  const Finished Version = Rigsync({"--version"});
  EXPECT_EQ(Version.Status, 0);
  EXPECT_EQ(Version.Output, std::string("rigsync ") + rigsync::Command_Version + "\n");
}

// Every option that the simulator can refuse, refused by way of its flag.
TEST(Usage, WhatTheSimulatorRefusesIsNamedByItsFlag) {
  const Scratch_Folder Scratch;
  const std::string Out = (Scratch.Path() / "out").string();
  const std::pair<std::vector<std::string>, const char*> Cases[] = {
      {{"--take", "tum", "--take-rate", "0.5"}, "--take-rate has to be from 1 to 2000 samples"},
      {{"--take", "tum", "--lost", "91"}, "--lost has to be from 0 to 90"},
      {{"--take", "tum", "--hold", "2,1"}, "--hold (shortest), --hold (longest) have to be two"},
      {{"--take", "tum", "--move", "0,1"}, "--move (shortest), --move (longest) have to be two"},
      {{"--take", "tum", "--clock-offset", "86401"}, "--clock-offset has to be at most a day"},
      {{"--take", "tum", "--take-unit", "mm"}, "--take-unit can be chosen for a Motive take only"},
      {{"--take", "tum", "--images", "0"}, "--images has to be at least 1 for a take or a clip"},
      {{"--drift=-1mm"}, "--drift has to be a number of at least 0"},
      {{"--drift-angle=-1"}, "--drift-angle has to be a number of at least 0"},
      {{"--lag", "401ms"}, "--lag has to be at most two fifths of the shortest hold"},
      {{"--one-body", "--stale", "1"}, "--stale has to be 0 when the board stands still"},
      {{"--clip", "--clock-offset", "1h"}, "--clock-offset: '1h' is wrong"},
      {{"--clip", "--clock-offset", "900"},
       "--clock-offset has to be below the length of the take"},
      {{"--clip", "--images", "99"},
       "--images, --size (width), --size (height), --hold (longest), --move (longest) together "
       "make "
       "a clip of"},
      {{"--images", "3", "--stale", "3"}, "--stale has to be below the number of images"},
      {{"--size", "15x480"}, "--size (width) has to be from 16 to 32767 pixels"},
      {{"--size", "640x40000"}, "--size (height) has to be from 16 to 32767 pixels"},
      {{"--focal", "0,1"}, "--focal (x) has to be above 0"},
      {{"--focal", "1,-1"}, "--focal (y) has to be"},
      {{"--principal-point", "1.1,0.5"}, "--principal-point (x) has to be from 0 to 1"},
      {{"--principal-point", "0.5,-1"}, "--principal-point (y) has to be from 0 to 1"},
      {{"--position-noise", "-1mm"}, "--position-noise has to be"},
      {{"--rotation-noise", "-1"}, "--rotation-noise has to be"},
      {{"--stale-offset", "-1mm"}, "--stale-offset has to be"},
      {{"--stale-angle", "-1"}, "--stale-angle has to be"},
      {{"--jump-offset", "-1mm"}, "--jump-offset has to be"},
      {{"--jump-angle", "-1"}, "--jump-angle has to be"},
      {{"--estimate-error-angle", "-1"}, "--estimate-error-angle has to be"},
      {{"--estimate-error-offset", "-1mm"}, "--estimate-error-offset has to be"},
      {{"--blur", "101"}, "--blur has to be at most 100"},
      {{"--sensor-noise", "-1"}, "--sensor-noise has to be"},
      {{"--lighting", "1.5"}, "--lighting has to be from 0 to 1"},
      {{"--images", "9", "--jumped", "5", "--blank", "5"},
       "--stale, --jumped, --missing, --blank, --truncated, --cut together have to be at most the "
       "number of images"},
      {{"--marker-size", "1"}, "--marker-size has to be from 0.1 to 0.9"},
      {{"--markers", "950"},
       "--markers, --board (columns), --board (rows) together need no more markers than the 1000"},
      {{"--distortion", "-60,0"},
       "--focal (x), --focal (y), --principal-point (x), --principal-point (y), --distortion (k1), "
       "--distortion (k2) have to describe a lens that shows the whole board"},
  };
  for (const auto& [Flags, Message] : Cases) {
    SCOPED_TRACE(Message);
    std::vector<std::string> Arguments = {"simulate", Out};
    Arguments.insert(Arguments.end(), Flags.begin(), Flags.end());
    const Finished Result = Rigsync(Arguments);
    EXPECT_EQ(Result.Status, 2);
    EXPECT_EQ(Result.Output, "");
    EXPECT_THAT(Result.Said, HasSubstr(std::string("rigsync: ") + Message));
    EXPECT_FALSE(std::filesystem::exists(Out));
  }
}

TEST(Usage, HelpComesFirstWhateverElseIsWrong) {
  const std::string Help = Rigsync({"export", "--help"}).Output;
  for (const std::vector<std::string>& Wrong :
       {std::vector<std::string>{"--to", "ue6"}, {"--to", "ue5", "--to", "ue5"}, {"--colour"}}) {
    SCOPED_TRACE(testing::PrintToString(Wrong));
    std::vector<std::string> Arguments = {"export", "r.json", "--help"};
    Arguments.insert(Arguments.end(), Wrong.begin(), Wrong.end());
    const Finished Result = Rigsync(Arguments);
    EXPECT_EQ(Result.Status, 0);
    EXPECT_EQ(Result.Output, Help);
    EXPECT_EQ(Result.Error, "");
  }
}

TEST(Usage, AWrongCommandLineEndsWithStatus2AndAMessageThatNamesTheMistake) {
  const Scratch_Folder Scratch;
  const std::string Out = (Scratch.Path() / "out").string();
  struct Case {
    std::vector<std::string> Arguments;
    std::vector<const char*> Named;
  };
  const std::vector<std::string> Good = {"calibrate",      "c.csv", "--board",       "11x8",
                                         "--square",       "30mm",  "--board-euler", "0,0,0",
                                         "--board-offset", "0,0,0", "--out",         Out};
  // Good with the value of Flag replaced.
  const auto With = [&](const std::string& Flag, const std::string& Value) {
    std::vector<std::string> Changed = Good;
    *(std::find(Changed.begin(), Changed.end(), Flag) + 1) = Value;
    return Changed;
  };
  const auto And = [&](std::vector<std::string> More) {
    std::vector<std::string> Longer = Good;
    Longer.insert(Longer.end(), More.begin(), More.end());
    return Longer;
  };
  const Case Cases[] = {
      {{}, {"a command is missing", "simulate, record, import, inspect, calibrate"}},
      {{"calibrat"}, {"'calibrat'", "expected one of simulate"}},
      {{"--colour"}, {"'--colour'", "expected one of simulate"}},
      {{"calibrate"}, {"CAPTURE is missing: the capture's CSV file"}},
      {{"calibrate", "c.csv"}, {"--out is missing: folder for"}},
      {{"calibrate", "c.csv", "--out", Out}, {"--board", "missing"}},
      {{"calibrate", "c.csv", "--out", Out, "--board", "11x8"}, {"--square", "missing"}},
      {With("--board", "11by8"), {"--board", "'11by8'", "expected", "11x8"}},
      {With("--board", "2x8"), {"--board", "'2x8'", "expected", "3 to 100"}},
      {With("--square", "30"), {"--square", "'30'", "expected", "30mm"}},
      {With("--board-euler", "1,2"), {"--board-euler", "'1,2'", "expected three angles"}},
      {With("--board-offset", "1,2,nan"), {"--board-offset", "'1,2,nan'", "three lengths"}},
      {With("--board-offset", "170,50,40"),
       {"--board-offset", "'170,50,40'", "at most 10 metres", "write 170mm,50mm,40mm"}},
      {With("--out", RIGSYNC_PROGRAM), {"--out", RIGSYNC_PROGRAM, "expected a folder"}},
      {With("--out", "/proc/rigsync"), {"--out", "'/proc/rigsync'", "expected a folder"}},
      {And({"--sensor", "23.76"}), {"--sensor", "'23.76'", "millimetres"}},
      {And({"--image-root", "/none"}), {"--image-root", "'/none'", "existing folder"}},
      {And({"--config", "/none.json"}), {"--config", "/none.json", "can't be opened"}},
      {And({"--colour", "red"}), {"'--colour' is not a flag of 'rigsync calibrate'"}},
      {And({"mm"}), {"unexpected argument 'mm'", "needs quotes"}},
      {And({"-20", "8"}), {"unexpected argument '-20'", "lists without spaces", "12,-20,8"}},
      {And({"50mm,", "40mm"}), {"unexpected argument '50mm,'", "lists without spaces"}},
      {{"calibrate", "c.csv", "--output", Out}, {"'--output' is not a flag of"}},
      {And({"--board", "11x8"}), {"--board is given more than once"}},
      {And({"--image-root"}), {"--image-root: the value is missing"}},
      {And({"--quiet", "--verbose"}), {"--verbose and --quiet can't be combined"}},
      {{"calibrate", "", "--out", Out, "--board", "11x8"}, {"CAPTURE", "''", "CSV file"}},
      {{"calibrate", "/tmp", "--out", Out, "--board", "11x8"}, {"/tmp: is a folder; expected"}},
      {{"inspect"}, {"CAPTURE"}},
      {{"inspect", "", "--no-images"}, {"CAPTURE", "''", "CSV file"}},
      {{"inspect", "c.csv"}, {"--board", "missing", "--no-images"}},
      {{"inspect", "c.csv", "--board", "11x8"}, {"--square", "missing"}},
      {{"inspect", "c.csv", "--board", "11", "--square", "1cm"}, {"--board", "'11'", "11x8"}},
      {{"inspect", "/none.csv", "--no-images"}, {"/none.csv", "doesn't exist"}},
      {{"inspect", "/tmp", "--no-images"}, {"/tmp", "is a folder"}},
      {{"inspect", "/dev/null", "--no-images"}, {"/dev/null", "not a regular file"}},
      {{"inspect", "c.csv", "--no-images", "--image-root", "/none"}, {"--image-root", "'/none'"}},
      {{"inspect", "c.csv", "--config", "/none.json"}, {"--config", "can't be opened"}},
      {{"simulate"}, {"DIR"}},
      {{"simulate", Out, "--images", "-1"}, {"--images", "'-1'", "whole number"}},
      {{"simulate", Out, "--images", "many"}, {"--images", "'many'", "whole number"}},
      {{"simulate", Out, "--size", "1920"}, {"--size", "'1920'", "1920x1080"}},
      {{"simulate", Out, "--spread", "wild"}, {"--spread", "'wild'", "same-pose"}},
      {{"simulate", Out, "--format", "bmp"}, {"--format", "'bmp'", "png, jpg"}},
      {{"simulate", Out, "--paths", "none"}, {"--paths", "'none'", "backslash"}},
      {{"simulate", Out, "--seed", "-1"}, {"--seed", "'-1'"}},
      {{"simulate", Out, "--images", "3", "--stale", "5"},
       {"--stale has to be below the number of images"}},
      {{"compare", "/none.json", "/none.json"}, {"/none.json", "can't be opened"}},
      {{"compare", "r.json", "t.json", "--max-offset", "5"}, {"--max-offset", "'5'", "5mm"}},
      {{"compare", "r.json", "t.json", "--max-offset", "-1mm"}, {"--max-offset", "0 to 1 metre"}},
      {{"compare", "r.json", "t.json", "--max-angle", "180"}, {"--max-angle", "below 180"}},
      {{"compare", "r.json", "t.json", "--max-angle", "-1"}, {"--max-angle", "'-1'"}},
      {{"export", "/none.json"}, {"--to"}},
      {{"export", "/none.json", "--to", "ue6"}, {"--to: 'ue6' is wrong", "ue5-xn"}},
      {{"export", "/none.json", "--to", "UE5"}, {"--to: 'UE5' is wrong", "one of ue4, ue5,"}},
      {{"export", "/none.json", "--to"}, {"--to: the value is missing"}},
      {{"export", "/none.json", "--to="}, {"--to: the value is missing"}},
      {{"board", "--board", "11x8", "-o"}, {"--output: the value is missing"}},
      {{"board", "-o", "a.svg", "-o", "b.svg"}, {"--output is given more than once"}},
      {{"compare", "r.json"}, {"REFERENCE is missing: result.json of"}},
      {{"export", "/none.json", "--to", "ue5"}, {"/none.json", "can't be opened"}},
      {{"export", "/proc", "--to", "ue5"}, {"/proc/result.json", "can't be opened"}},
  };
  for (const Case& Wrong : Cases) {
    SCOPED_TRACE(testing::PrintToString(Wrong.Arguments));
    const Finished Result = Rigsync(Wrong.Arguments);
    EXPECT_EQ(Result.Status, 2);
    EXPECT_EQ(Result.Output, "");
    for (const char* Name : Wrong.Named) EXPECT_THAT(Result.Said, HasSubstr(Name));
    EXPECT_THAT(Result.Said, AllOf(HasSubstr(" See 'rigsync"), EndsWith(" --help'.")));
    EXPECT_FALSE(std::filesystem::exists(Out));
  }
}

// A disk that is full, or a reader who is gone: the message is lost and the status is not.
TEST(Usage, AMessageThatCannotBeWrittenLeavesTheExitStatusAsItIs) {
  const std::string Program = RIGSYNC_PROGRAM;
  const Scratch_Folder Scratch;
  const std::string Narrow_Board = " board --board 11x8 --square 29mm --paper a3 -o '" +
                                   (Scratch.Path() / "b.svg").string() + "'";
  const std::pair<std::string, int> Cases[] = {
      {" calibrat", 2}, {" export /none.json --to ue5", 2}, {Narrow_Board, 0}};
  for (const auto& [Arguments, Status] : Cases) {
    SCOPED_TRACE(Arguments);
    EXPECT_EQ(Run_Program("/bin/sh", {"-c", Program + Arguments + " 2>/dev/full"}).Status, Status);
  }
  EXPECT_THAT(Run_Program("/bin/sh", {"-c", Program + Narrow_Board}).Error, HasSubstr("warning"));
}

TEST(Usage, OwnPaperHasSidesFrom50To5000Millimetres) {
  const Scratch_Folder Scratch;
  const std::string File = (Scratch.Path() / "b.svg").string();
  const std::pair<const char*, int> Cases[] = {
      {"50x50", 0}, {"49.9x60", 2}, {"60x49.9", 2}, {"5000x5000", 0}, {"5000.1x60", 2}};
  for (const auto& [Paper, Status] : Cases) {
    EXPECT_EQ(Rigsync({"board", "--board", "3x4", "--square", "5mm", "--paper", Paper, "-o", File})
                  .Status,
              Status)
        << Paper;
  }
}

}  // namespace
