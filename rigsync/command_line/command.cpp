// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/command.h"

#include "rigsync/system/platform.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdio>

namespace rigsync {
CLI::Option* Require_Choice(Command_Line& Line, CLI::Option* Option,
                            const std::vector<std::string>& Words) {
  Line.Choices[Option] = Words;
  const CLI::Validator Membership = CLI::IsMember(Words);
  return Option->check([Option, Words, Membership](const std::string& Value) {
    if (!Membership(Value).empty()) {
      Refuse(Option->get_name(), Value, fmt::format("one of {}", fmt::join(Words, ", ")));
    }
    return std::string();
  });
}

CLI::Option* Require_Value(CLI::Option* Option) {
  return Option->check([Option](const std::string& Value) {
    if (Value.empty()) Refuse(Option->get_name(), Value, "a value");
    return std::string();
  });
}

void Print(const std::string& Text) {
  Print_Screen(Is_Terminal(stdout) ? Terminal_Text(Text) : Text);
}

void Print_Screen(const std::string& Text) {
  const bool Written = std::fwrite(Text.data(), 1, Text.size(), stdout) == Text.size();
  if ((std::fflush(stdout) != 0 || !Written) && Reader_Is_Gone()) std::clearerr(stdout);
}

void Print_Error(const std::string& Text) {
  std::fputs(Terminal_Text(Text).c_str(), stderr);
}

void Warn(const std::string& Text) {
  Print_Error(Folded("rigsync: warning: " + Text, 0));
}

void Complain(const std::string& Text) {
  Print_Error(Folded("rigsync: " + Text, 0));
}

}  // namespace rigsync
