// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/reprojection_paths.h"

#include <gtest/gtest.h>

namespace {

TEST(ReprojectionPaths, OnlyABackslashCutsAReprojectionName) {
  EXPECT_EQ(rigsync::Reprojection_Name("a/b/1.png"), "Reproject_a/b/1.png");
  EXPECT_EQ(rigsync::Reprojection_Name("/a/1.png"), "Reproject_/a/1.png");
  EXPECT_EQ(rigsync::Reprojection_Name("C:\\a\\1.png"), "Reproject_1.png");
  EXPECT_EQ(rigsync::Reprojection_Name("C:\\a\\b/1.png"), "Reproject_b/1.png");
}

TEST(ReprojectionPaths, APathClimbsOutWhenItsDotsLeaveWhatBeginsWithReproject) {
  for (const char* Name : {"a/../1.png", "a/../../1.png", "./../1.png", "a/b/../../1.png",
                           "C:\\x\\a/../1.png", "a//../1.png", "a/./../1.png"}) {
    EXPECT_TRUE(rigsync::Climbs_Out(Name)) << Name;
  }
  // In "../images" the dots are glued to "Reproject_" and climb nowhere.
  for (const char* Name : {"1.png", "a/1.png", "/a/../b/1.png", "../images/1.png", "a/b/../1.png",
                           "C:\\..\\1.png", "a/..b/1.png", ""}) {
    EXPECT_FALSE(rigsync::Climbs_Out(Name)) << Name;
  }
}

}  // namespace
