// SPDX-License-Identifier: Apache-2.0
//
// Any table of poses, by a map of its columns.
#include "rigsync/take/table_rows.h"
#include "rigsync/take/take_map.h"
#include "rigsync/take/take_reader.h"

#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>

namespace rigsync {
namespace {

// Finds the columns of a map in a table.
class Column_Finder {
 public:
  Column_Finder(const Table_File& Table, const std::filesystem::path& Map,
                std::vector<std::string> Names)
      : File(Table), Map_File(Map), Header(std::move(Names)) {}

  Signed_Column Find(const Map_Column& Column) const {
    return {Index_Of(Column), Column.Is_Reversed ? -1.0 : 1.0};
  }
  std::size_t Index_Of(const Map_Column& Column) const;

 private:
  [[noreturn]] void Refuse(const Map_Column& Column, const std::string& Why) const {
    throw Usage_Error("--map",
                      fmt::format("--map: {}: '{}': {}", Map_File.string(), Column.Key, Why));
  }

  const Table_File& File;
  const std::filesystem::path& Map_File;
  std::vector<std::string> Header;
};

std::size_t Column_Finder::Index_Of(const Map_Column& Column) const {
  if (Column.Number > 0) return Column.Number - 1;
  const auto Found = std::find(Header.begin(), Header.end(), Column.Name);
  if (Found == Header.end()) {
    Refuse(Column, fmt::format("{} has no column {}; expected a name in the last of its header "
                               "lines, or a column's number",
                               File.Path().string(), Shown(Column.Name)));
  }
  if (std::find(Found + 1, Header.end(), Column.Name) != Header.end()) {
    Refuse(Column, fmt::format("{} has two columns {}; expected the column's number",
                               File.Path().string(), Shown(Column.Name)));
  }
  return static_cast<std::size_t>(Found - Header.begin());
}

std::vector<std::string> Read_Names(Table_File& File, const Take_Map& Map) {
  for (std::size_t i = 0; i < Map.Header_Lines; ++i) {
    if (!File.Next()) {
      File.Refuse(
          fmt::format("has {} lines, all of the header as --map says; expected samples "
                      "below",
                      i));
    }
  }
  if (Map.Header_Lines == 0) return {};
  Cells Row;
  Split_Cells(File.Text(), Map.Separator, Row);
  return {Row.begin(), Row.end()};
}

Body_Columns Columns_Of(const Map_Body& Body, const Column_Finder& Columns) {
  Body_Columns Result;
  Result.Name = Body.Name;
  for (std::size_t i = 0; i < 3; ++i) Result.Position[i] = Columns.Find(Body.Position[i]);
  Result.Metres_Per_Unit = Body.Metres_Per_Unit;
  for (const Map_Column& Column : Body.Rotation) Result.Rotation.push_back(Columns.Find(Column));
  Result.Form = Body.Form;
  Result.Radians_Per_Unit = Body.Radians_Per_Unit;
  Result.Is_Base_To_Body = Body.Is_Base_To_Body;
  if (Body.Tracked) {
    Result.Tracked = Tracked_Column{Columns.Index_Of(*Body.Tracked), Body.Tracked_Value};
  }
  return Result;
}

std::string Rotation_Text(const Map_Body& Body) {
  const std::string Form = Body.Rotation.size() == 4
                               ? "quaternions"
                               : fmt::format("{} in {}", Rotation_Word(Body.Form),
                                             Body.Radians_Per_Unit == 1.0 ? "radians" : "degrees");
  return fmt::format("{}, {}, by the map", Form,
                     Body.Is_Base_To_Body ? "base to body" : "body to base");
}

// One cell for each name, or as many as the map needs if there are no names.
std::size_t Needed_Cells(const Table_Layout& Layout, std::size_t Names) {
  std::size_t Needed = std::max(Names, Layout.Time_Column + 1);
  const auto Need = [&](std::size_t Index) { Needed = std::max(Needed, Index + 1); };
  for (const Body_Columns& Body : Layout.Bodies) {
    for (const Signed_Column& Column : Body.Position) Need(Column.Index);
    for (const Signed_Column& Column : Body.Rotation) Need(Column.Index);
    if (Body.Tracked) Need(Body.Tracked->Index);
  }
  return Needed;
}

}  // namespace

void Read_Mapped(Table_File& File, const Take_Options& Options, Take& Into) {
  Into.Format = "table with a map";
  const Take_Map Map = Read_Take_Map(Options.Map);
  Table_Layout Layout;
  Layout.Separator = Map.Separator;
  Layout.Column_Names = Read_Names(File, Map);
  const Column_Finder Columns(File, Options.Map, Layout.Column_Names);
  const Signed_Column Time = Columns.Find(Map.Time);
  Layout.Time_Column = Time.Index;
  Layout.Seconds_Per_Unit = Time.Sign * Map.Seconds_Per_Unit;
  for (const Map_Body& Body : Map.Bodies) {
    Layout.Bodies.push_back(Columns_Of(Body, Columns));
    Into.Facts.emplace_back("length unit of " + One_Line(Body.Name),
                            Body.Length_Unit + ", by the map");
    Into.Facts.emplace_back("rotation of " + One_Line(Body.Name), Rotation_Text(Body));
  }
  Into.Rate_Hz = Map.Rate_Hz.value_or(0.0);
  Layout.Cell_Count = Needed_Cells(Layout, Layout.Column_Names.size());
  Layout.Allows_More_Cells = Layout.Column_Names.empty();
  Warn_Of_Unused_Rotation(Options, "the map says it", Into);
  Set_Axes(Options, Map.Axes, Layout, Into);
  Read_Rows(File, Layout, false, Into);
}

}  // namespace rigsync
