// SPDX-License-Identifier: Apache-2.0
//
// Boards that the frame cuts off, in rendered captures with whole ones among them. The truth is
// where the plan projects the corners to.
#include "rigsync/capture/cut_off_search.h"

#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

namespace {

using rigsync::Board_Search;
using rigsync::Board_Size;
using rigsync::Capture_Row;
using rigsync::Corner_Order;
using rigsync::Image_State;
using rigsync::Matched_Board;
using rigsync::Seen_Corner;

// Sub-pixel refinement finds the corners of a rendered view to 0.1 pixels at worst.
constexpr double Corner_Tolerance_Px = 0.15;

constexpr std::size_t Images = 6, Cut_Off = 3;
constexpr int First_Marker = 40;

// A rendered capture and its search.
struct Photographed {
  simulate::Plan Plan;
  std::vector<Capture_Row> Rows;
  Board_Search Search;
  Scratch_Folder Folder;

  // Detection takes seconds to find no board, so images that are cut off are left out and told.
  Board_Search Found_With(const Board_Size& Board) const {
    std::vector<bool> Is_Whole;
    for (const simulate::Image_Truth& Image : Plan.Images) {
      Is_Whole.push_back(Image.Kind != simulate::Row_Kind::Cut_Board);
    }
    Board_Search Found = rigsync::Search_Boards(Rows, Is_Whole, Folder.Path(), Board, {}, 1);
    for (std::size_t i = 0; i < Images; ++i) {
      if (!Is_Whole[i]) Found.Images[i] = {Image_State::No_Board, Found.Width, Found.Height, {}};
    }
    return Found;
  }

