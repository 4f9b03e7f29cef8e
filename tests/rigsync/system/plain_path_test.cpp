// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/plain_path.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using rigsync::Plain_Path;

// a/inner, b/inner, and a/link, which leads to b/inner.
class PlainPath : public testing::Test {
 protected:
  PlainPath() {
    fs::create_directories(Top / "a/inner");
    fs::create_directories(Top / "b/inner");
    fs::create_directory_symlink(Top / "b/inner", Top / "a/link");
  }
  std::string Plain(const std::string& Below) const { return Plain_Path(Top / Below).string(); }
  std::string At(const std::string& Below) const { return (Top / Below).string(); }

  const Scratch_Folder Scratch;
  const fs::path Top = Scratch.Path();
};

TEST_F(PlainPath, HasNoDotsWhereTheyLeadToTheSamePlace) {
  EXPECT_EQ(Plain("a/../b/x.csv"), At("b/x.csv"));  // whether or not there is such a file
  EXPECT_EQ(Plain("a/./inner/../x.csv"), At("a/x.csv"));
  EXPECT_EQ(Plain("a/inner/../../b/inner"), At("b/inner"));
  EXPECT_EQ(Plain("a/inner/.."), At("a"));
  EXPECT_EQ(Plain("a/inner/../"), At("a"));
  EXPECT_EQ(Plain("a/."), At("a"));
  EXPECT_EQ(Plain("a//inner/x"), At("a/inner/x"));
  EXPECT_EQ(Plain_Path("/..").string(), "/");
  EXPECT_EQ(Plain_Path("/usr/../x.csv").string(), "/x.csv");
}

TEST_F(PlainPath, KeepsItsDotsBehindALinkThatLeadsElsewhere) {
  // a/link/.. is b.
  EXPECT_EQ(Plain("a/link/../x.csv"), At("a/link/../x.csv"));
  EXPECT_EQ(Plain("a/link/.."), At("a/link/.."));
  fs::create_directory_symlink(Top / "a/inner", Top / "a/near");
  EXPECT_EQ(Plain("a/near/../x.csv"), At("a/x.csv"));  // this one leads to the same place
}

TEST_F(PlainPath, KeepsLinksByTheirNames) {
  EXPECT_EQ(Plain("b/../a/link/x.csv"), At("a/link/x.csv"));
}

TEST_F(PlainPath, KeepsItsDotsInFoldersThatAreNotThere) {
  EXPECT_EQ(Plain("none/../x.csv"), At("none/../x.csv"));
  EXPECT_EQ(Plain("a/none/../inner/x.csv"), At("a/none/../inner/x.csv"));
}

// Two names of one file in two folders are two captures: relative image paths start elsewhere.
TEST_F(PlainPath, KeepsItsDotsWhereAnotherFolderHasTheSameFile) {
  Scratch.Write("b/x.csv", "");
  fs::create_hard_link(Top / "b/x.csv", Top / "a/x.csv");
  EXPECT_EQ(Plain("a/link/../x.csv"), At("a/link/../x.csv"));
}

TEST_F(PlainPath, LeavesPlainAndRelativePathsWhatTheyAre) {
  for (const char* Path : {"", "x.csv", "../x.csv", "..", "/", "/usr", "/usr/x.csv", "/none/x"}) {
    EXPECT_EQ(Plain_Path(Path).string(), Path);
  }
}

}  // namespace
