// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/axis_map.h"

#include "rigsync/system/usage_error.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

using Sources = std::array<Axis_Map::Source, 3>;

constexpr std::array<std::string_view, 3> Angle_Names = {"pan", "tilt", "roll"};
constexpr std::array<std::string_view, 3> Position_Names = {"x", "y", "z"};

constexpr const char* Expected =
    "assignments such as pan=-pan,x=y,y=x: pan, tilt and roll from slots of angles, x, y and z "
    "from "
    "those of coordinates, each with or without a minus; BODY: before it for one body alone, "
    "semicolons between maps";

std::vector<std::string_view> Split(std::string_view Text, char Separator) {
  std::vector<std::string_view> Parts;
  for (std::size_t Start = 0;;) {
    const std::size_t End = Text.find(Separator, Start);
    Parts.push_back(Text.substr(Start, End - Start));
    if (End == std::string_view::npos) return Parts;
    Start = End + 1;
  }
}

std::string_view Trimmed(std::string_view Text) {
  while (!Text.empty() && Text.front() == ' ') Text.remove_prefix(1);
  while (!Text.empty() && Text.back() == ' ') Text.remove_suffix(1);
  return Text;
}

std::optional<std::size_t> Index_In(const std::array<std::string_view, 3>& Names,
                                    std::string_view Name) {
  const auto* const End = Names.data() + Names.size();
  const auto* const Found = std::find(Names.data(), End, Name);
  if (Found == End) return std::nullopt;
  return static_cast<std::size_t>(Found - Names.data());
}

// True if Target is one of these names and Value another of them, with or without a minus.
bool Assign(const std::array<std::string_view, 3>& Names, std::string_view Target,
            std::string_view Value, Sources& Of) {
  const bool Is_Negated = !Value.empty() && Value.front() == '-';
  if (Is_Negated) Value.remove_prefix(1);
  const auto Index = Index_In(Names, Target), Slot = Index_In(Names, Value);
  if (!Index || !Slot) return false;
  Of[*Index] = {*Slot, Is_Negated ? -1.0 : 1.0};
  return true;
}

bool Takes_Each_Slot(const Sources& Of) {
  std::set<std::size_t> Slots;
  for (const Axis_Map::Source& One : Of) Slots.insert(One.Slot);
  return Slots.size() == Of.size();
}

std::optional<Axis_Map> Read_Map(std::string_view Text) {
  Axis_Map Map;
  std::set<std::string_view> Targets;
  for (const std::string_view Part : Split(Text, ',')) {
    const std::size_t Equals = Part.find('=');
    if (Equals == std::string_view::npos) return std::nullopt;
    const std::string_view Target = Trimmed(Part.substr(0, Equals));
    const std::string_view Value = Trimmed(Part.substr(Equals + 1));
    const bool Is_Known = Assign(Angle_Names, Target, Value, Map.Angles) ||
                          Assign(Position_Names, Target, Value, Map.Position);
    if (!Is_Known || !Targets.insert(Target).second) return std::nullopt;
  }
  return Map;
}

void Append_Changes(const std::array<std::string_view, 3>& Names, const Sources& Of,
                    std::string& Text) {
  for (std::size_t i = 0; i < Of.size(); ++i) {
    if (Of[i] == Axis_Map::Source{i}) continue;
    Text += Text.empty() ? "" : ",";
    Text += std::string(Names[i]) + (Of[i].Sign < 0 ? "=-" : "=") + std::string(Names[Of[i].Slot]);
  }
}

}  // namespace

Axis_Maps Parse_Axis_Maps(const std::string& Flag, const std::string& Text) {
  Axis_Maps Maps;
  for (const std::string_view One : Split(Text, ';')) {
    const std::size_t Colon = One.find(':');
    const bool Has_Body = Colon != std::string_view::npos;
    const std::string Body(Has_Body ? Trimmed(One.substr(0, Colon)) : std::string_view());
    const std::optional<Axis_Map> Map = Read_Map(Has_Body ? One.substr(Colon + 1) : One);
    if (!Map || (Has_Body && Body.empty())) Refuse(Flag, Text, Expected);
    if (!Takes_Each_Slot(Map->Angles) || !Takes_Each_Slot(Map->Position)) {
      Refuse(Flag, Text,
             "each slot once: where pan takes that of roll, another angle has to take that of pan");
    }
    if (!Maps.emplace(Body, *Map).second) Refuse(Flag, Text, "one map for each body");
  }
  return Maps;
}

Axis_Map Map_Of(const Axis_Maps& Maps, const std::string& Body) {
  const auto Own = Maps.find(Body);
  if (Own != Maps.end()) return Own->second;
  const auto Common = Maps.find("");
  return Common == Maps.end() ? Axis_Map() : Common->second;
}

std::string Axis_Map_Text(const Axis_Map& Map) {
  std::string Text;
  Append_Changes(Angle_Names, Map.Angles, Text);
  Append_Changes(Position_Names, Map.Position, Text);
  return Text;
}

Pose_Slots Mapped(const Pose_Slots& Slots, const Axis_Map& Map) {
  Pose_Slots Result;
  for (std::size_t i = 0; i < 3; ++i) {
    Result.Angles_Deg[i] = Map.Angles[i].Sign * Slots.Angles_Deg[Map.Angles[i].Slot];
    Result.Position[i] = Map.Position[i].Sign * Slots.Position[Map.Position[i].Slot];
  }
  return Result;
}

}  // namespace rigsync
