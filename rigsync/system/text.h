// SPDX-License-Identifier: Apache-2.0
//
// Text as the command prints it: sentences folded to the width of a terminal, and one-line forms of
// texts from other sources.
#ifndef RIGSYNC_SYSTEM_TEXT_H
#define RIGSYNC_SYSTEM_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace rigsync {

// The width, in characters, that everything the command prints is laid out for.
constexpr std::size_t Terminal_Width = 80;

// Text folded at spaces, every line indented by Indent columns and ended by a newline. A word that
// is longer than a line, such as a path, gets its own line and is never split. A newline in Text
// starts a new line.
std::string Folded(std::string_view Text, std::size_t Indent, std::size_t Width = Terminal_Width);

// Text with every run of spaces, newlines and other control characters replaced by one space, and
// none at the ends. Exception texts of libraries may have several lines; a sentence on standard
// error must not.
std::string One_Line(std::string_view Text);

// Text with the letters A to Z in lower case, independent of the locale.
std::string Lower_Case(std::string Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_TEXT_H
