// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/take.h"

#include "rigsync/geometry/statistics.h"

#include <algorithm>

namespace rigsync {

const Body_Track* Find_Body(const Take& In, const std::string& Name) {
  const auto Found = std::find_if(In.Bodies.begin(), In.Bodies.end(),
                                  [&](const Body_Track& Body) { return Body.Name == Name; });
  return Found == In.Bodies.end() ? nullptr : &*Found;
}

double Sample_Interval(const Body_Track& Body) {
  std::vector<double> Intervals;
  for (std::size_t i = 1; i < Body.Samples.size(); ++i) {
    Intervals.push_back(Body.Samples[i].Seconds - Body.Samples[i - 1].Seconds);
  }
  return Intervals.empty() ? 0.0 : Median(Intervals);
}

}  // namespace rigsync
