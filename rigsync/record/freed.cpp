// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/freed.h"

#include "rigsync/record/attitude.h"
#include "rigsync/record/bytes.h"

#include <algorithm>

namespace rigsync {
namespace {

constexpr std::uint8_t Type = 0xD1;

double Signed_24(std::string_view Message, std::size_t Offset) {
  constexpr std::int64_t Range = 1 << 24;
  const auto Value = static_cast<std::int64_t>(Big_Endian(Message, Offset, 3));
  return static_cast<double>(Value < Range / 2 ? Value : Value - Range);
}

std::uint32_t Unsigned(std::string_view Message, std::size_t Offset, std::size_t Count) {
  return static_cast<std::uint32_t>(Big_Endian(Message, Offset, Count));
}

}  // namespace

bool Is_Freed(std::string_view Datagram) {
  if (Datagram.empty() || Datagram.size() % Freed_Size != 0) return false;
  for (std::size_t i = 0; i < Datagram.size(); i += Freed_Size) {
    if (Byte_At(Datagram, i) != Type) return false;
  }
  return true;
}

bool Is_Freed_Checksum_Good(std::string_view Message) {
  constexpr unsigned Start = 0x40;
  unsigned Left = Start;
  for (std::size_t i = 0; i + 1 < Freed_Size; ++i) Left -= Byte_At(Message, i);
  return static_cast<std::uint8_t>(Left) == Byte_At(Message, Freed_Size - 1);
}

Freed_Packet Decode_Freed(std::string_view Message) {
  constexpr double Units_Per_Degree = 32768.0, Units_Per_Metre = 64000.0;
  constexpr std::size_t Pan = 2, X = 11, Zoom = 20, Focus = 23, Spare = 26;
  Freed_Packet Packet;
  Packet.Camera_Id = Byte_At(Message, 1);
  for (std::size_t i = 0; i < 3; ++i) {
    Packet.Slots.Angles_Deg[i] = Signed_24(Message, Pan + 3 * i) / Units_Per_Degree;
    Packet.Slots.Position[i] = Signed_24(Message, X + 3 * i) / Units_Per_Metre;
  }
  Packet.Zoom = Unsigned(Message, Zoom, 3);
  Packet.Focus = Unsigned(Message, Focus, 3);
  Packet.Spare = Unsigned(Message, Spare, 2);
  return Packet;
}

bool Is_Freed_Lost(const Freed_Packet& Packet) {
  const auto Is_Zero = [](double Value) { return Value == 0.0; };
  const auto& [Angles_Deg, Position] = Packet.Slots;
  return std::all_of(Angles_Deg.begin(), Angles_Deg.end(), Is_Zero) &&
         std::all_of(Position.begin(), Position.end(), Is_Zero);
}

Tracker_Sample Freed_Sample(const Pose_Slots& Slots) {
  const auto& [Pan, Tilt, Roll] = Slots.Angles_Deg;
  const auto& [X, Y, Z] = Slots.Position;
  return Sample_Of_Pose(Pan_Tilt_Roll(-Pan, Tilt, Roll), {X, Y, Z});
}

}  // namespace rigsync
