// SPDX-License-Identifier: Apache-2.0
//
// The rules under which tests start programs.
#include "tests/support/child_limits.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>

namespace {

int Status_Of(pid_t Child) {
  int State = 0;
  EXPECT_EQ(waitpid(Child, &State, 0), Child);
  return WIFEXITED(State) ? WEXITSTATUS(State) : 128 + WTERMSIG(State);
}

TEST(ChildLimits, AnIgnoredOrBlockedSignalEndsAChild) {
  Reset_Signals();
  signal(SIGINT, SIG_IGN);
  sigset_t Blocked;
  sigemptyset(&Blocked);
  sigaddset(&Blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &Blocked, nullptr);
  for (const int Signal : {SIGINT, SIGTERM}) {
    const pid_t Parent = getpid(), Child = fork();
    if (Child == 0) {
      Limit_Child(Parent);
      raise(Signal);
      _exit(0);
    }
    EXPECT_EQ(Status_Of(Child), 128 + Signal);
  }
  Reset_Signals();
}

#ifdef __linux__
// The pipe is open for writing as long as one of the children lives.
TEST(ChildLimits, AChildEndsWithTheProcessThatStartedIt) {
  int Ends[2];
  ASSERT_EQ(pipe(Ends), 0);
  const pid_t Tester = fork();
  if (Tester == 0) {
    const pid_t Parent = getpid();
    if (fork() == 0) {
      Limit_Child(Parent);
      if (write(Ends[1], "x", 1) != 1) _exit(1);
      for (;;) pause();
    }
    char Ready = 0;
    _exit(read(Ends[0], &Ready, 1) == 1 ? 0 : 1);
  }
  close(Ends[1]);
  EXPECT_EQ(Status_Of(Tester), 0);
  alarm(20);  // ends this test if the child lives on
  char More = 0;
  EXPECT_EQ(read(Ends[0], &More, 1), 0);
  alarm(0);
  close(Ends[0]);
}
#endif

#ifndef RIGSYNC_SANITIZED
TEST(ChildLimits, MemoryBeyondTheBoundIsNotGiven) {
  const pid_t Parent = getpid(), Child = fork();
  if (Child == 0) {
    Limit_Child(Parent);
    _exit(std::malloc(Child_Bytes) == nullptr ? 0 : 1);
  }
  EXPECT_EQ(Status_Of(Child), 0);
}
#endif

}  // namespace
