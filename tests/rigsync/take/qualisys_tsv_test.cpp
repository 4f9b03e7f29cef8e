// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/take/take_text.h"

#include <algorithm>

namespace rigsync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Tabs(std::string Text) {
  std::replace(Text.begin(), Text.end(), ' ', '\t');
  return Text;
}

const std::string Header_Lines = Tabs(
    "NO_OF_FRAMES 3\nNO_OF_CAMERAS 8\nNO_OF_BODIES 2\n"
    "FREQUENCY 100\nTIME_STAMP 2019-11-20,11:02:03.456\n"
    "DATA_INCLUDED 6D\nBODY_NAMES camera board\n");
const std::string Body_Words = Tabs(
    "Y Z Roll Pitch Yaw Residual Rot[0] Rot[1] Rot[2] Rot[3] Rot[4] Rot[5] Rot[6] Rot[7] "
    "Rot[8]");

std::string Column_Names() {
  return "Frame\tTime\tcamera X\t" + Body_Words + "\tboard X\t" + Body_Words + "\n";
}

// Lost on the second line as files have it: zeros. The camera is turned by a third about the
// diagonal (x goes to y, y to z, z to x), which is 90 about x, then 90 about the turned y; the
// board by a quarter about z.
const std::string Lost = "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0";
const std::string Camera = "1500 2250 -125 90 90 0 0.5 ";
const std::string Board = "100 200 300 0 0 90 0.4 ";

std::string Samples(const std::string& Camera_Elements, const std::string& Board_Elements) {
  return Tabs("1 0.00000 " + Camera + Camera_Elements + " " + Board + Board_Elements + "\n" +
              "2 0.01000 " + Lost + " " + Board + Board_Elements + "\n" +  //
              "3 0.02000 " + Camera + Camera_Elements + " " + Board + Board_Elements + "\n");
}

std::string By_Columns() {
  return Header_Lines + Column_Names() + Samples("0 1 0 0 0 1 1 0 0", "0 1 0 -1 0 0 0 0 1");
}
std::string By_Rows() {
  return Header_Lines + Column_Names() + Samples("0 0 1 1 0 0 0 1 0", "0 -1 0 1 0 0 0 0 1");
}

