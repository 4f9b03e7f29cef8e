// SPDX-License-Identifier: Apache-2.0
//
// Colour on terminals that support it.
#ifndef RIGSYNC_SYSTEM_TERMINAL_H
#define RIGSYNC_SYSTEM_TERMINAL_H

#include "rigsync/system/platform.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace rigsync {

// True for a terminal that supports colours, unless the environment variable NO_COLOR is set and
// not empty.
bool Uses_Colour(std::FILE* Stream);

enum class Style { Good, Warning, Bad, Strong, Faint };

// Text in the colours of Style when In_Colour is true, unchanged otherwise. Fold and align text
// before painting it, because the control sequences have no width on the terminal. Paint one line
// at a time.
std::string Painted(Style Text_Style, std::string_view Text, bool In_Colour);

// Text for a terminal: what is painted stays, and nothing else in it, such as the name of a file,
// can steer the terminal or turn the direction of reading. Other control characters than newline
// and tab, and bytes that are no UTF-8, become U+FFFD.
std::string Terminal_Text(std::string_view Text);

// Paints every line of Text but not the newlines between them.
std::string Painted_Lines(Style Text_Style, std::string_view Text, bool In_Colour);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_TERMINAL_H
