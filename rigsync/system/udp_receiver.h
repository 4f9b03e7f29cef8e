// SPDX-License-Identifier: Apache-2.0
//
// Packets that arrive over UDP, IPv4, on one or several ports. Implemented in platform_posix.cpp
// and platform_windows.cpp: bind, join, wait and receive are all that is needed, and a library for
// networks would be a dependency larger than its use.
#ifndef RIGSYNC_SYSTEM_UDP_RECEIVER_H
#define RIGSYNC_SYSTEM_UDP_RECEIVER_H

#include "rigsync/system/ipv4.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rigsync {

struct Udp_Packet {
  // When it was read, nanoseconds: since 1970 in UTC, and on a clock that nobody sets.
  std::int64_t Utc_Ns = 0, Steady_Ns = 0;
  Ipv4_Address Sender{};
  std::uint16_t Sender_Port = 0;
  std::uint16_t Local_Port = 0;  // at which it arrived
  std::string Bytes;

  bool operator==(const Udp_Packet& Other) const {
    return Utc_Ns == Other.Utc_Ns && Steady_Ns == Other.Steady_Ns && Sender == Other.Sender &&
           Sender_Port == Other.Sender_Port && Local_Port == Other.Local_Port &&
           Bytes == Other.Bytes;
  }
};

class Udp_Receiver {
 public:
  Udp_Receiver();
  ~Udp_Receiver();
  Udp_Receiver(const Udp_Receiver&) = delete;
  Udp_Receiver& operator=(const Udp_Receiver&) = delete;

  // Receives what is sent to this port at this address of the machine, Any_Address for all. Port 0
  // lets the system choose. Returns the port. Throws std::system_error, for example when another
  // program has the port: two programs cannot share what is sent to one of them.
  std::uint16_t Listen(const Ipv4_Address& Address, std::uint16_t Port);

  // The same for what is sent to multicast groups, which go to every program that joins them, so
  // the port is shared. Interface is the address of the network card, Any_Address for the one that
  // the system chooses. Throws std::system_error.
  std::uint16_t Join(const std::vector<Ipv4_Address>& Groups, std::uint16_t Port,
                     const Ipv4_Address& Interface);

  // Waits for packets, at most this long, and replaces Packets by those that are there, in the
  // order in which each port received them. Returns early, with none, when a signal comes.
  void Receive(double Seconds, std::vector<Udp_Packet>& Packets);

 private:
  struct Opened {
    std::intptr_t Handle;
    std::uint16_t Port;
  };

  std::uint16_t Bind(std::intptr_t Handle, const Ipv4_Address& Address, std::uint16_t Port);
  void Read_All(const Opened& Socket, std::vector<Udp_Packet>& Packets);

  std::vector<Opened> Sockets;
  std::string Buffer;
};

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_UDP_RECEIVER_H
