// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/opentrackio.h"

#include "rigsync/record/attitude.h"
#include "rigsync/record/cbor_shape.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Json = nlohmann::json;

// A sample has about six levels.
constexpr std::size_t Deepest = 32;

// ---- Bytes to JSON -----------------------------------------------------------------------------

// Discarded where the bytes are no JSON.
Json Parse_Json(std::string_view Bytes) {
  bool Is_Too_Deep = false;
  const auto Check_Depth = [&](int Depth, Json::parse_event_t /*Event*/, Json& /*Value*/) {
    if (Depth > static_cast<int>(Deepest)) Is_Too_Deep = true;
    return !Is_Too_Deep;
  };
  Json Root = Json::parse(Bytes, Check_Depth, /*allow_exceptions=*/false);
  return Is_Too_Deep ? Json(Json::value_t::discarded) : Root;
}

Json Parse_Cbor(std::string_view Bytes) {
  if (!Is_Shallow_Cbor(Bytes, Deepest)) return Json(Json::value_t::discarded);
  return Json::from_cbor(Bytes, /*strict=*/true, /*allow_exceptions=*/false);
}

Json Parse(int Encoding, std::string_view Bytes) {
  if (Encoding == Json_Encoding) return Parse_Json(Bytes);
  if (Encoding == Cbor_Encoding) return Parse_Cbor(Bytes);
  return Json(Json::value_t::discarded);
}

// ---- Fields ------------------------------------------------------------------------------------

// Null where there is none, or where Of is no object.
const Json* Field(const Json* Of, const char* Key) {
  if (Of == nullptr || !Of->is_object()) return nullptr;
  const auto Found = Of->find(Key);
  return Found == Of->end() ? nullptr : &*Found;
}

std::optional<double> Number(const Json* Value) {
  if (Value == nullptr || !Value->is_number()) return std::nullopt;
  const auto Read = Value->get<double>();
  return std::isfinite(Read) ? std::optional(Read) : std::nullopt;
}

// A whole number from Least to Most, which some encoders write as 25.0.
std::optional<std::int64_t> Whole(const Json* Value, std::int64_t Least, std::int64_t Most) {
  const std::optional<double> Rounded = Number(Value);
  const bool Is_Near = Rounded && *Rounded >= static_cast<double>(Least) &&
                       *Rounded <= static_cast<double>(Most) && *Rounded == std::floor(*Rounded);
  if (!Is_Near) return std::nullopt;
  const auto Read = Value->get<std::int64_t>();
  return Read >= Least && Read <= Most ? std::optional(Read) : std::nullopt;
}

// Valid UTF-8 in any case: text in CBOR need not be.
std::string Text(const Json* Value) {
  if (Value == nullptr || !Value->is_string()) return {};
  const std::string Escaped = Value->dump(-1, ' ', false, Json::error_handler_t::replace);
  return Json::parse(Escaped).get<std::string>();
}

std::optional<Frame_Rate> Rate(const Json* Value) {
  const auto Numerator = Whole(Field(Value, "num"), 1, std::numeric_limits<int>::max());
  const auto Denominator = Whole(Field(Value, "denom"), 1, std::numeric_limits<int>::max());
  if (!Numerator || !Denominator) return std::nullopt;
  return Frame_Rate{static_cast<long>(*Numerator), static_cast<long>(*Denominator)};
}

// A time that doesn't fit into nanoseconds is none.
std::optional<std::int64_t> Stamp(const Json& Value) {
  constexpr std::int64_t Nanoseconds_Per_Second = 1'000'000'000;
  constexpr std::int64_t Most_Seconds =
      std::numeric_limits<std::int64_t>::max() / Nanoseconds_Per_Second - 1;
  const auto Seconds = Whole(Field(&Value, "seconds"), 0, Most_Seconds);
  const auto Nanoseconds = Whole(Field(&Value, "nanoseconds"), 0, Nanoseconds_Per_Second - 1);
  if (!Seconds || !Nanoseconds) return std::nullopt;
  return *Seconds * Nanoseconds_Per_Second + *Nanoseconds;
}

std::optional<double> Timecode_Of(const Json* Value) {
  constexpr std::int64_t Most = 1000;
  const std::optional<Frame_Rate> Frames_Per_Second = Rate(Field(Value, "frameRate"));
  std::array<int, 4> Numbers{};
  const char* const Keys[] = {"hours", "minutes", "seconds", "frames"};
  for (std::size_t i = 0; i < Numbers.size(); ++i) {
    const auto Read = Whole(Field(Value, Keys[i]), 0, Most);
    if (!Read) return std::nullopt;
    Numbers[i] = static_cast<int>(*Read);
  }
  if (!Frames_Per_Second) return std::nullopt;
  const Json* const Drop = Field(Value, "dropFrame");
  const bool Is_Drop_Frame = Drop != nullptr && Drop->is_boolean() && Drop->get<bool>();
  return Seconds_Of({Numbers[0], Numbers[1], Numbers[2], Numbers[3], Is_Drop_Frame},
                    *Frames_Per_Second);
}

