// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/base_axes.h"

#include "rigsync/system/usage_error.h"

#include <cstddef>
#include <string_view>

namespace rigsync {
namespace {

constexpr const char* Expected_Axes =
    "each of x, y and z once, with or without a '-', such as x,-z,y";

// A row of the matrix: (0, 0, -1) for "-z"; zeros for another text.
Eigen::RowVector3d Read_Axis(std::string_view Word) {
  constexpr std::string_view Letters = "xyz";
  Eigen::RowVector3d Row = Eigen::RowVector3d::Zero();
  const bool Is_Reversed = !Word.empty() && Word[0] == '-';
  if (Is_Reversed) Word.remove_prefix(1);
  const std::size_t Axis = Word.size() == 1 ? Letters.find(Word[0]) : std::string_view::npos;
  if (Axis != std::string_view::npos) Row[static_cast<int>(Axis)] = Is_Reversed ? -1.0 : 1.0;
  return Row;
}

}  // namespace

Base_Axes Parse_Axes(const std::string& Name, const std::array<std::string, 3>& Words) {
  Base_Axes Axes;
  for (int r = 0; r < 3; ++r) Axes.row(r) = Read_Axis(Words[static_cast<std::size_t>(r)]);
  // Zero for an unknown word, and where an axis comes twice.
  if (Axes.determinant() == 0.0) {
    Refuse(Name, Words[0] + "," + Words[1] + "," + Words[2], Expected_Axes);
  }
  return Axes;
}

Base_Axes Parse_Axes(const std::string& Name, const std::string& Text) {
  const std::size_t First = Text.find(',');
  const std::size_t Second = First == std::string::npos ? First : Text.find(',', First + 1);
  if (Second == std::string::npos) Refuse(Name, Text, Expected_Axes);
  return Parse_Axes(Name, {Text.substr(0, First), Text.substr(First + 1, Second - First - 1),
                           Text.substr(Second + 1)});
}

std::string Axes_Text(const Base_Axes& Axes) {
  std::string Text;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      if (Axes(r, c) == 0.0) continue;
      if (!Text.empty()) Text += ", ";
      if (Axes(r, c) < 0.0) Text += '-';
      Text += "xyz"[c];
    }
  }
  return Text;
}

}  // namespace rigsync
