// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/terminal.h"

#include <fmt/color.h>

#include <algorithm>
#include <cstdlib>

namespace rigsync {
namespace {

// The sixteen colours that every terminal has: they follow the person's own choice of palette.
fmt::text_style Form_Of(Style Wanted) {
  switch (Wanted) {
    case Style::Good:
      return fmt::fg(fmt::terminal_color::green) | fmt::emphasis::bold;
    case Style::Warning:
      return fmt::fg(fmt::terminal_color::yellow) | fmt::emphasis::bold;
    case Style::Bad:
      return fmt::fg(fmt::terminal_color::red) | fmt::emphasis::bold;
    case Style::Strong:
      return fmt::emphasis::bold;
    case Style::Faint:
      return fmt::emphasis::faint;
  }
  return {};
}

bool Is_Set(const char* Variable) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here sets a variable
  const char* const Value = std::getenv(Variable);
  return Value != nullptr && *Value != '\0';
}

}  // namespace

bool Uses_Colour(std::FILE* Stream) {
  return Is_Terminal(Stream) && !Is_Set("NO_COLOR") && Terminal_Takes_Colours(Stream);
}

std::string Painted(Style Wanted, std::string_view Text, bool On) {
  if (!On || Text.empty()) return std::string(Text);
  return fmt::format(Form_Of(Wanted), "{}", Text);
}

std::string Painted_Lines(Style Wanted, std::string_view Text, bool On) {
  std::string Result;
  for (std::size_t At = 0; At < Text.size();) {
    const std::size_t End = std::min(Text.find('\n', At), Text.size());
    Result += Painted(Wanted, Text.substr(At, End - At), On);
    if (End < Text.size()) Result += '\n';
    At = End + 1;
  }
  return Result;
}

}  // namespace rigsync
