// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/base_axes.h"

#include "rigsync/system/usage_error.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

// A point 1, 2, 3 of a file with y up, and z to the rear: with z up it is at 1, -3, 2.
TEST(BaseAxes, AreTheFilesAxesInTheirOrder) {
  const Base_Axes Axes = Parse_Axes("--axes", "x,-z,y");
  EXPECT_EQ(Axes * Eigen::Vector3d(1, 2, 3), Eigen::Vector3d(1, -3, 2));
  EXPECT_EQ(Axes.determinant(), 1.0);
}

TEST(BaseAxes, MirrorWhereTheWordsSaySo) {
  EXPECT_EQ(Parse_Axes("--axes", "x,-y,z").determinant(), -1.0);
  EXPECT_EQ(Parse_Axes("--axes", "y,x,z").determinant(), -1.0);
}

TEST(BaseAxes, AreWrittenAsTheyAreRead) {
  EXPECT_EQ(Axes_Text(Parse_Axes("--axes", "-y,z,-x")), "-y, z, -x");
}

TEST(BaseAxes, RefuseWordsThatAreNotThreeAxes) {
  for (const std::string Text : {"", "x", "x,y", "x,y,x", "x,y,w", "x,y,z,x", "x,,z", "x,y,+z",
                                 "x, y, z", "x,--y,z", "X,Y,Z", "-,y,z"}) {
    try {
      Parse_Axes("--axes", Text);
      ADD_FAILURE() << "not refused: " << Text;
    } catch (const Usage_Error& Refusal) {
      EXPECT_EQ(Refusal.what(), "--axes: '" + Text + "' is wrong; expected each of x, y and z " +
                                    "once, with or without a '-', such as x,-z,y");
    }
  }
}

}  // namespace
}  // namespace rigsync
