// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/tracker_axes.h"

#include "rigsync/system/usage_error.h"
#include "rigsync/take/base_axes.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>

namespace rigsync {
namespace {

// The labelling of each name by space, in the order of Engine_Space.
struct Named_Axes {
  std::string Name;
  std::array<const char*, 3> By_Space;
};

const std::vector<Named_Axes>& All_Named() {
  static const std::vector<Named_Axes> All = {
      {"as-tracked", {"x,y,z", "y,x,z", "x,z,y"}},
      {"z-up", {"x,y,z", "x,-y,z", "x,z,y"}},
      {"y-up", {"x,-z,y", "x,z,y", "x,y,-z"}},
  };
  return All;
}

[[noreturn]] void Refuse_Left_As_Tracked(const std::string& Flag) {
  throw Usage_Error(Flag,
                    fmt::format("{}: a left-handed engine can't have the body's own axes, and this "
                                "result does not say which way they point. Say z-up or y-up, or "
                                "write the axes out, as in x,-y,z",
                                Flag));
}

}  // namespace

bool Is_Left_Handed(Engine_Space Space) {
  return Space != Engine_Space::Right_Handed_Z_Up;
}

const std::vector<std::string>& Tracker_Axes_Names() {
  static const std::vector<std::string> Names = [] {
    std::vector<std::string> Listed;
    for (const Named_Axes& Named : All_Named()) Listed.push_back(Named.Name);
    return Listed;
  }();
  return Names;
}

Tracker_Axes Parse_Tracker_Axes(const std::string& Flag, const std::string& Text,
                                Engine_Space Space, Body_Labels Labels) {
  for (const Named_Axes& Named : All_Named()) {
    if (Named.Name != Text) continue;
    if (Text == "as-tracked" && Is_Left_Handed(Space) && Labels == Body_Labels::Unknown) {
      Refuse_Left_As_Tracked(Flag);
    }
    return Parse_Axes(Flag, Named.By_Space[static_cast<std::size_t>(Space)]);
  }
  if (Text.find(',') == std::string::npos) {
    Refuse(Flag, Text, "as-tracked, z-up, y-up, or three axes such as z,-x,y");
  }
  const Tracker_Axes Axes = Parse_Axes(Flag, Text);
  if ((Axes.determinant() < 0.0) != Is_Left_Handed(Space)) {
    throw Usage_Error(Flag, fmt::format("{} {}: these axes are {}-handed, and the engine's are {}. "
                                        "Reverse one of them",
                                        Flag, Text, Is_Left_Handed(Space) ? "right" : "left",
                                        Is_Left_Handed(Space) ? "left-handed" : "right-handed"));
  }
  return Axes;
}

std::string Tracker_Axes_Text(const Tracker_Axes& Axes) {
  return Axes_Text(Axes);
}

}  // namespace rigsync
