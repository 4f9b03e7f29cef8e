// SPDX-License-Identifier: Apache-2.0
//
// The packets of a simulated stream, byte by byte. The two FreeD packets are recordings of real
// heads.
#include "simulate/stream.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace simulate {
namespace {

std::string From_Hex(const std::string& Digits) {
  std::string Bytes;
  for (std::size_t i = 0; i + 1 < Digits.size(); i += 2) {
    Bytes.push_back(static_cast<char>(std::stoi(Digits.substr(i, 2), nullptr, 16)));
  }
  return Bytes;
}

unsigned Byte_At(const std::string& Bytes, std::size_t Index) {
  return static_cast<unsigned char>(Bytes.at(Index));
}

unsigned Number_At(const std::string& Bytes, std::size_t Index, int Count) {
  unsigned Value = 0;
  for (int i = 0; i < Count; ++i) {
    Value = Value << 8 | Byte_At(Bytes, Index + static_cast<std::size_t>(i));
  }
  return Value;
}

double Radians(double Degrees) {
  return Degrees * std::acos(-1.0) / 180.0;
}

Eigen::Matrix3d Turn(double Degrees, const Eigen::Vector3d& Axis) {
  return Eigen::AngleAxisd(Radians(Degrees), Axis).toRotationMatrix();
}

const Eigen::Vector3d X = Eigen::Vector3d::UnitX(), Y = Eigen::Vector3d::UnitY(),
                      Z = Eigen::Vector3d::UnitZ();

Sample Sample_With(const Eigen::Matrix3d& Rotation_Base_Body, const Eigen::Vector3d& Position) {
  Sample Reported;
  Reported.Position = Position;
  Reported.Rotation = Eigen::Quaterniond(Rotation_Base_Body).conjugate();
  return Reported;
}

TEST(Freed, PacketsOfRealHeadsAreMadeByteByByte) {
  Freed_Pose Left;
  Left.Camera_Id = 0;
  Left.Pan_Deg = -65.0573120;
  Left.Tilt_Deg = 0.5619812;
  Left.Zoom = 16384;
  Left.Focus = 5377;
  Left.User = 0xD1FF;
  EXPECT_EQ(Freed_Packet(Left),
            From_Hex("d100df78aa0047ef000000000000000000000000004000001501d1ff12"));
  Freed_Pose Right;
  Right.Camera_Id = 0;
  Right.Pan_Deg = 67.1940918;
  Right.Tilt_Deg = -0.1595459;
  Right.Zoom = 10438;
  Right.Focus = 5049;
  Right.User = 0xD1FF;
  EXPECT_EQ(Freed_Packet(Right),
            From_Hex("d1002198d8ffeb940000000000000000000000000028c60013b9d1ffd6"));
}

TEST(Freed, APositionIsIn64thsOfAMillimetre) {
  Freed_Pose Pose;
  Pose.Position = {1.0, -0.5, 0.25};
  const std::string Packet = Freed_Packet(Pose);
  ASSERT_EQ(Packet.size(), 29u);
  EXPECT_EQ(Number_At(Packet, 11, 3), 64000u);
  EXPECT_EQ(Number_At(Packet, 14, 3), 0x1000000u - 32000u);
  EXPECT_EQ(Number_At(Packet, 17, 3), 16000u);
}

TEST(Freed, APoseBeyond24BitsIsRefused) {
  Freed_Pose Pose;
  Pose.Position.x() = 131.1;
  EXPECT_THROW(Freed_Packet(Pose), std::range_error);
  Pose.Position.x() = std::nan("");
  EXPECT_THROW(Freed_Packet(Pose), std::range_error);
}

// The attitude is Rz(-pan) Rx(tilt) Ry(roll).
TEST(Freed, AnglesAreThoseOfTheBodysAttitude) {
  const Eigen::Matrix3d Rotation = Turn(-30, Z) * Turn(20, X) * Turn(-10, Y);
  const Freed_Pose Pose = Freed_Pose_Of(7, Sample_With(Rotation, {1, 2, 3}));
  EXPECT_EQ(Pose.Camera_Id, 7);
  EXPECT_NEAR(Pose.Pan_Deg, 30.0, 1e-12);
  EXPECT_NEAR(Pose.Tilt_Deg, 20.0, 1e-12);
  EXPECT_NEAR(Pose.Roll_Deg, -10.0, 1e-12);
  EXPECT_EQ(Pose.Position, Eigen::Vector3d(1, 2, 3));
}

TEST(Freed, ABodyThatLooksStraightUpHasItsPanFromItsSide) {
  const Freed_Pose Pose =
      Freed_Pose_Of(1, Sample_With(Turn(-40, Z) * Turn(90, X), Eigen::Vector3d::Zero()));
  EXPECT_NEAR(Pose.Pan_Deg, 40.0, 1e-12);
  EXPECT_NEAR(Pose.Tilt_Deg, 90.0, 1e-12);
}

TEST(Opentrackio, AHeaderSaysWhatFollows) {
  std::uint16_t Sequence = 65535;
  Opentrackio_Settings Settings;
  Settings.Segment_Bytes = 100;
  const std::vector<std::string> Packets =
      Opentrackio_Packets(Settings, 2, 10.5, Sample_With(Turn(0, Z), {1, 2, 3}), Sequence);
  ASSERT_GT(Packets.size(), 2u);
  std::string Payload;
  for (std::size_t i = 0; i < Packets.size(); ++i) {
    const std::string& Packet = Packets[i];
    EXPECT_EQ(Packet.substr(0, 4), "OTrk");
    EXPECT_EQ(Byte_At(Packet, 5), 1u);
    EXPECT_EQ(Number_At(Packet, 6, 2), (65535u + i) % 65536u);
    EXPECT_EQ(Number_At(Packet, 8, 4), Payload.size());
    EXPECT_EQ(Number_At(Packet, 12, 2) & 0x7FFFu, Packet.size() - 16);
    EXPECT_EQ((Number_At(Packet, 12, 2) & 0x8000u) != 0, i + 1 == Packets.size());
    Payload += Packet.substr(16);
  }
  EXPECT_EQ(Sequence, static_cast<std::uint16_t>(65535u + Packets.size()));
  const nlohmann::json Content = nlohmann::json::parse(Payload);
  EXPECT_EQ(Content["sourceNumber"], 2);
  EXPECT_EQ(Content["timing"]["sampleTimestamp"]["seconds"], 10);
  EXPECT_EQ(Content["timing"]["sampleTimestamp"]["nanoseconds"], 500000000);
}

// The first sum is that of all bytes; in the second each byte counts as often as there are bytes
// from it to the end. Here they are taken in 64 bits and divided once.
TEST(Opentrackio, TheChecksumIsFletchersModulo256) {
  std::uint16_t Sequence = 300;
  const std::vector<std::string> Packets =
      Opentrackio_Packets({}, 1, 0.0, Sample_With(Turn(10, X), {0, 0, 1}), Sequence);
  ASSERT_EQ(Packets.size(), 1u);
  const std::string Bytes = Packets[0].substr(0, 14) + Packets[0].substr(16);
  std::uint64_t First = 0, Second = 0;
  for (std::size_t i = 0; i < Bytes.size(); ++i) {
    First += Byte_At(Bytes, i);
    Second += (Bytes.size() - i) * Byte_At(Bytes, i);
  }
  EXPECT_EQ(Byte_At(Packets[0], 14), Second % 256);
  EXPECT_EQ(Byte_At(Packets[0], 15), First % 256);
}

TEST(Opentrackio, CborHasTheContentOfJson) {
  std::uint16_t Sequence = 0;
  Opentrackio_Settings Settings;
  Settings.Timecode_Rate = 25;
  const Sample Reported = Sample_With(Turn(33, Z) * Turn(-5, X), {0.1, 0.2, 0.3});
  const std::string As_Json =
      Opentrackio_Packets(Settings, 3, 3661.48, Reported, Sequence).at(0).substr(16);
  Settings.Form = Payload_Form::Cbor;
  const std::string Packet = Opentrackio_Packets(Settings, 3, 3661.48, Reported, Sequence).at(0);
  EXPECT_EQ(Byte_At(Packet, 5), 2u);
  const nlohmann::json Content = nlohmann::json::from_cbor(Packet.substr(16));
  EXPECT_EQ(Content, nlohmann::json::parse(As_Json));
  EXPECT_EQ(Content["timing"]["timecode"]["hours"], 1);
  EXPECT_EQ(Content["timing"]["timecode"]["minutes"], 1);
  EXPECT_EQ(Content["timing"]["timecode"]["seconds"], 1);
  EXPECT_EQ(Content["timing"]["timecode"]["frames"], 12);
}

// The chain of transforms as the format composes it: R = Rz(pan) Rx(tilt) Ry(roll), first to last.
TEST(Opentrackio, TransformsComposeToTheBodysPose) {
  const Eigen::Matrix3d Rotation = Turn(-70, Z) * Turn(35, X) * Turn(12, Y);
  const Eigen::Vector3d Position(0.4, -1.2, 1.7);
  for (const bool Two : {false, true}) {
    SCOPED_TRACE(Two);
    Opentrackio_Settings Settings;
    Settings.Two_Transforms = Two;
    std::uint16_t Sequence = 0;
    const nlohmann::json Content = nlohmann::json::parse(
        Opentrackio_Packets(Settings, 1, 0.0, Sample_With(Rotation, Position), Sequence)
            .at(0)
            .substr(16));
    ASSERT_EQ(Content["transforms"].size(), Two ? 2u : 1u);
    Eigen::Isometry3d Whole = Eigen::Isometry3d::Identity();
    for (const nlohmann::json& Each : Content["transforms"]) {
      const nlohmann::json &Angles = Each["rotation"], &Shift = Each["translation"];
      Eigen::Isometry3d Part = Eigen::Isometry3d::Identity();
      Part.linear() = Turn(Angles["pan"], Z) * Turn(Angles["tilt"], X) * Turn(Angles["roll"], Y);
      Part.translation() << Shift["x"], Shift["y"], Shift["z"];
      Whole = Whole * Part;
    }
    EXPECT_LE((Whole.linear() - Rotation).norm(), 1e-12);
    EXPECT_LE((Whole.translation() - Position).norm(), 1e-12);
  }
}

// The bytes of packets that were sent as one letter each.
std::string Letters(const std::vector<Datagram>& Packets) {
  std::string Text;
  for (const Datagram& Packet : Packets) Text += Packet.Bytes;
  return Text;
}

TEST(Arrived, LosesDoublesSwapsAndSpoilsPacketsAsTold) {
  const std::vector<Datagram> Sent = {{0, 1, "a"}, {0, 1, "b"}, {0, 1, "c"}, {0, 1, "d"}};
  EXPECT_EQ(Letters(Arrived(Sent, {})), "abcd");
  EXPECT_EQ(Letters(Arrived(Sent, {2, 0, 0, 0})), "ac");
  EXPECT_EQ(Letters(Arrived(Sent, {0, 3, 0, 0})), "abccd");
  EXPECT_EQ(Letters(Arrived(Sent, {0, 0, 2, 0})), "acbd");
  EXPECT_EQ(Letters(Arrived(Sent, {0, 0, 0, 4})), "abce");
}

// Without noise a body in the middle of a hold is where the row of its image says.
TEST(Stream, SendsBothBodiesWhereTheRowsOfTheCaptureAre) {
  Options Settings;
  Settings.Image_Count = 3;
  const Plan Capture = Make_Plan(Settings);
  const std::vector<Datagram> Packets = Stream_Of(Capture, {});
  // Two packets for each hundredth of a second.
  for (std::size_t i = 0; i < Packets.size(); ++i) {
    ASSERT_NEAR(Packets[i].Seconds, static_cast<double>(i / 2) / 100.0, 1e-12);
  }
  for (const Image_Truth& Image : Capture.Images) {
    int Seen = 0;
    for (const Datagram& Packet : Packets) {
      if (!(Packet.Seconds > Image.Still.Begin && Packet.Seconds < Image.Still.End)) continue;
      const Sample& Reported = Packet.Body == 1 ? Image.Tc : Image.Tr;
      EXPECT_EQ(Packet.Bytes, Freed_Packet(Freed_Pose_Of(Packet.Body, Reported)));
      ++Seen;
    }
    // Both bodies at 100 Hz.
    EXPECT_NEAR(Seen, 200.0 * (Image.Still.End - Image.Still.Begin), 4.0);
  }
}

TEST(Stream, OfOneBodyNamesNoOther) {
  Options Settings;
  Settings.Image_Count = 2;
  Settings.Recording.One_Body = true;
  Stream_Settings Form;
  Form.Form = Stream_Form::Opentrackio;
  const std::vector<Datagram> Packets = Stream_Of(Make_Plan(Settings), Form);
  ASSERT_FALSE(Packets.empty());
  unsigned Expected_Sequence = 0;
  for (const Datagram& Packet : Packets) {
    EXPECT_EQ(Packet.Body, 1);
    EXPECT_EQ(Number_At(Packet.Bytes, 6, 2), Expected_Sequence++ % 65536u);
  }
}

}  // namespace
}  // namespace simulate
