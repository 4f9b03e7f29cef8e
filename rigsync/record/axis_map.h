// SPDX-License-Identifier: Apache-2.0
//
// Which slot of a packet holds which angle and which coordinate. Devices fill the six slots of
// FreeD in orders and with signs of their own; a recording is raw, so a wrong map is corrected when
// it is read.
#ifndef RIGSYNC_RECORD_AXIS_MAP_H
#define RIGSYNC_RECORD_AXIS_MAP_H

#include <array>
#include <cstddef>
#include <map>
#include <string>

namespace rigsync {

// The numbers of a packet in the order of the format: angles pan, tilt, roll, degrees, and
// coordinates x, y, z, metres.
struct Pose_Slots {
  std::array<double, 3> Angles_Deg{};
  std::array<double, 3> Position{};
};

// For each angle and each coordinate the slot that holds it and its sign. Angles come from slots of
// angles, coordinates from those of coordinates, and no slot is taken twice.
struct Axis_Map {
  struct Source {
    std::size_t Slot = 0;
    double Sign = 1.0;  // or -1

    bool operator==(const Source& Other) const { return Slot == Other.Slot && Sign == Other.Sign; }
  };
  std::array<Source, 3> Angles = {Source{0}, Source{1}, Source{2}};
  std::array<Source, 3> Position = {Source{0}, Source{1}, Source{2}};

  bool operator==(const Axis_Map& Other) const {
    return Angles == Other.Angles && Position == Other.Position;
  }
};

// By the name of the body; the map of the empty name is for all others.
using Axis_Maps = std::map<std::string, Axis_Map>;

// Reads "pan=-pan,x=y,y=x": what is said on the left is in the slot on the right. What is not named
// stays where it is. "BODY:" before it makes it a map of that body alone, and several maps are
// separated by semicolons: "freed-1:pan=-pan;freed-2:x=y,y=x". Throws Usage_Error for any other
// text, and for a map that takes a slot twice.
Axis_Maps Parse_Axis_Maps(const std::string& Flag, const std::string& Text);

// The map of a body: its own, that of the empty name, or the one that changes nothing.
Axis_Map Map_Of(const Axis_Maps& Maps, const std::string& Body);

// "pan=-pan,x=y,y=x", or an empty text for a map that changes nothing.
std::string Axis_Map_Text(const Axis_Map& Map);

Pose_Slots Mapped(const Pose_Slots& Slots, const Axis_Map& Map);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_AXIS_MAP_H
