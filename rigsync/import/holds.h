// SPDX-License-Identifier: Apache-2.0
//
// Holds: the stretches of a take in which every tracked body stands still.
#ifndef RIGSYNC_IMPORT_HOLDS_H
#define RIGSYNC_IMPORT_HOLDS_H

#include "rigsync/import/body_motion.h"
#include "rigsync/import/import_record.h"
#include "rigsync/take/take.h"

#include <optional>
#include <vector>

namespace rigsync {

// On the take's clock.
struct Hold {
  double Begin_Seconds = 0, End_Seconds = 0;

  double Duration() const { return End_Seconds - Begin_Seconds; }
};

struct Hold_Options {
  // Up to these speeds a body stands still. None: what the noise of the body asks for
  // (Rest_Limit), at least Least_Rest_Limit.
  std::optional<Speed_Limit> Rest;
  double Least_Seconds = 0.5;  // of a hold
};

// What a tripod with a person beside it may do: 10 mm/s and 0.5 degrees/s.
constexpr Speed_Limit Least_Rest_Limit{0.010, 0.0087266462599716};

// An interruption of at most this time, after which the bodies stand where they stood before it,
// is part of a hold: lost samples, and samples that jumped away and back.
constexpr double Longest_Interruption_Seconds = 0.5;

// One body's side of it.
struct Body_Rest {
  Body_Facts Facts;
  std::vector<Speed_Sample> Speeds;
  std::vector<Hold> Still;  // however short, in the order of time
};
Body_Rest Find_Rest(const Body_Track& Body, const Hold_Options& Options);

struct Hold_Search {
  Body_Facts Camera, Board;  // Board stays empty without a tracked board
  std::vector<Speed_Sample> Camera_Speeds, Board_Speeds;
  std::vector<Hold> Holds;  // in the order of time
  std::vector<Hold> Short;  // stops that are shorter than the options ask for, 0.1 s and more
};

// Board is null for a board that stands still and isn't tracked. The tracks may have times of their
// own, on one clock.
Hold_Search Find_Holds(const Body_Track& Camera, const Body_Track* Board,
                       const Hold_Options& Options);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_HOLDS_H
