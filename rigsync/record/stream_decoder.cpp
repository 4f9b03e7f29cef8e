// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/stream_decoder.h"

#include "rigsync/record/bytes.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace rigsync {
namespace {

// A message of FreeD has no number. One that comes again, to the bit, sooner than any tracker sends
// the next was doubled on the way.
constexpr std::int64_t Doubled_Within_Ns = 1'000'000;

// Sequence numbers that are remembered. One further from the newest, or after a silence, is that of
// a sender that was started again.
constexpr unsigned Remembered = 64;
constexpr std::int64_t Silence_Ns = 1'000'000'000;

std::string Base_Name(const Stream_Body& Body) {
  const char* const Format = Body.Format == Stream_Format::Freed ? "freed" : "opentrackio";
  return Body.Id ? fmt::format("{}-{}", Format, *Body.Id) : fmt::format("{}-{}", Format, Body.Port);
}

std::string With_Port(const Stream_Body& Body) {
  return fmt::format("{}-{}", Base_Name(Body), Body.Port);
}

std::string With_Sender(const Stream_Body& Body) {
  return fmt::format("{}-{}", Base_Name(Body), Ipv4_Text(Body.Sender));
}

std::string With_Both(const Stream_Body& Body) {
  return fmt::format("{}-{}", With_Port(Body), Ipv4_Text(Body.Sender));
}

}  // namespace

const char* Stream_Format_Name(Stream_Format Format) {
  return Format == Stream_Format::Freed ? "FreeD" : "OpenTrackIO";
}

std::vector<std::string> Body_Names(const std::vector<Stream_Body>& Bodies) {
  std::vector<std::string> Names;
  for (const Stream_Body& Body : Bodies) {
    bool Has_Other_Port = false, Has_Other_Sender = false;
    for (const Stream_Body& Other : Bodies) {
      if (Other == Body || Base_Name(Other) != Base_Name(Body)) continue;
      Has_Other_Port = Has_Other_Port || Other.Port != Body.Port;
      Has_Other_Sender = Has_Other_Sender || Other.Port == Body.Port;
    }
    Names.push_back(Has_Other_Port && Has_Other_Sender ? With_Both(Body)
                    : Has_Other_Port                   ? With_Port(Body)
                    : Has_Other_Sender                 ? With_Sender(Body)
                                                       : Base_Name(Body));
  }
  return Names;
}

bool Is_Called(const Stream_Body& Body, const std::string& Name) {
  return Name == Base_Name(Body) || Name == With_Port(Body) || Name == With_Sender(Body) ||
         Name == With_Both(Body);
}

Axis_Map Map_Of(const Axis_Maps& Maps, const Stream_Body& Body) {
  for (const std::string& Name : {With_Both(Body), With_Sender(Body), With_Port(Body)}) {
    if (Maps.count(Name) > 0) return Maps.at(Name);
  }
  return Map_Of(Maps, Base_Name(Body));
}

Stream_Decoder::Stream_Decoder(bool Does_Ignore_Checksums, Axis_Maps Maps)
    : Ignores_Checksums(Does_Ignore_Checksums), Maps_By_Body(std::move(Maps)) {}

void Stream_Decoder::Feed(const Udp_Packet& Packet, const Taker& Take) {
  ++Counted.Packets;
  if (Is_Freed(Packet.Bytes)) return Feed_Freed(Packet, Take);
  if (Begins_Like_Opentrackio(Packet.Bytes)) return Feed_Opentrackio(Packet, Take);
  ++Counted.Unknown;
}

Stream_Counts Stream_Decoder::Counts() const {
  Stream_Counts All = Counted;
  for (const auto& [Sender, Of] : Assemblers) {
    All.Unfinished += Of.Assembler.Dropped() + Of.Assembler.Waiting_Count();
    All.Doubled += Of.Assembler.Doubled();
  }
  return All;
}

bool Stream_Decoder::Is_Checksum_Accepted(bool Is_Good) {
  if (!Is_Good) ++Counted.Bad_Checksums;
  return Is_Good || Ignores_Checksums;
}

std::optional<std::size_t> Stream_Decoder::Index_Of(const Stream_Body& Body) {
  const auto Found = std::find(Known_Bodies.begin(), Known_Bodies.end(), Body);
  if (Found != Known_Bodies.end()) return static_cast<std::size_t>(Found - Known_Bodies.begin());
  if (Known_Bodies.size() == Most_Bodies) return std::nullopt;
  Known_Bodies.push_back(Body);
  Memories.emplace_back();
  Memories.back().Map = Map_Of(Maps_By_Body, Body);
  return Known_Bodies.size() - 1;
}

void Stream_Decoder::Feed_Freed(const Udp_Packet& Packet, const Taker& Take) {
  const std::string_view All = Packet.Bytes;
  for (std::size_t i = 0; i < All.size(); i += Freed_Size) {
    const std::string_view Message = All.substr(i, Freed_Size);
    if (Is_Checksum_Accepted(Is_Freed_Checksum_Good(Message))) Feed_Message(Packet, Message, Take);
  }
}

