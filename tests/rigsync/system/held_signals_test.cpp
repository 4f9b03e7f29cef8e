// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/platform.h"

#include "tests/support/child_limits.h"
#include "tests/support/scratch_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

namespace {

namespace fs = std::filesystem;

class HeldSignals : public testing::Test {
 protected:
  HeldSignals() { Reset_Signals(); }
};

TEST_F(HeldSignals, ASignalWaitsForTheLastOfThem) {
  EXPECT_EXIT(
      {
        {
          const rigsync::Held_Signals Outer;
          {
            const rigsync::Held_Signals Inner;
            std::raise(SIGINT);
          }
          std::fputs("still here", stderr);
        }
        std::fputs("too late", stderr);
      },
      testing::KilledBySignal(SIGINT), "^still here$");
}

TEST_F(HeldSignals, TheSecondSignalEndsTheProcess) {
  EXPECT_EXIT(
      {
        const rigsync::Held_Signals Held;
        std::raise(SIGTERM);
        std::raise(SIGTERM);
        std::fputs("too late", stderr);
      },
      testing::KilledBySignal(SIGTERM), "^$");
}

TEST_F(HeldSignals, AnIgnoredSignalStaysIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  {
    const rigsync::Held_Signals Held;
    std::raise(SIGHUP);
  }
  EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

TEST_F(HeldSignals, WhatHandledSignalsBeforeHandlesTheOneThatWaited) {
  const rigsync::Stop_Request Stop;
  {
    const rigsync::Held_Signals Held;
    std::raise(SIGINT);
    EXPECT_TRUE(Stop.Wait(0.0));
  }
  EXPECT_FALSE(Stop.Wait(0.0));
}

// A pipe that nobody reads takes 64 kB and then makes its writer wait.
TEST_F(HeldSignals, AnInterruptionEndsTheProcessThoughNobodyReadsItsText) {
  int Ends[2];
  ASSERT_EQ(pipe(Ends), 0);
  const pid_t Child = fork();
  if (Child == 0) {
    alarm(20);
    dup2(Ends[1], STDERR_FILENO);
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    while (write(STDERR_FILENO, "x", 1) == 1) {
    }
    fcntl(STDERR_FILENO, F_SETFL, 0);
    const rigsync::Interrupt_Text Text("interrupted");
    std::raise(SIGTERM);
    _exit(0);
  }
  int State = 0;
  ASSERT_EQ(waitpid(Child, &State, 0), Child);
  EXPECT_TRUE(WIFSIGNALED(State) && WTERMSIG(State) == SIGTERM) << State;
  close(Ends[0]);
  close(Ends[1]);
}

TEST(FolderLock, NobodyHasThatOfAFolderWhichIsNotThere) {
  const Scratch_Folder Scratch;
  EXPECT_FALSE(rigsync::Folder_Lock(Scratch.Path() / "none", 0.0).Is_Taken());
  EXPECT_FALSE(fs::exists(Scratch.Path() / "none"));
}

TEST(FolderLock, IsHadByOneProcessAtATimeAndEndsWithIt) {
  const Scratch_Folder Scratch;
  int Ready[2], Done[2];
  ASSERT_EQ(pipe(Ready), 0);
  ASSERT_EQ(pipe(Done), 0);
  const pid_t Parent = getpid(), Child = fork();
  if (Child == 0) {
    Limit_Child(Parent);
    const rigsync::Folder_Lock Lock(Scratch.Path(), 0.0);
    if (write(Ready[1], Lock.Is_Taken() ? "t" : "f", 1) != 1) _exit(1);
    char Letter = 0;
    _exit(read(Done[0], &Letter, 1) == 1 ? 0 : 1);
  }
  char Letter = 0;
  ASSERT_EQ(read(Ready[0], &Letter, 1), 1);
  EXPECT_EQ(Letter, 'f');
  EXPECT_TRUE(rigsync::Folder_Lock(Scratch.Path(), 0.0).Is_Taken());
  EXPECT_TRUE(rigsync::Folder_Lock(Scratch.Path(), 0.05).Is_Taken());
  ASSERT_EQ(write(Done[1], "d", 1), 1);
  EXPECT_FALSE(rigsync::Folder_Lock(Scratch.Path(), 20.0).Is_Taken());
  EXPECT_TRUE(fs::is_empty(Scratch.Path()));
  waitpid(Child, nullptr, 0);
  for (const int End : {Ready[0], Ready[1], Done[0], Done[1]}) close(End);
}

// The open files of this process without a name whose name was in a folder.
std::vector<fs::path> Nameless_Files(const fs::path& Folder) {
  std::vector<fs::path> Files;
  for (const auto& Entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code Closed;  // the iterator's own descriptor
    const std::string Target = fs::read_symlink(Entry.path(), Closed).string();
    const bool Is_Below = Target.rfind(Folder.string() + "/", 0) == 0;
    if (Is_Below && Target.find(" (deleted)") != std::string::npos) Files.push_back(Entry.path());
  }
  return Files;
}

TEST(ReservedSpace, IsTakenFromTheDiskAndHasNoName) {
  const Scratch_Folder Scratch;
  constexpr std::size_t Bytes = 1 << 20;
  {
    const rigsync::Reserved_Space Reserved(Scratch.Path(), Bytes);
    EXPECT_TRUE(fs::is_empty(Scratch.Path()));
    const auto Files = Nameless_Files(Scratch.Path());
    ASSERT_EQ(Files.size(), 1U);
    struct stat Status = {};
    ASSERT_EQ(stat(Files[0].c_str(), &Status), 0);
    constexpr std::size_t Block_Bytes = 512;
    EXPECT_GE(Block_Bytes * static_cast<std::size_t>(Status.st_blocks), Bytes);
  }
  EXPECT_TRUE(Nameless_Files(Scratch.Path()).empty());
}

}  // namespace
