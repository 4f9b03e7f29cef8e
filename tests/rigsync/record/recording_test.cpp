// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/recording.h"

#include "rigsync/record/packet_log.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::int64_t Millisecond = 1'000'000;
constexpr std::int64_t Receipt_Start = 77'000'000'000;         // of the steady clock
constexpr std::int64_t Utc_Start = 1'763'806'893'000'000'000;  // 2025-11-22 10:21:33
constexpr double Times_Exact = 1e-9;

// A recording that is being made up.
class Tape {
 public:
  // Received at this time on the steady clock.
  Tape& Add(std::int64_t At_Ms, const std::string& Bytes, std::uint16_t Port = 6301,
            Ipv4_Address Sender = {192, 168, 1, 20}) {
    Udp_Packet Packet;
    Packet.Steady_Ns = Receipt_Start + At_Ms * Millisecond;
    Packet.Utc_Ns = Utc_Start + At_Ms * Millisecond;
    Packet.Sender = Sender;
    Packet.Local_Port = Port;
    Packet.Bytes = Bytes;
    Packets.push_back(Packet);
    return *this;
  }

  Take Read(const Recording_Options& Options = {}) const {
    const Scratch_Folder Scratch;
    const fs::path File = Scratch.Path() / "take.rsr";
    {
      Packet_Log_Writer Log(File, Utc_Start);
      Log.Append(Packets);
    }
    return Read_Recording(File, Options);
  }

  std::string Refusal(const Recording_Options& Options = {}) const {
    try {
      Read(Options);
    } catch (const Usage_Error& Error) {
      return Error.what();
    }
    return {};
  }

  std::vector<Udp_Packet> Packets;
};

std::string Message(int Camera_Id, double X_Mm) {
  return Freed_Message({Camera_Id, 0, 0, 0, X_Mm, 0, 0});
}

// A sample of OpenTrackIO at X metres. Stamp_Ms below 0 is none.
struct Json_Numbers {
  int Source = 1;
  double X = 0;
  std::int64_t Stamp_Ms = -1;
  std::string Status = "Optical Good", Timecode = std::string();
  bool Has_Transform = true;
};

std::string Json_Sample(const Json_Numbers& Of) {
  std::string Text = R"({"sourceNumber":)" + std::to_string(Of.Source) +
                     R"(,"tracker":{"status":")" + Of.Status + R"("},"timing":{"mode":"internal")";
  if (Of.Stamp_Ms >= 0) {
    Text += R"(,"sampleTimestamp":{"seconds":)" + std::to_string(Of.Stamp_Ms / 1000) +
            R"(,"nanoseconds":)" + std::to_string(Of.Stamp_Ms % 1000 * Millisecond) + "}";
  }
  if (!Of.Timecode.empty()) Text += R"(,"timecode":)" + Of.Timecode;
  Text += "}";
  if (Of.Has_Transform) {
    Text += R"(,"transforms":[{"translation":{"x":)" + std::to_string(Of.X) +
            R"(,"y":0,"z":0},"rotation":{"pan":0,"tilt":0,"roll":0}}])";
  }
  return Text + "}";
}

std::string Packet_Of(unsigned Sequence, const Json_Numbers& Of) {
  return Opentrackio_Packet(1, Sequence, 0, true, Json_Sample(Of));
}

std::string Timecode_At(std::int64_t Ms) {
  const std::int64_t Seconds = Ms / 1000;
  return R"({"hours":)" + std::to_string(Seconds / 3600 % 24) + R"(,"minutes":)" +
         std::to_string(Seconds / 60 % 60) + R"(,"seconds":)" + std::to_string(Seconds % 60) +
         R"(,"frames":)" + std::to_string(Ms % 1000 / 40) + R"(,"frameRate":{"num":25,"denom":1}})";
}

std::vector<std::string> Names_Of(const Take& Of) {
  std::vector<std::string> Names;
  for (const Body_Track& Body : Of.Bodies) Names.push_back(Body.Name);
  return Names;
}

