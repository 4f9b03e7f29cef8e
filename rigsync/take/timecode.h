// SPDX-License-Identifier: Apache-2.0
//
// SMPTE timecode: the time of day as cameras and tracking systems count it, in frames.
#ifndef RIGSYNC_TAKE_TIMECODE_H
#define RIGSYNC_TAKE_TIMECODE_H

#include <optional>
#include <string_view>

namespace rigsync {

// A frame rate as a fraction: 30000/1001 is 29.97.
struct Frame_Rate {
  long Numerator = 0, Denominator = 1;

  double Hz() const { return static_cast<double>(Numerator) / static_cast<double>(Denominator); }
};

struct Timecode {
  int Hours = 0, Minutes = 0, Seconds = 0, Frames = 0;
  // Whether the numbers 0 and 1 of each minute are left out but in every tenth, as 29.97 counts
  // (0 to 3 at 59.94). Numbers are dropped, not frames.
  bool Is_Drop_Frame = false;
};

// Timecode of a day.
constexpr double Seconds_Per_Day = 86400.0;

// The time since the first frame of the day. Frames are counted at the whole rate next to Rate, 30
// for 29.97, so without dropped numbers a timecode of 29.97 runs slower than the clock on the wall.
// Nothing for numbers that no timecode of this rate has: 25 frames and more at 25, a dropped
// number, a rate that is not above 0.
std::optional<double> Seconds_Of(const Timecode& Code, const Frame_Rate& Rate);

// "10:21:33:07", or "10:21:33;07" for a drop-frame timecode. Nothing for any other text.
std::optional<Timecode> Read_Timecode(std::string_view Text);

// How much later Second is than First on a clock that starts again at midnight: within half a day,
// either way.
double Time_Of_Day_Difference(double First, double Second);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TIMECODE_H
