// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/freed.h"

#include "tests/rigsync/support/tracker_packets.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

// Packets of camera heads, from public code.
const std::string First_Head =
    From_Hex("d1 00 df78aa 0047ef 000000 000000 000000 000000 004000 001501 d1ff 12");
const std::string Second_Head =
    From_Hex("d1 00 2198d8 ffeb94 000000 000000 000000 000000 0028c6 0013b9 d1ff d6");

constexpr double Seven_Decimals = 0.5e-7;
constexpr double Rounding = 1e-12;

// A direction of the body in Base.
Eigen::Vector3d In_Base(const Freed_Numbers& Of, const Eigen::Vector3d& Direction_Body) {
  const Freed_Packet Packet = Decode_Freed(Freed_Message(Of));
  return Sample_Rotation_Body_Base(Freed_Sample(Packet.Slots)).conjugate() * Direction_Body;
}

const Eigen::Vector3d Right(1, 0, 0), Forward(0, 1, 0), Up(0, 0, 1);

TEST(Freed, ReadsThePacketsOfTwoHeads) {
  const Freed_Packet First = Decode_Freed(First_Head);
  EXPECT_EQ(First.Camera_Id, 0);
  EXPECT_NEAR(First.Slots.Angles_Deg[0], -65.0573120, Seven_Decimals);
  EXPECT_NEAR(First.Slots.Angles_Deg[1], 0.5619812, Seven_Decimals);
  EXPECT_EQ(First.Slots.Angles_Deg[2], 0.0);
  EXPECT_EQ(First.Zoom, 16384U);
  EXPECT_EQ(First.Focus, 5377U);
  EXPECT_EQ(First.Spare, 0xD1FFU);
  const Freed_Packet Second = Decode_Freed(Second_Head);
  EXPECT_NEAR(Second.Slots.Angles_Deg[0], 67.1940918, Seven_Decimals);
  EXPECT_NEAR(Second.Slots.Angles_Deg[1], -0.1595459, Seven_Decimals);
  EXPECT_EQ(Second.Zoom, 10438U);
  EXPECT_EQ(Second.Focus, 5049U);
}

TEST(Freed, TheChecksumOfBothHeadsIsGoodAndThatOfAnyOtherByteIsNot) {
  EXPECT_TRUE(Is_Freed_Checksum_Good(First_Head));
  EXPECT_TRUE(Is_Freed_Checksum_Good(Second_Head));
  for (std::size_t i = 1; i < First_Head.size(); ++i) {
    std::string Changed = First_Head;
    Changed[i] = static_cast<char>(Changed[i] ^ 0x10);
    EXPECT_FALSE(Is_Freed_Checksum_Good(Changed)) << "byte " << i;
  }
  // As some devices have it: the sum of all bytes, or its negative.
  int Sum = 0;
  for (std::size_t i = 0; i < 28; ++i) Sum += static_cast<unsigned char>(First_Head[i]);
  for (const int Other : {Sum, -Sum}) {
    std::string Changed = First_Head;
    Changed[28] = static_cast<char>(Other & 0xFF);
    EXPECT_FALSE(Is_Freed_Checksum_Good(Changed));
  }
}

TEST(Freed, AnglesAndLengthsReachTheEndsOfTheirRange) {
  const std::string Least =
      From_Hex("d1 07 a60000 5a0000 800000 800000 7fffff 000001") + std::string(9, '\0');
  const Freed_Packet Packet = Decode_Freed(Least);
  EXPECT_EQ(Packet.Camera_Id, 7);
  EXPECT_EQ(Packet.Slots.Angles_Deg, (std::array<double, 3>{-180.0, 180.0, -256.0}));
  EXPECT_EQ(Packet.Slots.Position[0], -131.072);               // 2^23 / 64 mm
  EXPECT_EQ(Packet.Slots.Position[1], 131.072 - 0.000015625);  // a 64th of a millimetre less
  EXPECT_EQ(Packet.Slots.Position[2], 0.000015625);
}

TEST(Freed, PositivePanLooksToTheRight) {
  EXPECT_TRUE(In_Base({}, Forward).isApprox(Forward, Rounding));
  EXPECT_TRUE(In_Base({1, 90, 0, 0}, Forward).isApprox(Right, Rounding));
}

TEST(Freed, PositiveTiltLooksUp) {
  EXPECT_TRUE(In_Base({1, 0, 90, 0}, Forward).isApprox(Up, Rounding));
}

TEST(Freed, PositiveRollLowersTheRightSide) {
  EXPECT_TRUE(In_Base({1, 0, 0, 90}, Right).isApprox(-Up, Rounding));
}

// Panned to the right by 90, the camera tilts about -Y: 30 degrees up along +X. Rolled by 90 then,
// its right side points at what was its down: sin 30 along X, -cos 30 along Z.
TEST(Freed, RollsAboutTheDirectionOfTheView) {
  const double Sine = 0.5, Cosine = std::sqrt(0.75);
  EXPECT_TRUE(In_Base({1, 90, 30, 90}, Forward).isApprox(Eigen::Vector3d(Cosine, 0, Sine), 1e-9));
  EXPECT_TRUE(In_Base({1, 90, 30, 90}, Right).isApprox(Eigen::Vector3d(Sine, 0, -Cosine), 1e-9));
}

TEST(Freed, PositionsAreMetresInTheOrderOfThePacket) {
  const Freed_Packet Packet = Decode_Freed(Freed_Message({1, 0, 0, 0, 1500, -250.5, 3.25}));
  EXPECT_EQ(Freed_Sample(Packet.Slots).Position, (std::array<double, 3>{1.5, -0.2505, 0.00325}));
}

TEST(Freed, ADatagramMayHoldSeveralMessagesButNothingElse) {
  EXPECT_TRUE(Is_Freed(First_Head));
  EXPECT_TRUE(Is_Freed(First_Head + Second_Head));
  EXPECT_FALSE(Is_Freed(""));
  EXPECT_FALSE(Is_Freed(First_Head + "x"));
  EXPECT_FALSE(Is_Freed(First_Head.substr(0, 28)));
  EXPECT_FALSE(Is_Freed(First_Head + From_Hex("d0") + Second_Head.substr(1)));
}

}  // namespace
}  // namespace rigsync
