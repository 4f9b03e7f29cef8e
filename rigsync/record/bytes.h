// SPDX-License-Identifier: Apache-2.0
//
// Whole numbers in bytes, big-endian as the tracker formats have them and little-endian as a
// recording has them, and the difference of times from a file. Whoever calls these has looked that
// the bytes are there.
#ifndef RIGSYNC_RECORD_BYTES_H
#define RIGSYNC_RECORD_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace rigsync {

inline std::uint8_t Byte_At(std::string_view Bytes, std::size_t Offset) {
  return static_cast<std::uint8_t>(Bytes[Offset]);
}

// Count bytes from Offset, at most 8.
inline std::uint64_t Big_Endian(std::string_view Bytes, std::size_t Offset, std::size_t Count) {
  std::uint64_t Value = 0;
  for (std::size_t i = 0; i < Count; ++i) Value = (Value << 8U) | Byte_At(Bytes, Offset + i);
  return Value;
}

inline std::uint64_t Little_Endian(std::string_view Bytes, std::size_t Offset, std::size_t Count) {
  std::uint64_t Value = 0;
  for (std::size_t i = Count; i > 0; --i) Value = (Value << 8U) | Byte_At(Bytes, Offset + i - 1);
  return Value;
}

inline void Append_Little_Endian(std::uint64_t Value, std::size_t Count, std::string& Bytes) {
  for (std::size_t i = 0; i < Count; ++i) {
    Bytes += static_cast<char>(static_cast<std::uint8_t>(Value >> (8U * i)));
  }
}

// From one time to another. Wraps around where a damaged file has times that no clock shows.
inline std::int64_t Nanoseconds_Between(std::int64_t From, std::int64_t To) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(To) -
                                   static_cast<std::uint64_t>(From));
}

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_BYTES_H
