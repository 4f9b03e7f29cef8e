// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/rotation_form.h"

#include "rigsync/system/usage_error.h"

#include <cstddef>
#include <string_view>

namespace rigsync {
namespace {

constexpr std::string_view Axis_Letters = "xyz";
constexpr std::string_view Euler_Start = "euler-", Body_End = "-body", Fixed_End = "-fixed";
constexpr std::size_t Order_Length = 3;

// "zxy" as 2, 0, 1; nothing for another text or an axis that comes twice.
std::optional<std::array<int, 3>> Read_Order(std::string_view Text) {
  std::array<int, 3> Order{};
  std::array<bool, 3> Is_Used{};
  for (std::size_t i = 0; i < Order_Length; ++i) {
    const std::size_t Axis = Axis_Letters.find(Text[i]);
    if (Axis == std::string_view::npos || Is_Used[Axis]) return std::nullopt;
    Is_Used[Axis] = true;
    Order[i] = static_cast<int>(Axis);
  }
  return Order;
}

// "euler-xyz-body" and "euler-xyz-fixed", in any order of the axes.
std::optional<Rotation_Form> Read_Euler(std::string_view Word) {
  if (Word.substr(0, Euler_Start.size()) != Euler_Start) return std::nullopt;
  Word.remove_prefix(Euler_Start.size());
  if (Word.size() < Order_Length) return std::nullopt;
  const std::string_view End = Word.substr(Order_Length);
  if (End != Body_End && End != Fixed_End) return std::nullopt;
  const std::optional<std::array<int, 3>> Order = Read_Order(Word.substr(0, Order_Length));
  if (!Order) return std::nullopt;
  const bool Is_Body = End == Body_End;
  return Rotation_Form{Is_Body ? Rotation_Form::Kind::Euler_Body : Rotation_Form::Kind::Euler_Fixed,
                       *Order};
}

}  // namespace

std::optional<Rotation_Form> Find_Rotation(const std::string& Word) {
  using Kind = Rotation_Form::Kind;
  if (Word == "helical") return Rotation_Form{Kind::Helical};
  if (Word == "matrix-columns") return Rotation_Form{Kind::Matrix_Columns};
  if (Word == "matrix-rows") return Rotation_Form{Kind::Matrix_Rows};
  return Read_Euler(Word);
}

Rotation_Form Parse_Rotation(const std::string& Flag, const std::string& Word) {
  const std::optional<Rotation_Form> Form = Find_Rotation(Word);
  if (!Form) {
    Refuse(Flag, Word,
           "helical, euler-xyz-body or euler-xyz-fixed (or another order of x, y and z), "
           "matrix-columns or matrix-rows");
  }
  return *Form;
}

std::string Rotation_Word(const Rotation_Form& Form) {
  using Kind = Rotation_Form::Kind;
  if (Form.Is == Kind::Helical) return "helical";
  if (Form.Is == Kind::Matrix_Columns) return "matrix-columns";
  if (Form.Is == Kind::Matrix_Rows) return "matrix-rows";
  std::string Word(Euler_Start);
  for (const int Axis : Form.Order) Word += Axis_Letters[static_cast<std::size_t>(Axis)];
  return Word.append(Form.Is == Kind::Euler_Body ? Body_End : Fixed_End);
}

Eigen::Quaterniond Attitude(const Rotation_Form& Form, const Eigen::Vector3d& Radians) {
  if (Form.Is == Rotation_Form::Kind::Helical) {
    const double Angle = Radians.norm();
    if (!(Angle > 0.0)) return Eigen::Quaterniond::Identity();
    return Eigen::Quaterniond(Eigen::AngleAxisd(Angle, Radians / Angle));
  }
  Eigen::Quaterniond Product = Eigen::Quaterniond::Identity();
  for (std::size_t i = 0; i < Form.Order.size(); ++i) {
    const Eigen::Vector3d Axis = Eigen::Vector3d::Unit(Form.Order[i]);
    const Eigen::Quaterniond Turn(Eigen::AngleAxisd(Radians[static_cast<int>(i)], Axis));
    Product = Form.Is == Rotation_Form::Kind::Euler_Body ? Product * Turn : Turn * Product;
  }
  return Product;
}

}  // namespace rigsync
