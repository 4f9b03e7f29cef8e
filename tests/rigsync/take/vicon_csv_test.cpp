// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/take/take_text.h"

namespace rigsync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A third of a turn about the diagonal: 120 degrees, of which each axis has 120 / sqrt(3).
const char* const Segments =
    "Segments\n"
    "200\n"
    ",,camera:camera,,,,,,board:board,,,,,\n"
    "Frame,Sub Frame,RX,RY,RZ,TX,TY,TZ,RX,RY,RZ,TX,TY,TZ\n"
    ",,deg,deg,deg,mm,mm,mm,deg,deg,deg,mm,mm,mm\n"
    "1,0,69.282032302755,69.282032302755,69.282032302755,1500,2250,-125,0,0,90,100,200,300\n"
    "2,0,,,,,,,0,0,90,100,200,300\n"
    "3,0,0,0,0,1500,2250,-125,0,0,90,100,200,300\n";

const char* const Objects_Quaternion =
    "Objects\n"
    "100\n"
    ",,camera:camera,,,,,,\n"
    "Frame,Sub Frame,RX,RY,RZ,RW,TX,TY,TZ\n"
    ",,,,,,m,m,m\n"
    "10,0,0,0,0.70710678118654752,0.70710678118654752,1.5,2.25,-0.125\n";

TEST(ViconCsv, HasHelicalRotationsOfEveryBody) {
  const Take Read = Take_Of(Segments, With_Rotation("helical"));
  EXPECT_EQ(Read.Format, "Vicon CSV");
  EXPECT_EQ(Read.Rate_Hz, 200.0);
  ASSERT_EQ(Read.Bodies.size(), 2U);
  const Body_Track* const Camera = Find_Body(Read, "camera:camera");
  const Body_Track* const Board = Find_Body(Read, "board:board");
  ASSERT_TRUE(Camera != nullptr && Board != nullptr);
  Expect_Pose(Camera->Samples.at(0), {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  EXPECT_FALSE(Camera->Samples.at(1).Is_Tracked);
  Expect_Pose(Camera->Samples.at(2), {1.5, 2.25, -0.125}, {1, 0, 0, 0});
  Expect_Pose(Board->Samples.at(1), {0.1, 0.2, 0.3}, {Half_Root, 0, 0, -Half_Root});
  EXPECT_TRUE(Read.Warnings.empty());
}

// Three angles of 0 are a rotation, but a lost body is written so.
TEST(ViconCsv, HasALostSampleWhereEveryCellIsZero) {
  const Take Read = Take_Of(Changed(Segments, "3,0,0,0,0,1500,2250,-125,", "3,0,0,0,0,0,0,0,"),
                            With_Rotation("helical"));
  EXPECT_FALSE(Read.Bodies[0].Samples.at(2).Is_Tracked);
  EXPECT_TRUE(Read.Bodies[1].Samples.at(2).Is_Tracked);
  EXPECT_TRUE(Read.Warnings.empty());
}

TEST(ViconCsv, CountsTimeByFramesAtTheRateOfItsHeader) {
  const Take Read = Take_Of(Segments, With_Rotation("helical"));
  EXPECT_DOUBLE_EQ(Read.Bodies[0].Samples[0].Seconds, 0.005);
  EXPECT_DOUBLE_EQ(Read.Bodies[0].Samples[2].Seconds, 0.015);
  EXPECT_EQ(Fact(Read, "time"), "frame number at 200 Hz, by the header");
}

TEST(ViconCsv, TurnsEulerAnglesInTheOrderOfTheFlag) {
  const std::string Quarters =
      Changed(Segments, "69.282032302755,69.282032302755,69.282032302755", "90,90,0");
  const Take Body = Take_Of(Quarters, With_Rotation("euler-xyz-body"));
  Expect_Pose(Body.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  // About y first, then about the turned x: x goes to -z, y to x, z to -y.
  const Take Other = Take_Of(Quarters, With_Rotation("euler-yxz-body"));
  Expect_Pose(Other.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, 0.5});
  EXPECT_EQ(Fact(Other, "rotation of camera:camera"),
            "euler-yxz-body in degrees, by --rotation and the header");
}

// A quarter about z and then one about the fixed x: x goes to y and on to z, y to -x, z to -y.
TEST(ViconCsv, TakesEachAngleFromTheColumnOfItsAxis) {
  const std::string Quarters =
      Changed(Segments, "69.282032302755,69.282032302755,69.282032302755", "90,0,90");
  const Take Read = Take_Of(Quarters, With_Rotation("euler-zxy-fixed"));
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {0.5, -0.5, 0.5, -0.5});
}

TEST(ViconCsv, TakesUnitsFromTheHeader) {
  std::string Radians = Changed(Segments, "deg,deg,deg", "rad,rad,rad");
  Radians = Changed(Radians, "69.282032302755,69.282032302755,69.282032302755",
                    "1.2091995761561452,1.2091995761561452,1.2091995761561452");
  Radians = Changed(Radians, "mm,mm,mm", "cm,cm,cm");
  const Take Read = Take_Of(Radians, With_Rotation("helical"));
  Expect_Pose(Read.Bodies[0].Samples[0], {15, 22.5, -1.25}, {0.5, -0.5, -0.5, -0.5});
  Expect_Pose(Read.Bodies[1].Samples[0], {0.1, 0.2, 0.3}, {Half_Root, 0, 0, -Half_Root});
  EXPECT_EQ(Fact(Read, "length unit of camera:camera"), "centimetres, by the header");
}

TEST(ViconCsv, HasQuaternionsWithoutAFlag) {
  const Take Read = Take_Of(Objects_Quaternion);
  Expect_Pose(Read.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {Half_Root, 0, 0, -Half_Root});
  EXPECT_DOUBLE_EQ(Read.Bodies[0].Samples[0].Seconds, 0.1);
}

TEST(ViconCsv, RefusesToGuessWhatThreeNumbersMean) {
  const std::string Refusal =
      "line 4: has RX, RY and RZ and doesn't say how they are meant; expected --rotation helical "
      "(an axis, its length being the angle), or angles about the body's axes or fixed ones, such "
      "as --rotation euler-xyz-body or --rotation euler-xyz-fixed";
  EXPECT_EQ(Refusal_Of(Segments), Refusal);
  EXPECT_EQ(Refusal_Of(Segments, With_Rotation("matrix-rows")), Refusal);
}

TEST(ViconCsv, StopsAtTheNextSectionAndPassesEarlierOnes) {
  const std::string Around = std::string(
                                 "Joints\n200\n,,Hip,,\nFrame,Sub Frame,RX,RY,RZ\n"
                                 ",,deg,deg,deg\n1,0,1,2,3\n\n") +
                             Segments + "\nTrajectories\n200\n,,camera:1,,\n1,0,1,2,3\n";
  const Take Read = Take_Of(Around, With_Rotation("helical"));
  ASSERT_EQ(Read.Bodies.size(), 2U);
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 3U);
  EXPECT_THAT(Read.Warnings,
              ElementsAre("'Trajectories' on line 17 and what follows it was not read"));
}

