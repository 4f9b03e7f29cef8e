// SPDX-License-Identifier: Apache-2.0
#include "simulate/stream.h"

#include "simulate/geometry.h"
#include "simulate/take.h"

#include <Eigen/Geometry>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace simulate {

namespace {

using Json = nlohmann::ordered_json;

double Degrees_Of(double Radians_Value) {
  return Radians_Value * (180.0 / Pi);
}

void Put_Big_Endian(std::string& Packet, std::uint64_t Value, int Bytes) {
  for (int i = Bytes - 1; i >= 0; --i) {
    Packet.push_back(static_cast<char>((Value >> (8 * i)) & 0xFFU));
  }
}

// Value in units of 1/Steps, as 24 bits in two's complement.
void Put_Signed_24(std::string& Packet, double Value, double Steps) {
  constexpr double Most = 8388607.0;  // 2^23 - 1
  const double Rounded = std::round(Value * Steps);
  if (!(std::abs(Rounded) <= Most)) throw std::range_error("a FreeD number doesn't fit 24 bits");
  Put_Big_Endian(Packet, static_cast<std::uint64_t>(static_cast<std::int64_t>(Rounded)) & 0xFFFFFFU,
                 3);
}

// The angles of a body that looks along its y axis, x to the right and z up, so that its attitude
// is Rz(pan) Rx(tilt) Ry(roll) with all three by the right-hand rule. Where it looks straight up or
// down the pan is told from x.
struct Head_Angles {
  double Pan_Deg = 0, Tilt_Deg = 0, Roll_Deg = 0;
};

Head_Angles Angles_Of(const Eigen::Matrix3d& Rotation_Base_Body) {
  // Column 1 is (-sin(pan) cos(tilt), cos(pan) cos(tilt), sin(tilt)); row 2 is
  // (-cos(tilt) sin(roll), sin(tilt), cos(tilt) cos(roll)).
  const Eigen::Matrix3d& R = Rotation_Base_Body;
  const double Cosine = std::hypot(R(0, 1), R(1, 1));
  Head_Angles Angles;
  Angles.Tilt_Deg = Degrees_Of(std::atan2(R(2, 1), Cosine));
  constexpr double Upright = 1e-9;
  if (Cosine < Upright) {
    Angles.Pan_Deg = Degrees_Of(std::atan2(R(1, 0), R(0, 0)));
  } else {
    Angles.Pan_Deg = Degrees_Of(std::atan2(-R(0, 1), R(1, 1)));
    Angles.Roll_Deg = Degrees_Of(std::atan2(-R(2, 0), R(2, 2)));
  }
  return Angles;
}

Eigen::Matrix3d Rotation_Base_Body_Of(const Sample& Reported) {
  return Reported.Rotation.normalized().conjugate().toRotationMatrix();
}

// The rotation about z that two transforms share out: the base has this pan, the head the rest.
constexpr double Base_Pan_Deg = 25.0;

Json Transform_Json(const char* Id, const Eigen::Vector3d& Translation, const Head_Angles& Angles) {
  return {
      {"translation", {{"x", Translation.x()}, {"y", Translation.y()}, {"z", Translation.z()}}},
      {"rotation", {{"pan", Angles.Pan_Deg}, {"tilt", Angles.Tilt_Deg}, {"roll", Angles.Roll_Deg}}},
      {"id", Id}};
}

Json Transforms_Json(const Sample& Reported, bool Two_Transforms) {
  const Head_Angles Whole = Angles_Of(Rotation_Base_Body_Of(Reported));
  if (!Two_Transforms) return Json::array({Transform_Json("Camera", Reported.Position, Whole)});
  // The head sits one metre above the base, so the base is below the head.
  const Eigen::Vector3d Up(0.0, 0.0, 1.0);
  Head_Angles Base, Head = Whole;
  Base.Pan_Deg = Base_Pan_Deg;
  Head.Pan_Deg -= Base_Pan_Deg;
  return Json::array(
      {Transform_Json("Base", Reported.Position - Up, Base), Transform_Json("Head", Up, Head)});
}

Json Timecode_Json(double Seconds, int Rate) {
  const auto Frames = static_cast<long long>(std::floor(Seconds * Rate + 1e-6));
  const long long Whole = Frames / Rate;
  return {{"hours", Whole / 3600 % 24},
          {"minutes", Whole / 60 % 60},
          {"seconds", Whole % 60},
          {"frames", Frames % Rate},
          {"frameRate", {{"num", Rate}, {"denom", 1}}}};
}

// The same for one sample on every machine, and never twice in a stream.
std::string Sample_Id(int Source, double Seconds) {
  const auto Number = static_cast<unsigned long long>(std::llround(Seconds * 1e6));
  constexpr char Digits[] = "0123456789abcdef";
  std::string Last;
  for (int i = 11; i >= 0; --i) Last.push_back(Digits[(Number >> (4 * i)) & 15U]);
  return "urn:uuid:5f7c0de0-0000-4000-8000-" + Last.substr(0, 10) + Digits[Source / 16 % 16] +
         Digits[Source % 16];
}

Json Sample_Json(const Opentrackio_Settings& Settings, int Source, double Seconds,
                 const Sample& Reported) {
  const auto Nanoseconds = static_cast<long long>(std::llround(Seconds * 1e9));
  Json Timing = {
      {"mode", "internal"},
      {"sampleTimestamp",
       {{"seconds", Nanoseconds / 1000000000}, {"nanoseconds", Nanoseconds % 1000000000}}}};
  if (Settings.Timecode_Rate > 0)
    Timing["timecode"] = Timecode_Json(Seconds, Settings.Timecode_Rate);
  return {
      {"protocol", {{"name", "OpenTrackIO"}, {"version", {1, 0, 1}}}},
      {"sampleId", Sample_Id(Source, Seconds)},
      {"sourceId", "urn:uuid:5f7c0de0-0000-4000-9000-00000000000" + std::to_string(Source % 10)},
      {"sourceNumber", Source},
      {"tracker", {{"status", "Optical Good"}}},
      {"timing", Timing},
      {"transforms", Transforms_Json(Reported, Settings.Two_Transforms)}};
}

std::string Payload_Of(const Json& Content, Payload_Form Form) {
  if (Form == Payload_Form::Json) return Content.dump();
  const std::vector<std::uint8_t> Bytes = Json::to_cbor(Content);
  return {Bytes.begin(), Bytes.end()};
}

// Fletcher's sum of 16 bits with the modulus 256.
std::uint16_t Checksum(const std::string& Bytes) {
  unsigned First = 0, Second = 0;
  for (const char Byte : Bytes) {
    First = (First + static_cast<unsigned char>(Byte)) % 256;
    Second = (Second + First) % 256;
  }
  return static_cast<std::uint16_t>(Second << 8 | First);
}

std::string Segment(Payload_Form Form, std::uint16_t Sequence, std::size_t Offset, bool Is_Last,
                    const std::string& Part) {
  std::string Packet = "OTrk";
  Packet.push_back('\0');
  Packet.push_back(Form == Payload_Form::Json ? '\1' : '\2');
  Put_Big_Endian(Packet, Sequence, 2);
  Put_Big_Endian(Packet, Offset, 4);
  Put_Big_Endian(Packet, (Is_Last ? 0x8000U : 0U) | Part.size(), 2);
  const std::uint16_t Sum = Checksum(Packet + Part);
  Put_Big_Endian(Packet, Sum, 2);
  return Packet + Part;
}

bool Is_Every(std::size_t Index, std::size_t Every) {
  return Every > 0 && (Index + 1) % Every == 0;
}

}  // namespace