  std::optional<Matched_Board> Match(const Board_Search& By, const Board_Size& Board,
                                     std::optional<int> First_Id) const {
    std::vector<std::size_t> All(Images);
    std::iota(All.begin(), All.end(), std::size_t{0});
    return rigsync::Match_Markers(By, rigsync::Search_Markers(Rows, All, Folder.Path()), Board,
                                  First_Id);
  }
};

std::unique_ptr<Photographed> Photograph(const Board_Size& Board, int First_Id, bool Is_Turned) {
  auto Taken = std::make_unique<Photographed>();
  simulate::Options Settings;
  Settings.Image_Count = Images;
  Settings.Cut_Count = Cut_Off;
  Settings.Width = 960;
  Settings.Height = 540;
  Settings.Board_Cols = Board.Cols;
  Settings.Board_Rows = Board.Rows;
  Settings.First_Marker = First_Id;
  Taken->Plan = simulate::Make_Plan(Settings);
  simulate::Write_Capture(Taken->Plan, Taken->Folder.Path());
  for (std::size_t i = 0; i < Images; ++i) {
    Capture_Row Row;
    Row.Line = i + 2;
    Row.Image = "images/000" + std::to_string(i + 1) + ".png";
    Row.Is_Image = true;
    Taken->Rows.push_back(Row);
    if (!Is_Turned) continue;
    const std::string File = (Taken->Folder.Path() / Row.Image).string();
    cv::Mat Image = cv::imread(File);
    cv::rotate(Image, Image, cv::ROTATE_180);
    cv::imwrite(File, Image);
  }
  Taken->Search = Taken->Found_With(Board);
  return Taken;
}

// For several tests.
const Photographed& Usual() {
  static const std::unique_ptr<Photographed> Taken = Photograph({11, 8}, First_Marker, false);
  return *Taken;
}

std::size_t Count(const Board_Search& Search, Image_State State) {
  return static_cast<std::size_t>(
      std::count_if(Search.Images.begin(), Search.Images.end(),
                    [State](const auto& Image) { return Image.State == State; }));
}

double Error_Of(const Seen_Corner& Corner, const Eigen::Vector2d& Truth) {
  return std::hypot(double(Corner.Pixel[0]) - Truth.x(), double(Corner.Pixel[1]) - Truth.y());
}

// Markers of the farthest boards have edges below 10 pixels, and one such board may show too few.
constexpr std::size_t Least_Cut_Off = 2;

class CutOffSearch : public testing::Test {
 protected:
  void SetUp() override {
    if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  }
};

TEST_F(CutOffSearch, CornersThatAreSeenHaveTheIndicesAndPlacesOfTheBoards) {
  const Photographed& Of = Usual();
  ASSERT_EQ(Count(Of.Search, Image_State::No_Board), Cut_Off);
  const auto Board = Of.Match(Of.Search, {11, 8}, std::nullopt);
  ASSERT_TRUE(Board);
  EXPECT_EQ(Board->Board.First_Id, First_Marker);
  EXPECT_EQ(Board->Order, Corner_Order::From_First);
  Board_Search Search = Of.Search;
  rigsync::Search_Cut_Off_Boards(Of.Rows, Of.Folder.Path(), *Board, Search, 2);
  EXPECT_GE(Count(Search, Image_State::Board_Cut_Off), Least_Cut_Off);
  EXPECT_EQ(Count(Search, Image_State::Board_Found), Images - Cut_Off);
  for (std::size_t i = 0; i < Images; ++i) {
    EXPECT_EQ(Search.Images[i].Corners, Of.Search.Images[i].Corners);
    const std::vector<Seen_Corner>& Some = Search.Images[i].Some_Corners;
    if (Search.Images[i].State != Image_State::Board_Cut_Off) {
      EXPECT_TRUE(Some.empty());
      continue;
    }
    const auto Truth = simulate::Project_Board(Of.Plan, Of.Plan.Images[i]);
    EXPECT_GE(Some.size(), 6U);
    for (const Seen_Corner& Corner : Some) {
      EXPECT_LE(Error_Of(Corner, Truth.at(Corner.Index)), Corner_Tolerance_Px) << Corner.Index;
    }
  }
}

// Detection begins at the upper end of a board with two odd counts. What it calls the first corner
// is the last one by the markers, and so it is in the images that are cut off.
TEST_F(CutOffSearch, CornersCountFromTheEndAtWhichThoseOfWholeBoardsBegin) {
  constexpr Board_Size Size{9, 7};
  const std::unique_ptr<Photographed> Of = Photograph(Size, 0, true);
  const auto Board = Of->Match(Of->Search, Size, std::nullopt);
  ASSERT_TRUE(Board);
  ASSERT_EQ(Board->Order, Corner_Order::From_Last);
  rigsync::Search_Cut_Off_Boards(Of->Rows, Of->Folder.Path(), *Board, Of->Search, 1);
  EXPECT_GE(Count(Of->Search, Image_State::Board_Cut_Off), Least_Cut_Off);
  for (std::size_t i = 0; i < Images; ++i) {
    const auto Truth = simulate::Project_Board(Of->Plan, Of->Plan.Images[i]);
    std::size_t Last = 0;
    for (const Seen_Corner& Corner : Of->Search.Images[i].Some_Corners) {
      const Eigen::Vector2d& Upright = Truth.at(Truth.size() - 1 - Corner.Index);
      EXPECT_LE(Error_Of(Corner, Eigen::Vector2d(959, 539) - Upright), Corner_Tolerance_Px);
      EXPECT_GE(Corner.Index, Last);
      Last = Corner.Index;
    }
  }
}

TEST_F(CutOffSearch, AnotherFirstMarkerAndOtherCountsMatchNoBoard) {
  const Photographed& Of = Usual();
  EXPECT_TRUE(Of.Match(Of.Search, {11, 8}, First_Marker));
  // One row of squares further down, and on another board.
  EXPECT_FALSE(Of.Match(Of.Search, {11, 8}, First_Marker + 6));
  EXPECT_FALSE(Of.Match(Of.Search, {11, 8}, 200));
  // As detection finds it when the counts are swapped: with rows and columns exchanged.
  const Board_Search Swapped = Of.Found_With({8, 11});
  ASSERT_EQ(Count(Swapped, Image_State::Board_Found), Images - Cut_Off);
  EXPECT_FALSE(Of.Match(Swapped, {8, 11}, std::nullopt));
}

TEST_F(CutOffSearch, WithoutMarkersNoBoardIsMatched) {
  const std::unique_ptr<Photographed> Of = Photograph({7, 4}, -1, false);
  EXPECT_EQ(Count(Of->Search, Image_State::Board_Found), Images - Cut_Off);
  EXPECT_FALSE(Of->Match(Of->Search, {7, 4}, std::nullopt));
}

TEST_F(CutOffSearch, AnImageOfAnotherSizeStaysWithoutABoard) {
  const Photographed& Of = Usual();
  const Matched_Board Board = {{{11, 8}, First_Marker}, Corner_Order::From_First};
  Board_Search All = Of.Search;
  rigsync::Search_Cut_Off_Boards(Of.Rows, Of.Folder.Path(), Board, All, 1);
  for (std::size_t i = 0; i < Images; ++i) {
    if (All.Images[i].State != Image_State::Board_Cut_Off) continue;
    Board_Search Search = Of.Search;
    Search.Images[i].Width += 2;
    rigsync::Search_Cut_Off_Boards(Of.Rows, Of.Folder.Path(), Board, Search, 1);
    EXPECT_EQ(Search.Images[i].State, Image_State::No_Board);
    EXPECT_EQ(Count(Search, Image_State::Board_Cut_Off),
              Count(All, Image_State::Board_Cut_Off) - 1);
  }
}

}  // namespace
