// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/take_file.h"

#include "rigsync/system/usage_error.h"
#include "rigsync/take/table_file.h"
#include "rigsync/take/take_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace rigsync {
namespace {

constexpr std::size_t Pose_Cells = 8;
// Seconds since 1970 have ten digits before the point, nanoseconds nineteen.
constexpr double Least_Nanoseconds = 1e15;

// How many cells at the start of the line are numbers, or a NaN.
std::size_t Leading_Numbers(const Cells& Row) {
  const auto Is_Number = [](std::string_view Cell) {
    const Cell_Value::Kind Kind = Read_Time_Cell(Cell).Is;
    return Kind == Cell_Value::Kind::Number || Kind == Cell_Value::Kind::Unusable;
  };
  return static_cast<std::size_t>(std::find_if_not(Row.begin(), Row.end(), Is_Number) -
                                  Row.begin());
}

// By a line of numbers, the first one below comments and names.
std::optional<Take_Format> Find_Pose_Format(Table_File& File) {
  Cells By_Comma, By_Blanks;
  for (std::size_t i = 0; File.Next_With_Text(); ++i) {
    if (File.Text().front() == '#') continue;
    Split_Cells(File.Text(), ',', By_Comma);
    while (By_Comma.size() > 1 && By_Comma.back().empty()) By_Comma.pop_back();
    Split_Cells(File.Text(), ' ', By_Blanks);
    if (By_Blanks.size() == Pose_Cells && Leading_Numbers(By_Blanks) == Pose_Cells) {
      return Take_Format::Tum;
    }
    if (Leading_Numbers(By_Comma) >= Pose_Cells) {
      const bool Are_Nanoseconds =
          std::abs(Read_Time_Cell(By_Comma.front()).Value) >= Least_Nanoseconds;
      if (Are_Nanoseconds) return Take_Format::Euroc;
      if (By_Comma.size() == Pose_Cells) return Take_Format::Eth;
    }
    // One line of names may come before.
    if (i > 0 || Leading_Numbers(By_Comma) > 0) return std::nullopt;
  }
  return std::nullopt;
}

bool Is_Vicon_Section(std::string_view Word) {
  constexpr std::array<std::string_view, 6> Words = {"Segments", "Objects",      "Joints",
                                                     "Devices",  "Trajectories", "Model Outputs"};
  return std::find(Words.begin(), Words.end(), Word) != Words.end();
}

// By the first line. Leaves File before it.
std::optional<Take_Format> Find_Format(Table_File& File) {
  if (!File.Next_With_Text()) File.Refuse("is empty; expected a take");
  Cells By_Comma, By_Tab;
  Split_Cells(File.Text(), ',', By_Comma);
  Split_Cells(File.Text(), '\t', By_Tab);
  std::optional<Take_Format> Found;
  if (By_Comma[0] == "Format Version") {
    Found = Take_Format::Motive;
  } else if (Is_Vicon_Section(By_Comma[0])) {
    Found = Take_Format::Vicon;
  } else if (By_Tab[0] == "NO_OF_FRAMES") {
    Found = Take_Format::Qualisys;
  } else {
    File.Rewind();
    Found = Find_Pose_Format(File);
  }
  File.Rewind();
  return Found;
}

[[noreturn]] void Refuse_Unknown(Table_File& File) {
  File.Next_With_Text();
  File.Refuse(fmt::format(
      "is no take of a known format: it begins with {}; expected a Motive CSV ('Format Version'), "
      "a Vicon CSV ('Segments' or 'Objects'), a Qualisys 6D TSV ('NO_OF_FRAMES'), or lines of "
      "time, position and quaternion (TUM, ETH, EuRoC); for any other table, expected --map with a "
      "map of its columns",
      Shown(File.Text())));
}

void Read_As(Take_Format Format, Table_File& File, const Take_Options& Options, Take& Into) {
  switch (Format) {
    case Take_Format::Motive:
      return Read_Motive(File, Options, Into);
    case Take_Format::Vicon:
      return Read_Vicon(File, Options, Into);
    case Take_Format::Qualisys:
      return Read_Qualisys(File, Options, Into);
    default:
      return Read_Pose_File(File, Format, Options, Into);
  }
}

}  // namespace

Take_Format Parse_Take_Format(const std::string& Flag, const std::string& Word) {
  static constexpr std::array<const char*, 6> Words = {"motive", "vicon", "qualisys",
                                                       "tum",    "eth",   "euroc"};
  const auto Found = std::find(Words.begin(), Words.end(), Word);
  if (Found == Words.end()) Refuse(Flag, Word, "motive, vicon, qualisys, tum, eth or euroc");
  return static_cast<Take_Format>(Found - Words.begin());
}

Take Read_Take(const std::filesystem::path& Path, const Take_Options& Options) {
  if (Options.Format && !Options.Map.empty()) {
    throw Usage_Error("--format", "--format: given together with --map; expected one of them");
  }
  Table_File File(Path, Options.Argument);
  Take Result;
  if (!Options.Map.empty()) {
    Read_Mapped(File, Options, Result);
    return Result;
  }
  const std::optional<Take_Format> Format = Options.Format ? Options.Format : Find_Format(File);
  if (!Format) Refuse_Unknown(File);
  Read_As(*Format, File, Options, Result);
  return Result;
}

}  // namespace rigsync
