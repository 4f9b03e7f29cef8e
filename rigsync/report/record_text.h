// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync record' says: one line while it runs, and what was recorded at the end.
#ifndef RIGSYNC_REPORT_RECORD_TEXT_H
#define RIGSYNC_REPORT_RECORD_TEXT_H

#include "rigsync/record/live_state.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace rigsync {

// "0:42  take the picture now (hold 3)  freed-1 still 100 Hz, freed-2 still 100 Hz". What matters
// most comes first, for a terminal has no more than a line.
std::string Live_Line(const Live_View& View);

// What to look at when nothing that is known has come for some seconds. Sources is what the command
// listens to: "FreeD on port 6301".
std::string Silence_Text(const Live_View& View, const std::string& Sources);

// The recording as a whole, and the command that comes next.
std::string Recorded_Text(const Live_View& View, const std::filesystem::path& File,
                          std::uint64_t Size);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_RECORD_TEXT_H
