// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/number_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr int Most_Decimals = 6;

}  // namespace

std::string Two_Figures(double Value) {
  if (!std::isfinite(Value)) return "unknown";
  if (Value == 0.0) return "0";
  const double Power = std::floor(std::log10(std::abs(Value)));
  const double Step = std::pow(10.0, Power - 1.0);
  const double Rounded = Step >= 1.0 ? std::round(Value / Step) * Step : Value;
  const int Decimals = std::clamp(1 - static_cast<int>(Power), 0, Most_Decimals);
  const std::string Text = fmt::format("{:.{}f}", Rounded, Decimals);
  // 9.96 has become 10.0: a digit more than two.
  return std::abs(std::stod(Text)) >= std::pow(10.0, Power + 1.0) && Decimals > 0
             ? fmt::format("{:.{}f}", Rounded, Decimals - 1)
             : Text;
}

double Round_Magnification(double Largest, double Room) {
  if (!(Largest > 0.0) || !std::isfinite(Largest)) return 1.0;
  const double Factor = Room / Largest;
  const double Power = std::pow(10.0, std::floor(std::log10(Factor)));
  for (const double Digit : {5.0, 2.0}) {
    if (Factor >= Digit * Power) return Digit * Power;
  }
  return Power;
}

std::string With_Plus_Minus(std::string Text) {
  for (std::size_t At = Text.find("+-"); At != std::string::npos; At = Text.find("+-", At)) {
    Text.replace(At, 2, "\xC2\xB1");
  }
  return Text;
}

}  // namespace rigsync