TEST(ViconCsv, LeavesOutABodyWithoutAPose) {
  const Take Read =
      Take_Of(Changed(Segments, "TX,TY,TZ,RX,RY,RZ,TX,TY,TZ", "TX,TY,TZ,RX,RY,RZ,AX,AY,AZ"),
              With_Rotation("helical"));
  EXPECT_EQ(Read.Bodies.size(), 1U);
  EXPECT_THAT(Read.Warnings,
              ElementsAre("'board:board' was left out: it has no RX, RY, RZ, TX, TY and TZ"));
}

TEST(ViconCsv, RefusesHeadersThatItCantUse) {
  const auto Refusal = [](const std::string& Old, const std::string& New) {
    return Refusal_Of(Changed(Segments, Old, New), With_Rotation("helical"));
  };
  EXPECT_EQ(Refusal("\n200\n", "\nfast\n"),
            "line 2: 'fast' is not a rate; expected frames a second, above 0");
  EXPECT_EQ(Refusal("\n200\n", "\n0\n"),
            "line 2: '0' is not a rate; expected frames a second, above 0");
  EXPECT_EQ(Refusal("mm,mm,mm", "yd,yd,yd"),
            "line 5: the unit of TX of 'camera:camera' is 'yd'; expected mm, cm or m");
  EXPECT_EQ(Refusal("mm,mm,mm", "mm,m,mm"),
            "line 5: TX and TY of 'camera:camera' have different units, 'mm' and 'm'");
  EXPECT_EQ(Refusal("deg,deg,deg", "turn,turn,turn"),
            "line 5: the unit of RX of 'camera:camera' is 'turn'; expected deg or rad");
  EXPECT_EQ(Refusal("board:board", "camera:camera"),
            "line 4: 'camera:camera' has two columns "
            "'RX'; expected each once");
  EXPECT_EQ(Refusal_Of("Segments\n200\n", With_Rotation("helical")),
            "ends before the names of the bodies; expected a Vicon export with its header");
  EXPECT_EQ(Refusal_Of("Trajectories\n200\n,,a\n"),
            "ends before a section 'Segments' or 'Objects'; expected a Vicon export with its "
            "header");
}

}  // namespace
}  // namespace rigsync
