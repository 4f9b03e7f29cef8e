// SPDX-License-Identifier: Apache-2.0
//
// Motive's take export. Pairs of key and value on the first line, then rows that say of each column
// what it belongs to: type, name, ID (and parent), component, axis. The columns of rigid bodies are
// found by those rows; columns of markers and of marker errors stand between them.
#include "rigsync/geometry/angle.h"
#include "rigsync/system/text.h"
#include "rigsync/take/table_rows.h"
#include "rigsync/take/take_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace rigsync {
namespace {

using Header_Row = std::vector<std::string>;

// The columns of a rigid body, by component and axis: "Rotation X".
struct Body_Cells {
  std::string Name;
  std::map<std::string, std::size_t> Column_Of;
};

struct Header {
  std::map<std::string, std::string> Values;  // of the first line, by its keys
  Header_Row Types, Names, Components, Axes;
};

Header_Row Row_Of(Table_File& File) {
  Cells Row;
  Split_Cells(File.Text(), ',', Row);
  return {Row.begin(), Row.end()};
}

bool Has_Cell(const Header_Row& Row, const std::string& Text) {
  return std::find(Row.begin(), Row.end(), Text) != Row.end();
}

std::string Cell_At(const Header_Row& Row, std::size_t Index) {
  return Index < Row.size() ? Row[Index] : std::string();
}

// Rows are known by their label in the second cell. Older files have none for types and names: the
// first row is the types, the one below it the names. The last row above the axes is the
// components.
Header Read_Header(Table_File& File) {
  Header Found;
  if (!File.Next_With_Text()) File.Refuse("is empty; expected a Motive take export");
  const Header_Row Pairs = Row_Of(File);
  for (std::size_t i = 0; i + 1 < Pairs.size(); i += 2) Found.Values[Pairs[i]] = Pairs[i + 1];
  std::vector<Header_Row> Rows;
  while (Found.Axes.empty()) {
    constexpr std::size_t Most_Rows = 20;
    if (Rows.size() == Most_Rows || !File.Next_With_Text()) {
      File.Refuse(
          "has no row that begins with 'Frame' above the samples; expected a Motive take "
          "export with its header");
    }
    Header_Row Row = Row_Of(File);
    if (Cell_At(Row, 0) == "Frame") {
      Found.Axes = std::move(Row);
    } else {
      Rows.push_back(std::move(Row));
    }
  }
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const std::string Label = Cell_At(Rows[i], 1);
    const bool Is_Types =
        Label == "Type" || (Found.Types.empty() && Has_Cell(Rows[i], "Rigid Body"));
    if (Is_Types) {
      Found.Types = Rows[i];
      if (i + 1 < Rows.size()) Found.Names = Rows[i + 1];
    } else if (Label == "Name") {
      Found.Names = Rows[i];
    }
  }
  if (!Rows.empty()) Found.Components = Rows.back();
  return Found;
}

std::vector<Body_Cells> Find_Bodies(Table_File& File, const Header& Header) {
  std::vector<Body_Cells> Bodies;
  for (std::size_t i = 2; i < Header.Axes.size(); ++i) {
    const std::string Component = Cell_At(Header.Components, i);
    if (Cell_At(Header.Types, i) != "Rigid Body") continue;
    if (Component != "Rotation" && Component != "Position") continue;
    const std::string Name = Cell_At(Header.Names, i);
    auto Body = std::find_if(Bodies.begin(), Bodies.end(),
                             [&](const Body_Cells& Known) { return Known.Name == Name; });
    if (Body == Bodies.end()) Body = Bodies.insert(Body, {Name, {}});
    const std::string Key = Component + " " + Header.Axes[i];
    if (!Body->Column_Of.emplace(Key, i).second) {
      File.Refuse(
          fmt::format("has two columns '{}' of the rigid body {}; expected each name once: "
                      "rename one of the bodies and export again",
                      Key, Shown(Name)));
    }
  }
  if (Bodies.empty()) {
    File.Refuse(
        "has no columns of a rigid body; expected an export with rigid bodies, not of "
        "markers alone");
  }
  return Bodies;
}

Signed_Column Column_Of(Table_File& File, const Body_Cells& Body, const std::string& Key) {
  const auto Found = Body.Column_Of.find(Key);
  if (Found == Body.Column_Of.end()) {
    File.Refuse(
        fmt::format("has no column '{}' of the rigid body {}; expected rotation and "
                    "position of each in the export",
                    Key, Shown(Body.Name)));
  }
  return {Found->second};
}

// The letters of the axes in the order of the turns, small: "xyz".
Rotation_Form Euler_Form(Table_File& File, const std::string& Type, const Take_Options& Options) {
  const std::string Order = Lower_Case(Type);
  const std::string Body = "euler-" + Order + "-body", Fixed = "euler-" + Order + "-fixed";
  if (!Find_Rotation(Body)) {
    File.Refuse(
        fmt::format("has the 'Rotation Type' {}; expected Quaternion, or an order such as "
                    "XYZ",
                    Shown(Type)));
  }
  if (!Options.Rotation) {
    File.Refuse(fmt::format(
        "has rotations as {} angles and doesn't say whether they turn about the body's axes or "
        "fixed ones; expected --rotation {} or --rotation {}, or an export with the rotation type "
        "Quaternion",
        Type, Body, Fixed));
  }
  const std::string Word = Rotation_Word(*Options.Rotation);
  if (Word != Body && Word != Fixed) {
    File.Refuse(fmt::format("has rotations as {} angles, and --rotation is {}; expected {} or {}",
                            Type, Word, Body, Fixed));
  }
  return *Options.Rotation;
}