std::vector<double> Positions(const Body_Track& Body) {
  std::vector<double> All;
  for (const Timed_Sample& Sample : Body.Samples) All.push_back(Sample.Sample.Position[0]);
  return All;
}

std::vector<double> Times(const Body_Track& Body) {
  std::vector<double> All;
  for (const Timed_Sample& Sample : Body.Samples) All.push_back(Sample.Seconds);
  return All;
}

std::string Fact(const Take& Of, const std::string& Name) {
  for (const auto& [Key, Text] : Of.Facts) {
    if (Key == Name) return Text;
  }
  return {};
}

// ---- FreeD -------------------------------------------------------------------------------------

TEST(Recording, FreedIsBodiesByCameraIdAtTheTimesOfReceipt) {
  Tape Of;
  Of.Add(0, Message(1, 1000)).Add(5, Message(2, 0)).Add(10, Message(1, 1250));
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Format, "recording of FreeD");
  EXPECT_THAT(Names_Of(Read), ElementsAre("freed-1", "freed-2"));
  EXPECT_THAT(Positions(Read.Bodies[0]), ElementsAre(1.0, 1.25));
  EXPECT_THAT(Times(Read.Bodies[0]), ElementsAre(0.0, testing::DoubleNear(0.010, Times_Exact)));
  EXPECT_THAT(Times(Read.Bodies[1]), ElementsAre(testing::DoubleNear(0.005, Times_Exact)));
  EXPECT_TRUE(Read.Bodies[0].Samples[0].Is_Tracked);
  EXPECT_EQ(Fact(Read, "clock"), "the times of receipt");
  EXPECT_EQ(Fact(Read, "recorded"), "2025-11-22 10:21:33 UTC");
  EXPECT_EQ(Fact(Read, "freed-1"), "FreeD, camera ID 1, port 6301, from 192.168.1.20: 2 samples");
  EXPECT_FALSE(Read.Timecode_Start);
  EXPECT_THAT(Read.Warnings, IsEmpty());
}

// What devices send that have lost their target. A head at rest at the origin has an angle or a
// height of some units.
TEST(Recording, FreedWhoseSlotsAreAllZeroIsALostSample) {
  const Take Read = Tape()
                        .Add(0, Freed_Message({1, 0, 0, 0, 0, 0, 0}))
                        .Add(10, Freed_Message({1, 0, 0, 0, 0, 0, 1.0 / 64}))
                        .Add(20, Freed_Message({1, 0, 1.0 / 32768, 0, 0, 0, 0}))
                        .Read();
  ASSERT_EQ(Read.Bodies.size(), 1U);
  const auto& Samples = Read.Bodies[0].Samples;
  ASSERT_EQ(Samples.size(), 3U);
  EXPECT_FALSE(Samples[0].Is_Tracked);
  EXPECT_TRUE(Samples[1].Is_Tracked);
  EXPECT_TRUE(Samples[2].Is_Tracked);
}

// What the axes are called does not change what was sent: 0 and -0 are lost alike.
TEST(Recording, FreedWhoseSlotsAreAllZeroIsALostSampleWithAnyAxes) {
  Recording_Options Options;
  Options.Axes = Parse_Axis_Maps("--axes", "pan=-pan,x=-y,y=x");
  const Take Read = Tape()
                        .Add(0, Freed_Message({1, 0, 0, 0, 0, 0, 0}))
                        .Add(10, Freed_Message({1, 0, 0, 0, 0, 0, 5}))
                        .Read(Options);
  EXPECT_FALSE(Read.Bodies[0].Samples[0].Is_Tracked);
  EXPECT_TRUE(Read.Bodies[0].Samples[1].Is_Tracked);
}

TEST(Recording, AnIdOnTwoPortsIsTwoBodies) {
  Tape Of;
  Of.Add(0, Message(1, 1), 6301).Add(1, Message(1, 2), 6302).Add(2, Message(2, 3), 6302);
  EXPECT_THAT(Names_Of(Of.Read()), ElementsAre("freed-1-6301", "freed-1-6302", "freed-2"));
}

