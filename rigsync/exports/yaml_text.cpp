// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/yaml_text.h"

#include <fmt/format.h>

#include <cstddef>

namespace rigsync {

std::string Yaml_Number(double Value) {
  std::string Text = fmt::format("{}", Value);
  if (Text.find_first_of(".n") != std::string::npos) return Text;
  const std::size_t Exponent = Text.find('e');
  return Text.insert(Exponent == std::string::npos ? Text.size() : Exponent, ".0");
}

std::string Yaml_List(const std::vector<double>& Values) {
  std::string Text = "[";
  for (std::size_t i = 0; i < Values.size(); ++i) {
    Text += (i == 0 ? "" : ", ") + Yaml_Number(Values[i]);
  }
  return Text + "]";
}

std::string Yaml_Quoted(std::string_view Text) {
  std::string Quoted = "\"";
  for (const char Letter : Text) {
    const auto Byte = static_cast<unsigned char>(Letter);
    if (Letter == '"' || Letter == '\\') {
      Quoted += std::string("\\") + Letter;
    } else if (Letter == '\t') {
      Quoted += "\\t";  // OpenCV reads no \x09
    } else if (Byte < 0x20 || Byte == 0x7f) {
      Quoted += fmt::format("\\x{:02x}", Byte);
    } else {
      Quoted += Letter;
    }
  }
  return Quoted + "\"";
}

std::string Opencv_Matrix(const Eigen::MatrixXd& Matrix, std::size_t Indent) {
  const std::string Margin = "\n" + std::string(Indent, ' ');
  std::string Text = fmt::format("!!opencv-matrix{0}rows: {1}{0}cols: {2}{0}dt: d{0}data: [",
                                 Margin, Matrix.rows(), Matrix.cols());
  for (Eigen::Index r = 0; r < Matrix.rows(); ++r) {
    for (Eigen::Index c = 0; c < Matrix.cols(); ++c) {
      if (r > 0 && c == 0) Text += "," + Margin + "  ";
      if (c > 0) Text += ", ";
      Text += Yaml_Number(Matrix(r, c));
    }
  }
  return Text + "]";
}

}  // namespace rigsync
