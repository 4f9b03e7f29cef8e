// SPDX-License-Identifier: Apache-2.0
//
// Where the columns of a take's table are and what their numbers mean: what each format finds out
// from its header, and a map says.
#ifndef RIGSYNC_TAKE_TABLE_LAYOUT_H
#define RIGSYNC_TAKE_TABLE_LAYOUT_H

#include "rigsync/take/base_axes.h"
#include "rigsync/take/rotation_form.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Signed_Column {
  std::size_t Index = 0;  // counted from 0
  double Sign = 1.0;
};

// The cell in which a tracking system says whether it saw the body.
struct Tracked_Column {
  std::size_t Index = 0;
  std::string Value;  // of a tracked body, as text
};

struct Body_Columns {
  std::string Name;
  std::array<Signed_Column, 3> Position;
  double Metres_Per_Unit = 1.0;
  // Four columns are a quaternion w, x, y, z. Three belong to Form: the axis of a helical rotation,
  // or the angles in the order of the turns. Nine are a matrix in the order that Form says.
  std::vector<Signed_Column> Rotation;
  Rotation_Form Form;
  double Radians_Per_Unit = 1.0;
  bool Is_Base_To_Body = false;  // the direction of the file's rotations
  std::optional<Tracked_Column> Tracked;
};

struct Table_Layout {
  char Separator = ',';  // ' ' for runs of blanks
  std::size_t Cell_Count = 0;
  bool Allows_More_Cells = false;  // behind these, for a table without names
  std::size_t Time_Column = 0;
  double Seconds_Per_Unit = 1.0;
  std::vector<std::string> Column_Names;  // for messages; may be shorter than a line
  std::vector<Body_Columns> Bodies;
  Base_Axes Axes = Base_Axes::Identity();
  bool Has_Comments = false;  // lines that begin with '#' are left out
};

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TABLE_LAYOUT_H