TEST(Recording, AnIdOfTwoSendersOnOnePortIsTwoBodies) {
  Tape Of;
  Of.Add(0, Message(1, 1)).Add(1, Message(1, 2), 6301, {192, 168, 1, 21});
  EXPECT_THAT(Names_Of(Of.Read()), ElementsAre("freed-1-192.168.1.20", "freed-1-192.168.1.21"));
}

TEST(Recording, MessagesOfADatagramAreAllRead) {
  Tape Of;
  Of.Add(0, Message(1, 1000) + Message(2, 2000));
  const Take Read = Of.Read();
  EXPECT_THAT(Positions(Read.Bodies.at(1)), ElementsAre(2.0));
}

TEST(Recording, AWrongChecksumIsLeftOutAndCountedUnlessItIsIgnored) {
  std::string Wrong = Message(1, 2000);
  Wrong.back() = static_cast<char>(Wrong.back() ^ 1);
  Tape Of;
  Of.Add(0, Message(1, 1000)).Add(10, Wrong);
  const Take Read = Of.Read();
  EXPECT_THAT(Positions(Read.Bodies[0]), ElementsAre(1.0));
  EXPECT_THAT(Read.Warnings, ElementsAre(AllOf(StartsWith("1 packet with a wrong checksum"),
                                               HasSubstr("--ignore-checksum"))));
  Recording_Options Options;
  Options.Ignores_Checksums = true;
  EXPECT_THAT(Positions(Of.Read(Options).Bodies[0]), ElementsAre(1.0, 2.0));
}

TEST(Recording, OfWrongChecksumsAloneIsRefusedWithTheFlag) {
  std::string Wrong = Message(1, 2000);
  Wrong.back() = static_cast<char>(Wrong.back() ^ 1);
  Tape Of;
  Of.Add(0, Wrong).Add(10, Wrong);
  EXPECT_THAT(Of.Refusal(), AllOf(StartsWith("TAKE: "), HasSubstr("2 of 2 packets"),
                                  HasSubstr("--ignore-checksum")));
}

TEST(Recording, ADoubledMessageIsOneAndAStillBodyIsMany) {
  Tape Of;
  for (int i = 0; i < 5; ++i) {
    Of.Add(10 * i, Message(1, 1000)).Add(10 * i, Message(1, 1000));
  }
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 5U);
  EXPECT_THAT(Read.Warnings, ElementsAre(StartsWith("5 packets left out that repeat another")));
}

TEST(Recording, OfTwoMessagesAtOneTimeTheFirstIsKept) {
  Tape Of;
  Of.Add(0, Message(1, 1000) + Message(1, 2000)).Add(10, Message(1, 3000));
  const Take Read = Of.Read();
  EXPECT_THAT(Positions(Read.Bodies[0]), ElementsAre(1.0, 3.0));
  EXPECT_THAT(Read.Warnings, ElementsAre(HasSubstr("freed-1: 1 sample left out")));
}

TEST(Recording, GapsAreToldWithTheLongest) {
  Tape Of;
  for (int i = 0; i < 100; ++i) {
    if ((i >= 40 && i < 45) || (i >= 60 && i < 82)) continue;
    Of.Add(10 * i, Message(1, i));
  }
  EXPECT_THAT(Of.Read().Warnings, ElementsAre("freed-1: 2 gaps, the longest 0.23 s"));
}

TEST(Recording, UnknownPacketsAreCountedAndNothingElse) {
  Tape Of;
  Of.Add(0, Message(1, 1)).Add(1, "hello").Add(2, "").Add(3, "OTrk").Add(4, std::string(29, 'x'));
  EXPECT_THAT(Of.Read().Warnings, ElementsAre(StartsWith("4 packets left out that are neither")));
}

