// SPDX-License-Identifier: Apache-2.0
#include "host/command.h"

#include "host/text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>

namespace host {

void Print(const std::string& Text) {
  const bool Written = std::fwrite(Text.data(), 1, Text.size(), stdout) == Text.size();
  if ((std::fflush(stdout) != 0 || !Written) && errno == EPIPE) std::clearerr(stdout);
}

void Warn(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: warning: " + Text, 0));
}

void Complain(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: " + Text, 0));
}

}  // namespace host
