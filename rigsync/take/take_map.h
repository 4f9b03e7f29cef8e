// SPDX-License-Identifier: Apache-2.0
//
// A map: a small TOML file that says where the columns of a table of poses are and what they mean.
// docs/takes.md lists its keys.
#ifndef RIGSYNC_TAKE_TAKE_MAP_H
#define RIGSYNC_TAKE_TAKE_MAP_H

#include "rigsync/take/base_axes.h"
#include "rigsync/take/rotation_form.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// A column as the map names it: by the name in the table's header, or by its number, counted from
// 1. A '-' before a name, or a negative number, reverses the sign of what is in the column.
struct Map_Column {
  std::string Name;        // empty for a number
  std::size_t Number = 0;  // 0 for a name
  bool Is_Reversed = false;
  std::string Key;  // of the map, for messages: "body 2: position"
};

struct Map_Body {
  std::string Name;
  std::array<Map_Column, 3> Position;
  double Metres_Per_Unit = 1.0;
  std::string Length_Unit;           // as in messages
  std::vector<Map_Column> Rotation;  // w, x, y, z, or three angles in the order of their turns
  Rotation_Form Form;                // of the angles
  double Radians_Per_Unit = 1.0;
  bool Is_Base_To_Body = false;
  std::optional<Map_Column> Tracked;
  std::string Tracked_Value;
};

struct Take_Map {
  char Separator = ',';  // ' ' for runs of blanks
  std::size_t Header_Lines = 1;
  Map_Column Time;
  double Seconds_Per_Unit = 1.0;
  std::optional<double> Rate_Hz;  // where the time is counted in frames
  Base_Axes Axes = Base_Axes::Identity();
  std::vector<Map_Body> Bodies;
};

// Throws Usage_Error, "--map: FILE: ...", for a file that can't be read, that is not TOML, or that
// has an unknown key, a missing one, or a value that is none of those of its key.
Take_Map Read_Take_Map(const std::filesystem::path& File);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TAKE_MAP_H