TEST(Recording, AnAxisMapIsThatOfTheNamedBody) {
  Tape Of;
  Of.Add(0, Freed_Message({1, 0, 0, 0, 1000, 2000, 3000}), 6301);
  Of.Add(1, Freed_Message({1, 0, 0, 0, 1000, 2000, 3000}), 6302);
  Recording_Options Options;
  Options.Axes = Parse_Axis_Maps("--axes", "freed-1:x=-y,y=x;freed-1-6302:z=-z");
  const Take Read = Of.Read(Options);
  EXPECT_EQ(Read.Bodies[0].Samples[0].Sample.Position, (std::array<double, 3>{-2, 1, 3}));
  EXPECT_EQ(Read.Bodies[1].Samples[0].Sample.Position, (std::array<double, 3>{1, 2, -3}));
  EXPECT_EQ(Fact(Read, "axes of freed-1-6301"), "x=-y,y=x");
  EXPECT_EQ(Read.Bodies[0].Labels, Body_Labels::Right_Forward_Up);  // what the slots mean is said
}

TEST(Recording, AnAxisMapOfABodyThatIsNotThereIsRefusedWithThoseThatAre) {
  Tape Of;
  Of.Add(0, Message(1, 0)).Add(1, Message(2, 0));
  Recording_Options Options;
  Options.Axes = Parse_Axis_Maps("--axes", "freed-3:x=-x");
  EXPECT_THAT(Of.Refusal(Options),
              AllOf(StartsWith("--axes: "), HasSubstr("'freed-3'"), HasSubstr("freed-1, freed-2")));
}

// ---- OpenTrackIO -------------------------------------------------------------------------------

TEST(Recording, OpentrackioHasTheTimesOfItsStamps) {
  Tape Of;
  // Stamps 20 ms apart, received with another delay each time.
  const unsigned Delays[] = {3, 9, 1, 4};
  for (unsigned i = 0; i < 4; ++i) {
    Of.Add(20 * i + Delays[i], Packet_Of(i, {2, 0.5 * i, 5000 + 20 * i}), 55555);
  }
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Format, "recording of OpenTrackIO");
  EXPECT_THAT(Names_Of(Read), ElementsAre("opentrackio-2"));
  EXPECT_THAT(Times(Read.Bodies[0]),
              testing::Pointwise(testing::DoubleNear(Times_Exact), {0.0, 0.02, 0.04, 0.06}));
  EXPECT_EQ(Fact(Read, "clock"), "the sample timestamps of OpenTrackIO");
  EXPECT_EQ(Read.Bodies[0].Labels, Body_Labels::Right_Forward_Up);
  EXPECT_THAT(Read.Warnings, IsEmpty());
}

TEST(Recording, ALateSampleFindsItsPlaceByItsStamp) {
  Tape Of;
  for (const unsigned i : {0U, 2U, 1U, 3U}) {
    Of.Add(20 * i, Packet_Of(i, {1, 1.0 * i, 5000 + 20 * i}));
  }
  EXPECT_THAT(Positions(Of.Read().Bodies[0]), ElementsAre(0, 1, 2, 3));
}

TEST(Recording, ALateSampleWithoutAStampIsLeftOut) {
  Tape Of;
  int At_Ms = 0;
  for (const unsigned i : {0U, 2U, 1U, 3U}) Of.Add(At_Ms += 20, Packet_Of(i, {1, 1.0 * i}));
  const Take Read = Of.Read();
  EXPECT_THAT(Positions(Read.Bodies[0]), ElementsAre(0, 2, 3));
  EXPECT_THAT(Read.Warnings, ElementsAre(HasSubstr("opentrackio-1: 1 sample left out")));
}

TEST(Recording, ADoubledSampleIsOne) {
  Tape Of;
  for (unsigned i = 0; i < 4; ++i) {
    Of.Add(20 * i, Packet_Of(i, {1, 1.0 * i})).Add(20 * i + 5, Packet_Of(i, {1, 1.0 * i}));
  }
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 4U);
  EXPECT_THAT(Read.Warnings, ElementsAre(StartsWith("4 packets left out that repeat another")));
}

// A sender that gives every packet the number 0.
TEST(Recording, ASenderThatDoesNotCountIsRead) {
  Tape Of;
  for (unsigned i = 0; i < 4; ++i) Of.Add(20 * i, Packet_Of(0, {1, 1.0 * i}));
  EXPECT_THAT(Positions(Of.Read().Bodies[0]), ElementsAre(0, 1, 2, 3));
}

