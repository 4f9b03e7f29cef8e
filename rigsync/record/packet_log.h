// SPDX-License-Identifier: Apache-2.0
//
// The file of a recording: every packet as it came, with when and where from. Numbers are
// little-endian.
//
// The file begins with 24 bytes:
//    0  8  89 52 53 52 0D 0A 1A 0A: "\x89RSR\r\n\x1a\n", which no text file begins with and which a
//          transfer that changes line ends breaks
//    8  4  version of the format: 1
//   12  4  0
//   16  8  when the recording began, nanoseconds since 1970 in UTC, signed
// Then each packet:
//    0  4  70 63 6B 74: "pckt"
//    4  4  length of the packet, at most 65535
//    8  8  when it was received, nanoseconds since 1970 in UTC, signed
//   16  8  the same on a clock that nobody sets, nanoseconds from any instant, signed
//   24  4  the sender's IPv4 address, in the order in which it is written
//   28  2  the sender's port
//   30  2  the port at which it arrived
//   32     the packet
#ifndef RIGSYNC_RECORD_PACKET_LOG_H
#define RIGSYNC_RECORD_PACKET_LOG_H

#include "rigsync/system/udp_receiver.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace rigsync {

// Whether a file begins as a packet log does, whatever its version. False for one that can't be
// read.
bool Is_Packet_Log(const std::filesystem::path& File);

class Packet_Log_Writer {
 public:
  // Creates the file, or empties it. Throws std::runtime_error with the file and the reason when it
  // can't be written.
  Packet_Log_Writer(std::filesystem::path Log_File, std::int64_t Start_Utc_Ns);

  // Appends packets and hands them to the system, so that they stay if the process ends. Throws
  // std::runtime_error with the file and the reason, "No space left on device"; the file then ends
  // after the last packet that was written whole, and takes no more.
  void Append(const std::vector<Udp_Packet>& Packets);

  std::uint64_t Size() const { return Whole_Size; }  // bytes

 private:
  void Write(const std::string& Bytes);

  std::filesystem::path File;
  std::ofstream Stream;
  std::uint64_t Whole_Size = 0;
};

class Packet_Log_Reader {
 public:
  // Throws Usage_Error, which names TAKE and the file, for a file that can't be opened, that is no
  // packet log or that has a version other than 1.
  explicit Packet_Log_Reader(const std::filesystem::path& Log_File);

  // False at the end. A packet that is cut off, and anything that is no packet, is the end; Damage
  // then tells.
  bool Next(Udp_Packet& Packet);

  std::int64_t Start_Utc_Ns() const { return Start_Ns; }

  // What was left out at the end, as a sentence; empty for a file that ends as it should.
  const std::string& Damage() const { return Damage_Text; }

 private:
  bool Read(std::size_t Count, std::string& Bytes);
  bool End_Here(const std::string& Why);

  std::ifstream Stream;
  std::string Header;
  std::string Damage_Text;
  std::int64_t Start_Ns = 0;
  std::uint64_t Position = 0, Packet_Count = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_PACKET_LOG_H
