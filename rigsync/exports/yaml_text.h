// SPDX-License-Identifier: Apache-2.0
//
// Numbers, matrices and texts in YAML, as the readers of OpenCV and of Python both take them.
#ifndef RIGSYNC_EXPORTS_YAML_TEXT_H
#define RIGSYNC_EXPORTS_YAML_TEXT_H

#include <Eigen/Core>

#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

// With as many digits as it takes to read the same double back, and always with a decimal point,
// because a reader takes "1" for a whole number and "1e-05" for a text.
std::string Yaml_Number(double Value);

// "[1.0, 2.5]"
std::string Yaml_List(const std::vector<double>& Values);

// In double quotes, with control characters escaped.
std::string Yaml_Quoted(std::string_view Text);

// OpenCV's matrix of doubles, whose lines after the first are indented by Indent columns.
std::string Opencv_Matrix(const Eigen::MatrixXd& Matrix, std::size_t Indent);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_YAML_TEXT_H
