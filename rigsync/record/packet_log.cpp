// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/packet_log.h"

#include "rigsync/record/bytes.h"
#include "rigsync/system/failure_text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Signature = "\x89RSR\r\n\x1a\n";
constexpr std::string_view Packet_Mark = "pckt";
constexpr std::uint64_t Version = 1;
constexpr std::size_t File_Header = 24, Packet_Header = 32, Longest_Packet = 65535;

std::string File_Header_Bytes(std::int64_t Start_Utc_Ns) {
  std::string Bytes(Signature);
  Append_Little_Endian(Version, 4, Bytes);
  Append_Little_Endian(0, 4, Bytes);
  Append_Little_Endian(static_cast<std::uint64_t>(Start_Utc_Ns), 8, Bytes);
  return Bytes;
}

std::string Packet_Bytes(const Udp_Packet& Packet) {
  std::string Bytes(Packet_Mark);
  Append_Little_Endian(Packet.Bytes.size(), 4, Bytes);
  Append_Little_Endian(static_cast<std::uint64_t>(Packet.Utc_Ns), 8, Bytes);
  Append_Little_Endian(static_cast<std::uint64_t>(Packet.Steady_Ns), 8, Bytes);
  for (const std::uint8_t Number : Packet.Sender) Append_Little_Endian(Number, 1, Bytes);
  Append_Little_Endian(Packet.Sender_Port, 2, Bytes);
  Append_Little_Endian(Packet.Local_Port, 2, Bytes);
  return Bytes + Packet.Bytes;
}

void Read_Packet_Header(std::string_view Header, Udp_Packet& Packet) {
  Packet.Utc_Ns = static_cast<std::int64_t>(Little_Endian(Header, 8, 8));
  Packet.Steady_Ns = static_cast<std::int64_t>(Little_Endian(Header, 16, 8));
  for (std::size_t i = 0; i < Packet.Sender.size(); ++i) Packet.Sender[i] = Byte_At(Header, 24 + i);
  Packet.Sender_Port = static_cast<std::uint16_t>(Little_Endian(Header, 28, 2));
  Packet.Local_Port = static_cast<std::uint16_t>(Little_Endian(Header, 30, 2));
}

[[noreturn]] void Refuse_Log(const fs::path& File, const std::string& Why) {
  throw Usage_Error("TAKE", fmt::format("TAKE: {}: {}", File.string(), Why));
}

std::error_code Last_Error() {
  return {errno != 0 ? errno : EIO, std::generic_category()};
}

}  // namespace

bool Is_Packet_Log(const fs::path& File) {
  std::ifstream Stream(File, std::ios::binary);
  std::string Begin(Signature.size(), '\0');
  return Stream.read(Begin.data(), static_cast<std::streamsize>(Begin.size())) &&
         Begin == Signature;
}

Packet_Log_Writer::Packet_Log_Writer(fs::path Log_File, std::int64_t Start_Utc_Ns)
    : File(std::move(Log_File)) {
  errno = 0;
  Stream.open(File, std::ios::binary | std::ios::trunc);
  if (!Stream)
    throw std::runtime_error(fmt::format("{}: {}", File.string(), Failure_Text(Last_Error())));
  try {
    Write(File_Header_Bytes(Start_Utc_Ns));
  } catch (const std::runtime_error&) {
    // Without a header it is no recording, and would be in the way of the next one.
    std::error_code Ignored;
    if (fs::is_regular_file(File, Ignored)) fs::remove(File, Ignored);
    throw;
  }
}

void Packet_Log_Writer::Append(const std::vector<Udp_Packet>& Packets) {
  for (const Udp_Packet& Packet : Packets) Write(Packet_Bytes(Packet));
}

void Packet_Log_Writer::Write(const std::string& Bytes) {
  errno = 0;
  if (Stream.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size())) && Stream.flush()) {
    Whole_Size += Bytes.size();
    return;
  }
  const std::string Reason = Failure_Text(Last_Error());
  Stream.setstate(std::ios::badbit);
  Stream.close();
  std::error_code Ignored;  // the reader leaves out a packet that is cut off as well
  fs::resize_file(File, Whole_Size, Ignored);
  throw std::runtime_error(fmt::format("{}: {}", File.string(), Reason));
}

Packet_Log_Reader::Packet_Log_Reader(const fs::path& Log_File) {
  errno = 0;
  Stream.open(Log_File, std::ios::binary);
  if (!Stream) Refuse_Log(Log_File, "can't be opened (" + Last_Error().message() + ")");
  if (!Read(File_Header, Header) || Header.substr(0, Signature.size()) != Signature) {
    Refuse_Log(Log_File, "is not a recording of 'rigsync record'");
  }
  const std::uint64_t Found = Little_Endian(Header, 8, 4);
  if (Found != Version) {
    Refuse_Log(Log_File, fmt::format("is a recording of version {}; expected version {}. Read it "
                                     "with the rigsync that recorded it",
                                     Found, Version));
  }
  Start_Ns = static_cast<std::int64_t>(Little_Endian(Header, 16, 8));
}

// Leaves in Bytes what there was of them.
bool Packet_Log_Reader::Read(std::size_t Count, std::string& Bytes) {
  Bytes.resize(Count);
  Stream.read(Bytes.data(), static_cast<std::streamsize>(Count));
  Bytes.resize(static_cast<std::size_t>(Stream.gcount()));
  Position += Bytes.size();
  return Bytes.size() == Count;
}

bool Packet_Log_Reader::End_Here(const std::string& Why) {
  Damage_Text = fmt::format("{}; what follows packet {} was left out", Why, Packet_Count);
  return false;
}

bool Packet_Log_Reader::Next(Udp_Packet& Packet) {
  if (!Damage_Text.empty()) return false;
  const std::uint64_t Begin = Position;
  if (!Read(Packet_Header, Header)) {
    if (Header.empty()) return false;
    return End_Here("the recording ends within a packet");
  }
  const std::uint64_t Length = Little_Endian(Header, 4, 4);
  if (Header.substr(0, Packet_Mark.size()) != Packet_Mark || Length > Longest_Packet) {
    return End_Here(fmt::format("the recording has no packet at byte {}", Begin));
  }
  Read_Packet_Header(Header, Packet);
  if (!Read(static_cast<std::size_t>(Length), Packet.Bytes)) {
    return End_Here("the recording ends within a packet");
  }
  ++Packet_Count;
  return true;
}

}  // namespace rigsync
