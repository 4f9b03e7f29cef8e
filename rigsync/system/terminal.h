// SPDX-License-Identifier: Apache-2.0
//
// What a terminal is told beyond text: colour, and only where somebody sees it.
#ifndef RIGSYNC_SYSTEM_TERMINAL_H
#define RIGSYNC_SYSTEM_TERMINAL_H

#include "rigsync/system/platform.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace rigsync {

// True for a terminal that understands colours, unless the environment has NO_COLOR set to anything
// but the empty text.
bool Uses_Colour(std::FILE* Stream);

enum class Style { Good, Warning, Bad, Strong, Faint };

// Text in the colours of Style when On is true, unchanged otherwise. Text that is to be folded or
// put in columns is painted afterwards, a line at a time: the colours' own characters have no
// width.
std::string Painted(Style Wanted, std::string_view Text, bool On);

// Every line of Text painted, the newlines between them left as they are.
std::string Painted_Lines(Style Wanted, std::string_view Text, bool On);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_TERMINAL_H
