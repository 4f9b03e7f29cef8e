// SPDX-License-Identifier: Apache-2.0
//
// Vicon's CSV export. A section begins with its name, "Segments" or "Objects", and the rate; below
// are the bodies' names above their first columns, the columns' names, and their units. A file has
// other sections, too.
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

Header_Row Next_Row(Table_File& File, const char* What) {
  if (!File.Next_With_Text()) {
    File.Refuse(fmt::format("ends before {}; expected a Vicon export with its header", What));
  }
  Cells Row;
  Split_Cells(File.Text(), ',', Row);
  return {Row.begin(), Row.end()};
}

// The lines above the samples.
struct Header {
  std::string Section;
  double Rate_Hz = 0;
  Header_Row Names, Columns, Units;
  std::size_t Columns_Line = 0, Units_Line = 0;
};

bool Is_Body_Section(const Header_Row& Row) {
  return Row[0] == "Segments" || Row[0] == "Objects";
}

Header Read_Header(Table_File& File) {
  Header Found;
  Header_Row Row = Next_Row(File, "a section 'Segments' or 'Objects'");
  while (!Is_Body_Section(Row)) Row = Next_Row(File, "a section 'Segments' or 'Objects'");
  Found.Section = Row[0];
  const Header_Row Rate = Next_Row(File, "the rate");
  Found.Rate_Hz = Read_Cell(Rate[0]).Value;
  if (!(Found.Rate_Hz > 0.0)) {
    File.Refuse_Line(
        fmt::format("{} is not a rate; expected frames a second, above 0", Shown(Rate[0])));
  }
  Found.Names = Next_Row(File, "the names of the bodies");
  Found.Columns = Next_Row(File, "the names of the columns");
  Found.Columns_Line = File.Line();
  if (Found.Columns[0] != "Frame" || Found.Columns.size() < 2 || Found.Columns[1] != "Sub Frame") {
    File.Refuse_Line("doesn't begin with 'Frame,Sub Frame'; expected the names of the columns");
  }
  Found.Units = Next_Row(File, "the units");
  Found.Units_Line = File.Line();
  return Found;
}

// A body has the columns from its name up to the next one.
struct Body_Cells {
  std::string Name;
  std::map<std::string, std::size_t> Column_Of;

  bool Has(const char* Column) const { return Column_Of.count(Column) != 0; }
};

std::vector<Body_Cells> Find_Bodies(Table_File& File, const Header& Header) {
  std::vector<Body_Cells> Bodies;
  for (std::size_t i = 2; i < Header.Columns.size(); ++i) {
    const bool Is_Named = i < Header.Names.size() && !Header.Names[i].empty();
    if (Is_Named && (Bodies.empty() || Bodies.back().Name != Header.Names[i])) {
      Bodies.push_back({Header.Names[i], {}});
    }
    if (Bodies.empty() || Header.Columns[i].empty()) continue;
    if (!Bodies.back().Column_Of.emplace(Header.Columns[i], i).second) {
      File.Refuse(fmt::format("line {}: {} has two columns '{}'; expected each once",
                              Header.Columns_Line, Shown(Bodies.back().Name), Header.Columns[i]));
    }
  }
  for (std::size_t i = 0; i < Bodies.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      if (Bodies[i].Name != Bodies[k].Name) continue;
      File.Refuse(fmt::format("line {}: two bodies are called {}; expected each name once",
                              Header.Columns_Line - 1, Shown(Bodies[i].Name)));
    }
  }
  return Bodies;
}

bool Has_Pose(const Body_Cells& Body) {
  const char* const Needed[] = {"RX", "RY", "RZ", "TX", "TY", "TZ"};
  return std::all_of(std::begin(Needed), std::end(Needed),
                     [&](const char* Column) { return Body.Has(Column); });
}

// The unit of these columns, which all have the same.
std::string Unit_Of(Table_File& File, const Header& Header, const Body_Cells& Body,
                    const std::array<const char*, 3>& Columns) {
  const auto Unit_At = [&](const char* Column) {
    const std::size_t Index = Body.Column_Of.at(Column);
    return Index < Header.Units.size() ? Header.Units[Index] : std::string();
  };
  const std::string Unit = Unit_At(Columns[0]);
  for (const char* const Column : Columns) {
    if (Unit_At(Column) == Unit) continue;
    File.Refuse(fmt::format("line {}: {} and {} of {} have different units, {} and {}",
                            Header.Units_Line, Columns[0], Column, Shown(Body.Name), Shown(Unit),
                            Shown(Unit_At(Column))));
  }
  return Unit;
}

double Metres_Per_Unit(Table_File& File, const Header& Header, const Body_Cells& Body, Take& Into) {
  const std::string Word = Unit_Of(File, Header, Body, {"TX", "TY", "TZ"});
  const Length_Unit* const Unit = Find_Length_Unit(Word);
  if (Unit == nullptr) {
    File.Refuse(fmt::format("line {}: the unit of TX of {} is {}; expected mm, cm or m",
                            Header.Units_Line, Shown(Body.Name), Shown(Word)));
  }
  Into.Facts.emplace_back("length unit of " + One_Line(Body.Name),
                          fmt::format("{}, by the header", Unit->Name));
  return Unit->Metres;
}

