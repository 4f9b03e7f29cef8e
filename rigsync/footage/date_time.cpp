// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/date_time.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>

namespace rigsync {
namespace {

constexpr double Seconds_Per_Minute = 60.0, Seconds_Per_Hour = 3600.0;

bool Is_Digit(char Letter) {
  return Letter >= '0' && Letter <= '9';
}

std::size_t Digit_Count(std::string_view Text) {
  std::size_t Count = 0;
  while (Count < Text.size() && Is_Digit(Text[Count])) ++Count;
  return Count;
}

// Takes a number of exactly Count digits from the front of Text.
std::optional<int> Take_Digits(std::string_view& Text, std::size_t Count) {
  if (Digit_Count(Text.substr(0, Count)) != Count) return std::nullopt;
  int Value = 0;
  std::from_chars(Text.data(), Text.data() + Count, Value);
  Text.remove_prefix(Count);
  return Value;
}

bool Take_Letter(std::string_view& Text, std::string_view Letters) {
  if (Text.empty() || Letters.find(Text.front()) == std::string_view::npos) return false;
  Text.remove_prefix(1);
  return true;
}

// Takes a point and the digits behind it, if there is a point. Nothing for a point without digits
// and for more digits than a double tells apart.
std::optional<Written_Time> Take_Fraction(std::string_view& Text) {
  constexpr std::size_t Most_Digits = 12;
  if (!Take_Letter(Text, ".")) return Written_Time{};
  const std::size_t Count = Digit_Count(Text);
  if (Count == 0 || Count > Most_Digits) return std::nullopt;
  double Value = 0;
  for (const char Digit : Text.substr(0, Count)) Value = 10.0 * Value + (Digit - '0');
  Text.remove_prefix(Count);
  return Written_Time{Value / std::pow(10.0, static_cast<double>(Count)), static_cast<int>(Count)};
}

// Takes "10:21:33.25". A leap second counts as the first of the next minute.
std::optional<Written_Time> Take_Time_Of_Day(std::string_view& Text) {
  const std::optional<int> Hours = Take_Digits(Text, 2);
  if (!Hours || *Hours > 23 || !Take_Letter(Text, ":")) return std::nullopt;
  const std::optional<int> Minutes = Take_Digits(Text, 2);
  if (!Minutes || *Minutes > 59 || !Take_Letter(Text, ":")) return std::nullopt;
  const std::optional<int> Seconds = Take_Digits(Text, 2);
  if (!Seconds || *Seconds > 60) return std::nullopt;
  const std::optional<Written_Time> Fraction = Take_Fraction(Text);
  if (!Fraction) return std::nullopt;
  return Written_Time{
      Seconds_Per_Hour * *Hours + Seconds_Per_Minute * *Minutes + *Seconds + Fraction->Seconds,
      Fraction->Decimals};
}

bool Is_Leap_Year(int Year) {
  return (Year % 4 == 0 && Year % 100 != 0) || Year % 400 == 0;
}

// Days from 1970-01-01. Nothing for a day that there never was.
std::optional<int> Day_Number(int Year, int Month, int Day) {
  static constexpr std::array<int, 12> Month_Days = {31, 28, 31, 30, 31, 30,
                                                     31, 31, 30, 31, 30, 31};
  if (Year < 1970 || Month < 1 || Month > 12 || Day < 1) return std::nullopt;
  const auto Days_In = [Year](int Number) {
    return Month_Days[static_cast<std::size_t>(Number - 1)] +
           (Number == 2 && Is_Leap_Year(Year) ? 1 : 0);
  };
  if (Day > Days_In(Month)) return std::nullopt;
  // Leap years up to the year before, less those up to 1969.
  const int Before = Year - 1;
  int Days = 365 * (Year - 1970) + (Before / 4 - Before / 100 + Before / 400) - 477;
  for (int Number = 1; Number < Month; ++Number) Days += Days_In(Number);
  return Days + Day - 1;
}

// Takes "2024-05-17" or "2024:05:17", as the number of its day.
std::optional<int> Take_Date(std::string_view& Text) {
  const std::optional<int> Year = Take_Digits(Text, 4);
  if (!Year || Text.empty()) return std::nullopt;
  const std::string_view Separator = Text.substr(0, 1);
  if (!Take_Letter(Text, "-:")) return std::nullopt;
  const std::optional<int> Month = Take_Digits(Text, 2);
  if (!Month || !Take_Letter(Text, Separator)) return std::nullopt;
  const std::optional<int> Day = Take_Digits(Text, 2);
  if (!Day) return std::nullopt;
  return Day_Number(*Year, *Month, *Day);
}

}  // namespace

std::optional<Written_Time> Read_Seconds(std::string_view Text) {
  constexpr std::size_t Most_Digits = 10;
  const double Sign = Text.substr(0, 1) == "-" ? -1.0 : 1.0;
  Take_Letter(Text, "+-");
  const std::size_t Count = Digit_Count(Text);
  if (Count == 0 || Count > Most_Digits) return std::nullopt;
  double Whole = 0;
  for (const char Digit : Text.substr(0, Count)) Whole = 10.0 * Whole + (Digit - '0');
  Text.remove_prefix(Count);
  const std::optional<Written_Time> Fraction = Take_Fraction(Text);
  if (!Fraction || !Text.empty()) return std::nullopt;
  return Written_Time{Sign * (Whole + Fraction->Seconds), Fraction->Decimals};
}

std::optional<Written_Time> Read_Time_Of_Day(std::string_view Text) {
  const std::optional<Written_Time> Time = Take_Time_Of_Day(Text);
  return Text.empty() ? Time : std::nullopt;
}

std::optional<Date_Time> Read_Date_Time(std::string_view Text) {
  constexpr double Seconds_Per_Day = 24.0 * Seconds_Per_Hour;
  const std::optional<int> Day = Take_Date(Text);
  if (!Day || !Take_Letter(Text, "T ")) return std::nullopt;
  const std::optional<Written_Time> Time = Take_Time_Of_Day(Text);
  if (!Time) return std::nullopt;
  const Written_Time Whole{Seconds_Per_Day * *Day + Time->Seconds, Time->Decimals};
  if (Text.empty()) return Date_Time{Whole, std::nullopt};
  const std::optional<double> Offset = Read_Offset(Text);
  if (!Offset) return std::nullopt;
  return Date_Time{Whole, Offset};
}

std::optional<double> Read_Offset(std::string_view Text) {
  if (Text == "Z") return 0.0;
  const double Sign = Text.substr(0, 1) == "-" ? -1.0 : 1.0;
  if (!Take_Letter(Text, "+-")) return std::nullopt;
  const std::optional<int> Hours = Take_Digits(Text, 2);
  if (!Hours || *Hours > 14) return std::nullopt;
  Take_Letter(Text, ":");
  const std::optional<int> Minutes = Take_Digits(Text, 2);
  if (!Minutes || *Minutes > 59 || !Text.empty()) return std::nullopt;
  return Sign * (Seconds_Per_Hour * *Hours + Seconds_Per_Minute * *Minutes);
}

}  // namespace rigsync
