// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/transform_text.h"

#include <fmt/format.h>

#include <cstddef>

namespace rigsync {
namespace {

double Element(const std::vector<double>& Transform, std::size_t r, std::size_t c) {
  return Transform[4 * r + c];
}

}  // namespace

std::string Transform_Row_Text(const std::vector<double>& Transform, int r) {
  const auto Row = static_cast<std::size_t>(r);
  return fmt::format("{:>9.5f}{:>9.5f}{:>9.5f} {:>8.5f}", Element(Transform, Row, 0),
                     Element(Transform, Row, 1), Element(Transform, Row, 2),
                     Element(Transform, Row, 3));
}

}  // namespace rigsync
