// SPDX-License-Identifier: Apache-2.0
//
// Where a board goes on its paper, without drawing it.
#include "host/board_drawing.h"

#include <gmock/gmock.h>

namespace {

using host::Board_Size;
using host::Paper;

constexpr double A_Tenth = 0.1;  // the steps of Largest_Square

TEST(BoardPage, TheLargestSquareFitsAndOneATenthLargerDoesNot) {
  for (const Paper& On : host::Named_Papers()) {
    for (const Board_Size Board :
         {Board_Size{11, 8}, {8, 11}, {3, 3}, {20, 4}, {4, 20}, {13, 13}}) {
      SCOPED_TRACE(On.Name + " with " + std::to_string(Board.Cols));
      const double Largest = host::Largest_Square(Board, On);
      ASSERT_GT(Largest, 1.0);
      EXPECT_TRUE(host::Plan_Page(Board, Largest, On));
      EXPECT_FALSE(host::Plan_Page(Board, Largest + A_Tenth, On));
    }
  }
}

TEST(BoardPage, BoardMarginAndStripStayOnThePaperAndApart) {
  for (const Paper& On : host::Named_Papers()) {
    for (const Board_Size Board : {Board_Size{11, 8}, {8, 11}, {3, 3}, {20, 4}, {4, 20}}) {
      SCOPED_TRACE(On.Name + " with " + std::to_string(Board.Cols));
      const double Square = host::Largest_Square(Board, On);
      const host::Board_Page Page = host::Plan_Page(Board, Square, On).value();
      const double Right = Page.Width - (Page.Strip_Beside ? host::Strip_Depth : 0.0);
      const double Bottom = Page.Height - (Page.Strip_Beside ? 0.0 : host::Strip_Depth);
      constexpr double Rounding = 1e-5;
      const double Least = host::Least_Margin(Square) - Rounding;
      EXPECT_GE(Page.Margin, Least);
      EXPECT_GE(Page.Board_X, Page.Margin);
      EXPECT_GE(Page.Board_Y, Page.Margin);
      EXPECT_LE(Page.Board_X + (Board.Cols + 1) * Square + Page.Margin, Right + Rounding);
      EXPECT_LE(Page.Board_Y + (Board.Rows + 1) * Square + Page.Margin, Bottom + Rounding);
    }
  }
}

TEST(BoardPage, ThePageLiesAsTheBoardDoes) {
  const Paper A4 = host::Parse_Paper("--paper", "a4");
  EXPECT_EQ(host::Plan_Page({11, 8}, 15.0, A4).value().Width, 297.0);
  EXPECT_EQ(host::Plan_Page({8, 11}, 15.0, A4).value().Width, 210.0);
}

TEST(BoardPage, APaperMayBeWrittenInCapitalsAndWithAnyTimesSign) {
  EXPECT_EQ(host::Parse_Paper("--paper", "A3").Name, "a3");
  EXPECT_EQ(host::Parse_Paper("--paper", "Letter").Name, "letter");
  for (const char* Own : {"297x420", "297X420", "297 x 420",
                          "297\xc3\x97"
                          "420"}) {
    SCOPED_TRACE(Own);
    EXPECT_EQ(host::Parse_Paper("--paper", Own).Short_Side, 297.0);
    EXPECT_EQ(host::Parse_Paper("--paper", Own).Long_Side, 420.0);
  }
}

TEST(BoardPage, TheSmallestPaperIsOfTheSameStandardWhereOneFits) {
  const Paper A4 = host::Parse_Paper("--paper", "a4");
  const Paper Letter = host::Parse_Paper("--paper", "letter");
  const Paper Own = host::Parse_Paper("--paper", "297x100");
  EXPECT_EQ(host::Smallest_Paper({11, 8}, 25.0, A4).value().Name, "a3");
  EXPECT_EQ(host::Smallest_Paper({11, 8}, 25.0, Letter).value().Name, "tabloid");
  EXPECT_EQ(host::Smallest_Paper({11, 8}, 15.0, Own).value().Name, "a4");
  EXPECT_EQ(host::Smallest_Paper({11, 8}, 60.0, Letter).value().Name, "a1");
  EXPECT_FALSE(host::Smallest_Paper({11, 8}, 200.0, A4));
}

// A half turn takes square (c, r) to (cols - c, rows - r): its colour stays when the counts' sum is
// even.
TEST(BoardPage, BoardsWithBothCountsEvenOrBothOddLookTheSameHalfTurned) {
  EXPECT_TRUE(host::Looks_Same_Half_Turned({8, 6}));
  EXPECT_TRUE(host::Looks_Same_Half_Turned({7, 5}));
  EXPECT_FALSE(host::Looks_Same_Half_Turned({11, 8}));
  EXPECT_FALSE(host::Looks_Same_Half_Turned({8, 11}));
}

}  // namespace
