// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/table_rows.h"

#include <fmt/format.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

namespace rigsync {
namespace {

using Kind = Cell_Value::Kind;

// Samples of a body that were lost where the file doesn't say so by blank cells.
struct Losses {
  struct Cause {
    std::size_t Count = 0, First_Line = 0;

    void Add(std::size_t Line) {
      if (Count++ == 0) First_Line = Line;
    }
  };
  Cause Unusable, Partly_Blank, No_Rotation;
};

// A quaternion so short is a lost body's; one outside of the two others is not a rotation that was
// written with few digits, or interpolated, but something else.
constexpr double Longest_Of_None = 0.01, Shortest_Length = 0.9, Longest_Length = 1.1;
// Of the product of a rotation matrix and its transpose: elements of three digits keep to a tenth.
constexpr double Matrix_Tolerance = 0.01;

class Row_Reader {
 public:
  Row_Reader(Table_File& Table, const Table_Layout& Columns, Take& Result)
      : File(Table), Layout(Columns), Into(Result), Lost(Columns.Bodies.size()) {
    for (const Body_Columns& Body : Layout.Bodies) Tracks.push_back({Body.Name, {}});
  }

  void Read(bool Is_Section);

 private:
  bool Is_Other_Section() const;
  double Read_Seconds() const;
  bool Is_New_Time(double Seconds);
  Cell_Value Read(const Signed_Column& Column) const;
  bool Read_Cells(const Body_Columns& Body, Losses& Count);
  Timed_Sample Read_Sample(const Body_Columns& Body, double Seconds, Losses& Count);
  bool Is_All_Zero(const Body_Columns& Body) const;
  std::optional<Eigen::Quaterniond> Read_Attitude(const Body_Columns& Body) const;
  std::optional<Eigen::Quaterniond> Unit_Quaternion(const Body_Columns& Body) const;
  std::optional<Eigen::Quaterniond> Matrix_Rotation(const Body_Columns& Body) const;
  void Warn();
  void Warn_Of(const Losses::Cause& Cause, const std::string& Name, const std::string& What);

