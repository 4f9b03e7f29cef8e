// SPDX-License-Identifier: Apache-2.0
//
// Packets of any kind to samples of bodies, for the live line and for reading a recording alike.
#ifndef RIGSYNC_RECORD_STREAM_DECODER_H
#define RIGSYNC_RECORD_STREAM_DECODER_H

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/record/axis_map.h"
#include "rigsync/record/freed.h"
#include "rigsync/record/opentrackio.h"
#include "rigsync/record/opentrackio_packet.h"
#include "rigsync/system/udp_receiver.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace rigsync {

enum class Stream_Format { Freed, Opentrackio };

// "FreeD", "OpenTrackIO"
const char* Stream_Format_Name(Stream_Format Format);

// What tells one body from another.
struct Stream_Body {
  Stream_Format Format = Stream_Format::Freed;
  // The camera ID of FreeD, the source number of OpenTrackIO. A sender that states no source number
  // is known by its port.
  std::optional<std::int64_t> Id;
  std::uint16_t Port = 0;  // at which it arrives
  Ipv4_Address Sender{};

  bool operator==(const Stream_Body& Other) const {
    return Format == Other.Format && Id == Other.Id && Port == Other.Port && Sender == Other.Sender;
  }
};

// One name for each body, as short as they allow: "freed-1", "freed-1-6301" where that ID came on
// several ports, "freed-1-192.168.1.20" where several senders use it on one port.
std::vector<std::string> Body_Names(const std::vector<Stream_Body>& Bodies);

// Whether a body can be called this: a short name is that of several bodies.
bool Is_Called(const Stream_Body& Body, const std::string& Name);

// The map of a body: that of its longest name that Maps has.
Axis_Map Map_Of(const Axis_Maps& Maps, const Stream_Body& Body);

struct Stream_Sample {
  std::size_t Body = 0;                    // its place in Stream_Decoder::Bodies()
  std::int64_t Utc_Ns = 0, Steady_Ns = 0;  // when it, or the first of its packets, was received
  bool Is_Tracked = true;
  Tracker_Sample Sample;
  // Came after a later one, by the sequence numbers of OpenTrackIO.
  bool Is_Late = false;
  // The rest is OpenTrackIO's.
  std::optional<std::int64_t> Stamp_Ns;
  std::optional<double> Timecode_Seconds, Rate_Hz;
  std::string Status;
  bool Has_Scale = false;
};

struct Stream_Counts {
  std::size_t Packets = 0;        // all that came
  std::size_t Bad_Checksums = 0;  // messages of FreeD, packets of OpenTrackIO; read all the same
                                  // with Ignores_Checksums
  std::size_t Unknown = 0;        // neither of the two, or of a body beyond Most_Bodies
  std::size_t Unreadable = 0;     // samples of OpenTrackIO in no form that is known
  std::size_t Doubled = 0;        // messages, segments and samples that came again
  std::size_t Unfinished = 0;     // segments of samples that never became whole
};

class Stream_Decoder {
 public:
  // More are no stage but noise on a port.
  static constexpr std::size_t Most_Bodies = 64;

  explicit Stream_Decoder(bool Does_Ignore_Checksums = false, Axis_Maps Maps = {});

  // Calls Take for each sample that the packet makes known. Packets come in the order of receipt.
  using Taker = std::function<void(const Stream_Sample&)>;
  void Feed(const Udp_Packet& Packet, const Taker& Take);

  // In the order in which they first came.
  const std::vector<Stream_Body>& Bodies() const { return Known_Bodies; }

  // With what is still waiting for segments as unfinished.
  Stream_Counts Counts() const;

 private:
  // What is remembered of a body to know packets that come again or late.
  struct Memory {
    Axis_Map Map;
    std::string Last_Message;  // FreeD
    std::int64_t Last_Steady_Ns = 0;
    // OpenTrackIO: the newest sequence number, which of those before it have come (bit i: Newest -
    // i) and what their samples were.
    bool Has_Sequence = false;
    std::uint16_t Newest = 0;
    std::uint64_t Seen = 0;
    std::array<std::size_t, 64> Hashes{};
  };
  struct Sender_Segments {
    Segment_Assembler Assembler;
    std::size_t Last_Packet = 0;
  };
  enum class Order { New, Late, Again };

  void Feed_Freed(const Udp_Packet& Packet, const Taker& Take);
  void Feed_Message(const Udp_Packet& Packet, std::string_view Message, const Taker& Take);
  void Feed_Opentrackio(const Udp_Packet& Packet, const Taker& Take);
  void Feed_Payload(const Udp_Packet& Packet, const Opentrackio_Payload& Payload,
                    const Taker& Take);
  bool Is_Checksum_Accepted(bool Is_Good);
  std::optional<std::size_t> Index_Of(const Stream_Body& Body);
  Segment_Assembler& Assembler_Of(const Udp_Packet& Packet);
  static Order Order_Of(const Opentrackio_Payload& Payload, Memory& Body);

  bool Ignores_Checksums;
  Axis_Maps Maps_By_Body;
  std::vector<Stream_Body> Known_Bodies;
  std::vector<Memory> Memories;  // of each body
  // By address and port of the sender, and the port here.
  std::map<std::tuple<Ipv4_Address, std::uint16_t, std::uint16_t>, Sender_Segments> Assemblers;
  Stream_Counts Counted;
};

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_STREAM_DECODER_H
