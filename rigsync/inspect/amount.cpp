// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/amount.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr int Most_Decimals = 4;

// 0.995 is the least number that two digits round to 1.0.
constexpr double Rounds_To_One = 0.995;

}  // namespace

std::string Amount(double Value) {
  if (!(Value > 0.0) || !std::isfinite(Value)) return fmt::format("{:.0f}", Value);
  const int Leading_Digit = static_cast<int>(std::floor(std::log10(Value / Rounds_To_One)));
  return fmt::format("{:.{}f}", Value, std::clamp(1 - Leading_Digit, 0, Most_Decimals));
}

std::string Amount_Mm(double Metres) {
  return Amount(1000.0 * Metres) + " mm";
}

std::string Amount_Deg(double Angle_Deg) {
  return Amount(Angle_Deg) + " degrees";
}

}  // namespace rigsync
