// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/axis_map.h"

#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rigsync {
namespace {

const Pose_Slots Numbered = {{1, 2, 3}, {10, 20, 30}};

Pose_Slots Numbered_By(const std::string& Text, const std::string& Body = "") {
  return Mapped(Numbered, Map_Of(Parse_Axis_Maps("--axes", Text), Body));
}

TEST(AxisMap, TakesWhatIsNamedOnTheRight) {
  const Pose_Slots Result = Numbered_By("pan=-roll,roll=pan,x=y,y=-x");
  EXPECT_EQ(Result.Angles_Deg, (std::array<double, 3>{-3, 2, 1}));
  EXPECT_EQ(Result.Position, (std::array<double, 3>{20, -10, 30}));
}

TEST(AxisMap, ThatOfABodyTakesThePlaceOfTheCommonOne) {
  const std::string Text = "pan=-pan; freed-2: tilt=-tilt";
  EXPECT_EQ(Numbered_By(Text, "freed-1").Angles_Deg, (std::array<double, 3>{-1, 2, 3}));
  EXPECT_EQ(Numbered_By(Text, "freed-2").Angles_Deg, (std::array<double, 3>{1, -2, 3}));
}

TEST(AxisMap, ABodyWithoutAMapKeepsItsSlots) {
  EXPECT_EQ(Numbered_By("freed-2:pan=-pan", "freed-1").Angles_Deg, Numbered.Angles_Deg);
}

TEST(AxisMap, ReadsItsOwnTextBack) {
  const std::string Text = "pan=-roll,roll=pan,z=-z";
  EXPECT_EQ(Axis_Map_Text(Parse_Axis_Maps("--axes", Text).at("")), Text);
  EXPECT_EQ(Axis_Map_Text(Axis_Map()), "");
}

TEST(AxisMap, RefusesWhatIsNoMap) {
  for (const char* const Text : {"", "pan", "pan=", "pan=x", "x=pan", "pan=+pan", "yaw=pan",
                                 "pan=-pan,", "pan=-pan,pan=-pan", ":pan=-pan",
                                 "pan=-pan;tilt=-tilt", "a:pan=-pan;a:tilt=-tilt", "pan==pan"}) {
    try {
      Parse_Axis_Maps("--axes", Text);
      ADD_FAILURE() << Text;
    } catch (const Usage_Error& Error) {
      EXPECT_THAT(Error.what(), testing::StartsWith("--axes: '" + std::string(Text) + "'"));
    }
  }
}

TEST(AxisMap, RefusesASlotThatIsTakenTwice) {
  EXPECT_THROW(Parse_Axis_Maps("--axes", "pan=tilt"), Usage_Error);
  EXPECT_THROW(Parse_Axis_Maps("--axes", "x=-y"), Usage_Error);
  EXPECT_NO_THROW(Parse_Axis_Maps("--axes", "x=-y,y=x"));
}

}  // namespace
}  // namespace rigsync