void Stream_Decoder::Feed_Message(const Udp_Packet& Packet, std::string_view Message,
                                  const Taker& Take) {
  const Freed_Packet Decoded = Decode_Freed(Message);
  const std::optional<std::size_t> Index =
      Index_Of({Stream_Format::Freed, Decoded.Camera_Id, Packet.Local_Port, Packet.Sender});
  if (!Index) {
    ++Counted.Unknown;
    return;
  }
  Memory& Body = Memories[*Index];
  const bool Is_Doubled =
      Body.Last_Message == Message &&
      Nanoseconds_Between(Body.Last_Steady_Ns, Packet.Steady_Ns) < Doubled_Within_Ns;
  Body.Last_Message = Message;
  Body.Last_Steady_Ns = Packet.Steady_Ns;
  if (Is_Doubled) {
    ++Counted.Doubled;
    return;
  }
  Stream_Sample Sample;
  Sample.Body = *Index;
  Sample.Utc_Ns = Packet.Utc_Ns;
  Sample.Steady_Ns = Packet.Steady_Ns;
  Sample.Is_Tracked = !Is_Freed_Lost(Decoded);
  Sample.Sample = Freed_Sample(Mapped(Decoded.Slots, Body.Map));
  Take(Sample);
}

void Stream_Decoder::Feed_Opentrackio(const Udp_Packet& Packet, const Taker& Take) {
  const std::optional<Opentrackio_Segment> Segment = Read_Opentrackio_Segment(Packet.Bytes);
  if (!Segment) {
    ++Counted.Unknown;
    return;
  }
  if (!Is_Checksum_Accepted(Segment->Is_Checksum_Good)) return;
  const std::optional<Opentrackio_Payload> Payload = Assembler_Of(Packet).Add(*Segment, Packet);
  if (Payload) Feed_Payload(Packet, *Payload, Take);
}

// Of too many senders the one that was silent longest is forgotten: some open a new port for each
// packet.
Segment_Assembler& Stream_Decoder::Assembler_Of(const Udp_Packet& Packet) {
  const std::tuple Sender(Packet.Sender, Packet.Sender_Port, Packet.Local_Port);
  if (Assemblers.count(Sender) == 0 && Assemblers.size() == Most_Bodies) {
    const auto Oldest = std::min_element(
        Assemblers.begin(), Assemblers.end(),
        [](const auto& A, const auto& B) { return A.second.Last_Packet < B.second.Last_Packet; });
    const Segment_Assembler& Gone = Oldest->second.Assembler;
    Counted.Unfinished += Gone.Dropped() + Gone.Waiting_Count();
    Counted.Doubled += Gone.Doubled();
    Assemblers.erase(Oldest);
  }
  Sender_Segments& Of = Assemblers[Sender];
  Of.Last_Packet = Counted.Packets;
  return Of.Assembler;
}

void Stream_Decoder::Feed_Payload(const Udp_Packet& Packet, const Opentrackio_Payload& Payload,
                                  const Taker& Take) {
  const std::optional<Opentrackio_Sample> Decoded =
      Decode_Opentrackio(Payload.Encoding, Payload.Bytes);
  if (!Decoded) {
    ++Counted.Unreadable;
    return;
  }
  const std::optional<std::size_t> Index = Index_Of(
      {Stream_Format::Opentrackio, Decoded->Source_Number, Packet.Local_Port, Packet.Sender});
  if (!Index) {
    ++Counted.Unknown;
    return;
  }
  Memory& Body = Memories[*Index];
  const Order Comes = Order_Of(Payload, Body);
  if (Comes == Order::Again) {
    ++Counted.Doubled;
    return;
  }
  Stream_Sample Sample;
  Sample.Body = *Index;
  Sample.Utc_Ns = Payload.Utc_Ns;
  Sample.Steady_Ns = Payload.Steady_Ns;
  Sample.Is_Tracked = !Decoded->Transforms.empty();
  Sample.Sample = Opentrackio_Pose(Decoded->Transforms, Body.Map);
  Sample.Is_Late = Comes == Order::Late;
  Sample.Stamp_Ns = Decoded->Stamp_Ns;
  Sample.Timecode_Seconds = Decoded->Timecode_Seconds;
  Sample.Rate_Hz = Decoded->Rate_Hz;
  Sample.Status = Decoded->Status;
  Sample.Has_Scale = Decoded->Has_Scale;
  Take(Sample);
}

// A sample comes again when both its number and its bytes do: there are senders that don't count.
Stream_Decoder::Order Stream_Decoder::Order_Of(const Opentrackio_Payload& Payload, Memory& Body) {
  if (Nanoseconds_Between(Body.Last_Steady_Ns, Payload.Steady_Ns) > Silence_Ns) {
    Body.Has_Sequence = false;
  }
  Body.Last_Steady_Ns = Payload.Steady_Ns;
  const std::size_t Hash = std::hash<std::string>()(Payload.Bytes);
  std::size_t& Hash_There = Body.Hashes[Payload.Sequence % Remembered];
  const bool Is_Same = Hash_There == Hash;
  Hash_There = Hash;
  const auto Ahead = static_cast<std::uint16_t>(Payload.Sequence - Body.Newest);
  const auto Behind = static_cast<std::uint16_t>(Body.Newest - Payload.Sequence);
  if (Body.Has_Sequence && Behind < Remembered) {
    const std::uint64_t Bit = std::uint64_t{1} << Behind;
    const bool Has_Come = (Body.Seen & Bit) != 0;
    Body.Seen |= Bit;
    if (!Has_Come) return Order::Late;
    return Is_Same ? Order::Again : Order::New;
  }
  const bool Is_Near = Body.Has_Sequence && Ahead < Remembered;
  Body.Seen = (Is_Near ? Body.Seen << Ahead : 0) | 1U;
  Body.Newest = Payload.Sequence;
  Body.Has_Sequence = true;
  return Order::New;
}

}  // namespace rigsync
