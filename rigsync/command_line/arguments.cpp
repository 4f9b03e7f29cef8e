// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/arguments.h"

#include "rigsync/capture/board_markers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <system_error>

namespace rigsync {
namespace {

// Metres. Larger values don't occur on a stage: they are millimetres or centimetres without a unit.
constexpr double Largest_Square_Edge = 1.0;
constexpr double Largest_Offset = 10.0;

std::string_view Trimmed(std::string_view Text) {
  while (!Text.empty() && Text.front() == ' ') Text.remove_prefix(1);
  while (!Text.empty() && Text.back() == ' ') Text.remove_suffix(1);
  return Text;
}

// Parses the number at the start of Text and removes it from Text. The decimal separator is a point
// in every locale.
std::optional<double> Take_Number(std::string_view& Text) {
  Text = Trimmed(Text);
  if (!Text.empty() && Text.front() == '+') Text.remove_prefix(1);
  double Value = 0;
  const auto [End, Error] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
  if (Error != std::errc() || !std::isfinite(Value)) return std::nullopt;
  Text = Trimmed(Text.substr(static_cast<std::size_t>(End - Text.data())));
  return Value;
}

struct Unit_Divisor {
  std::string_view Unit;
  double Divisor;  // division, not multiplication by 0.001, makes 30mm the double 0.03
};

std::optional<double> Read_With_Unit(std::string_view Text,
                                     const std::vector<Unit_Divisor>& Units) {
  const std::optional<double> Value = Take_Number(Text);
  if (!Value) return std::nullopt;
  for (const Unit_Divisor& Known : Units) {
    if (Text == Known.Unit) return *Value / Known.Divisor;
  }
  return std::nullopt;
}

std::optional<double> Read_Length(std::string_view Text) {
  return Read_With_Unit(Text, {{"", 1.0}, {"m", 1.0}, {"cm", 100.0}, {"mm", 1000.0}});
}

std::optional<double> Read_Angle(std::string_view Text) {
  return Read_With_Unit(Text, {{"", 1.0}, {"deg", 1.0}});
}

std::optional<double> Read_Seconds(std::string_view Text) {
  return Read_With_Unit(Text, {{"", 1.0}, {"s", 1.0}, {"ms", 1000.0}});
}

std::optional<double> Read_Number(std::string_view Text) {
  return Read_With_Unit(Text, {{"", 1.0}});
}

std::optional<double> Read_Millimetres(std::string_view Text) {
  return Read_With_Unit(Text, {{"", 1.0}, {"mm", 1.0}});
}

std::optional<long> Read_Whole(std::string_view Text) {
  Text = Trimmed(Text);
  long Value = 0;
  const auto [End, Error] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
  if (Error != std::errc() || End != Text.data() + Text.size()) return std::nullopt;
  return Value;
}

std::vector<std::string_view> Split(std::string_view Text, char Separator) {
  std::vector<std::string_view> Fields;
  for (std::size_t Start = 0;;) {
    const std::size_t End = Text.find(Separator, Start);
    Fields.push_back(Text.substr(Start, End - Start));
    if (End == std::string_view::npos) return Fields;
    Start = End + 1;
  }
}

// N values with Separator between them, each parsed by Read.
template <std::size_t N, typename Value>
std::optional<std::array<Value, N>> Read_List(std::string_view Text, char Separator,
                                              std::optional<Value> (*Read)(std::string_view)) {
  const std::vector<std::string_view> Fields = Split(Text, Separator);
  if (Fields.size() != N) return std::nullopt;
  std::array<Value, N> Values{};
  for (std::size_t i = 0; i < N; ++i) {
    const std::optional<Value> Field = Read(Fields[i]);
    if (!Field) return std::nullopt;
    Values[i] = *Field;
  }
  return Values;
}

// The two values of a size, A x B. Other programs write a capital X or a multiplication sign
// (U+00D7), so those are accepted too.
template <typename Value>
std::optional<std::array<Value, 2>> Read_Sides(const std::string& Text,
                                               std::optional<Value> (*Read)(std::string_view)) {
  constexpr std::string_view Times_Sign = "\xc3\x97";  // in UTF-8
  std::string Plain = Text;
  for (std::size_t i = 0; (i = Plain.find(Times_Sign, i)) != std::string::npos;) {
    Plain.replace(i, Times_Sign.size(), "x");
  }
  std::replace(Plain.begin(), Plain.end(), 'X', 'x');
  return Read_List<2, Value>(Plain, 'x', Read);
}

// How to write numbers that are meant as millimetres: "; for millimetres write 170mm,50mm". Empty
// where a number already has a unit.
std::string Unit_Hint(const std::string& Text) {
  std::string With_Unit;
  for (const std::string_view Field : Split(Text, ',')) {
    if (!Read_Number(Field)) return {};
    With_Unit += (With_Unit.empty() ? "" : ",") + std::string(Trimmed(Field)) + "mm";
  }
  return "; for millimetres write " + With_Unit;
}

}  // namespace

Board_Size Parse_Board(const std::string& Flag, const std::string& Text) {
  constexpr long Least = 3, Most = 100;
  const auto Counts = Read_Sides<long>(Text, Read_Whole);
  if (!Counts || (*Counts)[0] < Least || (*Counts)[1] < Least || (*Counts)[0] > Most ||
      (*Counts)[1] > Most) {
    Refuse(Flag, Text,
           "COLSxROWS, the inner corners of the board (where four squares meet), 3 to 100 each, "
           "for example 11x8 for a board of 12 by 9 squares");
  }
  return {static_cast<int>((*Counts)[0]), static_cast<int>((*Counts)[1])};
}

double Parse_Square(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Metres = Read_Length(Text);
  if (!Metres || !(*Metres > 0.0) || *Metres > Largest_Square_Edge) {
    const bool Too_Long = Metres && *Metres > Largest_Square_Edge;
    Refuse(Flag, Text,
           "the edge length of one square, above 0 and up to 1 metre, for example 0.03 or 30mm (a "
           "number without a unit is in metres)" +
               (Too_Long ? Unit_Hint(Text) : std::string()));
  }
  return *Metres;
}

double Parse_Length(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Metres = Read_Length(Text);
  if (!Metres)
    Refuse(Flag, Text, "a length, for example 0.3mm (a number without a unit is in metres)");
  return *Metres;
}

double Parse_Number(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Value = Read_Number(Text);
  if (!Value) Refuse(Flag, Text, "a number, for example 0.7");
  return *Value;
}

double Parse_Angle(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Degrees = Read_Angle(Text);
  if (!Degrees) Refuse(Flag, Text, "an angle in degrees, for example 0.03");
  return *Degrees;
}

long Parse_Whole(const std::string& Flag, const std::string& Text, long Least, long Most) {
  const std::optional<long> Value = Read_Whole(Text);
  if (!Value || *Value < Least || *Value > Most) {
    Refuse(Flag, Text,
           "a whole number from " + std::to_string(Least) + " to " + std::to_string(Most));
  }
  return *Value;
}

int Parse_Marker(const std::string& Flag, const std::string& Text) {
  return static_cast<int>(Parse_Whole(Flag, Text, 0, Marker_Count - 1));
}

std::array<double, 3> Parse_Angles(const std::string& Flag, const std::string& Text) {
  const auto Degrees = Read_List<3, double>(Text, ',', Read_Angle);
  if (!Degrees) {
    Refuse(Flag, Text, "three angles in degrees separated by commas, for example 12,-20,8");
  }
  return *Degrees;
}

std::array<double, 3> Parse_Offset(const std::string& Flag, const std::string& Text) {
  const auto Metres = Read_List<3, double>(Text, ',', Read_Length);
  const auto Is_Too_Long = [](double Length) { return std::abs(Length) > Largest_Offset; };
  const bool Too_Long = Metres && std::any_of(Metres->begin(), Metres->end(), Is_Too_Long);
  if (!Metres || Too_Long) {
    Refuse(Flag, Text,
           "three lengths of at most 10 metres separated by commas, for example "
           "-0.17,0.05,0.04 or -170mm,50mm,40mm (numbers without a unit are in metres)" +
               (Too_Long ? Unit_Hint(Text) : std::string()));
  }
  return *Metres;
}

Length_And_Angle Parse_Length_And_Angle(const std::string& Flag, const std::string& Text) {
  const std::vector<std::string_view> Fields = Split(Text, ',');
  const auto Metres = Fields.size() == 2 ? Read_Length(Fields[0]) : std::nullopt;
  const auto Degrees = Fields.size() == 2 ? Read_Angle(Fields[1]) : std::nullopt;
  const bool Is_Too_Long = Metres && *Metres > Largest_Square_Edge;
  if (!Metres || !Degrees || !(*Metres > 0.0) || !(*Degrees > 0.0) || Is_Too_Long) {
    Refuse(Flag, Text,
           "a length of at most 1 metre and an angle in degrees, both above 0 and separated by a "
           "comma, for example 3mm,0.3deg (a length without a unit is in metres)");
  }
  return {*Metres, *Degrees};
}

double Parse_Distance(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Metres = Read_Length(Text);
  if (!Metres || !(*Metres > 0.0)) {
    Refuse(Flag, Text, "a length above 0, for example 3m (a number without a unit is in metres)");
  }
  return *Metres;
}

double Parse_Seconds(const std::string& Flag, const std::string& Text) {
  const std::optional<double> Seconds = Read_Seconds(Text);
  if (!Seconds) Refuse(Flag, Text, "a time, for example 0.1 for seconds or 100ms");
  return *Seconds;
}

double Parse_Short_Time(const std::string& Flag, const std::string& Text) {
  constexpr double Longest = 1.0;
  const std::optional<double> Seconds = Read_With_Unit(Text, {{"ms", 1000.0}, {"s", 1.0}});
  if (!Seconds || std::abs(*Seconds) > Longest) {
    Refuse(Flag, Text, "a time of at most a second with its unit, for example 40ms or -0.02s");
  }
  return *Seconds;
}

std::array<double, 2> Parse_Pair(const std::string& Flag, const std::string& Text) {
  const auto Values = Read_List<2, double>(Text, ',', Read_Number);
  if (!Values) Refuse(Flag, Text, "two numbers separated by a comma");
  return *Values;
}

std::array<int, 2> Parse_Pixels(const std::string& Flag, const std::string& Text) {
  constexpr long Most = 65535;
  const auto Sides = Read_Sides<long>(Text, Read_Whole);
  if (!Sides || (*Sides)[0] < 1 || (*Sides)[1] < 1 || (*Sides)[0] > Most || (*Sides)[1] > Most) {
    Refuse(Flag, Text, "WIDTHxHEIGHT in pixels, for example 1920x1080");
  }
  return {static_cast<int>((*Sides)[0]), static_cast<int>((*Sides)[1])};
}

std::array<double, 2> Parse_Sensor(const std::string& Flag, const std::string& Text) {
  const auto Sides = Read_Sides_Mm(Text);
  const auto Is_Out_Of_Range = [](double Side) { return Side < 1.0 || Side > 100.0; };
  if (!Sides || std::any_of(Sides->begin(), Sides->end(), Is_Out_Of_Range)) {
    Refuse(Flag, Text,
           "WIDTHxHEIGHT of the sensor in millimetres, 1 to 100 each, for example 23.76x13.365");
  }
  return *Sides;
}

std::optional<std::array<double, 2>> Read_Sides_Mm(const std::string& Text) {
  const auto Sides = Read_Sides<double>(Text, Read_Millimetres);
  if (!Sides || !((*Sides)[0] > 0.0) || !((*Sides)[1] > 0.0)) return std::nullopt;
  return Sides;
}

}  // namespace rigsync