TEST(Recording, ASenderThatWasStartedAgainIsReadFromItsFirstSample) {
  Tape Of;
  for (unsigned i = 0; i < 10; ++i) Of.Add(20 * i, Packet_Of(i, {1, 1.0 * i}));
  for (unsigned i = 0; i < 10; ++i) Of.Add(5000 + 20 * i, Packet_Of(i, {1, 1.0 * i}));
  EXPECT_EQ(Of.Read().Bodies[0].Samples.size(), 20U);
}

TEST(Recording, SegmentsAreReadAndThoseOfALostOneCounted) {
  Tape Of;
  for (unsigned i = 0; i < 10; ++i) {
    std::vector<std::string> Packets =
        Opentrackio_Packets(1, 100 * i, Json_Sample({1, 1.0 * i, 1000 + 20 * i}), 50);
    if (i == 4) Packets.erase(Packets.begin() + 1);
    std::swap(Packets[0], Packets[2]);
    for (const std::string& Packet : Packets) Of.Add(20 * i, Packet);
  }
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 9U);
  EXPECT_THAT(Read.Warnings, ElementsAre(HasSubstr("the rest of the sample is missing")));
}

TEST(Recording, ASampleWithoutAStampGivesAllTheTimesOfReceipt) {
  Tape Of;
  Of.Add(3, Packet_Of(0, {1, 0, 5000})).Add(23, Packet_Of(1, {1, 0})).Add(44, Message(1, 0));
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Format, "recording of FreeD and OpenTrackIO");
  EXPECT_EQ(Fact(Read, "clock"), "the times of receipt");
  EXPECT_THAT(Times(Read.Bodies[0]),
              testing::Pointwise(testing::DoubleNear(Times_Exact), {0.0, 0.02}));
  EXPECT_THAT(Times(Read.Bodies[1]), testing::Pointwise(testing::DoubleNear(Times_Exact), {0.041}));
}

TEST(Recording, StampsThatStandStillAreNotUsed) {
  Tape Of;
  for (unsigned i = 0; i < 100; ++i) Of.Add(20 * i, Packet_Of(i, {1, 0, 5000}));
  const Take Read = Of.Read();
  EXPECT_EQ(Fact(Read, "clock"), "the times of receipt");
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 100U);
  EXPECT_THAT(Read.Warnings, ElementsAre(HasSubstr("don't go along with the times of receipt")));
}

TEST(Recording, StampsOfTwoClocksAreNotUsed) {
  Tape Of;
  for (unsigned i = 0; i < 20; ++i) {
    Of.Add(20 * i, Packet_Of(i, {1, 0, 5000 + 20 * i}), 55555);
    Of.Add(20 * i + 1, Packet_Of(i, {2, 0, 8000 + 20 * i}), 55555, {192, 168, 1, 21});
  }
  const Take Read = Of.Read();
  EXPECT_EQ(Fact(Read, "clock"), "the times of receipt");
  EXPECT_THAT(Read.Warnings,
              ElementsAre(AllOf(HasSubstr("3.0 s apart"), HasSubstr("not synchronised"))));
}

TEST(Recording, ABodyWithoutTransformsIsLost) {
  Tape Of;
  Of.Add(0, Packet_Of(0, {1, 1}));
  Of.Add(20, Packet_Of(1, {1, 1, -1, "Optical Good", "", false}));
  const Take Read = Of.Read();
  EXPECT_TRUE(Read.Bodies[0].Samples[0].Is_Tracked);
  EXPECT_FALSE(Read.Bodies[0].Samples[1].Is_Tracked);
}

TEST(Recording, AStatusMeansThatTheBodyIsLostOnlyWhereThatIsSaid) {
  Tape Of;
  Of.Add(0, Packet_Of(0, {1, 1})).Add(20, Packet_Of(1, {1, 1, -1, "Optical LOST"}));
  const Take Plain = Of.Read();
  EXPECT_TRUE(Plain.Bodies[0].Samples[1].Is_Tracked);
  EXPECT_THAT(Plain.Warnings,
              ElementsAre(AllOf(HasSubstr("'Optical LOST' 1 times"), HasSubstr("--lost-status"))));
  Recording_Options Options;
  Options.Lost_Statuses = {"lost"};
  const Take Told = Of.Read(Options);
  EXPECT_TRUE(Told.Bodies[0].Samples[0].Is_Tracked);
  EXPECT_FALSE(Told.Bodies[0].Samples[1].Is_Tracked);
  EXPECT_THAT(Told.Warnings, IsEmpty());
}

