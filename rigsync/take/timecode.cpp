// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/timecode.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

// Two digits and nothing else.
std::optional<int> Read_Two_Digits(std::string_view Text) {
  int Value = 0;
  const auto [End, Failure] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
  const bool Is_Number = Failure == std::errc() && End == Text.data() + Text.size();
  if (Text.size() != 2 || Text[0] == '-' || !Is_Number) return std::nullopt;
  return Value;
}

}  // namespace

std::optional<double> Seconds_Of(const Timecode& Code, const Frame_Rate& Rate) {
  if (Rate.Numerator <= 0 || Rate.Denominator <= 0) return std::nullopt;
  const long Whole_Rate = std::lround(Rate.Hz());
  const bool Is_In_Range = Code.Hours >= 0 && Code.Hours < 24 && Code.Minutes >= 0 &&
                           Code.Minutes < 60 && Code.Seconds >= 0 && Code.Seconds < 60 &&
                           Code.Frames >= 0 && Code.Frames < Whole_Rate;
  if (!Is_In_Range) return std::nullopt;
  const long Minutes = 60L * Code.Hours + Code.Minutes;
  long Frames = (60L * Minutes + Code.Seconds) * Whole_Rate + Code.Frames;
  if (Code.Is_Drop_Frame) {
    const long Dropped_A_Minute = Whole_Rate / 15;  // 2 of 30, 4 of 60
    const bool Drops = Code.Minutes % 10 != 0;
    if (Drops && Code.Seconds == 0 && Code.Frames < Dropped_A_Minute) return std::nullopt;
    Frames -= Dropped_A_Minute * (Minutes - Minutes / 10);
  }
  return static_cast<double>(Frames) * static_cast<double>(Rate.Denominator) /
         static_cast<double>(Rate.Numerator);
}

std::optional<Timecode> Read_Timecode(std::string_view Text) {
  constexpr std::size_t Length = 11;
  if (Text.size() != Length || Text[2] != ':' || Text[5] != ':') return std::nullopt;
  const char Last = Text[8];
  if (Last != ':' && Last != ';') return std::nullopt;
  std::array<int, 4> Numbers{};
  for (std::size_t i = 0; i < Numbers.size(); ++i) {
    const std::optional<int> Number = Read_Two_Digits(Text.substr(3 * i, 2));
    if (!Number) return std::nullopt;
    Numbers[i] = *Number;
  }
  return Timecode{Numbers[0], Numbers[1], Numbers[2], Numbers[3], Last == ';'};
}

double Time_Of_Day_Difference(double First, double Second) {
  return std::remainder(Second - First, Seconds_Per_Day);
}

}  // namespace rigsync
