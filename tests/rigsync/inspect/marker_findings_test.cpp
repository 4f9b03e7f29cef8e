// SPDX-License-Identifier: Apache-2.0
//
// What markers tell about a capture, in rendered photographs of boards that are right or have just
// one mistake.
#include "rigsync/inspect/marker_findings.h"

#include "rigsync/capture/board_markers.h"
#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using rigsync::Board_Size;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Image_State;
using rigsync::Level;
using rigsync::Stated_Markers;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::size_t>;

class MarkerFindings : public testing::Test {
 protected:
  void SetUp() override {
    if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  }

  // Four photographs of a board, lines 2 to 5, or after those that are there.
  void Take(const Board_Size& Board, int First_Id, int Count = 4) {
    simulate::Options Settings;
    Settings.Image_Count = Count;
    Settings.Width = 960;
    Settings.Height = 540;
    Settings.Board_Cols = Board.Cols;
    Settings.Board_Rows = Board.Rows;
    Settings.First_Marker = First_Id;
    Settings.Paths = simulate::Path_Form::Name_Only;
    const fs::path Folder = Scratch.Path() / std::to_string(Rows.size());
    simulate::Write_Capture(simulate::Make_Plan(Settings), Folder);
    for (int i = 1; i <= Count; ++i) {
      rigsync::Capture_Row Row;
      Row.Line = Rows.size() + 2;
      Row.Image = (Folder / ("000" + std::to_string(i) + ".png")).string();
      Row.Is_Image = true;
      Rows.push_back(Row);
    }
  }

  void Change(std::size_t Row, int Flip_Code) {
    cv::Mat Image = cv::imread(Rows[Row].Image);
    cv::flip(Image, Image, Flip_Code);
    cv::imwrite(Rows[Row].Image, Image);
  }

  // With the corners that detection finds. It takes long where the counts are wrong, and only the
  // way a board is held needs corners.
  std::vector<Finding> Judge_Found(const Stated_Markers& Stated) {
    const std::vector<bool> Readable(Rows.size(), true);
    return Judge(Stated, rigsync::Search_Boards(Rows, Readable, "", Stated.Board, {}, 1));
  }

  std::vector<Finding> Judge(const Stated_Markers& Stated) {
    rigsync::Board_Search Search;
    Search.Images.resize(Rows.size());
    for (auto& Image : Search.Images) Image.State = Image_State::No_Board;
    return Judge(Stated, Search);
  }

  std::vector<Finding> Judge(const Stated_Markers& Stated, const rigsync::Board_Search& Search) {
    Findings List;
    rigsync::Judge_Markers(Rows, Search, rigsync::Look_At_Markers(Rows, Search, Stated.Board, ""),
                           Stated, List);
    return List.Sorted();
  }

  std::vector<rigsync::Capture_Row> Rows;
  const Scratch_Folder Scratch;
};

std::vector<std::string> Ids_Of(const std::vector<Finding>& Found) {
  std::vector<std::string> Ids;
  for (const Finding& One : Found) Ids.push_back(One.Id);
  return Ids;
}

constexpr int Half_A_Turn = -1, Mirror = 1;

TEST_F(MarkerFindings, TheRightBoardHasNone) {
  Take({6, 5}, 100);
  EXPECT_THAT(Judge_Found({{6, 5}, 100, true}), IsEmpty());
  EXPECT_THAT(Judge({{6, 5}, std::nullopt, true}), IsEmpty());
}

TEST_F(MarkerFindings, ABoardWithoutMarkersHasNoneUnlessTheyAreStated) {
  Take({6, 5}, -1, 2);
  EXPECT_THAT(Judge({{6, 5}, std::nullopt, true}), IsEmpty());
  EXPECT_THAT(Ids_Of(Judge({{6, 5}, 0, true})), ElementsAre("markers_not_seen"));
}

TEST_F(MarkerFindings, WrongCountsAreToldWithTheRightOnes) {
  Take({6, 5}, 0);
  for (const Board_Size Stated : {Board_Size{5, 4}, {7, 6}, {6, 4}, {6, 7}, {5, 5}, {7, 5}}) {
    SCOPED_TRACE(testing::Message() << Stated.Cols << "x" << Stated.Rows);
    const std::vector<Finding> Found = Judge({Stated, std::nullopt, false});
    ASSERT_THAT(Ids_Of(Found), ElementsAre("board_counts"));
    EXPECT_EQ(Found[0].Severity, Level::Error);
    EXPECT_THAT(Found[0].What,
                HasSubstr("the board has 6x5 inner corners, not " + std::to_string(Stated.Cols) +
                          "x" + std::to_string(Stated.Rows)));
    EXPECT_EQ(Found[0].Advice, "Use --board 6x5.");
  }
}

