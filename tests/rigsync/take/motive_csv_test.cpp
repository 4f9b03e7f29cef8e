// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/take/take_text.h"

namespace rigsync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Two rigid bodies with the columns of markers and of errors between them, as exports have them.
// The camera is turned by a quarter about z, then it is lost; the board, whose position comes
// first, stands still with its axes along those of Base.
const char* const Take_1_23 =
    "Format Version,1.23,Take Name,Stage 2,Capture Frame Rate,120.000000,Export Frame Rate,"
    "120.000000,Capture Start Time,2023-06-02 12.09.45.344 PM,Capture Start Frame,0,"
    "Total Frames in Take,3,Total Exported Frames,3,Rotation Type,Quaternion,Length Units,Meters,"
    "Coordinate Space,Global\n"
    "\n"
    ",Type,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,"
    "Rigid Body Marker,Rigid Body Marker,Rigid Body Marker,Rigid Body Marker,"
    "Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body\n"
    ",Name,camera,camera,camera,camera,camera,camera,camera,camera,"
    "camera:Marker1,camera:Marker1,camera:Marker1,camera:Marker1,"
    "board,board,board,board,board,board,board,board\n"
    ",ID,1,1,1,1,1,1,1,1,7,7,7,7,2,2,2,2,2,2,2,2\n"
    ",,Rotation,Rotation,Rotation,Rotation,Position,Position,Position,Mean Marker Error,"
    "Position,Position,Position,Marker Quality,"
    "Position,Position,Position,Rotation,Rotation,Rotation,Rotation,Mean Marker Error\n"
    "Frame,Time (Seconds),X,Y,Z,W,X,Y,Z,,X,Y,Z,,X,Y,Z,W,X,Y,Z,\n"
    "0,0.000000,0,0,0.70710678118654752,0.70710678118654752,1.5,2.25,-0.125,0.0001,9,9,9,1,"
    "0.1,0.2,0.3,1,0,0,0,0.0002\n"
    "1,0.008333,,,,,,,,,9,9,9,1,0.1,0.2,0.3,1,0,0,0,0.0002\n"
    "2,0.016667,0.5,0.5,0.5,0.5,1.5,2.25,-0.125,0.0001,9,9,9,1,0.1,0.2,0.3,1,0,0,0,0.0002\n";

// The older layout: no labels, and nothing between the bodies.
const char* const Take_1_22 =
    "Format Version,1.22,Take Name,a,Capture Frame Rate,100.0,Export Frame Rate,100.0,"
    "Capture Start Time,2021-01-01 01.00.00.000 AM,Total Exported Frames,1,Rotation Type,XYZ,"
    "Length Units,Millimeters,Coordinate Space,Global\n"
    "\n"
    ",,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body,Rigid Body\n"
    ",,camera,camera,camera,camera,camera,camera\n"
    ",,1,1,1,1,1,1\n"
    ",,Rotation,Rotation,Rotation,Position,Position,Position\n"
    "Frame,Time (Seconds),X,Y,Z,X,Y,Z\n"
    "0,0.0,90,90,0,1500,2250,-125\n";

