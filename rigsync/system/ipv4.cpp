// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/ipv4.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <cstddef>
#include <system_error>

namespace rigsync {

std::string Ipv4_Text(const Ipv4_Address& Address) {
  return fmt::format("{}", fmt::join(Address, "."));
}

std::optional<Ipv4_Address> Read_Ipv4(std::string_view Text) {
  Ipv4_Address Address{};
  for (std::size_t i = 0; i < Address.size(); ++i) {
    if (i > 0) {
      if (Text.empty() || Text.front() != '.') return std::nullopt;
      Text.remove_prefix(1);
    }
    const auto [End, Failure] = std::from_chars(Text.data(), Text.data() + Text.size(), Address[i]);
    if (Failure != std::errc()) return std::nullopt;
    Text.remove_prefix(static_cast<std::size_t>(End - Text.data()));
  }
  return Text.empty() ? std::optional(Address) : std::nullopt;
}

}  // namespace rigsync
