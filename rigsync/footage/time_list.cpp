// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/time_list.h"

#include "rigsync/footage/date_time.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>
#include <utility>

namespace rigsync {
namespace {

constexpr const char* Flag = "--times";

[[noreturn]] void Refuse_List(const std::string& Name, const std::string& Why) {
  throw Usage_Error(Flag, fmt::format("{}: {}: {}", Flag, Name, Why));
}

[[noreturn]] void Refuse_Line(const std::string& Name, std::size_t Line, const std::string& Why) {
  Refuse_List(Name, fmt::format("line {}: {}", Line, Why));
}

// A field that is quoted in a message: one line, and not endless.
std::string Shown(std::string_view Field) {
  constexpr std::size_t Most_Letters = 60;
  const std::string Text = One_Line(Field);
  return Text.size() <= Most_Letters ? Text : Text.substr(0, Most_Letters) + "...";
}

std::string_view Trimmed(std::string_view Text) {
  constexpr std::string_view Blanks = " \t\r";
  const std::size_t First = Text.find_first_not_of(Blanks);
  if (First == std::string_view::npos) return {};
  return Text.substr(First, Text.find_last_not_of(Blanks) - First + 1);
}

std::string_view Without_Quotes(std::string_view Text) {
  const bool Is_Quoted = Text.size() >= 2 && Text.front() == '"' && Text.back() == '"';
  return Is_Quoted ? Text.substr(1, Text.size() - 2) : Text;
}

struct Line_Fields {
  std::size_t Line = 0;
  std::string_view Name, Time;
};

// A time may be no more than one field, so the last comma ends the name. A tab in the line goes
// before: what a table of a spreadsheet separates by tabs may have commas elsewhere.
std::optional<Line_Fields> Split_Line(std::size_t Line, std::string_view Text) {
  const std::size_t Tab = Text.rfind('\t');
  const std::size_t Separator = Tab != std::string_view::npos ? Tab : Text.rfind(',');
  if (Separator == std::string_view::npos) return std::nullopt;
  std::string_view Name = Without_Quotes(Trimmed(Text.substr(0, Separator)));
  if (Name.substr(0, 2) == "./") Name.remove_prefix(2);
  return Line_Fields{Line, Name, Without_Quotes(Trimmed(Text.substr(Separator + 1)))};
}

// What begins as a number is a time that was mistyped.
bool Is_Heading(std::string_view Text) {
  return !Text.empty() &&
         std::string_view("0123456789+-.").find(Text.front()) == std::string_view::npos;
}

// A time in its form. Seconds of a timecode are still missing.
struct Read_Time {
  Time_Form Form = Time_Form::Seconds;
  Written_Time Time;
  std::optional<Timecode> Code;
  std::optional<double> Offset_Seconds;
};

std::optional<Read_Time> Read_Any_Form(std::string_view Text) {
  if (const auto Seconds = Read_Seconds(Text))
    return Read_Time{Time_Form::Seconds, *Seconds, {}, {}};
  if (const auto Code = Read_Timecode(Text)) return Read_Time{Time_Form::Timecode, {}, Code, {}};
  if (const auto Time = Read_Time_Of_Day(Text)) {
    return Read_Time{Time_Form::Time_Of_Day, *Time, {}, {}};
  }
  if (const auto Date = Read_Date_Time(Text)) {
    return Read_Time{Time_Form::Date_And_Time, Date->Time, {}, Date->Offset_Seconds};
  }
  return std::nullopt;
}

// Reads a list line by line.
class List_Reader {
 public:
  List_Reader(std::string List_Name, const std::optional<Frame_Rate>& Timecode_Rate)
      : Name(std::move(List_Name)), Rate(Timecode_Rate) {}

  void Take_Line(std::size_t Line, std::string_view Text) {
    const bool May_Be_Header = std::exchange(Is_First_Line, false);
    const std::optional<Line_Fields> Fields = Split_Line(Line, Text);
    if (!Fields)
      Refuse_Line(Name, Line, fmt::format("expected NAME,TIME but got '{}'", Shown(Text)));
    const std::optional<Read_Time> Time = Read_Any_Form(Fields->Time);
    if (!Time && May_Be_Header && Is_Heading(Fields->Time)) return;
    if (!Time) {
      Refuse_Line(Name, Line,
                  fmt::format("'{}' is no time; expected seconds (12.48), a timecode "
                              "(10:21:33:07), a time of day (10:21:33.25) or a date and time "
                              "(2024-05-17T10:21:33.25)",
                              Shown(Fields->Time)));
    }
    Take_Time(*Fields, *Time);
  }

  Time_List Take_List() {
    List.Resolution_Seconds = List.Form == Time_Form::Timecode && Rate
                                  ? 1.0 / Rate->Hz()
                                  : std::pow(10.0, -Most_Decimals);
    if (List.Form == Time_Form::Timecode || List.Form == Time_Form::Time_Of_Day) Pass_Midnight();
    return std::move(List);
  }

