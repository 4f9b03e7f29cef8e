// SPDX-License-Identifier: Apache-2.0
//
// Qualisys' 6D export: lines of a key and its values, the names of the columns, then for each body
// position (millimetres), Roll, Pitch, Yaw (degrees), Residual and the nine elements Rot[0] to
// Rot[8] of its attitude.
//
// The file doesn't say whether the elements are in the order of columns or of rows. A matrix and
// its transpose are both rotations, so the angles of the same line decide: of all samples, in
// either order of the elements and in each order of the turns.
#include "rigsync/geometry/angle.h"
#include "rigsync/system/text.h"
#include "rigsync/take/table_rows.h"
#include "rigsync/take/take_reader.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <algorithm>
#include <map>
#include <utility>

namespace rigsync {
namespace {

using Header_Row = std::vector<std::string>;

constexpr std::size_t Element_Count = 9;

struct Header {
  std::map<std::string, Header_Row> Values;  // of the lines above the columns, by their keys
  Header_Row Columns;
};

// Where a body's columns are.
struct Body_Cells {
  std::string Name;
  std::map<std::string, std::size_t> Column_Of;
};

Header_Row Row_Of(Table_File& File) {
  Cells Row;
  Split_Cells(File.Text(), '\t', Row);
  while (!Row.empty() && Row.back().empty()) Row.pop_back();
  return {Row.begin(), Row.end()};
}

Header Read_Header(Table_File& File) {
  Header Found;
  while (Found.Columns.empty()) {
    constexpr std::size_t Most_Rows = 50;
    if (Found.Values.size() == Most_Rows || !File.Next_With_Text()) {
      File.Refuse(
          "has no line that begins with 'Frame' and 'Time' above the samples; expected a "
          "Qualisys 6D export with the names of its columns");
    }
    Header_Row Row = Row_Of(File);
    if (Row.empty()) continue;
    if (Row.size() > 1 && Row[0] == "Frame" && Row[1] == "Time") {
      Found.Columns = std::move(Row);
    } else {
      Found.Values[Row[0]] = Header_Row(Row.begin() + 1, Row.end());
    }
  }
  return Found;
}

std::string Cell_At(const Header_Row& Row, std::size_t Index) {
  return Index < Row.size() ? Row[Index] : std::string();
}

std::string Value_Of(const Header& Header, const char* Key) {
  const auto Found = Header.Values.find(Key);
  return Found == Header.Values.end() || Found->second.empty() ? std::string()
                                                               : Found->second.front();
}

const std::vector<std::string>& Column_Words() {
  static const std::vector<std::string> Words = {
      "X",      "Y",      "Z",      "Roll",   "Pitch",  "Yaw",    "Residual", "Rot[0]",
      "Rot[1]", "Rot[2]", "Rot[3]", "Rot[4]", "Rot[5]", "Rot[6]", "Rot[7]",   "Rot[8]"};
  return Words;
}

bool Is_Column_Word(const std::string& Text) {
  const std::vector<std::string>& Words = Column_Words();
  return std::find(Words.begin(), Words.end(), Text) != Words.end();
}

// The words of the columns alone. The body's name stands before the word of its columns, "camera
// X", or in a cell of its own before X, for which the lines of samples have none.
void Drop_Names(Header& Header) {
  const Header_Row& Columns = Header.Columns;
  Header_Row Words(Columns.begin(), Columns.begin() + 2);
  for (std::size_t i = 2; i < Columns.size(); ++i) {
    const std::string Last = Columns[i].substr(Columns[i].find_last_of(' ') + 1);  // npos + 1 is 0
    const bool Is_Name = !Is_Column_Word(Last) && Cell_At(Columns, i + 1) == "X";
    // A project may call the angles otherwise.
    if (!Is_Name) Words.push_back(Is_Column_Word(Last) ? Last : Columns[i]);
  }
  Header.Columns = std::move(Words);
}

// Each X begins the next body of BODY_NAMES.
std::vector<Body_Cells> Find_Bodies(Table_File& File, const Header& Header) {
  const auto Names = Header.Values.find("BODY_NAMES");
  if (Names == Header.Values.end() || Names->second.empty()) {
    File.Refuse(
        "has no BODY_NAMES above the samples; expected a Qualisys 6D export with its "
        "header");
  }
  std::vector<Body_Cells> Bodies;
  for (std::size_t i = 2; i < Header.Columns.size(); ++i) {
    const std::string& Word = Header.Columns[i];
    if (Word == "X") {
      const std::string Name =
          Bodies.size() < Names->second.size() ? Names->second[Bodies.size()] : std::string();
      Bodies.push_back({Name, {}});
    }
    if (!Bodies.empty()) Bodies.back().Column_Of.emplace(Word, i);
  }
  if (Bodies.size() != Names->second.size()) {
    File.Refuse_Line(
        fmt::format("has columns of {} bodies, and BODY_NAMES names {}; expected "
                    "as many",
                    Bodies.size(), Names->second.size()));
  }
  for (std::size_t i = 0; i < Bodies.size(); ++i) {
    for (const std::string& Word : Column_Words()) {
      const bool Is_Needed = Word.size() == 1 || Word.rfind("Rot", 0) == 0;  // X, Y, Z, Rot[0] ...
      if (!Is_Needed || Bodies[i].Column_Of.count(Word) != 0) continue;
      File.Refuse_Line(fmt::format("has no column {} of {}; expected all of a 6D export", Word,
                                   Shown(Bodies[i].Name)));
    }
    for (std::size_t k = 0; k < i; ++k) {
      if (Bodies[i].Name != Bodies[k].Name) continue;
      File.Refuse(fmt::format("has two bodies with the name {}; expected each name once",
                              Shown(Bodies[i].Name)));
    }
  }
  return Bodies;
}

// Counts, for both orders of the elements and all orders of the turns, in how many samples the
// matrix is that of the angles.
class Element_Order {
 public:
  void Add(const Eigen::Matrix3d& By_Columns, const Eigen::Vector3d& Angles_Rad);
  // Whether the samples agree with this order of the elements, and with which order of the turns.
  std::optional<Rotation_Form> Agreeing(bool Are_Rows) const;
  std::size_t Count() const { return Samples; }
  // How many samples can tell: their matrix is not its own transpose.
  std::size_t Telling_Count() const { return Telling; }

