// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/opentrackio.h"

#include "rigsync/record/cbor_shape.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/read_text.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

std::string Data(const std::string& Name) {
  return Read_Text(std::filesystem::path(RIGSYNC_SOURCE_DIR) / "tests/rigsync/record/data" / Name);
}

std::string Cbor() {
  return From_Hex(Data("sample_cbor.hex"));
}

// What data/make_samples.py states.
void Expect_Sample(const std::optional<Opentrackio_Sample>& Sample) {
  ASSERT_TRUE(Sample);
  EXPECT_EQ(Sample->Source_Number, 2);
  EXPECT_EQ(Sample->Sample_Id, "urn:uuid:3c1a6cd6-20f2-4f0e-9d8c-54b6a4c6d5b1");
  EXPECT_EQ(Sample->Status, "Optical Good");
  EXPECT_EQ(Sample->Stamp_Ns, 1763806893480000000);
  EXPECT_EQ(Sample->Rate_Hz, 50.0);
  EXPECT_NEAR(Sample->Timecode_Seconds.value(), 10 * 3600 + 21 * 60 + 33 + 12 / 25.0, 1e-9);
  ASSERT_EQ(Sample->Transforms.size(), 2U);
  EXPECT_EQ(Sample->Transforms[0].Position, (std::array<double, 3>{1, 2, 3}));
  EXPECT_EQ(Sample->Transforms[0].Angles_Deg, (std::array<double, 3>{90, 0, 0}));
  EXPECT_EQ(Sample->Transforms[1].Position, (std::array<double, 3>{0, 1, 0.5}));
  EXPECT_EQ(Sample->Transforms[1].Angles_Deg, (std::array<double, 3>{0, 30, -0.125}));
  EXPECT_FALSE(Sample->Has_Scale);
}

std::optional<Opentrackio_Sample> From_Json(const std::string& Text) {
  return Decode_Opentrackio(Json_Encoding, Text);
}

Eigen::Vector3d In_Base(const Pose_Slots& Slots, const Eigen::Vector3d& Direction_Body) {
  const Tracker_Sample Sample = Opentrackio_Pose({Slots}, {});
  return Sample_Rotation_Body_Base(Sample).conjugate() * Direction_Body;
}

const Eigen::Vector3d Right(1, 0, 0), Forward(0, 1, 0), Up(0, 0, 1);
constexpr double Rounding = 1e-12;

TEST(Opentrackio, ReadsASampleOfJson) {
  Expect_Sample(From_Json(Data("sample.json")));
}

TEST(Opentrackio, ReadsTheSameSampleOfCbor) {
  Expect_Sample(Decode_Opentrackio(Cbor_Encoding, Cbor()));
}

TEST(Opentrackio, ReadsNothingInAnotherEncoding) {
  EXPECT_FALSE(Decode_Opentrackio(Json_Encoding, Cbor()));
  EXPECT_FALSE(Decode_Opentrackio(Cbor_Encoding, Data("sample.json")));
  for (const int Encoding : {0, 3, 0x80}) {
    EXPECT_FALSE(Decode_Opentrackio(Encoding, Data("sample.json"))) << Encoding;
  }
}

TEST(Opentrackio, ReadsNothingOfASampleThatIsCutShort) {
  const std::string Json = Data("sample.json"), Binary = Cbor();
  for (std::size_t Size = 0; Size < Json.rfind('}'); ++Size) {
    ASSERT_FALSE(From_Json(Json.substr(0, Size))) << Size;
  }
  for (std::size_t Size = 0; Size < Binary.size(); ++Size) {
    ASSERT_FALSE(Decode_Opentrackio(Cbor_Encoding, Binary.substr(0, Size))) << Size;
  }
}

TEST(Opentrackio, PanTurnsXToYAndSoToTheLeft) {
  EXPECT_TRUE(In_Base({{90, 0, 0}, {}}, Right).isApprox(Forward, Rounding));
  EXPECT_TRUE(In_Base({{90, 0, 0}, {}}, Forward).isApprox(-Right, Rounding));
}

TEST(Opentrackio, TiltTurnsYToZ) {
  EXPECT_TRUE(In_Base({{0, 90, 0}, {}}, Forward).isApprox(Up, Rounding));
}

TEST(Opentrackio, RollTurnsZToX) {
  EXPECT_TRUE(In_Base({{0, 0, 90}, {}}, Up).isApprox(Right, Rounding));
}

