// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/child_process.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>

namespace {

using rigsync::Child_Process;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t Plenty = 1 << 20;

TEST(ChildProcess, ItsOutputAndStatusAreTheProgramsOwn) {
  Child_Process Process("sh", {"-c", "printf 'one\\ntwo'; exit 7"});
  EXPECT_EQ(Process.Read_Rest(Plenty), "one\ntwo");
  EXPECT_EQ(Process.Wait(), 7);
  EXPECT_EQ(Process.Wait(), 7);
  EXPECT_THAT(Process.Error_Lines(), IsEmpty());
}

TEST(ChildProcess, NoShellTouchesTheArguments) {
  const std::vector<std::string> Words = {"a b", "", "$HOME", "*", "\"'\\", "-x", "\xc3\xa4\n;"};
  std::vector<std::string> Arguments = {"%s|"};
  Arguments.insert(Arguments.end(), Words.begin(), Words.end());
  Child_Process Process("printf", Arguments);
  std::string Expected;
  for (const std::string& Word : Words) Expected += Word + "|";
  EXPECT_EQ(Process.Read_Rest(Plenty), Expected);
}

TEST(ChildProcess, ABlockIsFullUntilTheOutputEnds) {
  // Three writes with pauses, of which a single read would see the first.
  Child_Process Process("sh", {"-c", "printf abc; sleep 0.05; printf de; sleep 0.05; printf fgh"});
  std::string Block(5, ' ');
  EXPECT_EQ(Process.Read(Block.data(), Block.size()), 5u);
  EXPECT_EQ(Block, "abcde");
  EXPECT_EQ(Process.Read(Block.data(), Block.size()), 3u);
  EXPECT_EQ(Block.substr(0, 3), "fgh");
  EXPECT_EQ(Process.Read(Block.data(), Block.size()), 0u);
}

TEST(ChildProcess, MoreOutputThanAllowedIsAnErrorAndNotMemory) {
  Child_Process Process("sh", {"-c", "while :; do printf 0123456789; done"});
  EXPECT_THROW(Process.Read_Rest(1000), std::runtime_error);
}

TEST(ChildProcess, KeepsTheLastLinesOfStandardErrorThatNobodyExpected) {
  std::vector<std::string> Expected_Lines;
  Child_Process Process(
      "sh",
      {"-c",
       "i=0; while [ $i -lt 30 ]; do echo line $i >&2; echo t $i >&2; i=$((i+1)); done;"
       "printf 'no newline' >&2"},
      [&](std::string_view Line) {
        const bool Is_Expected = Line.substr(0, 2) == "t ";
        if (Is_Expected) Expected_Lines.emplace_back(Line);
        return Is_Expected;
      });
  EXPECT_EQ(Process.Wait(), 0);
  EXPECT_THAT(Process.Error_Lines(),
              ElementsAre("line 21", "line 22", "line 23", "line 24", "line 25", "line 26",
                          "line 27", "line 28", "line 29", "no newline"));
  EXPECT_EQ(Expected_Lines.size(), 30u);
}

TEST(ChildProcess, ALineWithoutEndTakesNoMemory) {
  Child_Process Process("sh", {"-c", "head -c 10000000 /dev/zero | tr '\\0' x >&2"});
  EXPECT_EQ(Process.Wait(), 0);
  ASSERT_EQ(Process.Error_Lines().size(), 1u);
  EXPECT_EQ(Process.Error_Lines().front(), std::string(500, 'x'));
}

// Each stream alone fills its pipe many times over while the other is written too.
TEST(ChildProcess, FullPipesOfBothStreamsDontStopTheProgram) {
  Child_Process Process("sh", {"-c",
                               "i=0; while [ $i -lt 200 ]; do head -c 5000 /dev/zero; "
                               "head -c 5000 /dev/zero | tr '\\0' '\\n' >&2; i=$((i+1)); done"});
  EXPECT_EQ(Process.Read_Rest(Plenty).size(), 1000000u);
  EXPECT_EQ(Process.Wait(), 0);
}

TEST(ChildProcess, AProgramThatIsNotThereIsToldApart) {
  EXPECT_THROW(Child_Process("no-such-program-anywhere", {}), rigsync::Program_Not_Found);
  EXPECT_THROW(Child_Process("/no/such/program", {}), rigsync::Program_Not_Found);
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("program", "#!/bin/sh\n");
  try {
    const Child_Process Process(File, {});
    ADD_FAILURE() << "a file that is not executable was started";
  } catch (const rigsync::Program_Not_Found&) {
    ADD_FAILURE() << "a file that is there isn't found";
  } catch (const std::runtime_error& Error) {
    EXPECT_THAT(Error.what(), HasSubstr("'" + File + "' can't be started: Permission denied"));
  }
}

TEST(ChildProcess, AStatusBySignalIsTheShells) {
  Child_Process Process("sh", {"-c", "kill -TERM $$"});
  EXPECT_EQ(Process.Wait(), 128 + SIGTERM);
}

TEST(ChildProcess, EndsTheProgramWhenItIsDestroyedEarly) {
  const auto Start = std::chrono::steady_clock::now();
  pid_t Number = 0;
  {
    Child_Process Process("sh", {"-c", "echo $$; exec sleep 60"});
    std::string Line;
    for (char Letter = ' '; Letter != '\n'; Line += Letter) Process.Read(&Letter, 1);
    Number = std::stoi(Line);
    ASSERT_EQ(kill(Number, 0), 0);
  }
  EXPECT_EQ(kill(Number, 0), -1) << "the program still runs";
  EXPECT_LT(std::chrono::steady_clock::now() - Start, std::chrono::seconds(30));
}

TEST(ChildProcess, ReadsNothingFromOurStandardInput) {
  Child_Process Process("cat", {});
  EXPECT_EQ(Process.Read_Rest(Plenty), "");
  EXPECT_EQ(Process.Wait(), 0);
}

// As the command ignores them: a program that inherited this would write to a closed pipe for ever.
TEST(ChildProcess, TheProgramIsEndedByAClosedPipe) {
  for (const int Signal : {SIGPIPE, SIGXFSZ}) {
    const auto Before = std::signal(Signal, SIG_IGN);
    Child_Process Process("sh", {"-c", "kill -" + std::to_string(Signal) + " $$; echo survived"});
    EXPECT_EQ(Process.Read_Rest(Plenty), "");
    EXPECT_EQ(Process.Wait(), 128 + Signal);
    std::signal(Signal, Before);
  }
}

// Left: an argument; right: what stands for it, by the rules of the start-up code of programs on
// Windows.
TEST(ChildProcess, AWindowsCommandLineKeepsEachWord) {
  const std::pair<std::string, std::string> Cases[] = {
      {"plain", "plain"},
      {"", R"("")"},
      {"two words", R"("two words")"},
      {R"(C:\clips\a.mov)", R"(C:\clips\a.mov)"},
      {R"(C:\my clips\)", R"("C:\my clips\\")"},
      {R"(say "a")", R"("say \"a\"")"},
      {R"(a\"b)", R"("a\\\"b")"},
      {R"(a\\b c)", R"("a\\b c")"},
  };
  for (const auto& [Word, Quoted] : Cases) {
    EXPECT_EQ(rigsync::Windows_Command_Line({"ffmpeg", Word, "-y"}), "ffmpeg " + Quoted + " -y");
  }
}

}  // namespace
