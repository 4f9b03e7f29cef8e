// SPDX-License-Identifier: Apache-2.0
//
// The command's corners against those that the library finds in the same photographs, to the last
// bit. The sizes are those at which a half is rounded, where another rounding changes the
// refinement window or the reduced image, and the width from which images are reduced.
#include "rigsync/capture/board_detection.h"

#include "tests/core/capture/capture_stage.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <cstring>

namespace {

// The library logs corners from twelve images on. Three photographs, each listed four times, serve
// as well as twelve.
constexpr int Photographs = 3, Repetitions = 4;

const rigsync::Board_Size Board = {Photograph_Board.width, Photograph_Board.height};

std::vector<cv::Point2f> Detect(const std::string& Path, cv::Size First_Size) {
  return rigsync::Detect_Board(cv::imread(Path, cv::IMREAD_COLOR), First_Size, Board);
}

bool Same_Bits(const std::vector<cv::Point2f>& Left, const std::vector<cv::Point2f>& Right) {
  return Left.size() == Right.size() &&
         std::memcmp(Left.data(), Right.data(), Left.size() * sizeof(cv::Point2f)) == 0;
}

class BoardDetection : public testing::TestWithParam<cv::Size> {};

TEST_P(BoardDetection, GivesTheLibrarysCornersToTheLastBit) {
  const cv::Size Size = GetParam();
  const Scratch_Folder Folder;
  std::vector<std::string> Paths;
  for (int i = 0; i < Photographs; ++i) {
    Paths.push_back(Write_Image(Folder, std::to_string(i) + ".bmp",
                                Draw_Board(Make_Pinhole(Size), Make_Pose(i))));
  }
  std::vector<std::string> Listed;
  for (int i = 0; i < Photographs * Repetitions; ++i) Listed.push_back(Paths[i % Photographs]);
  Capture_Stage Stage(Listed);
  Stage.Run();
  ASSERT_EQ(Stage.ImageCoordinate.size(), Listed.size());

  std::vector<std::vector<cv::Point2f>> Corners_all;
  for (int i = 0; i < Photographs; ++i) {
    Corners_all.push_back(Detect(Paths[i], Size));
    ASSERT_EQ(Corners_all[i].size(), static_cast<std::size_t>(Photograph_Board.area()));
    EXPECT_TRUE(Same_Bits(Corners_all[i], Stage.ImageCoordinate[i])) << "photograph " << i;
  }
  // And as text in the run log.
  std::vector<std::vector<cv::Point2f>> Listed_Corners;
  for (int i = 0; i < Photographs * Repetitions; ++i) {
    Listed_Corners.push_back(Corners_all[i % Photographs]);
  }
  const std::vector<std::string> Log = Stage.Log();
  const std::vector<std::string> Dump = Dump_Lines(Listed, Stage.Raw_Data_all, Listed_Corners);
  const auto Start = std::find(Log.begin(), Log.end(), Dump.front());
  ASSERT_GE(Log.end() - Start, static_cast<std::ptrdiff_t>(Dump.size()));
  EXPECT_EQ(std::vector<std::string>(Start, Start + static_cast<std::ptrdiff_t>(Dump.size())),
            Dump);
}

// Half the window is 3 * width / 720: 6.5, 8.5, 10.5, 12.5 and 14.5.
INSTANTIATE_TEST_SUITE_P(WindowAtAHalf, BoardDetection,
                         testing::Values(cv::Size(1560, 1040), cv::Size(2040, 1360),
                                         cv::Size(2520, 1680), cv::Size(3000, 2000),
                                         cv::Size(3480, 2320)));

// The reduced image is 720 * height / width high: 562.5 and 688.5.
INSTANTIATE_TEST_SUITE_P(ReducedHeightAtAHalf, BoardDetection,
                         testing::Values(cv::Size(1536, 1200), cv::Size(2048, 1600),
                                         cv::Size(2560, 2448)));

INSTANTIATE_TEST_SUITE_P(AtTheWidthThatIsReduced, BoardDetection,
                         testing::Values(cv::Size(640, 480), cv::Size(1439, 900),
                                         cv::Size(1440, 900)));

TEST(BoardDetection, ALaterImageIsSearchedByTheSizeOfTheFirst) {
  const Scratch_Folder Folder;
  const cv::Size First_Size(1560, 1040);
  std::vector<std::string> Paths;
  for (const cv::Size Size : {First_Size, cv::Size(1536, 1200)}) {
    Paths.push_back(Write_Image(Folder, std::to_string(Size.width) + ".bmp",
                                Draw_Board(Make_Pinhole(Size), Make_Pose(1))));
  }
  Capture_Stage Stage(Paths);
  Stage.Run();
  ASSERT_EQ(Stage.ImageCoordinate.size(), Paths.size());
  EXPECT_TRUE(Same_Bits(Detect(Paths[1], First_Size), Stage.ImageCoordinate[1]));
  EXPECT_FALSE(Same_Bits(Detect(Paths[1], cv::Size(1536, 1200)), Stage.ImageCoordinate[1]));
}

TEST(BoardDetection, AnImageWithoutABoardGivesNoCorners) {
  const cv::Mat Blank(480, 640, CV_8UC3, cv::Scalar::all(128));
  EXPECT_TRUE(rigsync::Detect_Board(Blank, Blank.size(), Board).empty());
}

}  // namespace
