// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/growing_search.h"

#include "tests/core/capture/capture_stage.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

namespace {

using rigsync::Board_Search;
using rigsync::Growing_Search;
using rigsync::Image_State;

const rigsync::Board_Size Board = {Photograph_Board.width, Photograph_Board.height};
const cv::Size Usual_Size(640, 480), Other_Size(800, 600);

class GrowingSearch : public testing::Test {
 protected:
  void Add(const std::string& Name, cv::Size Size, int Pose) {
    Write_Image(Folder, Name, Draw_Board(Make_Pinhole(Size), Make_Pose(Pose)));
    rigsync::Capture_Row Row;
    Row.Image = Name;
    Rows.push_back(Row);
  }

  Board_Search Search() {
    return Growing.Search(Rows, std::vector<bool>(Rows.size(), true), Folder.Path(), {});
  }

  // Against a search that knows nothing, to the last bit.
  void Expect_As_Fresh(const Board_Search& Found) const {
    const Board_Search Fresh = rigsync::Search_Boards(Rows, std::vector<bool>(Rows.size(), true),
                                                      Folder.Path(), Board, {});
    EXPECT_EQ(Found.Width, Fresh.Width);
    EXPECT_EQ(Found.Height, Fresh.Height);
    ASSERT_EQ(Found.Images.size(), Fresh.Images.size());
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      EXPECT_EQ(Found.Images[i].State, Fresh.Images[i].State) << i;
      EXPECT_EQ(Found.Images[i].Corners, Fresh.Images[i].Corners) << i;
    }
  }

  Scratch_Folder Folder;
  std::vector<rigsync::Capture_Row> Rows;
  Growing_Search Growing{Board};
};

TEST_F(GrowingSearch, OpensNewImagesOnlyAndFindsWhatAFreshSearchFinds) {
  for (int i = 1; i <= 3; ++i) {
    Add(std::to_string(i) + ".png", Usual_Size, i);
    Expect_As_Fresh(Search());
    EXPECT_EQ(Growing.Opened(), static_cast<std::size_t>(i));
  }
  Search();
  EXPECT_EQ(Growing.Opened(), 3U);
}

TEST_F(GrowingSearch, AnImageThatWasHalfWrittenIsSearchedAgainWhenItIsWhole) {
  Add("1.png", Usual_Size, 1);
  Add("2.png", Usual_Size, 2);
  const std::string Whole = Read_Text(Folder.Path() / "2.png");
  Folder.Write("2.png", Whole.substr(0, Whole.size() / 3));
  EXPECT_NE(Search().Images[1].State, Image_State::Board_Found);
  Folder.Write("2.png", Whole);
  const Board_Search Found = Search();
  EXPECT_EQ(Found.Images[1].State, Image_State::Board_Found);
  Expect_As_Fresh(Found);
  EXPECT_EQ(Growing.Opened(), 3U);
}

// The first image decides which size a board may be found in, and how images are searched.
TEST_F(GrowingSearch, AllAreSearchedAgainWhenAnotherImageBecomesTheFirst) {
  Add("1.png", Usual_Size, 1);
  Add("2.png", Usual_Size, 2);
  Search();
  Add("0.png", Other_Size, 3);
  std::rotate(Rows.begin(), Rows.begin() + 2, Rows.end());
  const Board_Search Found = Search();
  EXPECT_EQ(Found.Width, Other_Size.width);
  EXPECT_EQ(Found.Images[1].State, Image_State::Other_Size);
  Expect_As_Fresh(Found);
}

TEST_F(GrowingSearch, AFileThatIsGoneIsNotKnownAnyMore) {
  Add("1.png", Usual_Size, 1);
  Add("2.png", Usual_Size, 2);
  Search();
  std::filesystem::remove(Folder.Path() / "2.png");
  EXPECT_FALSE(rigsync::Stamp_Of(Folder.Path() / "2.png"));
  EXPECT_EQ(Search().Images[1].State, Image_State::Unreadable);
}

}  // namespace
