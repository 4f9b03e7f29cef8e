// SPDX-License-Identifier: Apache-2.0
//
// Whether a body stands still, for the person at the camera while a recording runs. The limits
// follow the tracker's own noise.
#ifndef RIGSYNC_RECORD_STILLNESS_H
#define RIGSYNC_RECORD_STILLNESS_H

#include "rigsync/take/take.h"

#include <vector>

namespace rigsync {

// Samples of the last Stillness_Seconds are judged, or the last Stillness_Samples of a slow
// tracker.
constexpr double Stillness_Seconds = 0.6;
constexpr std::size_t Stillness_Samples = 8;

enum class Motion { Unknown, Still, Moving };

// Judges the end of a track, tracked samples in the order of time. Each of six coordinates
// (position, and the turn since the first sample) has a noise s, from the second differences of
// neighbours, which steady motion doesn't enter. The body is still when for each
//
//   |mean of the second half - mean of the first half| <= 3 s sqrt(4 / n) + limit
//   |sample - mean| <= 5 s + limit
//
// with a limit of 0.5 mm and 0.05 degrees: without noise 1.7 mm/s and 0.17 degrees/s. Unknown with
// fewer than Stillness_Samples.
Motion Motion_At_End(const std::vector<Timed_Sample>& Samples);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_STILLNESS_H
