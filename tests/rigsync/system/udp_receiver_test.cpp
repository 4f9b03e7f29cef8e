// SPDX-License-Identifier: Apache-2.0
//
// Packets over the loopback, on ports that the system chooses.
#include "rigsync/system/udp_receiver.h"

#include "rigsync/system/platform.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/child_limits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <system_error>
#include <thread>

namespace rigsync {
namespace {

constexpr Ipv4_Address Loopback = {127, 0, 0, 1};
constexpr double Long_Seconds = 10.0;  // far more than a packet takes
constexpr double Short_Seconds = 0.05;

// Everything that comes until Count packets are there or nothing comes any longer.
std::vector<Udp_Packet> Receive_All(Udp_Receiver& Receiver, std::size_t Count) {
  std::vector<Udp_Packet> All, Some;
  do {
    Receiver.Receive(Long_Seconds, Some);
    All.insert(All.end(), Some.begin(), Some.end());
  } while (!Some.empty() && All.size() < Count);
  return All;
}

TEST(UdpReceiver, TellsWhatWasSentByWhomAndWhen) {
  using namespace std::chrono;
  Udp_Receiver Receiver;
  const std::uint16_t Port = Receiver.Listen(Any_Address, 0);
  EXPECT_NE(Port, 0);
  const std::int64_t Before = nanoseconds(steady_clock::now().time_since_epoch()).count();
  const Udp_Sender Sender;
  Sender.Send("first", Port);
  Sender.Send(std::string("\0\xff", 2), Port);
  const auto Packets = Receive_All(Receiver, 2);
  const std::int64_t After = nanoseconds(steady_clock::now().time_since_epoch()).count();
  ASSERT_EQ(Packets.size(), 2U);
  EXPECT_EQ(Packets[0].Bytes, "first");
  EXPECT_EQ(Packets[1].Bytes, std::string("\0\xff", 2));
  EXPECT_EQ(Packets[0].Sender, Loopback);
  EXPECT_NE(Packets[0].Sender_Port, 0);
  EXPECT_EQ(Packets[0].Sender_Port, Packets[1].Sender_Port);
  EXPECT_EQ(Packets[0].Local_Port, Port);
  EXPECT_LE(Before, Packets[0].Steady_Ns);
  EXPECT_LE(Packets[0].Steady_Ns, Packets[1].Steady_Ns);
  EXPECT_LE(Packets[1].Steady_Ns, After);
}

TEST(UdpReceiver, ListensOnSeveralPorts) {
  Udp_Receiver Receiver;
  const std::uint16_t First = Receiver.Listen(Loopback, 0), Second = Receiver.Listen(Loopback, 0);
  const Udp_Sender Sender;
  Sender.Send("b", Second);
  Sender.Send("a", First);
  auto Packets = Receive_All(Receiver, 2);
  ASSERT_EQ(Packets.size(), 2U);
  std::sort(Packets.begin(), Packets.end(),
            [](const Udp_Packet& A, const Udp_Packet& B) { return A.Bytes < B.Bytes; });
  EXPECT_EQ(Packets[0].Local_Port, First);
  EXPECT_EQ(Packets[1].Local_Port, Second);
}

TEST(UdpReceiver, TakesPacketsOfAnySize) {
  Udp_Receiver Receiver;
  const std::uint16_t Port = Receiver.Listen(Loopback, 0);
  const Udp_Sender Sender;
  Sender.Send("", Port);
  Sender.Send(std::string(65507, 'x'), Port);
  const auto Packets = Receive_All(Receiver, 2);
  ASSERT_EQ(Packets.size(), 2U);
  EXPECT_EQ(Packets[0].Bytes, "");
  EXPECT_EQ(Packets[1].Bytes, std::string(65507, 'x'));
}

TEST(UdpReceiver, KeepsPacketsThatCameWhileNobodyWaited) {
  Udp_Receiver Receiver;
  const std::uint16_t Port = Receiver.Listen(Loopback, 0);
  const Udp_Sender Sender;
  // Fewer bytes than any system's smallest buffer holds.
  for (int i = 0; i < 100; ++i) Sender.Send(std::to_string(i), Port);
  const auto Packets = Receive_All(Receiver, 100);
  ASSERT_EQ(Packets.size(), 100U);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(Packets[i].Bytes, std::to_string(i));
}

TEST(UdpReceiver, ReturnsWithNothingWhenTheTimeIsOver) {
  Udp_Receiver Receiver;
  Receiver.Listen(Loopback, 0);
  std::vector<Udp_Packet> Packets(3);
  const auto Start = std::chrono::steady_clock::now();
  Receiver.Receive(Short_Seconds, Packets);
  EXPECT_TRUE(Packets.empty());
  EXPECT_LT(std::chrono::steady_clock::now() - Start, std::chrono::seconds(5));
}

TEST(UdpReceiver, ReturnsWhenAStopIsAskedFor) {
  Reset_Signals();
  const Stop_Request Stop;
  Udp_Receiver Receiver;
  Receiver.Listen(Loopback, 0);
  const pthread_t Main = pthread_self();
  std::thread Interrupt([Main] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    pthread_kill(Main, SIGINT);
  });
  std::vector<Udp_Packet> Packets;
  const auto Start = std::chrono::steady_clock::now();
  Receiver.Receive(60.0, Packets);
  Interrupt.join();
  EXPECT_LT(std::chrono::steady_clock::now() - Start, std::chrono::seconds(30));
  EXPECT_FALSE(Stop.Wait(0.0));
}

TEST(UdpReceiver, APortOfAnotherProgramIsToldAndNotShared) {
  Udp_Receiver First, Second;
  const std::uint16_t Port = First.Listen(Loopback, 0);
  try {
    Second.Listen(Loopback, Port);
    ADD_FAILURE() << "both listen on port " << Port;
  } catch (const std::system_error& Error) {
    EXPECT_EQ(Error.code(), std::errc::address_in_use);
  }
}

TEST(UdpReceiver, AnAddressOfAnotherMachineIsRefused) {
  Udp_Receiver Receiver;
  EXPECT_THROW(Receiver.Listen({192, 0, 2, 1}, 0), std::system_error);  // documentation's own
}

// Each receiver that joined a group gets what is sent to it, and nothing of other groups.
TEST(UdpReceiver, JoinsGroupsAndSharesTheirPort) {
  if (!Has_Multicast()) GTEST_SKIP() << "no multicast on the loopback here";
  constexpr Ipv4_Address Group_7 = {239, 135, 1, 7}, Group_8 = {239, 135, 1, 8};
  Udp_Receiver First, Second;
  const std::uint16_t Port = First.Join({Group_7, Group_8}, 0, Loopback);
  Second.Join({Group_8}, Port, Loopback);
  const Udp_Sender Sender;
  Sender.Send("seven", Port, "239.135.1.7");
  Sender.Send("eight", Port, "239.135.1.8");
  const auto Of_First = Receive_All(First, 2), Of_Second = Receive_All(Second, 1);
  ASSERT_EQ(Of_First.size(), 2U);
  EXPECT_EQ(Of_First[0].Bytes, "seven");
  EXPECT_EQ(Of_First[1].Bytes, "eight");
  ASSERT_EQ(Of_Second.size(), 1U);
  EXPECT_EQ(Of_Second[0].Bytes, "eight");
  std::vector<Udp_Packet> More;
  Second.Receive(Short_Seconds, More);
  EXPECT_TRUE(More.empty());
}

TEST(Ipv4, ReadsAndWritesAddresses) {
  EXPECT_EQ(Ipv4_Text({192, 168, 1, 20}), "192.168.1.20");
  EXPECT_EQ(Read_Ipv4("192.168.1.20"), (Ipv4_Address{192, 168, 1, 20}));
  EXPECT_EQ(Read_Ipv4("255.255.255.255"), (Ipv4_Address{255, 255, 255, 255}));
  for (const char* const Text : {"", "1.2.3", "1.2.3.", "1.2.3.4.", "1.2.3.4.5", "256.0.0.1",
                                 "-1.0.0.0", "1.2.3.x", " 1.2.3.4", "1,2,3,4", "stage"}) {
    EXPECT_FALSE(Read_Ipv4(Text)) << Text;
  }
}

}  // namespace
}  // namespace rigsync
