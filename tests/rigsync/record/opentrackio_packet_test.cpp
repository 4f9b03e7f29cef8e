// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/opentrackio_packet.h"

#include "tests/rigsync/support/tracker_packets.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace rigsync {
namespace {

const std::string Text = "The quick brown fox jumps over the lazy dog, and so on.";  // 55 bytes
constexpr std::size_t Piece = 10;                                                    // 6 packets

// Feeds packets in this order; packet i is received at second i. Returns what became whole.
class Feeder {
 public:
  void Feed(const std::string& Bytes) {
    Udp_Packet Packet;
    Packet.Steady_Ns = ++Fed * 1'000'000'000;
    Packet.Bytes = Bytes;
    const auto Segment = Read_Opentrackio_Segment(Packet.Bytes);
    ASSERT_TRUE(Segment);
    if (auto Payload = Assembler.Add(*Segment, Packet)) Whole.push_back(std::move(*Payload));
  }
  void Feed(const std::vector<std::string>& Packets) {
    for (const std::string& Packet : Packets) Feed(Packet);
  }

  Segment_Assembler Assembler;
  std::vector<Opentrackio_Payload> Whole;
  std::int64_t Fed = 0;
};

std::vector<std::string> Sample(unsigned First_Sequence, const std::string& Of = Text) {
  return Opentrackio_Packets(1, First_Sequence, Of, Piece);
}

// By hand: two bytes 01 02 in a packet of sequence 3. The bytes before the checksum are
// 4F 54 72 6B 00 02 00 03 00 00 00 00 80 02, which add up to 207 hex, with the payload to 20A.
TEST(OpentrackioPacket, ReadsEachFieldOfTheHeader) {
  const std::string Packet = From_Hex("4f54726b 00 02 0003 00000000 8002 c20a 0102");
  const auto Segment = Read_Opentrackio_Segment(Packet);
  ASSERT_TRUE(Segment);
  EXPECT_EQ(Segment->Encoding, 2);
  EXPECT_EQ(Segment->Sequence, 3);
  EXPECT_EQ(Segment->Offset, 0U);
  EXPECT_TRUE(Segment->Is_Last);
  EXPECT_EQ(Segment->Checksum, 0xC20A);
  EXPECT_TRUE(Segment->Is_Checksum_Good);
  EXPECT_EQ(Segment->Payload, From_Hex("0102"));
  const auto Middle = Read_Opentrackio_Segment(Opentrackio_Packet(1, 65535, 70000, false, "abc"));
  EXPECT_EQ(Middle->Sequence, 65535);
  EXPECT_EQ(Middle->Offset, 70000U);
  EXPECT_FALSE(Middle->Is_Last);
  EXPECT_TRUE(Middle->Is_Checksum_Good);
}

TEST(OpentrackioPacket, TheChecksumHasSumsModulo256) {
  // 300 bytes of FF: the sums differ from those modulo 255.
  const std::string Packet = Opentrackio_Packet(1, 0, 0, true, std::string(300, '\xff'));
  EXPECT_TRUE(Read_Opentrackio_Segment(Packet)->Is_Checksum_Good);
  for (std::size_t i = 4; i < Packet.size(); i += 7) {
    std::string Changed = Packet;
    Changed[i] = static_cast<char>(Changed[i] ^ 1);
    const auto Segment = Read_Opentrackio_Segment(Changed);
    EXPECT_FALSE(Segment && Segment->Is_Checksum_Good) << "byte " << i;
  }
}

TEST(OpentrackioPacket, IsNoneWhenItIsShorterThanItStates) {
  const std::string Packet = Opentrackio_Packet(1, 0, 0, true, "abcdef");
  EXPECT_TRUE(Read_Opentrackio_Segment(Packet));
  EXPECT_TRUE(Read_Opentrackio_Segment(Packet + "trailing"));
  for (std::size_t Size = 0; Size < Packet.size(); ++Size) {
    EXPECT_FALSE(Read_Opentrackio_Segment(Packet.substr(0, Size))) << Size;
  }
  EXPECT_FALSE(Read_Opentrackio_Segment("OTrX" + Packet.substr(4)));
}

TEST(SegmentAssembler, PutsSegmentsTogether) {
  Feeder Of;
  Of.Feed(Sample(7));
  ASSERT_EQ(Of.Whole.size(), 1U);
  EXPECT_EQ(Of.Whole[0].Bytes, Text);
  EXPECT_EQ(Of.Whole[0].Sequence, 7);
  EXPECT_EQ(Of.Whole[0].Steady_Ns, 1'000'000'000);
  EXPECT_EQ(Of.Assembler.Waiting_Count(), 0U);
}

TEST(SegmentAssembler, TakesSegmentsInAnyOrder) {
  std::vector<std::string> Packets = Sample(65533);  // the numbers start again within the sample
  std::sort(Packets.begin(), Packets.end());
  do {
    Feeder Of;
    Of.Feed(Packets);
    ASSERT_EQ(Of.Whole.size(), 1U);
    ASSERT_EQ(Of.Whole[0].Bytes, Text);
    ASSERT_EQ(Of.Whole[0].Sequence, 65533);
  } while (std::next_permutation(Packets.begin(), Packets.end()));
}

TEST(SegmentAssembler, KeepsTwoSamplesApartWhoseSegmentsAreMixed) {
  const std::string Other = "Another text whose length is the same as that of the fox";
  const auto First = Sample(0), Second = Sample(6, Other.substr(0, Text.size()));
  Feeder Of;
  for (std::size_t i = 0; i < First.size(); ++i) {
    Of.Feed(Second[i]);
    Of.Feed(First[i]);
  }
  ASSERT_EQ(Of.Whole.size(), 2U);
  EXPECT_EQ(Of.Whole[0].Bytes, Other.substr(0, Text.size()));
  EXPECT_EQ(Of.Whole[1].Bytes, Text);
}

TEST(SegmentAssembler, DropsTheSampleOfALostSegmentAndNoOther) {
  for (std::size_t Lost = 0; Lost < 6; ++Lost) {
    SCOPED_TRACE(Lost);
    Feeder Of;
    for (unsigned i = 0; i < 20; ++i) {
      std::vector<std::string> Packets = Sample(6 * i);
      if (i == 3) Packets.erase(Packets.begin() + static_cast<std::ptrdiff_t>(Lost));
      Of.Feed(Packets);
    }
    EXPECT_EQ(Of.Whole.size(), 19U);
    EXPECT_EQ(Of.Assembler.Dropped() + Of.Assembler.Waiting_Count(), 5U);
  }
}

TEST(SegmentAssembler, KnowsASegmentThatComesAgain) {
  Feeder Of;
  for (unsigned i = 0; i < 20; ++i) {
    for (const std::string& Packet : Sample(6 * i)) {
      Of.Feed(Packet);
      Of.Feed(Packet);
    }
  }
  EXPECT_EQ(Of.Whole.size(), 20U);
  EXPECT_EQ(Of.Assembler.Doubled(), 120U);
  EXPECT_EQ(Of.Assembler.Dropped() + Of.Assembler.Waiting_Count(), 0U);
}

TEST(SegmentAssembler, DoesNotJoinSegmentsOfDifferentEncodings) {
  auto Packets = Sample(0);
  Packets[2] = Opentrackio_Packet(2, 2, 20, false, Text.substr(20, Piece));
  Feeder Of;
  Of.Feed(Packets);
  EXPECT_TRUE(Of.Whole.empty());
}

TEST(SegmentAssembler, KeepsABoundedAmountWhateverIsSent) {
  const std::string Full(32767, 'x');
  Feeder Of;
  for (unsigned i = 0; i < 500; ++i) {
    // Offsets that never meet, at the end of 32 bits, and beyond the largest sample.
    const std::size_t Offsets[] = {0, 5, 0xFFFFFFFF, Segment_Assembler::Largest_Sample};
    Of.Feed(Opentrackio_Packet(1, 3 * i, Offsets[i % 4], false, Full));
    EXPECT_LE(Of.Assembler.Waiting_Count() * Full.size(), Segment_Assembler::Largest_Sample);
  }
  Of.Feed(Opentrackio_Packet(1, 9, 4, true, ""));
  EXPECT_TRUE(Of.Whole.empty());
  EXPECT_EQ(Of.Assembler.Dropped() + Of.Assembler.Waiting_Count(), 501U);
  // And is none the worse for it.
  Of.Feed(Sample(30000));
  EXPECT_EQ(Of.Whole.size(), 1U);
}

}  // namespace
}  // namespace rigsync
