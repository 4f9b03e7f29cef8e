// SPDX-License-Identifier: Apache-2.0
//
// Arithmetic and choice that several findings about a capture are made with.
#ifndef RIGSYNC_GEOMETRY_STATISTICS_H
#define RIGSYNC_GEOMETRY_STATISTICS_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rigsync {

constexpr double Degrees_In_Radian = 57.295779513082320877;

// The middle value of a list that isn't empty; of an even number of them, the upper of the two.
inline double Median(std::vector<double> Values) {
  const auto Middle = Values.begin() + static_cast<std::ptrdiff_t>(Values.size() / 2);
  std::nth_element(Values.begin(), Middle, Values.end());
  return *Middle;
}

// Most of the values, evenly chosen and in their order; all where they aren't more.
template <typename Value>
std::vector<Value> Evenly_Chosen(const std::vector<Value>& All, std::size_t Most) {
  if (All.size() <= Most) return All;
  std::vector<Value> Chosen;
  Chosen.reserve(Most);
  for (std::size_t k = 0; k < Most; ++k) Chosen.push_back(All[k * All.size() / Most]);
  return Chosen;
}

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_STATISTICS_H
