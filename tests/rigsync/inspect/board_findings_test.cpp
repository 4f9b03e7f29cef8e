// SPDX-License-Identifier: Apache-2.0
//
// The findings about images, boards and the lens, from facts made by hand.
#include "rigsync/inspect/board_findings.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Capture_Row;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Image_State;
using rigsync::Level;
using testing::HasSubstr;

using Lines = std::vector<std::size_t>;

// Line 2 and so on.
std::vector<Capture_Row> Make_Rows(std::size_t Count) {
  std::vector<Capture_Row> Rows(Count);
  for (std::size_t i = 0; i < Count; ++i) {
    Rows[i].Line = i + 2;
    Rows[i].Image = "images/" + std::to_string(i) + ".png";
  }
  return Rows;
}

// One image with the board, 640 by 480, and others in these states.
std::vector<Finding> Judge_States(const std::vector<rigsync::Searched_Image>& Others) {
  rigsync::Board_Search Search;
  Search.Width = 640;
  Search.Height = 480;
  Search.Images = {{Image_State::Board_Found, 640, 480, {}}};
  Search.Images.insert(Search.Images.end(), Others.begin(), Others.end());
  Findings List;
  rigsync::Judge_Search(Make_Rows(Search.Images.size()), Search, List);
  return List.Sorted();
}

TEST(BoardFindings, ImagesWithABoardOrWithoutAFileHaveNone) {
  EXPECT_TRUE(Judge_States({{Image_State::Board_Found, 640, 480, {}},
                            {Image_State::Missing, 0, 0, {}},
                            {Image_State::Not_An_Image, 0, 0, {}}})
                  .empty());
}

TEST(BoardFindings, EachStateHasItsOwn) {
  const auto Found = Judge_States({{Image_State::Unreadable, 0, 0, {}},
                                   {Image_State::Refused, 0, 0, {}},
                                   {Image_State::No_Board, 640, 480, {}},
                                   {Image_State::Other_Size, 640, 400, {}}});
  ASSERT_EQ(Found.size(), 4u);
  const struct {
    const char* Id;
    Level Severity;
  } Expected[] = {{"image_unreadable", Level::Warning},
                  {"image_refused", Level::Error},
                  {"board_not_found", Level::Warning},
                  {"image_size", Level::Warning}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(Found[i].Id, Expected[i].Id);
    EXPECT_EQ(Found[i].Severity, Expected[i].Severity);
    EXPECT_EQ(Found[i].Lines, Lines{i + 3});
  }
  EXPECT_THAT(Found[0].Example, HasSubstr("Line 3 names 'images/1.png'"));
  EXPECT_THAT(Found[3].What, HasSubstr("(640 x 480)"));
  EXPECT_EQ(Found[3].Example, "Line 6 has 640 x 400.");
}

TEST(BoardFindings, ABoardThatIsCutOffIsANoteAndNotALostOne) {
  const auto Found =
      Judge_States({{Image_State::Board_Cut_Off, 640, 480, {}, {{0, {1, 2}}, {1, {3, 4}}}}});
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_cut_off");
  EXPECT_EQ(Found[0].Severity, Level::Note);
  EXPECT_EQ(Found[0].Lines, Lines{3});
  EXPECT_THAT(Found[0].Example, HasSubstr("Line 3 shows 2 corners"));
}

TEST(BoardFindings, AnImageOfAnotherSizeWithoutABoardHasBoth) {
  const auto Found = Judge_States({{Image_State::No_Board, 600, 480, {}}});
  ASSERT_EQ(Found.size(), 2u);
  EXPECT_EQ(Found[0].Id, "image_size");
  EXPECT_EQ(Found[1].Id, "board_not_found");
}

// Boards with these errors, pixels, under a lens with this RMS error.
std::vector<Finding> Judge_Fit(double Rms, const std::vector<double>& Errors) {
  rigsync::Lens_Fit Lens;
  Lens.Rms = Rms;
  // The first row was not fitted.
  for (std::size_t i = 0; i < Errors.size(); ++i) Lens.Errors.push_back({i + 1, Errors[i]});
  Findings List;
  rigsync::Judge_Lens(Make_Rows(Errors.size() + 1), Lens, List);
  return List.Sorted();
}

TEST(BoardFindings, ABoardFitsBadlyAboveThreeTimesTheMedianAndHalfAPixel) {
  EXPECT_TRUE(Judge_Fit(0.3, {0.1, 0.1, 0.5, 0.1}).empty());
  EXPECT_TRUE(Judge_Fit(0.3, {0.25, 0.25, 0.75, 0.25}).empty());
  const auto Found = Judge_Fit(0.3, {0.25, 0.25, 0.76, 0.25});
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "board_fits_badly");
  EXPECT_EQ(Found[0].Severity, Level::Warning);
  EXPECT_EQ(Found[0].Lines, Lines{5});
  EXPECT_THAT(Found[0].Example, HasSubstr("about 0.8 pixels; the median is 0.2."));
}

TEST(BoardFindings, TheLimitIsThreeTimesTheMedianToTheLastDigits) {
  EXPECT_TRUE(Judge_Fit(0.3, {0.3, 0.3, 0.9 - 1e-12, 0.3}).empty());
  EXPECT_EQ(Judge_Fit(0.3, {0.3, 0.3, 0.9 + 1e-12, 0.3}).size(), 1u);
}

TEST(BoardFindings, ALensFitsBadlyAboveOneAndAHalfPixels) {
  EXPECT_TRUE(Judge_Fit(1.5, {1.5, 1.5, 1.5}).empty());
  const auto Found = Judge_Fit(1.51, {1.5, 1.5, 1.5});
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "lens_fits_badly");
  EXPECT_EQ(Found[0].Severity, Level::Error);
  EXPECT_TRUE(Found[0].Lines.empty());
  EXPECT_THAT(Found[0].What, HasSubstr("Above 1.5, a calibration ends with code 5."));
}

}  // namespace
