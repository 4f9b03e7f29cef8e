// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/reprojection_folders.h"

#include "rigsync/system/usage_error.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(ReprojectionFolders, MakesFoldersInsideTheOutputFolderForImagesThatExist) {
  const Scratch_Folder Scratch;
  fs::create_directories(Scratch.Path() / "in/deep");
  fs::create_directory(Scratch.Path() / "out");
  Scratch.Write("in/deep/1.png", "x");
  const fs::path Root = Scratch.Path();
  const std::vector<rigsync::Capture_Image> Images = {{1, "in/deep/1.png"},
                                                      {2, (Root / "in/deep/1.png").string()},
                                                      {3, "gone/1.png"},
                                                      {4, "in/deep/../deep/1.png"}};
  const fs::path Out = Root / "out";
  EXPECT_TRUE(rigsync::Make_Reprojection_Folders(Out, Images, Root).empty());
  EXPECT_TRUE(fs::is_directory(Out / "Reproject_in/deep"));
  EXPECT_TRUE(fs::is_directory(Out / ("Reproject_" + (Root / "in/deep").string())));
  EXPECT_FALSE(fs::exists(Out / "Reproject_gone"));
}

TEST(ReprojectionFolders, NamesTheImagesWhoseFolderIsAFile) {
  const Scratch_Folder Scratch;
  fs::create_directory(Scratch.Path() / "in");
  Scratch.Write("in/1.png", "x");
  Scratch.Write("Reproject_in", "a file");
  EXPECT_THAT(rigsync::Make_Reprojection_Folders(Scratch.Path(), {{1, "in/1.png"}}, Scratch.Path()),
              testing::ElementsAre("in/1.png"));
}

TEST(ReprojectionFolders, RefusesAnExistingImageThatClimbsOutAndNamesItsLine) {
  const Scratch_Folder Scratch;
  fs::create_directory(Scratch.Path() / "in");
  Scratch.Write("1.png", "x");
  rigsync::Refuse_Climbing_Images("c.csv", {{7, "in/../gone.png"}}, Scratch.Path());
  try {
    rigsync::Refuse_Climbing_Images("c.csv", {{7, "in/../1.png"}}, Scratch.Path());
    FAIL() << "taken";
  } catch (const rigsync::Usage_Error& Error) {
    EXPECT_THAT(Error.what(), testing::AllOf(HasSubstr("c.csv, line 7"), HasSubstr("in/../1.png")));
  }
}

TEST(ReprojectionFolders, WrittenReprojectionsAreThoseThatAreThereEachOnce) {
  const Scratch_Folder Scratch;
  const std::vector<rigsync::Capture_Image> Images = {
      {1, "b.png"}, {2, "missing.png"}, {3, "a.png"}, {4, "b.png"}, {5, "folder"}};
  Scratch.Write("Reproject_a.png", "x");
  Scratch.Write("Reproject_b.png", "x");
  Scratch.Write("Reproject_of_another_capture.png", "x");
  fs::create_directory(Scratch.Path() / "Reproject_folder");
  EXPECT_THAT(
      rigsync::Written_Reprojections(Scratch.Path(), Images),
      testing::ElementsAre(Scratch.Path() / "Reproject_a.png", Scratch.Path() / "Reproject_b.png"));
}

}  // namespace
