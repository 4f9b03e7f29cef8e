// SPDX-License-Identifier: Apache-2.0
//
// For a test that starts a program: what the program must not get from whoever started the tests,
// and what keeps it from going on without them.
#ifndef RIGSYNC_TESTS_SUPPORT_CHILD_LIMITS_H
#define RIGSYNC_TESTS_SUPPORT_CHILD_LIMITS_H

#include "tests/support/sanitized.h"

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <initializer_list>

#ifdef __linux__
#include <sys/prctl.h>
#endif

// A test is ended after 240 seconds; its programs are ended a little earlier, so that the test can
// still say which one it was.
constexpr unsigned Child_Seconds = 230;
// Far more than these tests need, and less than a machine that builds them has.
constexpr rlim_t Child_Bytes = rlim_t{4} << 30;

// Signals do what they do by default, also when the tests were started with some of them ignored or
// blocked, as nohup and a shell's background jobs do.
inline void Reset_Signals() {
  for (const int Signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM}) {
    signal(Signal, SIG_DFL);
  }
  sigset_t None;
  sigemptyset(&None);
  sigprocmask(SIG_SETMASK, &None, nullptr);
}

// Called in the child, between fork and exec, by the process Parent that forked: resets signals,
// ends the child with the thread that started it, and bounds its time and memory. Only calls
// functions that are safe after a fork.
inline void Limit_Child(pid_t Parent) {
  Reset_Signals();
#ifdef __linux__
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != Parent) _exit(127);  // it has ended meanwhile
#else
  (void)Parent;
#endif
  alarm(Child_Seconds);  // which exec leaves running
  // A sanitizer reserves terabytes that it never uses.
#ifndef RIGSYNC_SANITIZED
  const rlimit Memory = {Child_Bytes, Child_Bytes};
  setrlimit(RLIMIT_DATA, &Memory);  // not RLIMIT_AS: every thread reserves more than it uses
#endif
}

#endif  // RIGSYNC_TESTS_SUPPORT_CHILD_LIMITS_H