 private:
  static constexpr int Turn_Orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                            {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
  std::size_t Agreement[2][6] = {};
  std::size_t Samples = 0, Telling = 0;
};

// Elements with three digits and angles with two keep to it; a wrong order misses by as much as
// the body is turned.
constexpr double Element_Tolerance = 2e-3;

void Element_Order::Add(const Eigen::Matrix3d& By_Columns, const Eigen::Vector3d& Angles_Rad) {
  ++Samples;
  if ((By_Columns - By_Columns.transpose()).cwiseAbs().maxCoeff() > 4.0 * Element_Tolerance) {
    ++Telling;
  }
  const Eigen::Matrix3d Turns[3] = {
      Eigen::AngleAxisd(Angles_Rad.x(), Eigen::Vector3d::UnitX()).toRotationMatrix(),
      Eigen::AngleAxisd(Angles_Rad.y(), Eigen::Vector3d::UnitY()).toRotationMatrix(),
      Eigen::AngleAxisd(Angles_Rad.z(), Eigen::Vector3d::UnitZ()).toRotationMatrix()};
  for (std::size_t i = 0; i < 6; ++i) {
    const int* const Order = Turn_Orders[i];
    const Eigen::Matrix3d Product = Turns[Order[0]] * Turns[Order[1]] * Turns[Order[2]];
    const auto Is_Near = [](const Eigen::Matrix3d& Difference) {
      return Difference.cwiseAbs().maxCoeff() <= Element_Tolerance;
    };
    if (Is_Near(Product - By_Columns)) ++Agreement[0][i];
    if (Is_Near(Product.transpose() - By_Columns)) ++Agreement[1][i];
  }
}

std::optional<Rotation_Form> Element_Order::Agreeing(bool Are_Rows) const {
  const auto* const Counts = Agreement[Are_Rows ? 1 : 0];
  const auto* const Best = std::max_element(Counts, Counts + 6);
  // A damaged sample in a hundred does not count.
  if (Samples == 0 || *Best * 100 < Samples * 99) return std::nullopt;
  const int* const Order = Turn_Orders[Best - Counts];
  return Rotation_Form{Rotation_Form::Kind::Euler_Body, {Order[0], Order[1], Order[2]}};
}

// The body's nine elements and three angles from a line of samples; false for a lost body.
bool Read_Elements(const Body_Cells& Body, const Cells& Row, Eigen::Matrix3d& Matrix,
                   Eigen::Vector3d& Angles_Rad) {
  const auto Number = [&](const std::string& Word, double& Value) {
    const auto Column = Body.Column_Of.find(Word);
    if (Column == Body.Column_Of.end() || Column->second >= Row.size()) return false;
    const Cell_Value Cell = Read_Cell(Row[Column->second]);
    Value = Cell.Value;
    return Cell.Is == Cell_Value::Kind::Number;
  };
  const char* const Angle_Words[] = {"Roll", "Pitch", "Yaw"};
  for (int i = 0; i < 3; ++i) {
    if (!Number(Angle_Words[i], Angles_Rad[i])) return false;
  }
  Angles_Rad /= Degrees_Per_Radian;
  for (std::size_t i = 0; i < Element_Count; ++i) {
    if (!Number(fmt::format("Rot[{}]", i), Matrix.data()[i])) return false;
  }
  return !Matrix.isZero(0.0);
}

// Reads the samples ahead, as many as can tell and are needed for it, and goes back.
Element_Order Count_Agreement(Table_File& File, const std::vector<Body_Cells>& Bodies) {
  constexpr std::size_t Enough = 2000;
  Element_Order Order;
  Cells Row;
  Eigen::Matrix3d Matrix;
  Eigen::Vector3d Angles_Rad;
  while (Order.Telling_Count() < Enough && File.Next_With_Text()) {
    Split_Cells(File.Text(), '\t', Row);
    for (const Body_Cells& Body : Bodies) {
      if (Read_Elements(Body, Row, Matrix, Angles_Rad)) Order.Add(Matrix, Angles_Rad);
    }
  }
  File.Rewind();
  return Order;
}

// matrix-columns or matrix-rows, by the samples or by the flag, with the fact about it.
Rotation_Form Form_Of(Table_File& File, const std::vector<Body_Cells>& Bodies,
                      const Take_Options& Options, Take& Into) {
  using Kind = Rotation_Form::Kind;
  if (Options.Rotation && Options.Rotation->Is_Matrix()) {
    Into.Facts.emplace_back("rotation", Rotation_Word(*Options.Rotation) + ", by --rotation");
    return *Options.Rotation;
  }
  Warn_Of_Unused_Rotation(Options, "the file has matrices", Into);
  const Element_Order Order = Count_Agreement(File, Bodies);
  const std::optional<Rotation_Form> Columns = Order.Agreeing(false), Rows = Order.Agreeing(true);
  if (!Columns && !Rows) {
    File.Refuse(
        "has no Roll, Pitch and Yaw that agree with Rot[0] to Rot[8], neither by columns nor by "
        "rows: the project may define these angles otherwise; expected --rotation matrix-columns "
        "or --rotation matrix-rows");
  }
  const Rotation_Form Form{Columns ? Kind::Matrix_Columns : Kind::Matrix_Rows};
  Into.Facts.emplace_back(
      "rotation", Columns && Rows
                      ? "matrix-columns (matrix-rows gives the same rotations in this file)"
                      : fmt::format("{}, as Roll, Pitch and Yaw show ({})", Rotation_Word(Form),
                                    Rotation_Word(Columns ? *Columns : *Rows)));
  return Form;
}

void Read_Facts(Table_File& File, const Header& Header, Take& Into) {
  const std::string Data = Value_Of(Header, "DATA_INCLUDED");
  if (!Data.empty() && Data != "6D") {
    File.Refuse(
        fmt::format("has the DATA_INCLUDED {}; expected 6D: export the bodies, not the "
                    "markers",
                    Shown(Data)));
  }
  Into.Rate_Hz = std::max(Read_Cell(Value_Of(Header, "FREQUENCY")).Value, 0.0);
  const std::string Stamp = Value_Of(Header, "TIME_STAMP");
  if (!Stamp.empty()) Into.Facts.emplace_back("start, by the tracking computer", One_Line(Stamp));
  Into.Facts.emplace_back("length unit", "millimetres, as Qualisys exports them");
}

Body_Columns Columns_Of(const Body_Cells& Found, const Rotation_Form& Form) {
  Body_Columns Body;
  Body.Name = Found.Name;
  const char* const Letters[] = {"X", "Y", "Z"};
  for (std::size_t i = 0; i < 3; ++i) Body.Position[i] = {Found.Column_Of.at(Letters[i])};
  Body.Metres_Per_Unit = 0.001;
  Body.Form = Form;
  for (std::size_t i = 0; i < Element_Count; ++i) {
    Body.Rotation.push_back({Found.Column_Of.at(fmt::format("Rot[{}]", i))});
  }
  return Body;
}

}  // namespace

void Read_Qualisys(Table_File& File, const Take_Options& Options, Take& Into) {
  Into.Format = "Qualisys 6D TSV";
  Header Header = Read_Header(File);
  Drop_Names(Header);
  Read_Facts(File, Header, Into);
  const std::vector<Body_Cells> Bodies = Find_Bodies(File, Header);
  const Rotation_Form Form = Form_Of(File, Bodies, Options, Into);
  File.Rewind();
  Read_Header(File);  // to before the samples
  Table_Layout Layout;
  Layout.Separator = '\t';
  Layout.Cell_Count = Header.Columns.size();
  Layout.Time_Column = 1;
  Layout.Column_Names = {"Frame", "Time"};
  for (const Body_Cells& Found : Bodies) {
    Layout.Bodies.push_back(Columns_Of(Found, Form));
    const std::size_t First = Found.Column_Of.at("X");
    Layout.Column_Names.resize(First);
    for (std::size_t i = First;
         i < Header.Columns.size() && (i == First || Header.Columns[i] != "X"); ++i) {
      Layout.Column_Names.push_back(One_Line(Found.Name + " " + Header.Columns[i]));
    }
  }
  Set_Axes(Options, Base_Axes::Identity(), Layout, Into);
  Read_Rows(File, Layout, false, Into);
}

}  // namespace rigsync
