// SPDX-License-Identifier: Apache-2.0
//
// Packets as tracking systems send them, written by the descriptions of the formats and not by the
// code that reads them, and a socket to send them to this machine.
#ifndef RIGSYNC_TESTS_RIGSYNC_SUPPORT_TRACKER_PACKETS_H
#define RIGSYNC_TESTS_RIGSYNC_SUPPORT_TRACKER_PACKETS_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

// The bytes of "d1 00 df", spaces between them or not.
inline std::string From_Hex(const std::string& Text) {
  std::string Digits, Bytes;
  for (const char Letter : Text) {
    if (std::isxdigit(static_cast<unsigned char>(Letter)) != 0) Digits += Letter;
  }
  for (std::size_t i = 0; i + 1 < Digits.size(); i += 2) {
    Bytes += static_cast<char>(std::stoi(Digits.substr(i, 2), nullptr, 16));
  }
  return Bytes;
}

inline void Append_Big_Endian(unsigned long Value, int Count, std::string& Bytes) {
  for (int i = Count - 1; i >= 0; --i) Bytes += static_cast<char>((Value >> (8 * i)) & 0xFFU);
}

struct Freed_Numbers {
  int Camera_Id = 1;
  double Pan_Deg = 0, Tilt_Deg = 0, Roll_Deg = 0;
  double X_Mm = 0, Y_Mm = 0, Z_Mm = 0;
};

inline std::string Freed_Message(const Freed_Numbers& Of) {
  std::string Bytes = "\xd1";
  Bytes += static_cast<char>(Of.Camera_Id);
  const auto Append = [&](double Value, double Units) {
    Append_Big_Endian(static_cast<unsigned long>(std::lround(Value * Units)) & 0xFFFFFFU, 3, Bytes);
  };
  for (const double Angle : {Of.Pan_Deg, Of.Tilt_Deg, Of.Roll_Deg}) Append(Angle, 32768);
  for (const double Length : {Of.X_Mm, Of.Y_Mm, Of.Z_Mm}) Append(Length, 64);
  Append_Big_Endian(0x123456, 3, Bytes);
  Append_Big_Endian(0x654321, 3, Bytes);
  Append_Big_Endian(0, 2, Bytes);
  int Sum = 0;
  for (const char Byte : Bytes) Sum += static_cast<unsigned char>(Byte);
  return Bytes + static_cast<char>((0x40 - Sum) & 0xFF);
}

// A packet with its checksum. The second sum adds byte i of n as often as it went into the first,
// n - i times.
inline std::string Opentrackio_Packet(int Encoding, unsigned Sequence, std::size_t Offset,
                                      bool Is_Last, const std::string& Payload) {
  std::string Bytes = "OTrk";
  Append_Big_Endian(0, 1, Bytes);
  Append_Big_Endian(static_cast<unsigned long>(Encoding), 1, Bytes);
  Append_Big_Endian(Sequence & 0xFFFFU, 2, Bytes);
  Append_Big_Endian(Offset, 4, Bytes);
  Append_Big_Endian((Is_Last ? 0x8000U : 0U) | Payload.size(), 2, Bytes);
  const std::string Summed = Bytes + Payload;
  unsigned long First = 0, Second = 0;
  for (std::size_t i = 0; i < Summed.size(); ++i) {
    const auto Byte = static_cast<unsigned char>(Summed[i]);
    First += Byte;
    Second += (Summed.size() - i) * Byte;
  }
  Append_Big_Endian(Second % 256, 1, Bytes);
  Append_Big_Endian(First % 256, 1, Bytes);
  return Bytes + Payload;
}

// A sample in as many packets as pieces of Size need.
inline std::vector<std::string> Opentrackio_Packets(int Encoding, unsigned First_Sequence,
                                                    const std::string& Sample, std::size_t Size) {
  std::vector<std::string> Packets;
  for (std::size_t Begin = 0; Begin < Sample.size(); Begin += Size) {
    const std::string Piece = Sample.substr(Begin, Size);
    Packets.push_back(Opentrackio_Packet(Encoding, First_Sequence++, Begin,
                                         Begin + Piece.size() == Sample.size(), Piece));
  }
  return Packets;
}

// Sends from one port of this machine to 127.0.0.1 or, through it, to a multicast group.
class Udp_Sender {
 public:
  Udp_Sender() : Handle(socket(AF_INET, SOCK_DGRAM, 0)) {
    if (Handle < 0) throw std::runtime_error("no socket");
    in_addr Loopback{};
    Loopback.s_addr = htonl(INADDR_LOOPBACK);
    setsockopt(Handle, IPPROTO_IP, IP_MULTICAST_IF, &Loopback, sizeof Loopback);
  }
  ~Udp_Sender() { close(Handle); }
  Udp_Sender(const Udp_Sender&) = delete;
  Udp_Sender& operator=(const Udp_Sender&) = delete;

  void Send(const std::string& Bytes, std::uint16_t Port, const char* To = "127.0.0.1") const {
    sockaddr_in Name{};
    Name.sin_family = AF_INET;
    Name.sin_port = htons(Port);
    inet_pton(AF_INET, To, &Name.sin_addr);
    sendto(Handle, Bytes.data(), Bytes.size(), 0, reinterpret_cast<sockaddr*>(&Name), sizeof Name);
  }

 private:
  int Handle;
};

// Whether a program of this machine can join a multicast group on the loopback, found without the
// code that is tested.
inline bool Has_Multicast() {
  const int Handle = socket(AF_INET, SOCK_DGRAM, 0);
  ip_mreq Group{};
  inet_pton(AF_INET, "239.135.1.1", &Group.imr_multiaddr);
  inet_pton(AF_INET, "127.0.0.1", &Group.imr_interface);
  const bool Joined = setsockopt(Handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &Group, sizeof Group) == 0;
  close(Handle);
  return Joined;
}

// A port that was free a moment ago.
inline std::uint16_t Free_Port() {
  const int Handle = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in Name{};
  Name.sin_family = AF_INET;
  socklen_t Length = sizeof Name;
  bind(Handle, reinterpret_cast<sockaddr*>(&Name), Length);
  getsockname(Handle, reinterpret_cast<sockaddr*>(&Name), &Length);
  close(Handle);
  return ntohs(Name.sin_port);
}

#endif  // RIGSYNC_TESTS_RIGSYNC_SUPPORT_TRACKER_PACKETS_H
