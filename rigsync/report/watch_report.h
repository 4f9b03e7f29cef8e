// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync inspect --watch' shows of a capture that is being taken: one screen.
#ifndef RIGSYNC_REPORT_WATCH_REPORT_H
#define RIGSYNC_REPORT_WATCH_REPORT_H

#include "rigsync/inspect/watch.h"

#include <string>
#include <vector>

namespace rigsync {

// The lines that a screen of 24 has for it, the last one being for the cursor.
constexpr std::size_t Screen_Lines = 23;

// At most Screen_Lines lines of at most 80 characters, the advice last. What doesn't fit is told by
// 'rigsync inspect'.
std::vector<std::string> Watch_Lines(const Watched_Capture& Capture, bool Colour);

// Those of them that come before what is missing and the advice: the capture so far, with as many
// findings as Most lines have room for.
std::vector<std::string> State_Lines(const Watched_Capture& Capture, std::size_t Most, bool Colour);

// "Enough: ..." or "Next: ...", as one sentence.
std::string Advice_Text(const Watched_Capture& Capture);

// What the capture is short of, a sentence each.
std::vector<std::string> Shortage_Texts(const Watched_Capture& Capture);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_WATCH_REPORT_H
