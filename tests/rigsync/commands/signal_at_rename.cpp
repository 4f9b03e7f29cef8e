// SPDX-License-Identifier: Apache-2.0
//
// Loaded before the C library (LD_PRELOAD), sends the process SIGTERM when a file has got the name
// that RIGSYNC_SIGNAL_AT says: a signal at a moment that lasts less than a millisecond.
#include <dlfcn.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int rename(const char* From, const char* To) noexcept {
  using Rename = int (*)(const char*, const char*);
  const auto Real = reinterpret_cast<Rename>(dlsym(RTLD_NEXT, "rename"));
  const int Outcome = Real(From, To);
  const char* const Awaited = std::getenv("RIGSYNC_SIGNAL_AT");
  if (Awaited != nullptr && std::strcmp(To, Awaited) == 0) std::raise(SIGTERM);
  return Outcome;
}
