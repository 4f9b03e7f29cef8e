// SPDX-License-Identifier: Apache-2.0
#include "host/quiet_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

// gcc has a macro for the address sanitizer, clang a feature test.
#if defined(__SANITIZE_ADDRESS__)
#define RIGSYNC_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIGSYNC_ADDRESS_SANITIZER
#endif
#endif

namespace host {
namespace {

void Flush_All() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

// Redirects Descriptor to Nowhere and returns a copy of what it was, or -1 when it stays as it is.
int Redirect(int Descriptor, int Nowhere) {
  const int Kept = fcntl(Descriptor, F_DUPFD_CLOEXEC, 3);
  if (Kept >= 0) dup2(Nowhere, Descriptor);
  return Kept;
}

void Restore(int Descriptor, int Kept) {
  if (Kept < 0) return;
  dup2(Kept, Descriptor);
  close(Kept);
}

}  // namespace

Quiet_Output::Quiet_Output(bool Quiet) {
  if (!Quiet) return;
  const int Nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (Nowhere < 0) return;
  Flush_All();
  Kept_Output = Redirect(STDOUT_FILENO, Nowhere);
  if (Quiets_Standard_Error()) Kept_Error = Redirect(STDERR_FILENO, Nowhere);
  // With a standard descriptor closed, open may have returned that very number.
  if (Nowhere > STDERR_FILENO) close(Nowhere);
}

Quiet_Output::~Quiet_Output() {
  Flush_All();
  Restore(STDOUT_FILENO, Kept_Output);
  Restore(STDERR_FILENO, Kept_Error);
}

bool Quiets_Standard_Error() {
#if defined(RIGSYNC_ADDRESS_SANITIZER)
  return false;
#else
  return true;
#endif
}

}  // namespace host
