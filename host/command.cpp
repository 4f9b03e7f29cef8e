// SPDX-License-Identifier: Apache-2.0
#include "host/command.h"

#include "host/text.h"

#include <fmt/format.h>

#include <cstdio>

namespace host {

void Warn(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: warning: " + Text, 0));
}

void Complain(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: " + Text, 0));
}

}  // namespace host
