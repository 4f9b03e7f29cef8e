// SPDX-License-Identifier: Apache-2.0
//
// Pose files of one body, which is called as the file is: time, position in metres, quaternion.
// TUM and ETH have seconds and x, y, z, w, between blanks and between commas; EuRoC has nanoseconds
// and w, x, y, z.
#include "rigsync/system/text.h"
#include "rigsync/take/table_rows.h"
#include "rigsync/take/take_reader.h"

#include <fmt/format.h>

#include <algorithm>

namespace rigsync {
namespace {

constexpr std::size_t Pose_Cells = 8, First_Rotation = 4;

struct Pose_Format {
  const char *Name, *Maker, *Order;  // as in messages: "ETH pose CSV", "ETH"; of the quaternion
  char Separator;
  double Seconds_Per_Unit;
  std::array<std::size_t, 4> Wxyz;  // the columns of the quaternion
};

const Pose_Format& Facts_Of(Take_Format Format) {
  static const Pose_Format Tum{"TUM pose file", "TUM", "xyzw", ' ', 1.0, {7, 4, 5, 6}},
      Eth{"ETH pose CSV", "ETH", "xyzw", ',', 1.0, {7, 4, 5, 6}},
      Euroc{"EuRoC pose CSV", "EuRoC", "wxyz", ',', 1e-9, {4, 5, 6, 7}};
  if (Format == Take_Format::Tum) return Tum;
  return Format == Take_Format::Eth ? Eth : Euroc;
}

// The last letters of the four names of a quaternion: "xyzw" of "q_x", "q_y [1]", "qz", "qw". A
// unit in brackets doesn't count. Empty if these are not the names of a quaternion.
std::string Quaternion_Order(const Cells& Names) {
  std::string Order;
  for (std::size_t i = First_Rotation; i < std::min(Names.size(), Pose_Cells); ++i) {
    const std::string_view Name = Names[i].substr(0, Names[i].find_first_of("[("));
    const std::size_t Last = Name.find_last_not_of(' ');
    if (Last != std::string_view::npos) Order += Lower_Case(std::string(1, Name[Last]));
  }
  std::string Sorted = Order;
  std::sort(Sorted.begin(), Sorted.end());
  return Sorted == "wxyz" ? Order : "";
}

// Names of the columns above the samples, with or without '#'.
void Check_Names(Table_File& File, const Pose_Format& Format) {
  std::string_view Text = File.Text();
  if (Text.front() == '#') Text.remove_prefix(1);
  Cells Names;
  Split_Cells(Text, Format.Separator, Names);
  const std::string Order = Quaternion_Order(Names);
  if (Order.empty() || Order == Format.Order) return;
  File.Refuse_Line(
      fmt::format("names the quaternion in the order {}, and {} files have {}; expected "
                  "--map with a map of the columns",
                  Order, Format.Maker, Format.Order));
}

// Goes to before the first line of numbers; returns how many cells it has.
std::size_t Pass_Header(Table_File& File, const Pose_Format& Format) {
  bool Has_Names = false;
  Cells Row;
  while (File.Next_With_Text()) {
    if (File.Text().front() == '#') {
      Check_Names(File, Format);
      continue;
    }
    Split_Cells(File.Text(), Format.Separator, Row);
    // A line of names comes once.
    if (Has_Names || Read_Time_Cell(Row.front()).Is == Cell_Value::Kind::Number) {
      File.Stay();
      return Row.size();
    }
    Check_Names(File, Format);
    Has_Names = true;
  }
  File.Refuse(fmt::format("has no line of samples; expected those of a {}", Format.Name));
}

}  // namespace

void Read_Pose_File(Table_File& File, Take_Format Format, const Take_Options& Options, Take& Into) {
  const Pose_Format& Known = Facts_Of(Format);
  Into.Format = Known.Name;
  Table_Layout Layout;
  Layout.Separator = Known.Separator;
  Layout.Has_Comments = true;
  Layout.Seconds_Per_Unit = Known.Seconds_Per_Unit;
  const std::size_t Found = Pass_Header(File, Known);
  // EuRoC's files of a state have more columns behind the pose.
  const bool May_Be_Longer = Format == Take_Format::Euroc;
  Layout.Cell_Count = May_Be_Longer ? std::max(Found, Pose_Cells) : Pose_Cells;
  const bool Is_W_First = Known.Wxyz[0] == First_Rotation;
  Layout.Column_Names = {"time", "x", "y", "z"};
  for (const char Letter : std::string_view(Known.Order)) {
    Layout.Column_Names.push_back(std::string("q_") + Letter);
  }
  Body_Columns Body;
  Body.Name = File.Path().stem().string();
  Body.Position = {{{1}, {2}, {3}}};
  for (const std::size_t Column : Known.Wxyz) Body.Rotation.push_back({Column});
  Layout.Bodies.push_back(Body);
  Warn_Of_Unused_Rotation(Options, "the file has quaternions", Into);
  Into.Facts.emplace_back("length unit", fmt::format("metres, as {} files have it", Known.Maker));
  Into.Facts.emplace_back("rotation",
                          fmt::format("quaternions {}, as {} files have them",
                                      Is_W_First ? "w, x, y, z" : "x, y, z, w", Known.Maker));
  Set_Axes(Options, Base_Axes::Identity(), Layout, Into);
  Read_Rows(File, Layout, false, Into);
}

}  // namespace rigsync
