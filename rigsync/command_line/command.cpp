// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/command.h"

#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdio>

namespace rigsync {
namespace {

// An option has no place for notes of one's own. A validator that takes everything has a name.
constexpr const char* Offer_Prefix = "offered:";

}  // namespace

CLI::Option* Offer(CLI::Option* Option, const std::vector<std::string>& Words) {
  const std::string Name = fmt::format("{}{}", Offer_Prefix, fmt::join(Words, " "));
  return Option->check(CLI::Validator([](std::string&) { return std::string(); }, "", Name));
}

std::vector<std::string> Offered_Words(CLI::Option& Option) {
  for (int i = 0;; ++i) {
    try {
      const std::string Name = Option.get_validator(i)->get_name();
      if (Name.rfind(Offer_Prefix, 0) != 0) continue;
      return CLI::detail::split(Name.substr(std::string(Offer_Prefix).size()), ' ');
    } catch (const CLI::OptionNotFound&) {
      return {};
    }
  }
}

void Print(const std::string& Text) {
  const bool Written = std::fwrite(Text.data(), 1, Text.size(), stdout) == Text.size();
  if ((std::fflush(stdout) != 0 || !Written) && Reader_Is_Gone()) std::clearerr(stdout);
}

void Warn(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: warning: " + Text, 0));
}

void Complain(const std::string& Text) {
  fmt::print(stderr, "{}", Folded("rigsync: " + Text, 0));
}

}  // namespace rigsync
