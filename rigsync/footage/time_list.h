// SPDX-License-Identifier: Apache-2.0
//
// A list of the times at which photographs were taken: a text file with a line NAME,TIME for each.
//
// The comma may be a tab, and the name may stand in quotes. Blank lines are skipped, and so is a
// header: a first line in whose second field no number begins. All times of a list have the same
// form, one of
//
//   12.480                     seconds on any clock
//   10:21:33:07, 10:21:33;07   timecode; the list alone doesn't say at which rate
//   10:21:33, 10:21:33.25      time of day
//   2024-05-17T10:21:33.25     date and time. The T may be a blank, the hyphens colons as in EXIF,
//                              and Z, +02:00 or -0330 at the end an offset from UTC.
#ifndef RIGSYNC_FOOTAGE_TIME_LIST_H
#define RIGSYNC_FOOTAGE_TIME_LIST_H

#include "rigsync/take/timecode.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

enum class Time_Form { Seconds, Timecode, Time_Of_Day, Date_And_Time };

// "seconds", "a timecode", "a time of day", "a date and time"
const char* Time_Form_Text(Time_Form Form);

struct Listed_Time {
  std::size_t Line = 0;  // counted from 1
  std::string Name;
  double Seconds = 0;  // as stated, since midnight, or since 1970-01-01, by the form
};

struct Time_List {
  Time_Form Form = Time_Form::Seconds;
  // The digits in which the times are written: 0.01 for 12.48, a frame for timecode.
  double Resolution_Seconds = 1;
  std::vector<Listed_Time> Times;  // in the order of the list, which may be empty
};

// Times of day that pass midnight go on above 86400 s: a capture takes less than half a day.
//
// Throws Usage_Error, whose text begins with "--times: ", Name and the line, for a line that is
// none of these, another form than that of the first line, a timecode that the rate doesn't have,
// and a name that is listed twice; and one that asks for --times-rate where timecodes need it.
Time_List Parse_Time_List(std::string_view Text, const std::string& Name,
                          const std::optional<Frame_Rate>& Timecode_Rate);

// The same for a file. Throws Usage_Error if it can't be read.
Time_List Read_Time_List(const std::filesystem::path& File,
                         const std::optional<Frame_Rate>& Timecode_Rate);

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_TIME_LIST_H