// Rows below the frame could have been seen as well.
TEST_F(MarkerFindings, OfABoardThatTheFrameCutsOffTheRowsAreAtLeastThoseThatAreSeen) {
  Take({6, 8}, 0);
  for (const rigsync::Capture_Row& Row : Rows) {
    const cv::Mat Whole = cv::imread(Row.Image);
    const auto Markers = rigsync::Find_Markers(Whole);
    ASSERT_FALSE(Markers.empty());
    // Through the middle of the board.
    double Middle = 0;
    for (const rigsync::Seen_Marker& Marker : Markers) {
      Middle += double(rigsync::Middle_Of(Marker)[1]) / static_cast<double>(Markers.size());
    }
    cv::imwrite(Row.Image, Whole(cv::Range(0, static_cast<int>(Middle)), cv::Range::all()).clone());
  }
  const std::vector<Finding> Found = Judge({{5, 8}, std::nullopt, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("board_counts"));
  EXPECT_THAT(Found[0].What, testing::ContainsRegex(
                                 "has 6 inner corners in a row and at least [2-7] rows, not 5x8"));
}

TEST_F(MarkerFindings, SwappedCountsAreToldAsSuch) {
  Take({6, 5}, 0);
  const std::vector<Finding> Found = Judge({{5, 6}, 0, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("board_counts_swapped"));
  EXPECT_THAT(Found[0].What, HasSubstr("the board has 6x5 inner corners, columns first, not 5x6"));
}

TEST_F(MarkerFindings, AMirroredImageIsToldByItsLine) {
  Take({6, 5}, 0);
  Change(2, Mirror);
  const std::vector<Finding> Found = Judge({{6, 5}, 0, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("image_mirrored"));
  EXPECT_EQ(Found[0].Severity, Level::Error);
  EXPECT_EQ(Found[0].Lines, Lines{4});
}

TEST_F(MarkerFindings, ImagesThatAreAllMirroredAreToldForTheWholeCapture) {
  Take({6, 5}, 0);
  for (std::size_t i = 0; i < 4; ++i) Change(i, Mirror);
  const std::vector<Finding> Found = Judge({{6, 5}, 0, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("image_mirrored"));
  EXPECT_THAT(Found[0].Lines, IsEmpty());
}

TEST_F(MarkerFindings, AnotherBoardThanTheStagesIsTold) {
  Take({6, 5}, 42);
  const std::vector<Finding> Found = Judge({{6, 5}, 0, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("other_board"));
  EXPECT_THAT(Found[0].What, HasSubstr("its markers begin with 42, not with 0"));
}

TEST_F(MarkerFindings, ImagesOfASecondBoardAreToldByTheirLines) {
  Take({6, 5}, 0);
  Take({6, 5}, 21, 1);
  const std::vector<Finding> Found = Judge({{6, 5}, std::nullopt, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("several_boards"));
  EXPECT_EQ(Found[0].Severity, Level::Error);
  EXPECT_EQ(Found[0].Lines, Lines{6});
  EXPECT_THAT(Found[0].Example, AllOf(HasSubstr("markers from 0 on"), HasSubstr("from 21 on")));
  // The one that is stated is not the other one, however many images show it.
  const std::vector<Finding> Other = Judge({{6, 5}, 21, false});
  ASSERT_THAT(Ids_Of(Other), ElementsAre("several_boards"));
  EXPECT_EQ(Other[0].Lines, (Lines{2, 3, 4, 5}));
}

// A few images are enough to see that there are two boards, but the lines of one that was not
// looked at would stay in the capture.
TEST_F(MarkerFindings, AllImagesOfASecondBoardAreTold) {
  Take({6, 5}, 0, 14);  // lines 2 to 15
  Take({6, 5}, 21, 5);  // lines 16 to 20
  Take({6, 5}, 0, 1);   // line 21
  rigsync::Board_Search Search;
  Search.Images.resize(Rows.size());
  for (auto& Image : Search.Images) Image.State = Image_State::No_Board;
  ASSERT_EQ(rigsync::Second_Look(Search, {6, 5}).size(), 6u);
  const std::vector<Finding> Found = Judge({{6, 5}, std::nullopt, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("several_boards"));
  EXPECT_EQ(Found[0].Lines, (Lines{16, 17, 18, 19, 20}));
}

// With both counts odd, detection begins at the upper end, whichever that is.
TEST_F(MarkerFindings, ABoardThatIsHeldUpsideDownIsToldByItsLineWhereThatMatters) {
  Take({7, 5}, 0);
  EXPECT_THAT(Judge_Found({{7, 5}, 0, true}), IsEmpty());
  Change(1, Half_A_Turn);
  const std::vector<Finding> Found = Judge_Found({{7, 5}, 0, false});
  ASSERT_THAT(Ids_Of(Found), ElementsAre("board_half_turned"));
  EXPECT_EQ(Found[0].Lines, Lines{3});
  // Where all are, only a stated place of the first corner is wrong.
  for (const std::size_t i : {0u, 2u, 3u}) Change(i, Half_A_Turn);
  EXPECT_THAT(Judge_Found({{7, 5}, 0, false}), IsEmpty());
  EXPECT_THAT(Ids_Of(Judge_Found({{7, 5}, 0, true})), ElementsAre("board_half_turned"));
}

TEST_F(MarkerFindings, ABoardWithOneEvenAndOneOddCountMayBeHeldInAnyWay) {
  Take({6, 5}, 0);
  Change(1, Half_A_Turn);
  EXPECT_THAT(Judge_Found({{6, 5}, 0, true}), IsEmpty());
}

TEST_F(MarkerFindings, ABoundedNumberOfImagesIsLookedAt) {
  rigsync::Board_Search Search;
  Search.Images.resize(200);
  for (std::size_t i = 0; i < 200; ++i) {
    Search.Images[i].State = i % 2 == 0 ? Image_State::Board_Found : Image_State::No_Board;
  }
  EXPECT_EQ(rigsync::First_Look(Search).size(), 2u);
  EXPECT_EQ(rigsync::Second_Look(Search, {11, 8}).size(), 12u);
  EXPECT_EQ(rigsync::Second_Look(Search, {11, 9}).size(), 30u);
}

}  // namespace
