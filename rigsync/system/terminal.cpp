// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/terminal.h"

#include <fmt/color.h>

#include <algorithm>
#include <cstdlib>

namespace rigsync {
namespace {

// Only the sixteen basic colours, which follow the user's own palette.
fmt::text_style Form_Of(Style Text_Style) {
  switch (Text_Style) {
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

std::string Painted(Style Text_Style, std::string_view Text, bool In_Colour) {
  if (!In_Colour || Text.empty()) return std::string(Text);
  return fmt::format(Form_Of(Text_Style), "{}", Text);
}

std::string Painted_Lines(Style Text_Style, std::string_view Text, bool In_Colour) {
  std::string Result;
  for (std::size_t Start = 0; Start < Text.size();) {
    const std::size_t End = std::min(Text.find('\n', Start), Text.size());
    Result += Painted(Text_Style, Text.substr(Start, End - Start), In_Colour);
    if (End < Text.size()) Result += '\n';
    Start = End + 1;
  }
  return Result;
}

}  // namespace rigsync
