// SPDX-License-Identifier: Apache-2.0
//
// When the search of a capture ends early, and what is said then. The board has 7 by 5 inner
// corners; a searcher that notes its calls stands between.
#include "rigsync/inspect/count_findings.h"

#include "rigsync/capture/growing_search.h"
#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;

using rigsync::Board_Search;
using rigsync::Board_Size;
using rigsync::Capture_Row;
using rigsync::Counted_Search;
using rigsync::Image_State;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t Images = 12, Probed = 4;

// Photographed once for all tests.
const fs::path& Photographed() {
  static const Scratch_Folder Folder;
  static const fs::path Made = [] {
    simulate::Options Options;
    Options.Image_Count = Images;
    Options.Width = 640;
    Options.Height = 480;
    Options.Board_Cols = 7;
    Options.Board_Rows = 5;
    simulate::Write_Capture(simulate::Make_Plan(Options), Folder.Path());
    return Folder.Path();
  }();
  return Made;
}

class CountFindings : public testing::Test {
 protected:
  CountFindings() {
    for (std::size_t i = 0; i < Images; ++i) {
      Rows[i].Line = i + 2;
      Rows[i].Image = "images/00" + std::string(i < 9 ? "0" : "") + std::to_string(i + 1) + ".png";
    }
  }

  Counted_Search Search(const Board_Size& Stated) {
    rigsync::Growing_Search Growing(Stated);
    const auto Searcher = [&](const std::vector<Capture_Row>& Of, const std::vector<bool>& Which) {
      return Growing.Search(Of, Which, Photographed(), {});
    };
    Counted_Search Found =
        rigsync::Search_With_Counts(Rows, Readable, Photographed(), Stated, Searcher);
    Opened = Growing.Opened();
    return Found;
  }

  std::vector<Capture_Row> Rows = std::vector<Capture_Row>(Images);
  std::vector<bool> Readable = std::vector<bool>(Images, true);
  std::size_t Opened = 0;
};

TEST_F(CountFindings, WithTheRightCountsTheSearchIsTheOrdinaryOne) {
  for (const Board_Size& Stated : {Board_Size{7, 5}, Board_Size{5, 7}}) {
    const Counted_Search Found = Search(Stated);
    EXPECT_FALSE(Found.Other_Counts);
    EXPECT_EQ(Opened, Images);
    const Board_Search Fresh = rigsync::Search_Boards(Rows, Readable, Photographed(), Stated, {});
    for (std::size_t i = 0; i < Images; ++i) {
      EXPECT_EQ(Found.Boards.Images[i].State, Image_State::Board_Found);
      EXPECT_EQ(Found.Boards.Images[i].Corners, Fresh.Images[i].Corners);
    }
  }
}

TEST_F(CountFindings, WithWrongCountsTheSearchEndsAfterAFewImages) {
  const Counted_Search Found = Search({7, 6});
  ASSERT_TRUE(Found.Other_Counts);
  EXPECT_EQ(Found.Other_Counts->Board.Cols, 7);
  EXPECT_EQ(Found.Other_Counts->Board.Rows, 5);
  EXPECT_EQ(Opened, Probed);
  EXPECT_EQ(Found.Boards.Images[0].State, Image_State::No_Board);
  EXPECT_EQ(Found.Boards.Images[1].State, Image_State::Not_Searched);
  // The probed rows are spread over the capture.
  EXPECT_THAT(Found.Other_Counts->Images, ElementsAre(0U, 3U, 6U, 9U));
}

// A few frames without a board don't make the counts wrong.
TEST_F(CountFindings, OneProbedImageWithTheBoardIsEnoughToGoOn) {
  for (const std::size_t i : {0, 3, 6}) Rows[i].Image = "nowhere.png";
  const Counted_Search Found = Search({7, 5});
  EXPECT_FALSE(Found.Other_Counts);
  EXPECT_EQ(Found.Boards.Usable_Count(), Images - 3);
}

TEST_F(CountFindings, WithoutAnyBoardEveryImageIsSearched) {
  for (Capture_Row& Row : Rows) Row.Image = "capture.csv";
  const Counted_Search Found = Search({7, 5});
  EXPECT_FALSE(Found.Other_Counts);
  EXPECT_THAT(Found.Boards.Images,
              Each(Field(&rigsync::Searched_Image::State, Image_State::Unreadable)));
}

TEST_F(CountFindings, RowsThatCannotBeReadStayWhatTheyAre) {
  Readable[1] = false;
  const Counted_Search Found = Search({9, 9});
  ASSERT_TRUE(Found.Other_Counts);
  EXPECT_EQ(Found.Boards.Images[1].State, Image_State::Missing);
  EXPECT_EQ(Found.Boards.Images[2].State, Image_State::Not_Searched);
}

rigsync::Finding Judged(const Board_Size& Stated) {
  std::vector<Capture_Row> Rows(8);
  for (std::size_t i = 0; i < Rows.size(); ++i) Rows[i].Line = i + 2;
  rigsync::Findings List;
  rigsync::Judge_Counts(Rows, {{10, 7}, {0, 4}}, Stated, List);
  return List.Sorted().front();
}

TEST_F(CountFindings, TheFindingHasTheFlagToType) {
  const rigsync::Finding Found = Judged({10, 8});
  EXPECT_EQ(Found.Id, "board_counts");
  EXPECT_EQ(Found.Severity, rigsync::Level::Error);
  EXPECT_THAT(Found.What, HasSubstr("No board of 10x8 inner corners is found."));
  EXPECT_THAT(Found.What, HasSubstr("This looks like 10x7: 2 images"));
  EXPECT_EQ(Found.Example, "It is found in lines 2, 6.");
  EXPECT_EQ(Found.Advice, "Inspect again with --board 10x7.");
}

TEST_F(CountFindings, CountedSquaresAreToldApartFromCorners) {
  EXPECT_THAT(Judged({11, 8}).Advice, HasSubstr("inner corners, where four squares meet, and not"));
  EXPECT_THAT(Judged({11, 7}).Advice, Not(HasSubstr("squares")));
}

}  // namespace
