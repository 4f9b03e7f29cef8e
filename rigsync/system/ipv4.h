// SPDX-License-Identifier: Apache-2.0
//
// Addresses of IPv4 as numbers and as text.
#ifndef RIGSYNC_SYSTEM_IPV4_H
#define RIGSYNC_SYSTEM_IPV4_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace rigsync {

// In the order in which they are written: 192.168.1.20 begins with 192.
using Ipv4_Address = std::array<std::uint8_t, 4>;

constexpr Ipv4_Address Any_Address = {0, 0, 0, 0};

// "192.168.1.20"
std::string Ipv4_Text(const Ipv4_Address& Address);

// Four numbers from 0 to 255 with points between them; nothing for any other text.
std::optional<Ipv4_Address> Read_Ipv4(std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_IPV4_H
