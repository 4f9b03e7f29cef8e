// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/pose_text.h"

#include <fmt/format.h>

#include <array>

namespace rigsync {
namespace {

const char* Roll_Words(Board_Roll Roll) {
  switch (Roll) {
    case Board_Roll::As_Before:
      return "keep the board's roll";
    case Board_Roll::Eighth_Right:
      return "roll the board an eighth of a turn to the right";
    case Board_Roll::Quarter_Right:
      return "roll the board a quarter turn to the right";
    case Board_Roll::Half:
      return "roll the board half a turn";
    case Board_Roll::Quarter_Left:
      return "roll the board a quarter turn to the left";
    case Board_Roll::Eighth_Left:
      return "roll the board an eighth of a turn to the left";
  }
  return "";
}

const char* Distance_Words(Board_Distance Distance) {
  switch (Distance) {
    case Board_Distance::Near:
      return "near";
    case Board_Distance::Middle:
      return "at a middle distance";
    case Board_Distance::Far:
      return "far";
  }
  return "";
}

const char* Place_Words(const Frame_Place& Place) {
  constexpr std::array<const char*, 9> Words = {"upper left", "top",    "upper right",
                                                "left",       "centre", "right",
                                                "lower left", "bottom", "lower right"};
  return Words[static_cast<std::size_t>(3 * (Place.Down + 1) + Place.Right + 1)];
}

const char* Part_Words(Near_Part Nearest) {
  switch (Nearest) {
    case Near_Part::None:
      return "";
    case Near_Part::Left:
      return "left edge";
    case Near_Part::Upper_Left:
      return "upper left corner";
    case Near_Part::Top:
      return "upper edge";
    case Near_Part::Upper_Right:
      return "upper right corner";
    case Near_Part::Right:
      return "right edge";
    case Near_Part::Lower_Right:
      return "lower right corner";
    case Near_Part::Bottom:
      return "lower edge";
    case Near_Part::Lower_Left:
      return "lower left corner";
  }
  return "";
}

}  // namespace

std::string Pose_Text(const Pose_Parts& Parts, bool Is_First) {
  const std::string Tilt = Parts.Nearest == Near_Part::None
                               ? "facing the camera"
                               : fmt::format("{} tilted {:.0f} degrees towards the camera",
                                             Part_Words(Parts.Nearest), Parts.Tilt_Deg);
  const bool Is_Upright = Is_First && Parts.Roll == Board_Roll::As_Before;
  const char* const Roll = Is_Upright ? "hold the board upright" : Roll_Words(Parts.Roll);
  return fmt::format("{}, {}, {}, {}", Roll, Distance_Words(Parts.Distance),
                     Place_Words(Parts.Place), Tilt);
}

}  // namespace rigsync
