// SPDX-License-Identifier: Apache-2.0
//
// Text as the command prints it: sentences folded to the width of a terminal, and one-line forms
// of texts that come from elsewhere.
#ifndef RIGSYNC_SYSTEM_TEXT_H
#define RIGSYNC_SYSTEM_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace rigsync {

// Everything the command prints stays readable at this width.
constexpr std::size_t Terminal_Width = 80;

// Text folded at blanks, every line indented by Indent columns and ended by a newline. A word that
// is wider than a line, such as a path, gets a line of its own and is never cut. A newline in Text
// starts a new line.
std::string Folded(std::string_view Text, std::size_t Indent, std::size_t Width = Terminal_Width);

// Text with every run of blanks, newlines and other control characters as one blank, none at the
// ends. What a library throws may span lines; a sentence on standard error does not.
std::string One_Line(std::string_view Text);

// Text with the letters A to Z as a to z, whatever the locale.
std::string Lower_Case(std::string Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_TEXT_H
