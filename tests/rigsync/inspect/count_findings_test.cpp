// SPDX-License-Identifier: Apache-2.0
//
// When the search of a capture ends early, and what is said then. The board has 7 by 5 inner
// corners; a searcher that notes its calls stands between.
#include "rigsync/inspect/count_findings.h"

#include "rigsync/capture/growing_search.h"
#include "rigsync/inspect/inspection.h"
#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>
#include <vector>

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
  for (const std::size_t i : {0U, 3U, 6U}) Rows[i].Image = "nowhere.png";
  const Counted_Search Found = Search({7, 5});
  EXPECT_FALSE(Found.Other_Counts);
  EXPECT_EQ(Found.Boards.Usable_Count(), Images - 3);
}

TEST_F(CountFindings, WithoutAnyBoardEveryImageIsSearched) {
  for (Capture_Row& Row : Rows) Row.Image = "capture.csv";
  const Counted_Search Found = Search({7, 5});
  EXPECT_FALSE(Found.Other_Counts);
  EXPECT_EQ(Found.Boards.Images.size(), Images);
  EXPECT_THAT(Found.Boards.Images,
              Each(Field(&rigsync::Searched_Image::State, Image_State::Unreadable)));
}

// One image could be of another board.
TEST_F(CountFindings, CountsAreToldFromTwoImagesOn) {
  Readable.assign(Images, false);
  Readable[2] = true;
  const Counted_Search One = Search({7, 6});
  EXPECT_FALSE(One.Other_Counts);
  EXPECT_EQ(Opened, 1u);
  EXPECT_EQ(One.Boards.Images[2].State, Image_State::No_Board);
  Readable[8] = true;
  const Counted_Search Two = Search({7, 6});
  ASSERT_TRUE(Two.Other_Counts);
  EXPECT_THAT(Two.Other_Counts->Images, ElementsAre(2U, 8U));
}

TEST_F(CountFindings, RowsThatCannotBeReadStayWhatTheyAre) {
  Readable[1] = false;
  const Counted_Search Found = Search({9, 9});
  ASSERT_TRUE(Found.Other_Counts);
  EXPECT_EQ(Found.Boards.Images[1].State, Image_State::Missing);
  EXPECT_EQ(Found.Boards.Images[2].State, Image_State::Not_Searched);
}

// ---- Boards with markers ---------------------------------------------------------------------

// The same with markers from 20 on.
const fs::path& Photographed_With_Markers() {
  static const Scratch_Folder Folder;
  static const fs::path Made = [] {
    simulate::Options Options;
    Options.Image_Count = Images;
    Options.Width = 960;
    Options.Height = 540;
    Options.Board_Cols = 7;
    Options.Board_Rows = 5;
    Options.First_Marker = 20;
    Options.Paths = simulate::Path_Form::Relative;
    simulate::Write_Capture(simulate::Make_Plan(Options), Folder.Path());
    return Folder.Path();
  }();
  return Made;
}

class MarkedCounts : public testing::Test {
 protected:
  void SetUp() override {
    if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  }

  static rigsync::Inspection Inspect(const Board_Size& Stated) {
    rigsync::Inspection_Inputs Inputs;
    Inputs.Image_Root = Photographed_With_Markers();
    Inputs.Csv = Inputs.Image_Root / "capture.csv";
    Inputs.Board.Board = Stated;
    Inputs.Board.Square_Size = 0.03;
    return rigsync::Inspect_Capture(Inputs, rigsync::Search_Progress());
  }

  static std::vector<rigsync::Finding> About_Counts(const rigsync::Inspection& Inspected) {
    std::vector<rigsync::Finding> Found;
    for (const rigsync::Finding& One : Inspected.All_Findings.Sorted()) {
      if (One.Id == "board_counts") Found.push_back(One);
    }
    return Found;
  }
};

TEST_F(MarkedCounts, MarkersTellTheCountsAndNoOthersAreLookedFor) {
  const rigsync::Inspection Inspected = Inspect({7, 6});
  const auto Found = About_Counts(Inspected);
  ASSERT_EQ(Found.size(), 1U);
  EXPECT_THAT(Found[0].What, HasSubstr("by its markers the board has 7x5 inner corners, not 7x6"));
  EXPECT_THAT(Found[0].What, Not(HasSubstr("This looks like")));
  EXPECT_FALSE(Inspected.Other_Counts);
  // Nor is the rest searched, as where the counts are found without markers.
  EXPECT_EQ(Inspected.Search->Images[0].State, Image_State::No_Board);
  EXPECT_EQ(Inspected.Search->Images[1].State, Image_State::Not_Searched);
  EXPECT_EQ(Inspected.All_Findings.Sorted().size(), 1U);
}

TEST_F(MarkedCounts, MarkersThatTellTheStatedCountsLetTheSearchGoOn) {
  const rigsync::Inspection Inspected = Inspect({7, 5});
  EXPECT_EQ(Inspected.Search->Usable_Count(), Images);
  EXPECT_THAT(About_Counts(Inspected), testing::IsEmpty());
}

// The probed images show a part of the board, and a part has other counts.
TEST_F(MarkedCounts, WhereTheProbedBoardsAreCutOffNoOtherCountsAreLookedFor) {
  const Scratch_Folder Folder;
  fs::copy(Photographed_With_Markers(), Folder.Path(), fs::copy_options::recursive);
  std::vector<Capture_Row> Rows(Images);
  for (std::size_t i = 0; i < Images; ++i) {
    Rows[i].Image = "images/00" + std::string(i < 9 ? "0" : "") + std::to_string(i + 1) + ".png";
    if (i % 3 != 0 && i != Images - 1) continue;  // the probed ones: 0, 3, 6, 9 or the last
    const std::string File = (Folder.Path() / Rows[i].Image).string();
    cv::Mat Image = cv::imread(File);
    rigsync::Growing_Search Whole({7, 5});
    const auto Found = Whole.Search({Rows[i]}, {true}, Folder.Path(), {});
    // Something in front of the lower right corner and what is around it.
    const auto& Corner = Found.Images[0].Corners.back();
    const auto& Beside = Found.Images[0].Corners[Found.Images[0].Corners.size() - 2];
    const double Square = std::hypot(double(Corner[0]) - Beside[0], double(Corner[1]) - Beside[1]);
    cv::circle(Image, cv::Point(static_cast<int>(Corner[0]), static_cast<int>(Corner[1])),
               static_cast<int>(1.2 * Square), cv::Scalar::all(120), cv::FILLED);
    cv::imwrite(File, Image);
  }
  rigsync::Growing_Search Growing({7, 5});
  const auto Searcher = [&](const std::vector<Capture_Row>& Of, const std::vector<bool>& Which) {
    return Growing.Search(Of, Which, Folder.Path(), {});
  };
  const Counted_Search Found = rigsync::Search_With_Counts(Rows, std::vector<bool>(Images, true),
                                                           Folder.Path(), {7, 5}, Searcher);
  EXPECT_FALSE(Found.Other_Counts);
  EXPECT_TRUE(Found.Marked.empty());
  EXPECT_EQ(Growing.Opened(), Images);
  EXPECT_EQ(Found.Boards.Images[0].State, Image_State::No_Board);
  EXPECT_GE(Found.Boards.Usable_Count(), Images - 5);
}

// ---- What is said ----------------------------------------------------------------------------

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