// ---- Transforms --------------------------------------------------------------------------------

// Metres or degrees. A number beyond it is no pose, and the sum of a few of them is finite.
constexpr double Largest = 1e9;

// False where one of the three is missing or no such number.
bool Read_Three(const Json* Value, const std::array<const char*, 3>& Keys,
                std::array<double, 3>& Numbers) {
  for (std::size_t i = 0; i < Keys.size(); ++i) {
    const std::optional<double> Read = Number(Field(Value, Keys[i]));
    if (!Read || std::abs(*Read) > Largest) return false;
    Numbers[i] = *Read;
  }
  return true;
}

// A transform may be a shift or a turn alone.
bool Read_Transform(const Json& Value, Opentrackio_Sample& Sample) {
  if (!Value.is_object()) return false;
  Pose_Slots Slots;
  const Json* const Translation = Field(&Value, "translation");
  const Json* const Rotation = Field(&Value, "rotation");
  if (Translation != nullptr && !Read_Three(Translation, {"x", "y", "z"}, Slots.Position)) {
    return false;
  }
  if (Rotation != nullptr && !Read_Three(Rotation, {"pan", "tilt", "roll"}, Slots.Angles_Deg)) {
    return false;
  }
  Sample.Transforms.push_back(Slots);
  std::array<double, 3> Scale = {1, 1, 1};
  const Json* const Stated_Scale = Field(&Value, "scale");
  if (Stated_Scale != nullptr) Read_Three(Stated_Scale, {"x", "y", "z"}, Scale);
  Sample.Has_Scale = Sample.Has_Scale || Scale != std::array<double, 3>{1, 1, 1};
  return true;
}

bool Read_Transforms(const Json* List, Opentrackio_Sample& Sample) {
  constexpr std::size_t Most = 64;
  if (List == nullptr) return true;
  if (!List->is_array() || List->size() > Most) return false;
  for (const Json& Value : *List) {
    if (!Read_Transform(Value, Sample)) return false;
  }
  return true;
}

}  // namespace

std::optional<Opentrackio_Sample> Decode_Opentrackio(int Encoding, std::string_view Bytes) {
  const Json Root = Parse(Encoding, Bytes);
  if (!Root.is_object()) return std::nullopt;
  Opentrackio_Sample Sample;
  if (const Json* const Source = Field(&Root, "sourceNumber")) {
    Sample.Source_Number = Whole(Source, 0, std::numeric_limits<std::int32_t>::max());
    if (!Sample.Source_Number) return std::nullopt;
  }
  const Json* const Timing = Field(&Root, "timing");
  if (const Json* const Stated = Field(Timing, "sampleTimestamp")) {
    Sample.Stamp_Ns = Stamp(*Stated);
    if (!Sample.Stamp_Ns) return std::nullopt;
  }
  if (!Read_Transforms(Field(&Root, "transforms"), Sample)) return std::nullopt;
  Sample.Sample_Id = Text(Field(&Root, "sampleId"));
  Sample.Status = Text(Field(Field(&Root, "tracker"), "status"));
  Sample.Timecode_Seconds = Timecode_Of(Field(Timing, "timecode"));
  if (const auto Sample_Rate = Rate(Field(Timing, "sampleRate")))
    Sample.Rate_Hz = Sample_Rate->Hz();
  return Sample;
}

Tracker_Sample Opentrackio_Pose(const std::vector<Pose_Slots>& Transforms, const Axis_Map& Map) {
  Eigen::Quaterniond Rotation_Base_Body = Eigen::Quaterniond::Identity();
  Eigen::Vector3d Position_Base = Eigen::Vector3d::Zero();
  for (const Pose_Slots& As_Sent : Transforms) {
    const Pose_Slots Slots = Mapped(As_Sent, Map);
    const auto& [Pan, Tilt, Roll] = Slots.Angles_Deg;
    const Eigen::Map<const Eigen::Vector3d> Shift(Slots.Position.data());
    Position_Base += Rotation_Base_Body * Shift;
    Rotation_Base_Body = Rotation_Base_Body * Pan_Tilt_Roll(Pan, Tilt, Roll);
  }
  return Sample_Of_Pose(Rotation_Base_Body, Position_Base);
}

}  // namespace rigsync
