// SPDX-License-Identifier: Apache-2.0
//
// The offset between the take's clock and that of the pictures: time on the take's clock less time
// on the pictures' clock, for the same instant.
//
// Without a timecode it is found by comparing when things move. That is ambiguous where holds and
// the time between them repeat, so each match tells its runner-up, and whether it is certain. The
// limits of certainty are measured on a model (tests/rigsync/import/clock_model_test.cpp; figures
// in docs/import.md).
#ifndef RIGSYNC_IMPORT_CLOCK_H
#define RIGSYNC_IMPORT_CLOCK_H

#include "rigsync/footage/footage.h"
#include "rigsync/import/body_motion.h"
#include "rigsync/import/holds.h"
#include "rigsync/import/import_record.h"
#include "rigsync/import/masked_correlation.h"

#include <optional>
#include <vector>

namespace rigsync {

// Both timecodes are seconds since midnight, of second 0 of either clock. They leave whole days
// open, so it is the offset nearest to Likely_Offset, which brings the pictures into the take.
// Certain.
Clock_Match Match_By_Timecode(double Take_Start, double Picture_Start, double Likely_Offset);

// One tracked body's speeds, and the speed up to which it stands still.
struct Body_Speeds {
  std::vector<Speed_Sample> Speeds;
  Speed_Limit Rest;
};

// The offset at which the speeds of the bodies and the differences between the clip's frames
// correlate best, over at least half of the shorter of the two. Score is the correlation there.
// Score 0, and not certain, where nothing can be compared.
Clock_Match Match_By_Motion(const std::vector<Body_Speeds>& Bodies, const Clip& From);

// The offset at which most photographs fall into holds, and most holds have a photograph. Score is
// their part: 1 if each photograph has a hold of its own, or each hold a photograph. One whose time
// is known to a second counts as much as of that second is hold. Score 0 without photographs or
// holds.
Clock_Match Match_By_Holds(const std::vector<Hold>& Holds, const Photographs& From);

// What both are compared by, at Signal_Steps_Hz steps a second: the logarithm of how much faster
// than at rest the fastest body moves, and of how much the frames differ, within bounds. The steps
// begin at Begin_Seconds of either clock.
constexpr double Signal_Steps_Hz = 100.0;
struct Timed_Signal {
  double Begin_Seconds = 0;
  Signal Values;
};
Timed_Signal Take_Signal(const std::vector<Body_Speeds>& Bodies);
Timed_Signal Clip_Signal(const Clip& From);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_CLOCK_H