// Panned by 90 the camera looks along -X and tilts about Y, and its up rolls to where its right is.
TEST(Opentrackio, PansThenTiltsThenRolls) {
  const double Sine = 0.5, Cosine = std::sqrt(0.75);
  const Pose_Slots Slots = {{90, 30, 90}, {}};
  EXPECT_TRUE(In_Base(Slots, Forward).isApprox(Eigen::Vector3d(-Cosine, 0, Sine), 1e-9));
  EXPECT_TRUE(In_Base(Slots, Up).isApprox(Forward, 1e-9));
}

// The second transform is a metre forward and half a metre up in the first, which looks along -X.
TEST(Opentrackio, ComposesTransformsFirstToLast) {
  const auto Sample = From_Json(Data("sample.json"));
  const Tracker_Sample Pose = Opentrackio_Pose(Sample->Transforms, {});
  EXPECT_NEAR(Pose.Position[0], 1 - 1, Rounding);
  EXPECT_NEAR(Pose.Position[1], 2, Rounding);
  EXPECT_NEAR(Pose.Position[2], 3 + 0.5, Rounding);
  const Eigen::Vector3d View = Sample_Rotation_Body_Base(Pose).conjugate() * Forward;
  EXPECT_TRUE(View.isApprox(Eigen::Vector3d(-std::sqrt(0.75), 0, 0.5), 1e-9));
}

TEST(Opentrackio, AnAxisMapIsThatOfEachTransform) {
  Axis_Map Map;
  Map.Angles[0].Sign = -1;
  const Tracker_Sample Pose =
      Opentrackio_Pose({{{90, 0, 0}, {1, 2, 3}}, {{0, 0, 0}, {0, 1, 0}}}, Map);
  EXPECT_NEAR(Pose.Position[0], 1 + 1, Rounding);
  EXPECT_NEAR(Pose.Position[1], 2, Rounding);
}

TEST(Opentrackio, ASampleMayHaveLittle) {
  const auto Nothing = From_Json("{}");
  ASSERT_TRUE(Nothing);
  EXPECT_FALSE(Nothing->Source_Number);
  EXPECT_FALSE(Nothing->Stamp_Ns);
  EXPECT_FALSE(Nothing->Timecode_Seconds);
  EXPECT_TRUE(Nothing->Transforms.empty());
  const auto Turn_Alone = From_Json(R"({"transforms":[{"rotation":{"pan":1,"tilt":2,"roll":3}}]})");
  ASSERT_TRUE(Turn_Alone);
  EXPECT_EQ(Turn_Alone->Transforms[0].Position, (std::array<double, 3>{0, 0, 0}));
}

TEST(Opentrackio, ReadsAChainOf64TransformsAndNoLongerOne) {
  const auto Chain = [](int Count) {
    std::string List;
    for (int i = 0; i < Count; ++i) {
      List += std::string(i > 0 ? "," : "") + R"({"translation":{"x":1,"y":2,"z":3}})";
    }
    return From_Json("{\"transforms\":[" + List + "]}");
  };
  ASSERT_TRUE(Chain(64));
  EXPECT_EQ(Chain(64)->Transforms.size(), 64U);
  EXPECT_FALSE(Chain(65));
}

TEST(Opentrackio, ReadsWholeNumbersThatAreWrittenWithAPoint) {
  EXPECT_EQ(From_Json(R"({"sourceNumber": 3.0})")->Source_Number, 3);
}

TEST(Opentrackio, TellsAScaleOtherThanOne) {
  const auto Scaled = [](const std::string& Scale) {
    return From_Json(R"({"transforms":[{"translation":{"x":1,"y":2,"z":3},"scale":)" + Scale +
                     "}]}")
        ->Has_Scale;
  };
  EXPECT_FALSE(Scaled(R"({"x":1,"y":1,"z":1})"));
  EXPECT_TRUE(Scaled(R"({"x":1,"y":1,"z":0.5})"));
}

TEST(Opentrackio, RefusesFieldsOfAnotherForm) {
  for (const char* const Text : {
           R"([])",
           R"("text")",
           R"({"sourceNumber": "1"})",
           R"({"sourceNumber": -1})",
           R"({"sourceNumber": 1.5})",
           R"({"sourceNumber": 18446744073709551615})",
           R"({"timing":{"sampleTimestamp":{"seconds":1}}})",
           R"({"timing":{"sampleTimestamp":{"seconds":1,"nanoseconds":1000000000}}})",
           R"({"timing":{"sampleTimestamp":{"seconds":9223372037,"nanoseconds":0}}})",
           R"({"timing":{"sampleTimestamp":{"seconds":1e300,"nanoseconds":0}}})",
           R"({"transforms":{}})",
           R"({"transforms":[1]})",
           R"({"transforms":[{"translation":{"x":1,"y":2}}]})",
           R"({"transforms":[{"translation":{"x":1,"y":2,"z":"3"}}]})",
           R"({"transforms":[{"translation":{"x":1,"y":2,"z":1e10}}]})",
           R"({"transforms":[{"rotation":{"pan":null,"tilt":2,"roll":3}}]})",
           R"({"sourceNumber": 1e999})",
           R"({"sourceNumber": 1,})",
       }) {
    EXPECT_FALSE(From_Json(Text)) << Text;
  }
}

