// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/reprojection_folders.h"

#include "rigsync/system/usage_error.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

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

TEST(ReprojectionFolders, AnImageThatTheLibraryCannotBeGivenIsRefusedWithItsLine) {
  const Scratch_Folder Scratch;
  ASSERT_EQ(mkfifo((Scratch.Path() / "pipe.png").c_str(), 0600), 0);
  Scratch.Write("1.png", "x");
  rigsync::Refuse_Unfit_Images("c.csv", {{2, "1.png"}, {3, ""}, {4, "gone.png"}, {5, "."}},
                               Scratch.Path());
  try {
    rigsync::Refuse_Unfit_Images("c.csv", {{2, "1.png"}, {7, "pipe.png"}}, Scratch.Path());
    FAIL() << "taken";
  } catch (const rigsync::Usage_Error& Error) {
    EXPECT_STREQ(Error.what(),
                 "c.csv, line 7: image path 'pipe.png' leads to a pipe or a device; correct it, or "
                 "remove the line");
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

TEST(ReprojectionFolders, AnImageThatEndsEarlyIsRemovedAndAWholeOneStays) {
  const Scratch_Folder Scratch;
  const cv::Mat Picture(40, 60, CV_8UC3, cv::Scalar(10, 20, 30));
  std::vector<rigsync::Capture_Image> Images;
  for (const std::string Ending : {".png", ".jpg"}) {
    std::vector<unsigned char> Encoded;
    ASSERT_TRUE(cv::imencode(Ending, Picture, Encoded));
    const std::string Bytes(Encoded.begin(), Encoded.end());
    Scratch.Write("Reproject_whole" + Ending, Bytes);
    Scratch.Write("Reproject_empty" + Ending, "");
    Scratch.Write("Reproject_begun" + Ending, Bytes.substr(0, 20));
    Scratch.Write("Reproject_cut" + Ending, Bytes.substr(0, Bytes.size() - 1));
    for (const char* Name : {"whole", "empty", "begun", "cut"}) {
      Images.push_back({1, Name + Ending});
    }
  }
  Scratch.Write("Reproject_other.bmp", "BM and whatever follows");
  Images.push_back({9, "other.bmp"});
  rigsync::Remove_Cut_Reprojections(Scratch.Path(), Images);
  EXPECT_THAT(rigsync::Written_Reprojections(Scratch.Path(), Images),
              testing::UnorderedElementsAre(Scratch.Path() / "Reproject_whole.png",
                                            Scratch.Path() / "Reproject_whole.jpg",
                                            Scratch.Path() / "Reproject_other.bmp"));
}

TEST(ReprojectionFolders, MissingAreThoseOfKeptImagesOfARunThatEnded) {
  const Scratch_Folder Scratch;
  Scratch.Write("Reproject_there.png", "x");
  rigsync::Run_Report Report;
  const auto Add = [&](const char* Name, rigsync::Image_Fate Fate, std::optional<double> Px) {
    rigsync::Image_Report Image;
    Image.Name = Name;
    Image.Fate = Fate;
    Image.Reprojection_Px = Px;
    Report.Images.push_back(Image);
  };
  Add("there.png", rigsync::Image_Fate::Kept, 0.5);
  Add("missing.png", rigsync::Image_Fate::Kept, 0.5);
  Add("missing.png", rigsync::Image_Fate::Kept, 0.5);
  Add("unmeasured.png", rigsync::Image_Fate::Kept, std::nullopt);
  Add("dropped.png", rigsync::Image_Fate::No_Board, std::nullopt);
  Add("folder/missing.png", rigsync::Image_Fate::Kept, 0.5);
  Report.Step = rigsync::Run_Step::Writing_Images;
  EXPECT_THAT(rigsync::Missing_Reprojections(Scratch.Path(), Report), testing::IsEmpty());
  Report.Step = rigsync::Run_Step::Ended;
  EXPECT_THAT(rigsync::Missing_Reprojections(Scratch.Path(), Report),
              testing::ElementsAre("missing.png"));
}

}  // namespace
