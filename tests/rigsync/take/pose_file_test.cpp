// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/take/take_text.h"

namespace rigsync {
namespace {

using testing::HasSubstr;

// The same pose in each format: a quarter turn about z, x y z w or w x y z.
const char* const Tum =
    "# timestamp tx ty tz qx qy qz qw\n"
    "1403636579.5 1.5 2.25 -0.125 0 0 0.70710678118654752 0.70710678118654752\n"
    "1403636579.75 1.5 2.25 -0.125 0.5 0.5 0.5 0.5\n";
const char* const Eth =
    "1403636579.5, 1.5, 2.25, -0.125, 0, 0, 0.70710678118654752, 0.70710678118654752\n"
    "1403636579.75, 1.5, 2.25, -0.125, 0.5, 0.5, 0.5, 0.5\n";
const char* const Euroc =
    "#timestamp, p_RS_R_x [m], p_RS_R_y [m], p_RS_R_z [m], q_RS_w [], q_RS_x [], q_RS_y [], "
    "q_RS_z []\n"
    "1403636579500000000,1.5,2.25,-0.125,0.70710678118654752,0,0,0.70710678118654752\n"
    "1403636579750000000,1.5,2.25,-0.125,0.5,0.5,0.5,0.5\n";

void Expect_Poses(const Take& Read) {
  ASSERT_EQ(Read.Bodies.size(), 1U);
  const std::vector<Timed_Sample>& Samples = Read.Bodies[0].Samples;
  ASSERT_EQ(Samples.size(), 2U);
  Expect_Pose(Samples[0], {1.5, 2.25, -0.125}, {Half_Root, 0, 0, -Half_Root});
  Expect_Pose(Samples[1], {1.5, 2.25, -0.125}, {0.5, -0.5, -0.5, -0.5});
  // A double of this size steps by 0.24 microseconds.
  EXPECT_NEAR(Samples[0].Seconds, 1403636579.5, 5e-7);
  EXPECT_NEAR(Samples[1].Seconds, 1403636579.75, 5e-7);
  EXPECT_TRUE(Read.Warnings.empty());
}

TEST(PoseFile, OfTumHasSecondsAndTheRealPartLast) {
  const Take Read = Take_Of(Tum, {}, "camera.txt");
  EXPECT_EQ(Read.Format, "TUM pose file");
  EXPECT_EQ(Fact(Read, "rotation"), "quaternions x, y, z, w, as TUM files have them");
  Expect_Poses(Read);
}

TEST(PoseFile, OfEthHasCommasAndOtherwiseTheSame) {
  const Take Read = Take_Of(Eth);
  EXPECT_EQ(Read.Format, "ETH pose CSV");
  Expect_Poses(Read);
}

TEST(PoseFile, OfEurocHasNanosecondsAndTheRealPartFirst) {
  const Take Read = Take_Of(Euroc);
  EXPECT_EQ(Read.Format, "EuRoC pose CSV");
  EXPECT_EQ(Fact(Read, "rotation"), "quaternions w, x, y, z, as EuRoC files have them");
  Expect_Poses(Read);
}

TEST(PoseFile, OfEurocMayHaveMoreColumnsOfAState) {
  std::string State = Changed(Euroc, "q_RS_z []", "q_RS_z [], v_RS_R_x [m s^-1]");
  State = Changed(State, "0.5,0.5,0.5,0.5\n", "0.5,0.5,0.5,0.5,7\n");
  State = Changed(State, "0,0,0.70710678118654752\n", "0,0,0.70710678118654752,7\n");
  Expect_Poses(Take_Of(State));
}

TEST(PoseFile, NamesItsBodyAsTheFile) {
  EXPECT_EQ(Take_Of(Tum, {}, "camera.txt").Bodies.at(0).Name, "camera");
}

TEST(PoseFile, MayHaveALineOfNames) {
  Expect_Poses(Take_Of(std::string("t, x, y, z, q_x, q_y, q_z, q_w\n") + Eth));
}

TEST(PoseFile, IsRefusedWhereItsHeaderNamesAnotherOrder) {
  EXPECT_EQ(
      Refusal_Of(std::string("t, x, y, z, q_w, q_x, q_y, q_z\n") + Eth),
      "line 1: names the quaternion in the order wxyz, and ETH files have xyzw; expected --map "
      "with a map of the columns");
  EXPECT_THAT(Refusal_Of(Changed(Tum, "qx qy qz qw", "qw qx qy qz")),
              HasSubstr("names the quaternion in the order wxyz"));
  EXPECT_THAT(Refusal_Of(Changed(Euroc, "q_RS_w [], q_RS_x [], q_RS_y [], q_RS_z []",
                                 "q_RS_x [], q_RS_y [], q_RS_z [], q_RS_w []")),
              HasSubstr("names the quaternion in the order xyzw"));
}

TEST(PoseFile, IsReadAsTheFormatThatIsAskedFor) {
  Take_Options Options;
  Options.Format = Take_Format::Euroc;
  // With nanoseconds since the start the content alone would be taken for seconds.
  const Take Read = Take_Of("500000000,1.5,2.25,-0.125,1,0,0,0\n", Options);
  EXPECT_DOUBLE_EQ(Read.Bodies.at(0).Samples.at(0).Seconds, 0.5);
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {1, 0, 0, 0});
}

}  // namespace
}  // namespace rigsync
