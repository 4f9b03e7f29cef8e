// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/opentrackio_packet.h"

#include "rigsync/record/bytes.h"

#include <algorithm>
#include <utility>

namespace rigsync {
namespace {

constexpr std::string_view Identifier = "OTrk";
constexpr std::size_t Header_Size = 16, Checksum_Offset = 14;

// Segments of whole samples that are remembered, to know one that comes again.
constexpr std::size_t Remembered = 128;

std::uint16_t After(std::uint16_t Sequence, std::size_t Steps) {
  return static_cast<std::uint16_t>(Sequence + Steps);
}

}  // namespace

Ipv4_Address Opentrackio_Group(int Source_Number) {
  return {239, 135, 1, static_cast<std::uint8_t>(Source_Number)};
}

bool Begins_Like_Opentrackio(std::string_view Datagram) {
  return Datagram.substr(0, Identifier.size()) == Identifier;
}

std::uint16_t Opentrackio_Checksum(std::string_view Datagram, std::size_t Payload_Length) {
  std::uint8_t Sum = 0, Sum_Of_Sums = 0;
  const auto Add = [&](std::string_view Bytes) {
    for (std::size_t i = 0; i < Bytes.size(); ++i) {
      Sum = static_cast<std::uint8_t>(Sum + Byte_At(Bytes, i));
      Sum_Of_Sums = static_cast<std::uint8_t>(Sum_Of_Sums + Sum);
    }
  };
  Add(Datagram.substr(0, Checksum_Offset));
  Add(Datagram.substr(Header_Size, Payload_Length));
  return static_cast<std::uint16_t>(Sum_Of_Sums << 8U | Sum);
}

std::optional<Opentrackio_Segment> Read_Opentrackio_Segment(std::string_view Datagram) {
  constexpr std::uint64_t Last_Bit = 0x8000;
  if (!Begins_Like_Opentrackio(Datagram) || Datagram.size() < Header_Size) return std::nullopt;
  const std::uint64_t Length_Field = Big_Endian(Datagram, 12, 2);
  const auto Length = static_cast<std::size_t>(Length_Field & ~Last_Bit);
  if (Datagram.size() - Header_Size < Length) return std::nullopt;
  Opentrackio_Segment Segment;
  Segment.Encoding = Byte_At(Datagram, 5);
  Segment.Sequence = static_cast<std::uint16_t>(Big_Endian(Datagram, 6, 2));
  Segment.Offset = static_cast<std::size_t>(Big_Endian(Datagram, 8, 4));
  Segment.Is_Last = (Length_Field & Last_Bit) != 0;
  Segment.Checksum = static_cast<std::uint16_t>(Big_Endian(Datagram, Checksum_Offset, 2));
  Segment.Is_Checksum_Good = Segment.Checksum == Opentrackio_Checksum(Datagram, Length);
  Segment.Payload = Datagram.substr(Header_Size, Length);
  return Segment;
}

std::optional<Opentrackio_Payload> Segment_Assembler::Add(const Opentrackio_Segment& Segment,
                                                          const Udp_Packet& From) {
  ++Arrivals;
  Give_Up_Old();
  // Most samples fit in a packet. Whether one of these comes again is seen by its sample.
  if (Segment.Offset == 0 && Segment.Is_Last) {
    return Opentrackio_Payload{Segment.Encoding, Segment.Sequence, From.Utc_Ns, From.Steady_Ns,
                               std::string(Segment.Payload)};
  }
  if (Is_Doubled(Segment)) {
    ++Doubled_Count;
    return std::nullopt;
  }
  // An empty segment leads nowhere, and one that ends beyond the largest sample never fits.
  const std::size_t End = Segment.Offset + Segment.Payload.size();
  if (Segment.Payload.empty() || Segment.Offset > Largest_Sample || End > Largest_Sample) {
    ++Dropped_Count;
    return std::nullopt;
  }
  List.push_back({Segment, std::string(Segment.Payload), From.Utc_Ns, From.Steady_Ns, Arrivals});
  List.back().Segment.Payload = {};  // of a datagram that goes
  List_Bytes += List.back().Bytes.size();
  Give_Up_Old();
  const std::vector<const Waiting*> Chain = Chain_With(List.back());
  if (Chain.empty()) return std::nullopt;
  return Take(Chain);
}

const Segment_Assembler::Waiting* Segment_Assembler::Find(std::uint16_t Sequence,
                                                          std::size_t Offset, int Encoding) const {
  const auto Found = std::find_if(List.begin(), List.end(), [&](const Waiting& One) {
    return One.Segment.Sequence == Sequence && One.Segment.Offset == Offset &&
           One.Segment.Encoding == Encoding;
  });
  return Found == List.end() ? nullptr : &*Found;
}

bool Segment_Assembler::Is_Doubled(const Opentrackio_Segment& Segment) const {
  const std::pair<std::uint16_t, std::uint16_t> Key(Segment.Sequence, Segment.Checksum);
  return std::find(Taken.begin(), Taken.end(), Key) != Taken.end() ||
         Find(Segment.Sequence, Segment.Offset, Segment.Encoding) != nullptr;
}

// All segments of the sample that One belongs to, or none while one is missing. The first segment
// is looked for by going back from One; each step takes a segment with a lower offset, so it ends.
std::vector<const Segment_Assembler::Waiting*> Segment_Assembler::Chain_With(
    const Waiting& One) const {
  const Waiting* First = &One;
  while (First->Segment.Offset > 0) {
    const auto Before = std::find_if(List.begin(), List.end(), [&](const Waiting& Other) {
      return After(Other.Segment.Sequence, 1) == First->Segment.Sequence &&
             Other.Segment.Encoding == First->Segment.Encoding && !Other.Segment.Is_Last &&
             Other.Segment.Offset + Other.Bytes.size() == First->Segment.Offset;
    });
    if (Before == List.end()) return {};
    First = &*Before;
  }
  std::vector<const Waiting*> Chain = {First};
  while (!Chain.back()->Segment.Is_Last) {
    const Waiting& Last = *Chain.back();
    const Waiting* const Next =
        Find(After(Last.Segment.Sequence, 1), Last.Segment.Offset + Last.Bytes.size(),
             Last.Segment.Encoding);
    if (Next == nullptr) return {};
    Chain.push_back(Next);
  }
  return Chain;
}

Opentrackio_Payload Segment_Assembler::Take(const std::vector<const Waiting*>& Chain) {
  Opentrackio_Payload Whole;
  Whole.Encoding = Chain.front()->Segment.Encoding;
  Whole.Sequence = Chain.front()->Segment.Sequence;
  const Waiting& Earliest = **std::min_element(
      Chain.begin(), Chain.end(),
      [](const Waiting* A, const Waiting* B) { return A->Arrival < B->Arrival; });
  Whole.Utc_Ns = Earliest.Utc_Ns;
  Whole.Steady_Ns = Earliest.Steady_Ns;
  std::vector<std::uint64_t> Arrived;
  for (const Waiting* const One : Chain) {
    Whole.Bytes += One->Bytes;
    Arrived.push_back(One->Arrival);
    Taken.emplace_back(One->Segment.Sequence, One->Segment.Checksum);
  }
  while (Taken.size() > Remembered) Taken.pop_front();
  const auto Is_Taken = [&](const Waiting& One) {
    return std::find(Arrived.begin(), Arrived.end(), One.Arrival) != Arrived.end();
  };
  List.erase(std::remove_if(List.begin(), List.end(), Is_Taken), List.end());
  List_Bytes -= Whole.Bytes.size();
  return Whole;
}

void Segment_Assembler::Give_Up_Old() {
  while (!List.empty() &&
         (List.front().Arrival + Longest_Wait < Arrivals || List_Bytes > Largest_Sample)) {
    List_Bytes -= List.front().Bytes.size();
    List.pop_front();
    ++Dropped_Count;
  }
}

}  // namespace rigsync
