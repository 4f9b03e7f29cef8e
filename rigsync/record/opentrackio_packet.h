// SPDX-License-Identifier: Apache-2.0
//
// OpenTrackIO on the network: packets with a header of 16 bytes, big-endian, and samples that are
// cut into several of them.
//
//    0  4  4F 54 72 6B: "OTrk"
//    4  1  reserved
//    5  1  encoding: 1 JSON, 2 CBOR, 80 hex and above the maker's own
//    6  2  sequence number, one for each packet
//    8  4  offset of this segment in the sample
//   12  2  bit 15: this is the last segment; the other bits: length of the segment
//   14  2  checksum of the header before it and of the segment: Fletcher-16 with sums modulo 256
//   16     the segment
//
// By OpenTrackIO 1.0.1. Samples go to the multicast group 239.135.1.N of source number N, 1 to 200,
// port 55555, or to one receiver.
#ifndef RIGSYNC_RECORD_OPENTRACKIO_PACKET_H
#define RIGSYNC_RECORD_OPENTRACKIO_PACKET_H

#include "rigsync/system/udp_receiver.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace rigsync {

constexpr std::uint16_t Opentrackio_Port = 55555;
constexpr int Largest_Opentrackio_Source = 200;

// The multicast group of a source number.
Ipv4_Address Opentrackio_Group(int Source_Number);

struct Opentrackio_Segment {
  int Encoding = 0;
  std::uint16_t Sequence = 0;
  std::size_t Offset = 0;
  bool Is_Last = false, Is_Checksum_Good = false;
  std::uint16_t Checksum = 0;  // as the packet states it
  std::string_view Payload;    // of the datagram
};

bool Begins_Like_Opentrackio(std::string_view Datagram);

// Fletcher-16 as OpenTrackIO has it: both sums modulo 256.
std::uint16_t Opentrackio_Checksum(std::string_view Datagram, std::size_t Payload_Length);

// Nothing for a datagram that is not one of these or that is shorter than it states.
std::optional<Opentrackio_Segment> Read_Opentrackio_Segment(std::string_view Datagram);

struct Opentrackio_Payload {
  int Encoding = 0;
  std::uint16_t Sequence = 0;              // of its first segment
  std::int64_t Utc_Ns = 0, Steady_Ns = 0;  // when the first of its segments to arrive was received
  std::string Bytes;
};

// Puts the segments of one sender together. A sample is whole when its segments have consecutive
// sequence numbers, offsets that follow from their lengths, and one encoding. They may arrive in
// any order as long as no more than Longest_Wait packets come between. What is kept is bounded,
// whatever the packets state.
class Segment_Assembler {
 public:
  static constexpr std::size_t Longest_Wait = 64;         // packets
  static constexpr std::size_t Largest_Sample = 1 << 18;  // bytes, all that is kept

  // The sample that this segment makes whole, if it does.
  std::optional<Opentrackio_Payload> Add(const Opentrackio_Segment& Segment,
                                         const Udp_Packet& From);

  // Segments that wait for others, that waited too long, and that came again.
  std::size_t Waiting_Count() const { return List.size(); }
  std::size_t Dropped() const { return Dropped_Count; }
  std::size_t Doubled() const { return Doubled_Count; }

 private:
  struct Waiting {
    Opentrackio_Segment Segment;  // without its payload, which is in Bytes
    std::string Bytes;
    std::int64_t Utc_Ns = 0, Steady_Ns = 0;
    std::uint64_t Arrival = 0;
  };
  using Waiting_List = std::deque<Waiting>;  // by arrival

  const Waiting* Find(std::uint16_t Sequence, std::size_t Offset, int Encoding) const;
  bool Is_Doubled(const Opentrackio_Segment& Segment) const;
  std::vector<const Waiting*> Chain_With(const Waiting& One) const;
  Opentrackio_Payload Take(const std::vector<const Waiting*>& Chain);
  void Give_Up_Old();

  Waiting_List List;
  std::size_t List_Bytes = 0;
  std::deque<std::pair<std::uint16_t, std::uint16_t>> Taken;  // sequence and checksum
  std::uint64_t Arrivals = 0;
  std::size_t Dropped_Count = 0, Doubled_Count = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_OPENTRACKIO_PACKET_H