double Radians_Per_Unit(Table_File& File, const Header& Header, const Body_Cells& Body) {
  const std::string Word = Unit_Of(File, Header, Body, {"RX", "RY", "RZ"});
  if (Word == "rad") return 1.0;
  if (Word != "deg") {
    File.Refuse(fmt::format("line {}: the unit of RX of {} is {}; expected deg or rad",
                            Header.Units_Line, Shown(Body.Name), Shown(Word)));
  }
  return 1.0 / Degrees_Per_Radian;
}

Rotation_Form Form_Of(Table_File& File, const Header& Header, const Take_Options& Options) {
  if (Options.Rotation && !Options.Rotation->Is_Matrix()) return *Options.Rotation;
  File.Refuse(fmt::format(
      "line {}: has RX, RY and RZ and doesn't say how they are meant; expected --rotation helical "
      "(an axis, its length being the angle), or angles about the body's axes or fixed ones, such "
      "as --rotation euler-xyz-body or --rotation euler-xyz-fixed",
      Header.Columns_Line));
}

void Set_Rotation(Table_File& File, const Header& Header, const Body_Cells& Found,
                  const Take_Options& Options, Body_Columns& Body, Take& Into) {
  const std::string Topic = "rotation of " + One_Line(Found.Name);
  if (Found.Has("RW")) {
    for (const char* const Part : {"RW", "RX", "RY", "RZ"}) {
      Body.Rotation.push_back({Found.Column_Of.at(Part)});
    }
    Into.Facts.emplace_back(Topic, "quaternions, by the header");
    return;
  }
  Body.Form = Form_Of(File, Header, Options);
  Body.Radians_Per_Unit = Radians_Per_Unit(File, Header, Found);
  const char* const Columns[] = {"RX", "RY", "RZ"};
  const std::array<int, 3> Order =
      Body.Form.Is_Euler() ? Body.Form.Order : std::array<int, 3>{0, 1, 2};
  for (const int Axis : Order) Body.Rotation.push_back({Found.Column_Of.at(Columns[Axis])});
  Into.Facts.emplace_back(
      Topic, fmt::format("{} in {}, by --rotation and the header", Rotation_Word(Body.Form),
                         Body.Radians_Per_Unit == 1.0 ? "radians" : "degrees"));
}

Body_Columns Columns_Of(Table_File& File, const Header& Header, const Body_Cells& Found,
                        const Take_Options& Options, Take& Into) {
  Body_Columns Body;
  Body.Name = Found.Name;
  const char* const Positions[] = {"TX", "TY", "TZ"};
  for (std::size_t i = 0; i < 3; ++i) Body.Position[i] = {Found.Column_Of.at(Positions[i])};
  Body.Metres_Per_Unit = Metres_Per_Unit(File, Header, Found, Into);
  Set_Rotation(File, Header, Found, Options, Body, Into);
  return Body;
}

std::vector<std::string> Column_Names(const Header& Header) {
  std::vector<std::string> Names;
  std::string Body;
  for (std::size_t i = 0; i < Header.Columns.size(); ++i) {
    if (i < Header.Names.size() && !Header.Names[i].empty()) Body = Header.Names[i] + " ";
    Names.push_back(One_Line(Body + Header.Columns[i]));
  }
  return Names;
}

}  // namespace

void Read_Vicon(Table_File& File, const Take_Options& Options, Take& Into) {
  Into.Format = "Vicon CSV";
  const Header Header = Read_Header(File);
  Into.Rate_Hz = Header.Rate_Hz;
  Table_Layout Layout;
  Layout.Cell_Count = Header.Columns.size();
  Layout.Seconds_Per_Unit = 1.0 / Header.Rate_Hz;
  Layout.Column_Names = Column_Names(Header);
  for (const Body_Cells& Found : Find_Bodies(File, Header)) {
    if (Has_Pose(Found)) {
      Layout.Bodies.push_back(Columns_Of(File, Header, Found, Options, Into));
    } else {
      Into.Warnings.push_back(
          fmt::format("{} was left out: it has no RX, RY, RZ, TX, TY and TZ", Shown(Found.Name)));
    }
  }
  if (Layout.Bodies.empty()) {
    File.Refuse(
        fmt::format("line {}: no body has RX, RY, RZ, TX, TY and TZ; expected an export of "
                    "objects or segments",
                    Header.Columns_Line));
  }
  const bool Are_Quaternions =
      std::all_of(Layout.Bodies.begin(), Layout.Bodies.end(),
                  [](const Body_Columns& Body) { return Body.Rotation.size() == 4; });
  if (Are_Quaternions) Warn_Of_Unused_Rotation(Options, "the file has quaternions", Into);
  Into.Facts.emplace_back("time",
                          fmt::format("frame number at {} Hz, by the header", Header.Rate_Hz));
  Set_Axes(Options, Base_Axes::Identity(), Layout, Into);
  Read_Rows(File, Layout, true, Into);
}

}  // namespace rigsync
