// SPDX-License-Identifier: Apache-2.0
//
// Gaps in a stream of samples: intervals of more than Gap_Factor times the usual one.
#ifndef RIGSYNC_RECORD_GAP_COUNTER_H
#define RIGSYNC_RECORD_GAP_COUNTER_H

#include "rigsync/geometry/statistics.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace rigsync {

// Networks deliver a packet late by an interval, and two in a row together.
constexpr double Gap_Factor = 3.5;

class Gap_Counter {
 public:
  // The next sample. One before the last is left alone.
  void Take(double Seconds) {
    const double Interval = Seconds - Last_Seconds;
    if (Has_Last && !(Interval > 0)) return;
    Last_Seconds = Seconds;
    if (!std::exchange(Has_Last, true)) return;
    if (Recent.size() >= Least && Interval > Gap_Factor * Median(Recent)) {
      ++Gap_Count;
      Longest_Gap = std::max(Longest_Gap, Interval);
      return;
    }
    if (Recent.size() < Most)
      Recent.push_back(Interval);
    else
      Recent[Next++ % Most] = Interval;
  }

  std::size_t Count() const { return Gap_Count; }
  double Longest_Seconds() const { return Longest_Gap; }

 private:
  static constexpr std::size_t Least = 8, Most = 32;  // intervals that the usual one is taken from

  std::vector<double> Recent;
  std::size_t Next = 0, Gap_Count = 0;
  double Last_Seconds = 0, Longest_Gap = 0;
  bool Has_Last = false;
};

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_GAP_COUNTER_H
