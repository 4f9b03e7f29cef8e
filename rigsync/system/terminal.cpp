// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/terminal.h"

#include "rigsync/system/utf8.h"

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

// The length of a sequence that Painted makes, or 0. Others could hide what follows them.
std::size_t Paint_Length(std::string_view Text) {
  for (const std::string_view Known :
       {"\x1b[0m", "\x1b[1m", "\x1b[2m", "\x1b[31m", "\x1b[32m", "\x1b[33m"}) {
    if (Text.substr(0, Known.size()) == Known) return Known.size();
  }
  return 0;
}

// Control characters, among them those from U+0080 on, which some terminals obey, separators of
// lines, and marks that turn the direction of reading.
bool Can_Steer(std::uint32_t Code) {
  if (Code < 0x20) return Code != '\n' && Code != '\t';
  return (Code >= 0x7F && Code <= 0x9F) || Code == 0x061C || Code == 0x200E || Code == 0x200F ||
         (Code >= 0x2028 && Code <= 0x202E) || (Code >= 0x2066 && Code <= 0x2069);
}

}  // namespace

std::string Terminal_Text(std::string_view Text) {
  std::string Clean;
  for (std::size_t i = 0; i < Text.size();) {
    const Utf8_Character Next = Character_At(Text, i);
    const std::size_t Paint = Paint_Length(Text.substr(i));
    const std::size_t Kept = Paint > 0 ? Paint : Can_Steer(Next.Code) ? 0 : Next.Bytes;
    Clean += Kept > 0 ? Text.substr(i, Kept) : Replacement_Character;
    i += Kept > 0 ? Kept : std::max(Next.Bytes, std::size_t{1});
  }
  return Clean;
}

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