TEST(Opentrackio, LeavesOutATimecodeThatItsRateDoesNotHave) {
  const auto Timecode = [](const std::string& Frames, const std::string& Rate) {
    return From_Json(R"({"timing":{"timecode":{"hours":1,"minutes":2,"seconds":3,"frames":)" +
                     Frames + Rate + "}}}")
        ->Timecode_Seconds;
  };
  const std::string Rate = R"(,"frameRate":{"num":25,"denom":1})";
  EXPECT_EQ(Timecode("5", Rate), 3723.2);
  EXPECT_FALSE(Timecode("25", Rate));
  EXPECT_FALSE(Timecode("5", ""));
  EXPECT_FALSE(Timecode("5", R"(,"frameRate":{"num":0,"denom":1})"));
  EXPECT_FALSE(Timecode("5", R"(,"frameRate":{"num":25,"denom":0})"));
  EXPECT_FALSE(Timecode("99999999999999999999", Rate));
}

// Far more levels than a stack has room for, were each a call.
constexpr std::size_t Hostile_Depth = 1 << 18;

TEST(Opentrackio, SurvivesJsonOfAnyDepth) {
  EXPECT_FALSE(From_Json(std::string(Hostile_Depth, '[')));
  EXPECT_FALSE(From_Json(std::string(Hostile_Depth, '[') + std::string(Hostile_Depth, ']')));
  std::string Objects;
  for (std::size_t i = 0; i < Hostile_Depth / 4; ++i) Objects += R"({"":)";
  EXPECT_FALSE(From_Json(Objects));
  EXPECT_FALSE(From_Json("{\"transforms\":" + std::string(Hostile_Depth, '[') +
                         std::string(Hostile_Depth, ']') + "}"));
}

TEST(Opentrackio, SurvivesCborOfAnyDepth) {
  // Lists, maps, tags, texts and byte strings in pieces: each byte begins another level.
  for (const char* const Byte : {"81", "9f", "a1", "bf", "c0", "7f", "5f"}) {
    std::string Bytes;
    for (std::size_t i = 0; i < Hostile_Depth; ++i) Bytes += From_Hex(Byte);
    EXPECT_FALSE(Decode_Opentrackio(Cbor_Encoding, Bytes)) << Byte;
    EXPECT_FALSE(Decode_Opentrackio(Cbor_Encoding, From_Hex("a161 61") + Bytes)) << Byte;
  }
}

TEST(Opentrackio, SurvivesCborThatStatesLengthsItDoesNotHave) {
  for (const char* const Hex : {"9bffffffffffffffff", "bbffffffffffffffff", "7bffffffffffffffff",
                                "5bffffffffffffffff", "bb8000000000000000", "9a7fffffff01"}) {
    EXPECT_FALSE(Decode_Opentrackio(Cbor_Encoding, From_Hex(Hex))) << Hex;
  }
}

// {"tracker": {"status": "\xff"}}, which is no UTF-8.
TEST(Opentrackio, AStatusIsValidUtf8InAnyCase) {
  const std::string Bytes =
      From_Hex("a1 67") + "tracker" + From_Hex("a1 66") + "status" + From_Hex("61 ff");
  const auto Sample = Decode_Opentrackio(Cbor_Encoding, Bytes);
  ASSERT_TRUE(Sample);
  EXPECT_EQ(Sample->Status, "\xef\xbf\xbd");  // the character that stands for such bytes
}

TEST(CborShape, CountsLevels) {
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("818101"), 2));
  EXPECT_FALSE(Is_Shallow_Cbor(From_Hex("81818101"), 2));
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("82 8101 8101"), 2));
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("9f 01 7f 61 61 ff ff"), 2));
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("a1 01 a0"), 2));
}

TEST(CborShape, IsOneItemAndNothingAfterIt) {
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("00"), 1));
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("fb3ff0000000000000"), 1));
  EXPECT_TRUE(Is_Shallow_Cbor(From_Hex("f6"), 1));
  for (const char* const Hex : {"", "0000", "81", "8201", "a101", "62 61", "fb3ff0", "1c", "ff",
                                "9f01", "df01", "1f", "ff00"}) {
    EXPECT_FALSE(Is_Shallow_Cbor(From_Hex(Hex), 4)) << Hex;
  }
}

}  // namespace
}  // namespace rigsync
