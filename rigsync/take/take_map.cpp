// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/take_map.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/take/table_file.h"
#include "rigsync/take/take_reader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <initializer_list>
#include <string_view>
#include <system_error>

// The file is only read.
#define TOML_ENABLE_FORMATTERS 0
// In a debug build the parser asserts what a malformed file can break. Without the assertion it
// reports an error.
#define TOML_ASSERT(Condition) static_assert(true)
#include <toml++/toml.h>

namespace rigsync {
namespace {

// A table of the map and how refusals name it: "--map: FILE: " and "body 2: ".
struct Section {
  const toml::table& Values;
  std::string Start;

  [[noreturn]] void Refuse(const std::string& Why) const {
    throw Usage_Error("--map", Start + Why);
  }
  // Refuses keys that are none of these.
  void Allow(std::initializer_list<std::string_view> Known) const;
  const toml::node& Need(const char* Key, const char* Expected) const;
};

void Section::Allow(std::initializer_list<std::string_view> Known) const {
  for (const auto& [Key, Value] : Values) {
    if (std::find(Known.begin(), Known.end(), Key.str()) != Known.end()) continue;
    Refuse(fmt::format("unknown key {}; expected one of {}", Shown(Key.str()),
                       fmt::join(Known, ", ")));
  }
}

const toml::node& Section::Need(const char* Key, const char* Expected) const {
  const toml::node* const Found = Values.get(Key);
  if (Found == nullptr) Refuse(fmt::format("'{}' is missing; expected {}", Key, Expected));
  return *Found;
}

std::string Need_Text(const Section& In, const char* Key, const char* Expected) {
  const auto* const Text = In.Need(Key, Expected).as_string();
  if (Text == nullptr || Text->get().empty()) {
    In.Refuse(fmt::format("'{}' is not a text; expected {}", Key, Expected));
  }
  return Text->get();
}

// One of the words; returns its place among them.
std::size_t Need_Word(const Section& In, const char* Key,
                      const std::vector<std::string_view>& Words) {
  const std::string Expected = fmt::format("{}", fmt::join(Words, ", "));
  const std::string Text = Need_Text(In, Key, Expected.c_str());
  const auto Found = std::find(Words.begin(), Words.end(), Text);
  if (Found == Words.end()) {
    In.Refuse(fmt::format("'{}' is {}; expected one of {}", Key, Shown(Text), Expected));
  }
  return static_cast<std::size_t>(Found - Words.begin());
}

constexpr long Most_Columns = 10000;

Map_Column Read_Column(const Section& In, const char* Key, const toml::node& Node) {
  Map_Column Column;
  Column.Key = Key;
  if (const auto* const Text = Node.as_string()) {
    Column.Name = Text->get();
    Column.Is_Reversed = !Column.Name.empty() && Column.Name[0] == '-';
    if (Column.Is_Reversed) Column.Name.erase(0, 1);
    if (!Column.Name.empty()) return Column;
  } else if (const auto* const Whole = Node.as_integer()) {
    const std::int64_t Number = Whole->get();
    Column.Is_Reversed = Number < 0;
    if (Number != 0 && Number >= -Most_Columns && Number <= Most_Columns) {
      Column.Number = static_cast<std::size_t>(Number < 0 ? -Number : Number);
      return Column;
    }
  }
  In.Refuse(
      fmt::format("'{}' names no column; expected its name in the header of the table, or "
                  "its number, counted from 1",
                  Key));
}

std::array<Map_Column, 3> Read_Three_Columns(const Section& In, const char* Key,
                                             const char* Expected) {
  const auto* const List = In.Need(Key, Expected).as_array();
  if (List == nullptr || List->size() != 3) {
    In.Refuse(fmt::format("'{}' is not a list of three; expected {}", Key, Expected));
  }
  std::array<Map_Column, 3> Columns;
  for (std::size_t i = 0; i < 3; ++i) Columns[i] = Read_Column(In, Key, *List->get(i));
  return Columns;
}

// A table within a table.
Section Need_Section(const Section& In, const char* Key, const char* Expected) {
  const auto* const Table = In.Need(Key, Expected).as_table();
  if (Table == nullptr) In.Refuse(fmt::format("'{}' is not a table; expected {}", Key, Expected));
  return {*Table, In.Start + Key + ": "};
}

void Read_Quaternion(const Section& In, Map_Body& Body) {
  const Section Parts =
      Need_Section(In, "quaternion", "columns by their letters: { w = \"qw\", x = \"qx\", ... }");
  Parts.Allow({"w", "x", "y", "z"});
  for (const char* const Part : {"w", "x", "y", "z"}) {
    Body.Rotation.push_back(Read_Column(Parts, Part, Parts.Need(Part, "a column")));
  }
}

void Read_Angles(const Section& In, Map_Body& Body) {
  const std::array<Map_Column, 3> Columns =
      Read_Three_Columns(In, "angles", "three columns in the order of the turns");
  Body.Rotation.assign(Columns.begin(), Columns.end());
  const std::string Word =
      Need_Text(In, "rotation", "helical, or such as euler-xyz-body or euler-xyz-fixed");
  const std::optional<Rotation_Form> Form = Find_Rotation(Word);
  if (!Form || Form->Is_Matrix()) {
    In.Refuse(
        fmt::format("'rotation' is {}; expected helical, euler-xyz-body or euler-xyz-fixed, "
                    "or another order of x, y and z",
                    Shown(Word)));
  }
  Body.Form = *Form;
  const bool Are_Radians = Need_Word(In, "angle-unit", {"deg", "rad"}) == 1;
  Body.Radians_Per_Unit = Are_Radians ? 1.0 : 1.0 / Degrees_Per_Radian;
}

void Read_Rotation(const Section& In, Map_Body& Body) {
  const bool Has_Quaternion = In.Values.contains("quaternion");
  if (Has_Quaternion == In.Values.contains("angles")) {
    In.Refuse("has both or none of 'quaternion' and 'angles'; expected one of them");
  }
  if (Has_Quaternion) {
    for (const char* const Key : {"rotation", "angle-unit"}) {
      if (In.Values.contains(Key)) {
        In.Refuse(fmt::format("'{}' belongs to 'angles'; expected none beside 'quaternion'", Key));
      }
    }
    Read_Quaternion(In, Body);
  } else {
    Read_Angles(In, Body);
  }
  Body.Is_Base_To_Body = Need_Word(In, "direction", {"body-to-base", "base-to-body"}) == 1;
}

void Read_Tracked(const Section& In, Map_Body& Body) {
  if (!In.Values.contains("tracked")) return;
  const Section Tracked = Need_Section(In, "tracked", "{ column = \"state\", value = \"1\" }");
  Tracked.Allow({"column", "value"});
  Body.Tracked = Read_Column(Tracked, "column", Tracked.Need("column", "a column"));
  Body.Tracked_Value = Need_Text(Tracked, "value", "the text of the cell of a tracked body");
}

Map_Body Read_Body(const Section& In) {
  In.Allow({"name", "position", "length-unit", "quaternion", "angles", "rotation", "angle-unit",
            "direction", "tracked"});
  Map_Body Body;
  Body.Name = Need_Text(In, "name", "what the body is called");
  Body.Position = Read_Three_Columns(In, "position", "the columns of x, y and z");
  const std::string Unit = Need_Text(In, "length-unit", "m, cm, mm, in or ft");
  const Length_Unit* const Known = Find_Length_Unit(Unit);
  if (Known == nullptr) {
    In.Refuse(fmt::format("'length-unit' is {}; expected m, cm, mm, in or ft", Shown(Unit)));
  }
  Body.Metres_Per_Unit = Known->Metres;
  Body.Length_Unit = Known->Name;
  Read_Rotation(In, Body);
  Read_Tracked(In, Body);
  return Body;
}

void Read_Time(const Section& Root, Take_Map& Map) {
  const Section In = Need_Section(Root, "time", "{ column = \"t\", unit = \"s\" }");
  In.Allow({"column", "unit", "rate"});
  Map.Time = Read_Column(In, "column", In.Need("column", "a column"));
  const std::size_t Unit = Need_Word(In, "unit", {"s", "ms", "us", "ns", "frames"});
  constexpr double Seconds[] = {1.0, 1e-3, 1e-6, 1e-9};
  const bool Are_Frames = Unit == std::size(Seconds);
  const toml::node* const Rate = In.Values.get("rate");
  if (Are_Frames != (Rate != nullptr)) {
    In.Refuse(
        "'rate' belongs to the unit 'frames'; expected both or none, the rate in frames a "
        "second");
  }
  if (!Are_Frames) {
    Map.Seconds_Per_Unit = Seconds[Unit];
    return;
  }
  constexpr double Highest_Rate_Hz = 1e6;
  const double Rate_Hz = Rate->value<double>().value_or(0.0);
  if (!(Rate_Hz >= 1.0 / Highest_Rate_Hz && Rate_Hz <= Highest_Rate_Hz)) {
    In.Refuse("'rate' is wrong; expected frames a second, above 0");
  }
  Map.Rate_Hz = Rate_Hz;
  Map.Seconds_Per_Unit = 1.0 / Rate_Hz;
}

void Read_Table_Facts(const Section& Root, Take_Map& Map) {
  constexpr char Separators[] = {',', ';', '\t', ' '};
  Map.Separator = Separators[Need_Word(Root, "separator", {"comma", "semicolon", "tab", "blanks"})];
  const auto* const Lines =
      Root.Need("header-lines", "how many lines stand above the samples").as_integer();
  constexpr std::int64_t Most_Lines = 10000;
  if (Lines == nullptr || Lines->get() < 0 || Lines->get() > Most_Lines) {
    Root.Refuse("'header-lines' is wrong; expected how many lines stand above the samples");
  }
  Map.Header_Lines = static_cast<std::size_t>(Lines->get());
  if (!Root.Values.contains("axes")) return;
  const auto* const Words = Root.Values.get("axes")->as_array();
  std::array<std::string, 3> Axes;
  for (std::size_t i = 0; i < Axes.size() && Words != nullptr && Words->size() == 3; ++i) {
    Axes[i] = Words->get(i)->value<std::string>().value_or("");
  }
  try {
    Map.Axes = Parse_Axes("--map", Axes);
  } catch (const Usage_Error&) {
    Root.Refuse(
        "'axes' is wrong; expected each of x, y and z once, with or without a '-', such as "
        "[\"x\", \"-z\", \"y\"]");
  }
}

Take_Map Read_Root(const Section& Root) {
  Root.Allow({"separator", "header-lines", "axes", "time", "body"});
  Take_Map Map;
  Read_Table_Facts(Root, Map);
  Read_Time(Root, Map);
  const auto* const Bodies = Root.Need("body", "a [[body]] for each body").as_array();
  if (Bodies == nullptr || Bodies->empty() || !Bodies->is_homogeneous<toml::table>()) {
    Root.Refuse("'body' is wrong; expected a [[body]] for each body");
  }
  for (std::size_t i = 0; i < Bodies->size(); ++i) {
    const Section In{*Bodies->get(i)->as_table(), Root.Start + fmt::format("body {}: ", i + 1)};
    Map.Bodies.push_back(Read_Body(In));
    for (std::size_t k = 0; k < i; ++k) {
      if (Map.Bodies[k].Name == Map.Bodies[i].Name) {
        In.Refuse(fmt::format("'name' is {} as for body {}; expected each name once",
                              Shown(Map.Bodies[i].Name), k + 1));
      }
    }
  }
  return Map;
}

std::string Read_Bytes(const std::filesystem::path& File, const std::string& Start) {
  std::ifstream Stream(File, std::ios::binary);
  if (!Stream) {
    throw Usage_Error("--map", fmt::format("{}can't be opened ({}); expected a map in TOML", Start,
                                           std::generic_category().message(errno)));
  }
  // No map is so long; a take in its place is.
  constexpr std::size_t Longest = 1 << 20;
  std::string Bytes(Longest + 1, '\0');
  Stream.read(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  if (Stream.bad()) throw Usage_Error("--map", Start + "can't be read; expected a map in TOML");
  Bytes.resize(static_cast<std::size_t>(Stream.gcount()));
  if (Bytes.size() > Longest) {
    throw Usage_Error("--map", Start + "is longer than a megabyte; expected a map in TOML");
  }
  return Bytes;
}

}  // namespace

Take_Map Read_Take_Map(const std::filesystem::path& File) {
  const std::string Start = fmt::format("--map: {}: ", File.string());
  const std::string Text = Read_Bytes(File, Start);
  toml::table Root;
  try {
    Root = toml::parse(Text);
  } catch (const toml::parse_error& Error) {
    const toml::source_position Place = Error.source().begin;
    throw Usage_Error("--map",
                      fmt::format("{}not valid TOML: line {}, column {}: {}", Start, Place.line,
                                  Place.column, One_Line(Error.description())));
  }
  return Read_Root({Root, Start});
}

}  // namespace rigsync