Freed_Pose Freed_Pose_Of(int Camera_Id, const Sample& Reported) {
  const Head_Angles Angles = Angles_Of(Rotation_Base_Body_Of(Reported));
  Freed_Pose Pose;
  Pose.Camera_Id = Camera_Id;
  Pose.Pan_Deg = -Angles.Pan_Deg;  // clockwise from above
  Pose.Tilt_Deg = Angles.Tilt_Deg;
  Pose.Roll_Deg = Angles.Roll_Deg;
  Pose.Position = Reported.Position;
  return Pose;
}

std::string Freed_Packet(const Freed_Pose& Pose) {
  constexpr double Steps_Per_Degree = 32768.0, Steps_Per_Metre = 64000.0;
  std::string Packet = "\xD1";
  Packet.push_back(static_cast<char>(Pose.Camera_Id));
  for (const double Angle : {Pose.Pan_Deg, Pose.Tilt_Deg, Pose.Roll_Deg}) {
    Put_Signed_24(Packet, Angle, Steps_Per_Degree);
  }
  for (int Axis = 0; Axis < 3; ++Axis) Put_Signed_24(Packet, Pose.Position[Axis], Steps_Per_Metre);
  Put_Big_Endian(Packet, Pose.Zoom & 0xFFFFFFU, 3);
  Put_Big_Endian(Packet, Pose.Focus & 0xFFFFFFU, 3);
  Put_Big_Endian(Packet, Pose.User, 2);
  unsigned Sum = 0x40;
  for (const char Byte : Packet) Sum -= static_cast<unsigned char>(Byte);
  Packet.push_back(static_cast<char>(Sum & 0xFFU));
  return Packet;
}

