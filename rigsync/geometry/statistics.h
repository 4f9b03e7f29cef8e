// SPDX-License-Identifier: Apache-2.0
//
// The median, and an even choice from a long list.
#ifndef RIGSYNC_GEOMETRY_STATISTICS_H
#define RIGSYNC_GEOMETRY_STATISTICS_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rigsync {

// The median of a list that is not empty. For an even number of values it is the upper of the two
// in the middle, not their mean.
inline double Median(std::vector<double> Values) {
  const auto Upper_Middle = Values.begin() + static_cast<std::ptrdiff_t>(Values.size() / 2);
  std::nth_element(Values.begin(), Upper_Middle, Values.end());
  return *Upper_Middle;
}

// The median of the squared length of three normal values of variance 1.
constexpr double Median_Of_Three_Squares = 2.366;

// At most Limit of the values, evenly spaced and in their order; all of them if there are no more.
template <typename Value>
std::vector<Value> Evenly_Chosen(const std::vector<Value>& Values, std::size_t Limit) {
  if (Values.size() <= Limit) return Values;
  std::vector<Value> Chosen;
  Chosen.reserve(Limit);
  for (std::size_t k = 0; k < Limit; ++k) Chosen.push_back(Values[k * Values.size() / Limit]);
  return Chosen;
}

}  // namespace rigsync

#endif  // RIGSYNC_GEOMETRY_STATISTICS_H
