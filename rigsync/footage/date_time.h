// SPDX-License-Identifier: Apache-2.0
//
// Times as people and cameras write them, read without the locale and the time zone of the machine.
#ifndef RIGSYNC_FOOTAGE_DATE_TIME_H
#define RIGSYNC_FOOTAGE_DATE_TIME_H

#include <optional>
#include <string_view>

namespace rigsync {

// A time with the number of digits after its decimal point.
struct Written_Time {
  double Seconds = 0;
  int Decimals = 0;
};

// "12.480", "-3": a decimal number without exponent, below 1e10 either way. Nothing for any other
// text.
std::optional<Written_Time> Read_Seconds(std::string_view Text);

// Seconds since midnight of "10:21:33" or "10:21:33.25". Nothing for any other text.
std::optional<Written_Time> Read_Time_Of_Day(std::string_view Text);

struct Date_Time {
  Written_Time Time;  // since 1970-01-01, as if the clock showed UTC
  // What the clock is ahead of UTC, if the text says it. UTC is Time.Seconds less this.
  std::optional<double> Offset_Seconds;
};

// "2024-05-17T10:21:33.25+02:00". The T may be a blank and the hyphens colons, as EXIF has them;
// fraction and offset may be missing. Nothing for any other text and for a day that there never
// was. Years from 1970 to 9999.
std::optional<Date_Time> Read_Date_Time(std::string_view Text);

// "+02:00", "-0330", "Z", in seconds. Nothing for any other text.
std::optional<double> Read_Offset(std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_DATE_TIME_H