// 100 samples a second with a timecode of 25 frames a second, which counts whole frames. The first
// sample is taken at 10:21:33:07 and a half.
TEST(Recording, TimecodeIsThatOfTheFirstSampleToWithinASample) {
  Tape Of;
  const std::int64_t Start_Ms = (10 * 3600 + 21 * 60 + 33) * 1000 + 7 * 40 + 20;
  for (unsigned i = 0; i < 100; ++i) {
    Json_Numbers Sample = {1, 0, 5000 + 10 * i};
    Sample.Timecode = Timecode_At(Start_Ms + 10 * i);
    Of.Add(10 * i, Packet_Of(i, Sample));
  }
  const Take Read = Of.Read();
  ASSERT_TRUE(Read.Timecode_Start);
  EXPECT_NEAR(*Read.Timecode_Start, static_cast<double>(Start_Ms) / 1000, 1e-9);
}

TEST(Recording, TimecodeMayPassMidnight) {
  Tape Of;
  const std::int64_t Start_Ms = 24 * 3600 * 1000 - 200;
  for (unsigned i = 0; i < 20; ++i) {
    Json_Numbers Sample = {1, 0, 5000 + 40 * i};
    Sample.Timecode = Timecode_At(Start_Ms + 40 * i);
    Of.Add(40 * i, Packet_Of(i, Sample));
  }
  EXPECT_NEAR(Of.Read().Timecode_Start.value(), static_cast<double>(Start_Ms) / 1000, 1e-9);
}

TEST(Recording, ATimecodeThatStandsStillIsNotUsed) {
  Tape Of;
  for (unsigned i = 0; i < 100; ++i) {
    Json_Numbers Sample = {1, 0, 5000 + 10 * i};
    Sample.Timecode = Timecode_At(0);
    Of.Add(10 * i, Packet_Of(i, Sample));
  }
  const Take Read = Of.Read();
  EXPECT_FALSE(Read.Timecode_Start);
  EXPECT_THAT(Read.Warnings, ElementsAre(HasSubstr("timecode does not run")));
}

TEST(Recording, WithoutAnySampleIsRefusedWithWhatThereWas) {
  Tape Of;
  EXPECT_THAT(Of.Refusal(), HasSubstr("holds no packet"));
  Of.Add(0, "hello").Add(1, Opentrackio_Packet(1, 0, 0, true, "{"));
  EXPECT_THAT(Of.Refusal(), AllOf(HasSubstr("2 packets"), HasSubstr("1 unknown"),
                                  HasSubstr("1 of OpenTrackIO that can't be read")));
}

TEST(Recording, NoiseOnAPortDoesNotGrowTheListOfBodiesWithoutEnd) {
  Tape Of;
  for (int i = 0; i < 256; ++i) Of.Add(i, Message(i, 0));
  const Take Read = Of.Read();
  EXPECT_EQ(Read.Bodies.size(), 64U);
  EXPECT_THAT(Read.Warnings, ElementsAre(StartsWith("192 packets left out")));
}

TEST(Recording, TimesOfADamagedFileEndNothing) {
  Tape Of;
  for (int i = 0; i < 4; ++i) Of.Add(i, Message(1, i));
  Of.Packets[1].Steady_Ns = std::numeric_limits<std::int64_t>::max();
  Of.Packets[2].Steady_Ns = std::numeric_limits<std::int64_t>::min();
  const std::vector<double> Read = Times(Of.Read().Bodies[0]);
  for (std::size_t i = 1; i < Read.size(); ++i) EXPECT_LT(Read[i - 1], Read[i]);
}

}  // namespace
}  // namespace rigsync