  Table_File& File;
  const Table_Layout& Layout;
  Take& Into;
  Cells Row;
  std::array<double, 3> Position{};  // of the sample that is read, in the file's unit
  std::array<double, 9> Rotation{};  // its numbers of the rotation
  std::vector<Body_Track> Tracks;
  std::vector<Losses> Lost;
  Losses::Cause Repeated;
  std::optional<double> Last_Seconds;
};

void Row_Reader::Read(bool Is_Section) {
  while (File.Next_With_Text()) {
    if (Layout.Has_Comments && File.Text().front() == '#') continue;
    Split_Cells(File.Text(), Layout.Separator, Row);
    // Spreadsheets write a blank line as separators.
    if (std::all_of(Row.begin(), Row.end(), [](auto Cell) { return Cell.empty(); })) continue;
    if (Is_Section && Is_Other_Section()) {
      Into.Warnings.push_back(fmt::format("{} on line {} and what follows it was not read",
                                          Shown(Row.front()), File.Line()));
      break;
    }
    if (!Is_Complete_Row(File, Layout, Row, Into)) break;
    const double Seconds = Read_Seconds();
    if (!Is_New_Time(Seconds)) continue;
    for (std::size_t i = 0; i < Tracks.size(); ++i) {
      Tracks[i].Samples.push_back(Read_Sample(Layout.Bodies[i], Seconds, Lost[i]));
    }
  }
  if (!Last_Seconds) File.Refuse("has a header, but no line of samples; expected some");
  Warn();
  std::move(Tracks.begin(), Tracks.end(), std::back_inserter(Into.Bodies));
}

bool Row_Reader::Is_Other_Section() const {
  return Row.front().size() > 1 && std::isalpha(static_cast<unsigned char>(Row.front()[0])) != 0 &&
         Read_Time_Cell(Row.front()).Is == Kind::Text;
}

double Row_Reader::Read_Seconds() const {
  const std::string_view Cell = Row[Layout.Time_Column];
  const Cell_Value Time = Read_Time_Cell(Cell);
  if (Time.Is != Kind::Number) {
    File.Refuse_Line(fmt::format("{}: {} is not a time; expected a number with a decimal point",
                                 Column_Text(Layout, Layout.Time_Column), Shown(Cell)));
  }
  return Time.Value * Layout.Seconds_Per_Unit;
}

// A second sample at one time is what a recorder's coarse clock or a doubled packet leaves. Times
// that run backwards are two recordings in one file, or a file that was sorted by something else.
bool Row_Reader::Is_New_Time(double Seconds) {
  if (Last_Seconds && Seconds < *Last_Seconds) {
    File.Refuse_Line(fmt::format(
        "{}: the time goes back from {:.6f} s to {:.6f} s; expected lines in the order of time: "
        "split the file where a new recording begins, or sort its lines by time",
        Column_Text(Layout, Layout.Time_Column), *Last_Seconds, Seconds));
  }
  if (Last_Seconds && Seconds == *Last_Seconds) {
    Repeated.Add(File.Line());
    return false;
  }
  Last_Seconds = Seconds;
  return true;
}

Cell_Value Row_Reader::Read(const Signed_Column& Column) const {
  const std::string_view Text = Row[Column.Index];
  Cell_Value Cell = Read_Cell(Text);
  if (Cell.Is == Kind::Text) {
    File.Refuse_Line(fmt::format(
        "{}: {} is not a number; expected one with a decimal point, or a blank cell for a body "
        "that was lost",
        Column_Text(Layout, Column.Index), Shown(Text)));
  }
  Cell.Value *= Column.Sign;
  return Cell;
}

// Whether all cells of the body have a number. What a lost body's cells have is counted, unless all
// of them are blank.
bool Row_Reader::Read_Cells(const Body_Columns& Body, Losses& Count) {
  std::size_t Numbers = 0, Unusable = 0;
  const auto Take_Cell = [&](const Signed_Column& Column) {
    const Cell_Value Cell = Read(Column);
    if (Cell.Is == Kind::Number) ++Numbers;
    if (Cell.Is == Kind::Unusable) ++Unusable;
    return Cell.Value;
  };
  for (std::size_t i = 0; i < 3; ++i) Position[i] = Take_Cell(Body.Position[i]);
  for (std::size_t i = 0; i < Body.Rotation.size(); ++i) Rotation[i] = Take_Cell(Body.Rotation[i]);
  if (Unusable > 0) {
    Count.Unusable.Add(File.Line());
    return false;
  }
  if (Numbers == 3 + Body.Rotation.size()) return true;
  if (Numbers > 0) Count.Partly_Blank.Add(File.Line());
  return false;
}

// How many systems write a lost body. Angles of 0 would be a rotation, of a body that stands in the
// origin of Base, with its axes, to the last digit.
bool Row_Reader::Is_All_Zero(const Body_Columns& Body) const {
  const auto Is_Zero = [](double Value) { return Value == 0.0; };
  const auto Count = static_cast<std::ptrdiff_t>(Body.Rotation.size());
  return std::all_of(Position.begin(), Position.end(), Is_Zero) &&
         std::all_of(Rotation.begin(), Rotation.begin() + Count, Is_Zero);
}

Timed_Sample Row_Reader::Read_Sample(const Body_Columns& Body, double Seconds, Losses& Count) {
  Timed_Sample Result;
  Result.Seconds = Seconds;
  if (Body.Tracked && Row[Body.Tracked->Index] != Body.Tracked->Value) return Result;
  if (!Read_Cells(Body, Count) || Is_All_Zero(Body)) return Result;
  const std::optional<Eigen::Quaterniond> Attitude = Read_Attitude(Body);
  if (!Attitude) {
    Count.No_Rotation.Add(File.Line());
    return Result;
  }
  Result.Is_Tracked = true;
  const Eigen::Vector3d Position_Base =
      Layout.Axes * Eigen::Vector3d(Position.data()) * Body.Metres_Per_Unit;
  // M R M^-1 turns about M's image of the axis, by the same angle, or, if M mirrors, by the
  // opposite one.
  const Eigen::Vector3d Vector = Layout.Axes.determinant() * (Layout.Axes * Attitude->vec());
  // The sample's rotation is the inverse of the attitude. Adding 0 keeps -0 out of files.
  Result.Sample.Position = {Position_Base.x() + 0.0, Position_Base.y() + 0.0,
                            Position_Base.z() + 0.0};
  Result.Sample.Quaternion = {Attitude->w() + 0.0, 0.0 - Vector.x(), 0.0 - Vector.y(),
                              0.0 - Vector.z()};
  return Result;
}

// Body to base, of unit length, in the file's axes; nothing for a rotation of length 0.
std::optional<Eigen::Quaterniond> Row_Reader::Read_Attitude(const Body_Columns& Body) const {
  std::optional<Eigen::Quaterniond> Found;
  if (Body.Rotation.size() == 4) {
    Found = Unit_Quaternion(Body);
  } else if (Body.Rotation.size() == 9) {
    Found = Matrix_Rotation(Body);
  } else {
    Found = Attitude(Body.Form, Eigen::Vector3d(Rotation.data()) * Body.Radians_Per_Unit);
  }
  if (Found && Body.Is_Base_To_Body) Found = Found->conjugate();
  return Found;
}

std::optional<Eigen::Quaterniond> Row_Reader::Unit_Quaternion(const Body_Columns& Body) const {
  // Eigen takes w first.
  const Eigen::Quaterniond Read(Rotation[0], Rotation[1], Rotation[2], Rotation[3]);
  const double Length = Read.norm();
  if (Length <= Longest_Of_None) return std::nullopt;
  if (!(Length >= Shortest_Length && Length <= Longest_Length)) {
    File.Refuse_Line(fmt::format(
        "{}: the quaternion of {} has the length {:.3f}; expected 1: its numbers may be in other "
        "columns",
        Column_Text(Layout, Body.Rotation.front().Index), Shown(Body.Name), Length));
  }
  return Read.normalized();
}

std::optional<Eigen::Quaterniond> Row_Reader::Matrix_Rotation(const Body_Columns& Body) const {
  Eigen::Matrix3d Matrix(Rotation.data());  // Eigen's order is column by column
  if (Matrix.isZero(0.0)) return std::nullopt;
  const Eigen::Matrix3d Rest = Matrix * Matrix.transpose() - Eigen::Matrix3d::Identity();
  if (!(Rest.cwiseAbs().maxCoeff() <= Matrix_Tolerance && Matrix.determinant() > 0.0)) {
    File.Refuse_Line(fmt::format(
        "{}: the nine elements of {} are not a rotation; expected columns at right angles and of "
        "length 1, right-handed",
        Column_Text(Layout, Body.Rotation.front().Index), Shown(Body.Name)));
  }
  if (Body.Form.Is == Rotation_Form::Kind::Matrix_Rows) Matrix.transposeInPlace();
  return Eigen::Quaterniond(Matrix).normalized();
}

void Row_Reader::Warn_Of(const Losses::Cause& Cause, const std::string& Name,
                         const std::string& What) {
  if (Cause.Count == 0) return;
  Into.Warnings.push_back(
      fmt::format("{} of {} counted as lost: {} (the first on line {})",
                  Cause.Count == 1 ? "1 sample" : fmt::format("{} samples", Cause.Count),
                  Shown(Name), What, Cause.First_Line));
}

void Row_Reader::Warn() {
  for (std::size_t i = 0; i < Lost.size(); ++i) {
    const std::string& Name = Tracks[i].Name;
    Warn_Of(Lost[i].Unusable, Name, "a number that is not finite, or beyond any stage");
    Warn_Of(Lost[i].Partly_Blank, Name, "only some of the cells are blank");
    Warn_Of(Lost[i].No_Rotation, Name, "a rotation of length 0");
  }
  if (Repeated.Count > 0) {
    Into.Warnings.push_back(fmt::format(
        "{} left out: the time of the line before once more (the first on line {})",
        Repeated.Count == 1 ? "1 line was" : fmt::format("{} lines were", Repeated.Count),
        Repeated.First_Line));
  }
}

}  // namespace

std::string Column_Text(const Table_Layout& Layout, std::size_t Index) {
  std::string Text = fmt::format("column {}", Index + 1);
  if (Index < Layout.Column_Names.size() && !Layout.Column_Names[Index].empty()) {
    Text += fmt::format(" ({})", Layout.Column_Names[Index]);
  }
  return Text;
}

bool Is_Complete_Row(Table_File& File, const Table_Layout& Layout, const Cells& Row, Take& Into) {
  for (std::size_t i = Layout.Cell_Count; i < Row.size() && !Layout.Allows_More_Cells; ++i) {
    if (Row[i].empty()) continue;
    File.Refuse_Line(fmt::format("has {} cells; expected {}, one for each column of the header",
                                 Row.size(), Layout.Cell_Count));
  }
  if (Row.size() >= Layout.Cell_Count) return true;
  const std::size_t Line = File.Line(), Count = Row.size();  // Row doesn't outlive its line
  if (!File.Next_With_Text()) {
    Into.Warnings.push_back(fmt::format("line {}, the last, is cut off and was left out", Line));
    return false;
  }
  File.Refuse(fmt::format("line {}: has {} cells; expected {}, one for each column of the header",
                          Line, Count, Layout.Cell_Count));
}

void Read_Rows(Table_File& File, const Table_Layout& Layout, bool Is_Section, Take& Into) {
  Row_Reader(File, Layout, Into).Read(Is_Section);
}

}  // namespace rigsync