Body_Columns Columns_Of(Table_File& File, const Body_Cells& Found,
                        const std::optional<Rotation_Form>& Euler) {
  Body_Columns Body;
  Body.Name = Found.Name;
  const char* const Letters[] = {"X", "Y", "Z"};
  for (std::size_t i = 0; i < 3; ++i) {
    Body.Position[i] = Column_Of(File, Found, std::string("Position ") + Letters[i]);
  }
  if (Euler) {
    Body.Form = *Euler;
    Body.Radians_Per_Unit = 1.0 / Degrees_Per_Radian;
    for (const int Axis : Euler->Order) {
      Body.Rotation.push_back(Column_Of(File, Found, std::string("Rotation ") + Letters[Axis]));
    }
  } else {
    for (const char* const Part : {"W", "X", "Y", "Z"}) {
      Body.Rotation.push_back(Column_Of(File, Found, std::string("Rotation ") + Part));
    }
  }
  return Body;
}

std::string Value_Of(Table_File& File, const Header& Header, const std::string& Key,
                     const std::string& Example) {
  const auto Found = Header.Values.find(Key);
  if (Found == Header.Values.end()) {
    File.Refuse(
        fmt::format("line 1: '{}' is missing; expected '{},{}' in the header", Key, Key, Example));
  }
  return Found->second;
}

double Metres_Per_Unit(Table_File& File, const Header& Header, Take& Into) {
  const std::string Word = Value_Of(File, Header, "Length Units", "Meters");
  const Length_Unit* const Unit = Find_Length_Unit(Word);
  if (Unit == nullptr) {
    File.Refuse(
        fmt::format("line 1: 'Length Units' is {}; expected Meters, Centimeters or "
                    "Millimeters",
                    Shown(Word)));
  }
  Into.Facts.emplace_back("length unit", fmt::format("{}, by the header", Unit->Name));
  return Unit->Metres;
}

// What the file says of itself besides.
void Read_Facts(Table_File& File, const Header& Header, Take& Into) {
  const auto Found = [&](const char* Key) {
    const auto Value = Header.Values.find(Key);
    return Value == Header.Values.end() ? std::string() : Value->second;
  };
  const std::string Space = Found("Coordinate Space");
  if (!Space.empty() && Space != "Global") {
    File.Refuse(fmt::format("line 1: 'Coordinate Space' is {}; expected Global", Shown(Space)));
  }
  const Cell_Value Rate = Read_Cell(Found("Export Frame Rate"));
  Into.Rate_Hz = std::max(Rate.Value, 0.0);
  const std::string Version = Found("Format Version"), Start = Found("Capture Start Time");
  if (!Version.empty()) Into.Facts.emplace_back("format version", One_Line(Version));
  if (!Start.empty()) Into.Facts.emplace_back("start, by the tracking computer", One_Line(Start));
}

}  // namespace

void Read_Motive(Table_File& File, const Take_Options& Options, Take& Into) {
  Into.Format = "Motive CSV";
  const Header Header = Read_Header(File);
  Read_Facts(File, Header, Into);
  Table_Layout Layout;
  Layout.Cell_Count = Header.Axes.size();
  Layout.Time_Column = 1;
  if (Cell_At(Header.Axes, 1) != "Time (Seconds)") {
    File.Refuse_Line("the second column is not 'Time (Seconds)'; expected a Motive take export");
  }
  for (std::size_t i = 0; i < Header.Axes.size(); ++i) {
    Layout.Column_Names.push_back(One_Line(fmt::format(
        "{} {} {}", Cell_At(Header.Names, i), Cell_At(Header.Components, i), Header.Axes[i])));
  }
  Layout.Column_Names[0] = "Frame";
  Layout.Column_Names[1] = "Time (Seconds)";
  const std::string Type = Value_Of(File, Header, "Rotation Type", "Quaternion");
  const bool Are_Quaternions = Type == "Quaternion";
  std::optional<Rotation_Form> Euler;
  if (Are_Quaternions) {
    Warn_Of_Unused_Rotation(Options, "the file has quaternions", Into);
    Into.Facts.emplace_back("rotation", "quaternions, by the header");
  } else {
    Euler = Euler_Form(File, Type, Options);
    Into.Facts.emplace_back("rotation", Rotation_Word(*Euler) + " in degrees, by --rotation");
  }
  const double Metres = Metres_Per_Unit(File, Header, Into);
  for (const Body_Cells& Found : Find_Bodies(File, Header)) {
    Layout.Bodies.push_back(Columns_Of(File, Found, Euler));
    Layout.Bodies.back().Metres_Per_Unit = Metres;
  }
  Set_Axes(Options, Base_Axes::Identity(), Layout, Into);
  Read_Rows(File, Layout, false, Into);
}

}  // namespace rigsync
