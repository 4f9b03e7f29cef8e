// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/transform_text.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

double Element(const std::vector<double>& Transform, std::size_t r, std::size_t c) {
  return Transform[4 * r + c];
}

// "60.0 mm to the right", or "to the left" for a negative value.
std::string Direction_Text(double Metres, const char* Positive, const char* Negative) {
  return fmt::format("{:.1f} mm {}", std::abs(Metres) * 1000.0, Metres < 0 ? Negative : Positive);
}

}  // namespace

std::string Decimals(double Value, int Digits) {
  std::string Text = fmt::format("{:.{}f}", Value, Digits);
  const bool Is_Zero = std::isfinite(Value) && Text.find_first_of("123456789") == std::string::npos;
  if (Is_Zero && Text.front() == '-') Text.erase(0, 1);
  return Text;
}

std::string Transform_Row_Text(const std::vector<double>& Transform, int r) {
  const auto Row = static_cast<std::size_t>(r);
  return fmt::format("{:>9}{:>9}{:>9} {:>8}", Decimals(Element(Transform, Row, 0), 5),
                     Decimals(Element(Transform, Row, 1), 5),
                     Decimals(Element(Transform, Row, 2), 5),
                     Decimals(Element(Transform, Row, 3), 5));
}

std::string Seen_From_Camera(const std::vector<double>& Transform_Cam_Tc) {
  const double Right = Element(Transform_Cam_Tc, 0, 3), Down = Element(Transform_Cam_Tc, 1, 3),
               Ahead = Element(Transform_Cam_Tc, 2, 3);
  if (!std::isfinite(Right) || !std::isfinite(Down) || !std::isfinite(Ahead)) return {};
  return fmt::format("Seen from the camera, the tracker is {}, {} and {}.",
                     Direction_Text(Right, "to the right", "to the left"),
                     Direction_Text(Down, "down", "up"), Direction_Text(Ahead, "ahead", "behind"));
}

}  // namespace rigsync
