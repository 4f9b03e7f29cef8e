// SPDX-License-Identifier: Apache-2.0
//
// The counts of a board that was stated wrongly, in images that are drawn here: 7 by 6 inner
// corners, found whatever was stated, and nothing where two images don't agree.
#include "rigsync/capture/board_count_search.h"

#include "tests/core/capture/capture_stage.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Board_Size;
using rigsync::Find_Board_Counts;
using testing::ElementsAre;

const cv::Size Size(640, 480);

class BoardCountSearch : public testing::Test {
 protected:
  void Add(const cv::Mat& Image) {
    Files.emplace_back(Write_Image(Folder, std::to_string(Files.size()) + ".png", Image));
  }
  void Add_Board(int Pose) { Add(Draw_Board(Make_Pinhole(Size), Make_Pose(Pose))); }
  void Add_Noise() {
    cv::Mat Noise(Size, CV_8UC3);
    cv::RNG(1).fill(Noise, cv::RNG::UNIFORM, 0, 255);
    Add(Noise);
  }
  auto Find(const Board_Size& Stated, double Most_Seconds = rigsync::Most_Count_Seconds) const {
    return Find_Board_Counts(Files, Size.width, Size.height, Stated, Most_Seconds);
  }

  Scratch_Folder Folder;
  std::vector<std::filesystem::path> Files;
};

TEST_F(BoardCountSearch, FindsTheBoardsCountsWhateverWasStated) {
  for (int Pose = 0; Pose < 4; ++Pose) Add_Board(Pose);
  // Stated, and 7 and 6 in the same order.
  const Board_Size Cases[][2] = {
      {{6, 5}, {7, 6}}, {{5, 6}, {6, 7}}, {{8, 7}, {7, 6}}, {{3, 3}, {7, 6}}, {{12, 100}, {6, 7}}};
  for (const auto& [Stated, Expected] : Cases) {
    SCOPED_TRACE(std::to_string(Stated.Cols) + "x" + std::to_string(Stated.Rows));
    const auto Seen = Find(Stated);
    ASSERT_TRUE(Seen);
    EXPECT_EQ(Seen->Board.Cols, Expected.Cols);
    EXPECT_EQ(Seen->Board.Rows, Expected.Rows);
    EXPECT_GE(Seen->Images.size(), 2U);
  }
}

TEST_F(BoardCountSearch, NamesTheImagesThatShowTheBoard) {
  Add_Noise();
  Add_Board(1);
  Files.push_back(Folder.Path() / "nowhere.png");
  Files.emplace_back(Write_Image(Folder, "grey.png", cv::Mat(Size, CV_8UC3, cv::Scalar::all(9))));
  Add_Board(2);
  const auto Seen = Find({9, 9});
  ASSERT_TRUE(Seen);
  EXPECT_THAT(Seen->Images, ElementsAre(1U, 4U));
}

TEST_F(BoardCountSearch, OneImageIsNotEnough) {
  Add_Board(1);
  EXPECT_FALSE(Find({6, 5}));
  Add_Noise();
  Add_Noise();
  EXPECT_FALSE(Find({6, 5}));
  Add_Board(2);
  EXPECT_TRUE(Find({6, 5}));
}

TEST_F(BoardCountSearch, TheStatedCountsAreNotAnAnswer) {
  Add_Board(1);
  Add_Board(2);
  EXPECT_FALSE(Find({7, 6}));
}

TEST_F(BoardCountSearch, NothingIsSearchedWhenTheTimeIsOver) {
  for (int Pose = 0; Pose < 4; ++Pose) Add_Board(Pose);
  EXPECT_FALSE(Find({6, 5}, 0.0));
}

TEST_F(BoardCountSearch, ImagesWithoutABoardOrSmallerThanOneHaveNoCounts) {
  EXPECT_FALSE(Find({7, 6}));
  Add_Noise();
  Add(cv::Mat(Size, CV_8UC3, cv::Scalar::all(128)));
  Add(cv::Mat(cv::Size(3, 2), CV_8UC3, cv::Scalar::all(128)));
  EXPECT_FALSE(Find({7, 6}));
}

}  // namespace
