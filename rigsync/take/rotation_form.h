// SPDX-License-Identifier: Apache-2.0
//
// How the numbers of a rotation are meant where a file doesn't say it: the words of --rotation and
// of a map.
#ifndef RIGSYNC_TAKE_ROTATION_FORM_H
#define RIGSYNC_TAKE_ROTATION_FORM_H

#include <Eigen/Geometry>

#include <array>
#include <optional>
#include <string>

namespace rigsync {

// The words, and the attitude R (body to base) that they make of the numbers:
//
//   helical           an axis, its length being the angle
//   euler-xyz-body    turns about x, then y, then z, each about the axis of the body as the turns
//                     before left it: R = Rx Ry Rz
//   euler-xyz-fixed   the same turns about the axes of Base, which stay: R = Rz Ry Rx
//   matrix-columns    nine elements of R, the first three being its first column
//   matrix-rows       nine elements of R, the first three being its first row
//
// Any order of x, y and z may stand in place of xyz.
struct Rotation_Form {
  enum class Kind { Helical, Euler_Body, Euler_Fixed, Matrix_Columns, Matrix_Rows };

  Kind Is = Kind::Helical;
  std::array<int, 3> Order = {0, 1, 2};  // for Euler: the axes (0 is x) in the order of the turns

  bool Is_Euler() const { return Is == Kind::Euler_Body || Is == Kind::Euler_Fixed; }
  bool Is_Matrix() const { return Is == Kind::Matrix_Columns || Is == Kind::Matrix_Rows; }
};

// Nothing for any other word.
std::optional<Rotation_Form> Find_Rotation(const std::string& Word);

// Throws Usage_Error for any other word: "FLAG: 'WORD' is wrong; expected ...".
Rotation_Form Parse_Rotation(const std::string& Flag, const std::string& Word);

// The word that Parse_Rotation reads as Form.
std::string Rotation_Word(const Rotation_Form& Form);

// Body to base, from three numbers in radians: the axis of Helical, or the angles of an Euler form
// in the order of its turns. Form is not a matrix.
Eigen::Quaterniond Attitude(const Rotation_Form& Form, const Eigen::Vector3d& Radians);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_ROTATION_FORM_H