TEST(MotiveCsv, HasPosesOfEachBodyByTheHeaderAndNotByPlace) {
  const Take Read = Take_Of(Take_1_23);
  EXPECT_EQ(Read.Format, "Motive CSV");
  ASSERT_EQ(Read.Bodies.size(), 2U);
  const Body_Track* const Camera = Find_Body(Read, "camera");
  const Body_Track* const Board = Find_Body(Read, "board");
  ASSERT_TRUE(Camera != nullptr && Board != nullptr);
  ASSERT_EQ(Camera->Samples.size(), 3U);
  ASSERT_EQ(Board->Samples.size(), 3U);
  // The sample is the inverse of the attitude.
  Expect_Pose(Camera->Samples[0], {1.5, 2.25, -0.125}, {Half_Root, 0, 0, -Half_Root});
  Expect_Pose(Camera->Samples[2], {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  Expect_Pose(Board->Samples[1], {0.1, 0.2, 0.3}, {1, 0, 0, 0});
  EXPECT_EQ(Camera->Samples[1].Seconds, 0.008333);
  EXPECT_TRUE(Read.Warnings.empty()) << Read.Warnings.front();
}

TEST(MotiveCsv, HasALostSampleWhereTheCellsAreBlank) {
  const Take Read = Take_Of(Take_1_23);
  const Timed_Sample& Lost = Find_Body(Read, "camera")->Samples[1];
  EXPECT_FALSE(Lost.Is_Tracked);
  EXPECT_EQ(Lost.Sample, Tracker_Sample());
}

TEST(MotiveCsv, ARateThatIsNoWholeNumberKeepsItsDigits) {
  std::string Text = Take_1_23;
  const std::string Rate = "120.000000";
  Text.replace(Text.rfind(Rate), Rate.size(), "119.880120");  // of the export
  EXPECT_EQ(Take_Of(Text).Rate_Hz, 119.88012);
}

TEST(MotiveCsv, TellsWhatTheHeaderSays) {
  const Take Read = Take_Of(Take_1_23);
  EXPECT_EQ(Read.Rate_Hz, 120.0);
  EXPECT_EQ(Fact(Read, "format version"), "1.23");
  EXPECT_EQ(Fact(Read, "start, by the tracking computer"), "2023-06-02 12.09.45.344 PM");
  EXPECT_EQ(Fact(Read, "length unit"), "metres, by the header");
  EXPECT_EQ(Fact(Read, "rotation"), "quaternions, by the header");
  EXPECT_EQ(Fact(Read, "axes of Base"), "as in the file");
  // A clock on the wall of the tracking computer is no timecode.
  EXPECT_FALSE(Read.Timecode_Start);
}

TEST(MotiveCsv, ToleratesTheRowOfParents) {
  const std::string With_Parents =
      Changed(Take_1_23, ",ID,1", ",Parent,,,,,,,,,,,,,,,,,,,,\n,ID,1");
  const Take Read = Take_Of(With_Parents);
  Expect_Pose(Find_Body(Read, "camera")->Samples[0], {1.5, 2.25, -0.125},
              {Half_Root, 0, 0, -Half_Root});
}

TEST(MotiveCsv, TurnsEulerAnglesAboutTheAxesThatTheFlagNames) {
  const Take Body = Take_Of(Take_1_22, With_Rotation("euler-xyz-body"));
  Expect_Pose(Body.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  const Take Fixed = Take_Of(Take_1_22, With_Rotation("euler-xyz-fixed"));
  Expect_Pose(Fixed.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, 0.5});
  EXPECT_EQ(Fact(Fixed, "rotation"), "euler-xyz-fixed in degrees, by --rotation");
  EXPECT_EQ(Fact(Fixed, "length unit"), "millimetres, by the header");
}

// A quarter turn about z and then one about x, each angle in the column of its axis: x goes to y
// and, with fixed axes, on to z; y to -x; z to -y.
TEST(MotiveCsv, TakesEachAngleFromTheColumnOfItsAxis) {
  const std::string Zxy =
      Changed(Changed(Take_1_22, "XYZ", "ZXY"), "0,0.0,90,90,0", "0,0.0,90,0,90");
  const Take Read = Take_Of(Zxy, With_Rotation("euler-zxy-fixed"));
  Expect_Pose(Read.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {0.5, -0.5, 0.5, -0.5});
}

TEST(MotiveCsv, RefusesEulerAnglesWithoutTheFlag) {
  EXPECT_EQ(
      Refusal_Of(Take_1_22),
      "has rotations as XYZ angles and doesn't say whether they turn about the body's axes or "
      "fixed ones; expected --rotation euler-xyz-body or --rotation euler-xyz-fixed, or an "
      "export with the rotation type Quaternion");
}

TEST(MotiveCsv, RefusesAFlagThatContradictsTheHeader) {
  EXPECT_EQ(
      Refusal_Of(Take_1_22, With_Rotation("euler-zyx-body")),
      "has rotations as XYZ angles, and --rotation is euler-zyx-body; expected euler-xyz-body "
      "or euler-xyz-fixed");
}

TEST(MotiveCsv, WarnsOfAFlagThatQuaternionsHaveNoUseFor) {
  EXPECT_THAT(Take_Of(Take_1_23, With_Rotation("helical")).Warnings,
              ElementsAre("--rotation helical has no use here: the file has quaternions"));
}

TEST(MotiveCsv, RefusesHeadersThatItCantUse) {
  const auto Refusal = [](const std::string& Old, const std::string& New) {
    return Refusal_Of(Changed(Take_1_23, Old, New));
  };
  EXPECT_EQ(Refusal("Length Units,Meters", "Length Units,Cubits"),
            "line 1: 'Length Units' is 'Cubits'; expected Meters, Centimeters or Millimeters");
  EXPECT_EQ(Refusal("Length Units,Meters,", ""),
            "line 1: 'Length Units' is missing; expected 'Length Units,Meters' in the header");
  EXPECT_EQ(Refusal("Space,Global", "Space,Local"),
            "line 1: 'Coordinate Space' is 'Local'; expected Global");
  EXPECT_EQ(Refusal("Type,Quaternion", "Type,Spinor"),
            "has the 'Rotation Type' 'Spinor'; expected Quaternion, or an order such as XYZ");
  EXPECT_THAT(Refusal("Frame,Time", "Number,Time"),
              HasSubstr("has no row that begins with 'Frame' above the samples"));
  EXPECT_THAT(Refusal("Frame,Time (Seconds),X,Y,Z,W", "Frame,Time (Seconds),X,Y,Z,"),
              HasSubstr("has no column 'Rotation W' of the rigid body 'camera'"));
  EXPECT_THAT(Refusal("board,board,board,board,board,board,board,board",
                      "camera,camera,camera,camera,camera,camera,camera,camera"),
              HasSubstr("has two columns 'Position X' of the rigid body 'camera'"));
}

TEST(MotiveCsv, NamesLineAndColumnOfACellThatIsNoNumber) {
  EXPECT_EQ(Refusal_Of(Changed(Take_1_23, "2,0.016667,0.5,0.5", "2,0.016667,0.5,half")),
            "line 10: column 4 (camera Rotation Y): 'half' is not a number; expected one with a "
            "decimal point, or a blank cell for a body that was lost");
}

}  // namespace
}  // namespace rigsync