std::vector<std::string> Opentrackio_Packets(const Opentrackio_Settings& Settings, int Source,
                                             double Seconds, const Sample& Reported,
                                             std::uint16_t& Sequence) {
  const std::string Payload =
      Payload_Of(Sample_Json(Settings, Source, Seconds, Reported), Settings.Form);
  const std::size_t Most = std::clamp<std::size_t>(Settings.Segment_Bytes, 1, 0x7FFF);
  std::vector<std::string> Packets;
  for (std::size_t Offset = 0; Offset < Payload.size(); Offset += Most) {
    const std::string Part = Payload.substr(Offset, Most);
    Packets.push_back(
        Segment(Settings.Form, Sequence++, Offset, Offset + Part.size() == Payload.size(), Part));
  }
  return Packets;
}

std::vector<Datagram> Arrived(const std::vector<Datagram>& Sent, const Network_Trouble& Trouble) {
  std::vector<Datagram> Packets;
  for (std::size_t i = 0; i < Sent.size(); ++i) {
    if (Is_Every(i, Trouble.Lost_Every)) continue;
    Datagram Packet = Sent[i];
    if (Is_Every(i, Trouble.Spoiled_Every) && !Packet.Bytes.empty()) {
      char& Byte = Packet.Bytes[Packet.Bytes.size() / 2];
      Byte = static_cast<char>(Byte ^ 1);
    }
    Packets.push_back(Packet);
    if (Is_Every(i, Trouble.Doubled_Every)) Packets.push_back(Packet);
  }
  for (std::size_t i = 0; i + 1 < Packets.size(); ++i) {
    if (Is_Every(i, Trouble.Swapped_Every)) std::swap(Packets[i], Packets[i + 1]);
  }
  return Packets;
}

std::vector<Datagram> Stream_Of(const Plan& Capture, const Stream_Settings& Settings) {
  std::vector<Datagram> Sent;
  std::array<std::uint16_t, 2> Sequences{};  // each source counts its own packets
  const auto Send = [&](double Seconds, int Body, const Body_Reading& Seen) {
    if (!Seen.Is_Tracked) return;
    if (Settings.Form == Stream_Form::Freed) {
      Sent.push_back({Seconds, Body, Freed_Packet(Freed_Pose_Of(Body, Seen.Reading))});
      return;
    }
    for (std::string& Bytes :
         Opentrackio_Packets(Settings.Opentrackio, Body, static_cast<double>(Clock_Epoch) + Seconds,
                             Seen.Reading, Sequences[static_cast<std::size_t>(Body - 1)])) {
      Sent.push_back({Seconds, Body, std::move(Bytes)});
    }
  };
  for (const Take_Row& Row : Record_Take(Capture)) {
    Send(Row.Seconds, 1, Row.Camera);
    if (!Capture.Settings.Recording.One_Body) Send(Row.Seconds, 2, Row.Board);
  }
  return Arrived(Sent, Settings.Trouble);
}

}  // namespace simulate