void Expect_Poses(const Take& Read) {
  const Body_Track* const Camera_Track = Find_Body(Read, "camera");
  const Body_Track* const Board_Track = Find_Body(Read, "board");
  ASSERT_TRUE(Camera_Track != nullptr && Board_Track != nullptr);
  ASSERT_EQ(Camera_Track->Samples.size(), 3U);
  Expect_Pose(Camera_Track->Samples[0], {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  EXPECT_FALSE(Camera_Track->Samples[1].Is_Tracked);
  Expect_Pose(Board_Track->Samples[1], {0.1, 0.2, 0.3}, {Half_Root, 0, 0, -Half_Root});
  EXPECT_EQ(Board_Track->Samples[2].Seconds, 0.02);
  EXPECT_TRUE(Read.Warnings.empty()) << Read.Warnings.front();
}

TEST(QualisysTsv, HasThePosesOfMatricesByColumns) {
  const Take Read = Take_Of(By_Columns());
  EXPECT_EQ(Read.Format, "Qualisys 6D TSV");
  EXPECT_EQ(Read.Rate_Hz, 100.0);
  EXPECT_EQ(Fact(Read, "rotation"), "matrix-columns, as Roll, Pitch and Yaw show (euler-xyz-body)");
  Expect_Poses(Read);
}

TEST(QualisysTsv, HasThePosesOfMatricesByRows) {
  const Take Read = Take_Of(By_Rows());
  EXPECT_EQ(Fact(Read, "rotation"), "matrix-rows, as Roll, Pitch and Yaw show (euler-xyz-body)");
  Expect_Poses(Read);
}

TEST(QualisysTsv, FindsTheNamesInCellsOfTheirOwnToo) {
  const std::string Names = "Frame\tTime\tcamera\tX\t" + Body_Words + "\tboard\tX\t" + Body_Words;
  Expect_Poses(
      Take_Of(Header_Lines + Names + "\n" + Samples("0 1 0 0 0 1 1 0 0", "0 1 0 -1 0 0 0 0 1")));
}

// 30 degrees about x, where only the sines differ between the matrix and its transpose.
TEST(QualisysTsv, TellsTheOrderOfElementsFromOneTurnedBody) {
  const std::string One_Name = Changed(Header_Lines, "\tboard", "");
  const std::string Start = One_Name + "Frame\tTime\tX\t" + Body_Words + "\n";
  const std::string Pose = "1 0.0 0 0 0 30 0 0 0.1 ";
  const Take Columns = Take_Of(Start + Tabs(Pose + "1 0 0 0 0.866025 0.5 0 -0.5 0.866025\n"));
  const Take Rows = Take_Of(Start + Tabs(Pose + "1 0 0 0 0.866025 -0.5 0 0.5 0.866025\n"));
  // Cosine and sine of 15 degrees.
  const std::array<double, 4> Expected = {0.9659258262890683, -0.25881904510252074, 0, 0};
  for (const Take* const Read : {&Columns, &Rows}) {
    const std::array<double, 4>& Found = Read->Bodies.at(0).Samples.at(0).Sample.Quaternion;
    EXPECT_LE(Rotation_Difference(Found, Expected), 1e-6);  // of elements with six digits
  }
}

TEST(QualisysTsv, LeavesTheOrderOfElementsOpenWhereItMakesNoDifference) {
  const std::string Unturned = Header_Lines + Column_Names() +
                               Tabs(
                                   "1 0.0 1 2 3 0 0 0 0.1 1 0 0 0 1 0 0 0 1 "
                                   "4 5 6 180 0 0 0.1 1 0 0 0 -1 0 0 0 -1\n");
  const Take Read = Take_Of(Unturned);
  EXPECT_EQ(Fact(Read, "rotation"),
            "matrix-columns (matrix-rows gives the same rotations in this file)");
  Expect_Pose(Read.Bodies.at(0).Samples.at(0), {0.001, 0.002, 0.003}, {1, 0, 0, 0});
  Expect_Pose(Read.Bodies.at(1).Samples.at(0), {0.004, 0.005, 0.006}, {0, 1, 0, 0});
}

TEST(QualisysTsv, RefusesMatricesThatAreNotThoseOfTheAngles) {
  const std::string Other =
      Header_Lines + Column_Names() + Samples("1 0 0 0 0 1 0 -1 0", "0 1 0 -1 0 0 0 0 1");
  EXPECT_THAT(Refusal_Of(Other),
              HasSubstr("has no Roll, Pitch and Yaw that agree with Rot[0] to Rot[8]"));
  EXPECT_THAT(Refusal_Of(Other), HasSubstr("--rotation matrix-columns"));
  // A quarter about x: y goes to z.
  const Take Read = Take_Of(Other, With_Rotation("matrix-columns"));
  Expect_Pose(Read.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {Half_Root, -Half_Root, 0, 0});
  const Take Rows = Take_Of(Other, With_Rotation("matrix-rows"));
  Expect_Pose(Rows.Bodies.at(0).Samples.at(0), {1.5, 2.25, -0.125}, {Half_Root, Half_Root, 0, 0});
  EXPECT_EQ(Fact(Rows, "rotation"), "matrix-rows, by --rotation");
}

TEST(QualisysTsv, AsksForTheOrderOfElementsWhereTheAnglesHaveOtherNames) {
  std::string Other = By_Columns();
  for (int i = 0; i < 2; ++i) Other = Changed(Other, "Roll\tPitch\tYaw", "Heading\tLook up\tBank");
  EXPECT_THAT(Refusal_Of(Other), HasSubstr("expected --rotation matrix-columns"));
  Expect_Poses(Take_Of(Other, With_Rotation("matrix-columns")));
}

TEST(QualisysTsv, RefusesElementsThatAreNoRotation) {
  const auto Refusal = [](const std::string& Elements) {
    return Refusal_Of(Header_Lines + Column_Names() + Samples(Elements, "0 1 0 -1 0 0 0 0 1"),
                      With_Rotation("matrix-columns"));
  };
  const std::string Expected =
      "line 9: column 10 (camera Rot[0]): the nine elements of 'camera' are not a rotation; "
      "expected columns at right angles and of length 1, right-handed";
  EXPECT_EQ(Refusal("0 2 0 0 0 1 1 0 0"), Expected);    // too long
  EXPECT_EQ(Refusal("0 1 0 0 0 1 -1 0 0"), Expected);   // mirrored
  EXPECT_EQ(Refusal("0 1 0 0 0 1 1 0.2 0"), Expected);  // not at right angles
}

TEST(QualisysTsv, WarnsOfZerosWithAPosition) {
  const std::string Frozen =
      Changed(By_Columns(), Tabs("2 0.01000 0 0 0"), Tabs("2 0.01000 1 2 3"));
  EXPECT_THAT(Take_Of(Frozen).Warnings,
              ElementsAre("1 sample of 'camera' counted as lost: a rotation of length 0 (the first "
                          "on line 10)"));
}

TEST(QualisysTsv, HasBlankCellsForALostBody) {
  const std::string Blank =
      Changed(By_Columns(), Tabs("2 0.01000 " + Lost), "2\t0.01000" + std::string(16, '\t'));
  Expect_Poses(Take_Of(Blank));
}

TEST(QualisysTsv, RefusesHeadersThatItCantUse) {
  const auto Refusal = [](const std::string& Old, const std::string& New) {
    return Refusal_Of(Changed(By_Columns(), Old, New));
  };
  EXPECT_EQ(Refusal("\t6D", "\t3D"),
            "has the DATA_INCLUDED '3D'; expected 6D: export the bodies, not the markers");
  EXPECT_THAT(Refusal("Frame\tTime", "Number\tTime"),
              HasSubstr("has no line that begins with 'Frame' and 'Time'"));
  EXPECT_THAT(Refusal("BODY_NAMES", "NAMES"), HasSubstr("has no BODY_NAMES"));
  EXPECT_EQ(Refusal("camera\tboard", "camera"),
            "line 8: has columns of 2 bodies, and BODY_NAMES names 1; expected as many");
  EXPECT_EQ(Refusal("camera\tboard", "camera\tcamera"),
            "has two bodies with the name 'camera'; expected each name once");
  EXPECT_EQ(Refusal("Rot[8]", "Rot[9]"),
            "line 8: has no column Rot[8] of 'camera'; expected all of a 6D export");
}

}  // namespace
}  // namespace rigsync
