// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/live_state.h"

#include "tests/rigsync/support/tracker_packets.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

constexpr std::int64_t Start_Ns = 5'000'000'000;
constexpr std::int64_t Millisecond = 1'000'000;

// Feeds bodies at 100 samples a second and looks ten times a second.
class Stage {
 public:
  // Bodies 1 to Count for this long; each moves by Speed.
  void Run(double Seconds, int Count, double Speed_Mm = 0) {
    for (int i = 0; i < 100 * Seconds; ++i) {
      At_Ms += 10;
      X_Mm += Speed_Mm / 100;
      for (int Id = 1; Id <= Count; ++Id) Feed(Freed_Message({Id, 0, 0, 0, X_Mm, 0, 0}));
      if (At_Ms % 100 == 0) Look();
    }
  }
  void Feed(const std::string& Bytes) {
    Udp_Packet Packet;
    Packet.Steady_Ns = Start_Ns + At_Ms * Millisecond;
    Packet.Local_Port = 6301;
    Packet.Bytes = Bytes;
    State.Feed(Packet);
  }
  const Live_View& Look() { return View = State.Look(Start_Ns + At_Ms * Millisecond); }

  Live_State State{Start_Ns};
  Live_View View;
  std::int64_t At_Ms = 0;
  double X_Mm = 1000;  // at 0, with all else 0, a body is lost
};

TEST(LiveState, TellsEachBodyWithItsRate) {
  Stage Of;
  Of.Run(3, 2);
  ASSERT_EQ(Of.View.Bodies.size(), 2U);
  EXPECT_EQ(Of.View.Bodies[1].Name, "freed-2");
  EXPECT_NEAR(Of.View.Bodies[1].Rate_Hz, 100, 1e-9);
  EXPECT_NEAR(Of.View.Bodies[1].Mean_Rate_Hz, 100, 1e-9);
  EXPECT_EQ(Of.View.Bodies[1].Samples, 300U);
  EXPECT_EQ(Of.View.Counts.Packets, 600U);
  EXPECT_NEAR(Of.View.Seconds, 3.0, 1e-9);
}

TEST(LiveState, AsksForAPictureWhenEverythingHasStoodStillForAMoment) {
  Stage Of;
  Of.Run(2, 1, /*Speed_Mm=*/100);
  EXPECT_EQ(Of.View.Bodies[0].State, Motion::Moving);
  EXPECT_FALSE(Of.View.Is_Picture_Time);
  Of.Run(0.5, 1);
  EXPECT_FALSE(Of.View.Is_Picture_Time);
  Of.Run(1.0, 1);  // 0.6 s to be judged still, and 0.5 s more
  EXPECT_EQ(Of.View.Bodies[0].State, Motion::Still);
  EXPECT_TRUE(Of.View.Is_Picture_Time);
  EXPECT_EQ(Of.View.Holds, 1U);
}

TEST(LiveState, CountsHoldsAndNotLooks) {
  Stage Of;
  for (int i = 0; i < 3; ++i) {
    Of.Run(1, 1, /*Speed_Mm=*/100);
    Of.Run(3, 1);
  }
  EXPECT_EQ(Of.View.Holds, 3U);
}

TEST(LiveState, OneBodyThatMovesIsNoTimeForAPicture) {
  Stage Of;
  for (int i = 0; i < 300; ++i) {
    Of.At_Ms += 10;
    Of.Feed(Freed_Message({1, 0, 0, 0, 1000, 0, 0}));
    Of.Feed(Freed_Message({2, 0, 0, 0, 1000.0 + i, 0, 0}));
    Of.Look();
    ASSERT_FALSE(Of.View.Is_Picture_Time);
  }
  EXPECT_EQ(Of.View.Bodies[0].State, Motion::Still);
}

TEST(LiveState, ABodyThatIsSilentIsToldAndIsNoTimeForAPicture) {
  Stage Of;
  Of.Run(2, 2);
  EXPECT_TRUE(Of.View.Is_Picture_Time);
  Of.Run(2, 1);
  EXPECT_FALSE(Of.View.Bodies[0].Is_Silent);
  EXPECT_TRUE(Of.View.Bodies[1].Is_Silent);
  EXPECT_EQ(Of.View.Bodies[1].Rate_Hz, 0);
  EXPECT_FALSE(Of.View.Is_Picture_Time);
}

TEST(LiveState, ABodyWhoseSlotsAreAllZeroIsLostAndIsNoTimeForAPicture) {
  Stage Of;
  Of.Run(2, 1);
  EXPECT_TRUE(Of.View.Bodies[0].Is_Tracked);
  EXPECT_TRUE(Of.View.Is_Picture_Time);
  Of.X_Mm = 0;
  Of.Run(2, 1);
  EXPECT_FALSE(Of.View.Bodies[0].Is_Tracked);
  EXPECT_FALSE(Of.View.Is_Picture_Time);
}

TEST(LiveState, APacketWithAWrongChecksumIsCountedAndNoSample) {
  Stage Of;
  Of.Run(1, 1);
  std::string Wrong = Freed_Message({2, 0, 0, 0, 1000, 0, 0});
  Wrong.back() = static_cast<char>(Wrong.back() ^ 1);
  Of.Feed(Wrong);
  Of.Look();
  EXPECT_EQ(Of.View.Counts.Bad_Checksums, 1U);
  EXPECT_EQ(Of.View.Counts.Packets, 101U);
  EXPECT_EQ(Of.View.Bodies.size(), 1U);
}

TEST(LiveState, CountsGaps) {
  Stage Of;
  Of.Run(1, 1);
  Of.At_Ms += 300;
  Of.Run(1, 1);
  EXPECT_EQ(Of.View.Bodies[0].Gaps, 1U);
  EXPECT_NEAR(Of.View.Bodies[0].Longest_Gap_Seconds, 0.31, 1e-9);
}

}  // namespace
}  // namespace rigsync