 private:
  void Take_Time(const Line_Fields& Fields, const Read_Time& Time) {
    if (Fields.Name.empty()) Refuse_Line(Name, Fields.Line, "the name of the picture is missing");
    const auto [Earlier, Is_New] = Line_Of_Name.emplace(Fields.Name, Fields.Line);
    if (!Is_New) {
      Refuse_Line(Name, Fields.Line,
                  fmt::format("'{}' is listed on line {} already; expected one time for each "
                              "picture",
                              Shown(Fields.Name), Earlier->second));
    }
    Check_Form(Fields, Time);
    List.Times.push_back({Fields.Line, std::string(Fields.Name), Seconds_Of_Time(Fields, Time)});
    Most_Decimals = std::max(Most_Decimals, Time.Time.Decimals);
  }

  void Check_Form(const Line_Fields& Fields, const Read_Time& Time) {
    const bool Has_Offset = Time.Offset_Seconds.has_value();
    if (List.Times.empty()) {
      List.Form = Time.Form;
      First_Has_Offset = Has_Offset;
      First_Line = Fields.Line;
    }
    if (Time.Form != List.Form) {
      Refuse_Line(Name, Fields.Line,
                  fmt::format("'{}' is {}, and line {} has {}; expected the same form in all lines",
                              Shown(Fields.Time), Time_Form_Text(Time.Form), First_Line,
                              Time_Form_Text(List.Form)));
    }
    if (Has_Offset != First_Has_Offset) {
      Refuse_Line(Name, Fields.Line,
                  fmt::format("'{}' is {} an offset from UTC, unlike line {}; expected one in all "
                              "lines or in none",
                              Shown(Fields.Time), Has_Offset ? "with" : "without", First_Line));
    }
  }

  double Seconds_Of_Time(const Line_Fields& Fields, const Read_Time& Time) const {
    if (!Time.Code) return Time.Time.Seconds - Time.Offset_Seconds.value_or(0.0);
    if (!Rate) {
      Refuse_Line(Name, Fields.Line,
                  fmt::format("'{}' is a timecode, and the list does not say at which rate; state "
                              "it with --times-rate, such as --times-rate 25 or 29.97",
                              Shown(Fields.Time)));
    }
    const std::optional<double> Seconds = rigsync::Seconds_Of(*Time.Code, *Rate);
    if (!Seconds) {
      Refuse_Line(Name, Fields.Line,
                  fmt::format("there is no timecode '{}' at {:.4g} frames per second; check "
                              "--times-rate",
                              Shown(Fields.Time), Rate->Hz()));
    }
    return *Seconds;
  }

  // A capture that is shorter than half a day and has times of day further apart went on after
  // midnight: what is before noon then belongs to the next day.
  void Pass_Midnight() {
    constexpr double Half_Day = 0.5 * Seconds_Per_Day;
    const auto By_Time = [](const Listed_Time& Left, const Listed_Time& Right) {
      return Left.Seconds < Right.Seconds;
    };
    const auto [First, Last] = std::minmax_element(List.Times.begin(), List.Times.end(), By_Time);
    if (First == List.Times.end() || Last->Seconds - First->Seconds <= Half_Day) return;
    for (Listed_Time& Time : List.Times) {
      if (Time.Seconds < Half_Day) Time.Seconds += Seconds_Per_Day;
    }
  }

  std::string Name;
  std::optional<Frame_Rate> Rate;
  Time_List List;
  std::map<std::string, std::size_t, std::less<>> Line_Of_Name;
  std::size_t First_Line = 0;
  int Most_Decimals = 0;
  bool Is_First_Line = true, First_Has_Offset = false;
};

}  // namespace

const char* Time_Form_Text(Time_Form Form) {
  switch (Form) {
    case Time_Form::Seconds:
      return "seconds";
    case Time_Form::Timecode:
      return "a timecode";
    case Time_Form::Time_Of_Day:
      return "a time of day";
    case Time_Form::Date_And_Time:
      return "a date and time";
  }
  return "";
}

Time_List Parse_Time_List(std::string_view Text, const std::string& Name,
                          const std::optional<Frame_Rate>& Timecode_Rate) {
  constexpr std::string_view Utf8_Mark = "\xef\xbb\xbf";
  if (Text.substr(0, Utf8_Mark.size()) == Utf8_Mark) Text.remove_prefix(Utf8_Mark.size());
  if (Text.find('\0') != std::string_view::npos) {
    Refuse_List(Name, "is not text in UTF-8; save the list as CSV in UTF-8");
  }
  List_Reader Reader(Name, Timecode_Rate);
  for (std::size_t Line = 1; !Text.empty(); ++Line) {
    const std::size_t End = std::min(Text.find('\n'), Text.size());
    const std::string_view Content = Trimmed(Text.substr(0, End));
    if (!Content.empty()) Reader.Take_Line(Line, Content);
    Text.remove_prefix(std::min(End + 1, Text.size()));
  }
  return Reader.Take_List();
}

Time_List Read_Time_List(const std::filesystem::path& File,
                         const std::optional<Frame_Rate>& Timecode_Rate) {
  std::ifstream Stream(File, std::ios::binary);
  if (!Stream) {
    Refuse_List(File.string(),
                fmt::format("can't be opened ({})", std::generic_category().message(errno)));
  }
  std::ostringstream Bytes;
  // A folder can be opened, but not read.
  if (Stream.peek() != std::ifstream::traits_type::eof()) Bytes << Stream.rdbuf();
  if (Stream.bad()) Refuse_List(File.string(), "can't be read");
  return Parse_Time_List(Bytes.str(), File.string(), Timecode_Rate);
}

}  // namespace rigsync
