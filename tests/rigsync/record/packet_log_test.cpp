// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/packet_log.h"

#include "rigsync/system/usage_error.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rigsync {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const std::vector<Udp_Packet> Packets = {
    {0x0102030405060708, -2, {192, 168, 1, 20}, 40000, 6301, "abc"},
    {0x0102030405060709, 7, {10, 0, 0, 1}, 1, 55555, ""},
    {0x010203040506070a, 8, {10, 0, 0, 1}, 1, 55555, std::string(65507, 'x')}};

// By the table in packet_log.h.
const std::string File_Head =
    From_Hex("89 52 53 52 0d 0a 1a 0a  01000000 00000000  15cd5b0700000000");  // 123456789 ns
const std::string First_Packet =
    From_Hex("70 63 6b 74  03000000  0807060504030201  feffffffffffffff  c0a80114  409c  9d18") +
    "abc";

std::vector<Udp_Packet> Read_All(Packet_Log_Reader& Log) {
  std::vector<Udp_Packet> All;
  for (Udp_Packet Packet; Log.Next(Packet);) All.push_back(Packet);
  return All;
}

fs::path Write_Log(const Scratch_Folder& Scratch) {
  const fs::path File = Scratch.Path() / "take.rsr";
  Packet_Log_Writer Log(File, 123456789);
  Log.Append(Packets);
  return File;
}

std::string Refusal(const fs::path& File) {
  try {
    Packet_Log_Reader Log(File);
  } catch (const Usage_Error& Error) {
    return Error.what();
  }
  return {};
}

TEST(PacketLog, HasTheBytesOfItsDescription) {
  const Scratch_Folder Scratch;
  const std::string Bytes = Read_Text(Write_Log(Scratch));
  EXPECT_EQ(Bytes.substr(0, 24), File_Head);
  EXPECT_EQ(Bytes.substr(24, 35), First_Packet);
  EXPECT_EQ(Bytes.size(), 24 + 3 * 32 + 3 + 65507U);
}

TEST(PacketLog, ReadsWhatWasWritten) {
  const Scratch_Folder Scratch;
  Packet_Log_Reader Log(Write_Log(Scratch));
  EXPECT_EQ(Log.Start_Utc_Ns(), 123456789);
  EXPECT_EQ(Read_All(Log), Packets);
  EXPECT_EQ(Log.Damage(), "");
}

// The length of a packet that UDP can have at most is 65,535 with its own header.
TEST(PacketLog, ALongerPacketThanAnyIsDamage) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "take.rsr";
  const Udp_Packet Longest = {1, 2, {10, 0, 0, 1}, 1, 6301, std::string(65535, 'x')};
  Packet_Log_Writer(File, 0).Append({Longest});
  Packet_Log_Reader Whole(File);
  EXPECT_EQ(Read_All(Whole), std::vector<Udp_Packet>{Longest});
  EXPECT_EQ(Whole.Damage(), "");
  std::string Bytes = Read_Text(File) + "x";
  Bytes.replace(24 + 4, 4, From_Hex("00000100"));
  Packet_Log_Reader Longer(Scratch.Write("longer.rsr", Bytes));
  EXPECT_TRUE(Read_All(Longer).empty());
  EXPECT_THAT(Longer.Damage(), StartsWith("the recording has no packet at byte 24"));
}

TEST(PacketLog, EachAppendedPacketIsInTheFileAtOnce) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "take.rsr";
  Packet_Log_Writer Log(File, 0);
  EXPECT_EQ(fs::file_size(File), 24U);
  Log.Append({Packets[0]});
  EXPECT_EQ(fs::file_size(File), 59U);
  EXPECT_EQ(Log.Size(), 59U);
}

TEST(PacketLog, ReadsUpToAPacketThatIsCutOffAndSaysSo) {
  const Scratch_Folder Scratch;
  const std::string Whole = File_Head + First_Packet + First_Packet;
  for (std::size_t Size = 24; Size < Whole.size(); ++Size) {
    SCOPED_TRACE(Size);
    Packet_Log_Reader Log(Scratch.Write("cut.rsr", Whole.substr(0, Size)));
    EXPECT_EQ(Read_All(Log).size(), Size < 59 ? 0U : 1U);
    if (Size == 24 || Size == 59) {
      EXPECT_EQ(Log.Damage(), "");
    } else {
      EXPECT_THAT(Log.Damage(), AllOf(HasSubstr("ends within a packet"),
                                      HasSubstr(Size < 59 ? "packet 0" : "packet 1")));
    }
  }
}

TEST(PacketLog, StopsWhereNoPacketBegins) {
  const Scratch_Folder Scratch;
  std::string Too_Long = First_Packet;
  Too_Long[6] = 1;  // 65536 + 3 bytes
  for (const std::string& Rest : {std::string(100, '\0'), Too_Long + std::string(70000, 'x')}) {
    Packet_Log_Reader Log(Scratch.Write("odd.rsr", File_Head + First_Packet + Rest));
    EXPECT_EQ(Read_All(Log).size(), 1U);
    EXPECT_THAT(Log.Damage(), AllOf(HasSubstr("no packet at byte 59"), HasSubstr("packet 1")));
  }
}

TEST(PacketLog, RefusesAnotherFileAndAnotherVersionByName) {
  const Scratch_Folder Scratch;
  const std::string Text = Scratch.Write("capture.csv", "image,x,y,z\n");
  const std::string Short = Scratch.Write("short.rsr", File_Head.substr(0, 23));
  std::string Newer_Head = File_Head;
  Newer_Head[8] = 2;
  const std::string Newer = Scratch.Write("newer.rsr", Newer_Head);
  EXPECT_THAT(Refusal(Text), AllOf(StartsWith("TAKE: " + Text), HasSubstr("not a recording")));
  EXPECT_THAT(Refusal(Short), AllOf(StartsWith("TAKE: " + Short), HasSubstr("not a recording")));
  EXPECT_THAT(Refusal(Newer), AllOf(StartsWith("TAKE: " + Newer), HasSubstr("version 2")));
  EXPECT_THAT(Refusal(Scratch.Path() / "none.rsr"), HasSubstr("No such file"));
  EXPECT_NE(Refusal(Scratch.Path()), "");
  EXPECT_FALSE(Is_Packet_Log(Text));
  EXPECT_FALSE(Is_Packet_Log(Scratch.Path() / "none.rsr"));
  EXPECT_TRUE(Is_Packet_Log(Newer));
}

TEST(PacketLog, ADiskThatIsFullIsToldWithItsReason) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
  try {
    Packet_Log_Writer Log("/dev/full", 0);
    ADD_FAILURE() << "nothing was noticed";
  } catch (const std::runtime_error& Error) {
    EXPECT_THAT(Error.what(), AllOf(StartsWith("/dev/full: "), HasSubstr("No space left")));
  }
  EXPECT_TRUE(fs::exists("/dev/full"));
}

// It would be in the way of the next recording, because no file is replaced.
TEST(PacketLog, AFileWithoutAWholeHeaderDoesNotStay) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "take.rsr";
  const File_Size_Limit Limit(10);
  EXPECT_THROW(Packet_Log_Writer(File, 0), std::runtime_error);
  EXPECT_FALSE(fs::exists(File));
}

}  // namespace
}  // namespace rigsync
