// SPDX-License-Identifier: Apache-2.0
//
// Packets that are sent over UDP, IPv4. Implemented in platform_posix.cpp and platform_windows.cpp.
#ifndef RIGSYNC_SYSTEM_UDP_SENDER_H
#define RIGSYNC_SYSTEM_UDP_SENDER_H

#include "rigsync/system/ipv4.h"

#include <cstdint>
#include <string_view>

namespace rigsync {

class Udp_Sender {
 public:
  // Throws std::system_error.
  Udp_Sender();
  ~Udp_Sender();
  Udp_Sender(const Udp_Sender&) = delete;
  Udp_Sender& operator=(const Udp_Sender&) = delete;

  // Sends one packet to a machine or a multicast group. What is sent to a group stays in the
  // network of this machine, and comes back to the programs on it that joined the group. Throws
  // std::system_error when the system refuses it, as an address that no network leads to. Whether
  // somebody receives it can't be known.
  void Send(const Ipv4_Address& To, std::uint16_t Port, std::string_view Bytes);

 private:
  std::intptr_t Handle;
};

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_UDP_SENDER_H
