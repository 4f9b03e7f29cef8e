// SPDX-License-Identifier: Apache-2.0
//
// Where a board goes on its paper, without drawing it.
#include "rigsync/board/board_drawing.h"
#include "rigsync/capture/board_size.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using rigsync::Board_Size;
using rigsync::Paper;

constexpr double A_Tenth = 0.1;  // the steps of Largest_Square

Paper Named_Paper(const std::string& Name) {
  for (const Paper& Known : rigsync::Named_Papers()) {
    if (Known.Name == Name) return Known;
  }
  throw std::invalid_argument(Name);
}

TEST(BoardPage, TheLargestSquareFitsAndOneATenthLargerDoesNot) {
  for (const Paper& Sheet : rigsync::Named_Papers()) {
    for (const Board_Size Board :
         {Board_Size{11, 8}, {8, 11}, {3, 3}, {20, 4}, {4, 20}, {13, 13}}) {
      SCOPED_TRACE(Sheet.Name + " with " + std::to_string(Board.Cols));
      const double Largest = rigsync::Largest_Square(Board, Sheet);
      ASSERT_GT(Largest, 1.0);
      EXPECT_TRUE(rigsync::Plan_Page(Board, Largest, Sheet));
      EXPECT_FALSE(rigsync::Plan_Page(Board, Largest + A_Tenth, Sheet));
    }
  }
}

TEST(BoardPage, BoardMarginAndStripStayOnThePaperAndApart) {
  for (const Paper& Sheet : rigsync::Named_Papers()) {
    for (const Board_Size Board : {Board_Size{11, 8}, {8, 11}, {3, 3}, {20, 4}, {4, 20}}) {
      SCOPED_TRACE(Sheet.Name + " with " + std::to_string(Board.Cols));
      const double Square = rigsync::Largest_Square(Board, Sheet);
      const rigsync::Board_Page Page = rigsync::Plan_Page(Board, Square, Sheet).value();
      const double Right = Page.Width - (Page.Strip_Beside ? rigsync::Strip_Depth : 0.0);
      const double Bottom = Page.Height - (Page.Strip_Beside ? 0.0 : rigsync::Strip_Depth);
      constexpr double Rounding = 1e-5;
      const double Least = rigsync::Least_Margin(Square) - Rounding;
      EXPECT_GE(Page.Margin, Least);
      EXPECT_GE(Page.Board_X, Page.Margin);
      EXPECT_GE(Page.Board_Y, Page.Margin);
      EXPECT_LE(Page.Board_X + (Board.Cols + 1) * Square + Page.Margin, Right + Rounding);
      EXPECT_LE(Page.Board_Y + (Board.Rows + 1) * Square + Page.Margin, Bottom + Rounding);
    }
  }
}

TEST(BoardPage, ThePageLiesAsTheBoardDoes) {
  const Paper A4 = Named_Paper("a4");
  EXPECT_EQ(rigsync::Plan_Page({11, 8}, 15.0, A4).value().Width, 297.0);
  EXPECT_EQ(rigsync::Plan_Page({8, 11}, 15.0, A4).value().Width, 210.0);
}

TEST(BoardPage, TheSmallestPaperIsOfTheSameStandardWhereOneFits) {
  const Paper A4 = Named_Paper("a4");
  const Paper Letter = Named_Paper("letter");
  const Paper Own = {"297x100", 100.0, 297.0};
  EXPECT_EQ(rigsync::Smallest_Paper({11, 8}, 25.0, A4).value().Name, "a3");
  EXPECT_EQ(rigsync::Smallest_Paper({11, 8}, 25.0, Letter).value().Name, "tabloid");
  EXPECT_EQ(rigsync::Smallest_Paper({11, 8}, 15.0, Own).value().Name, "a4");
  EXPECT_EQ(rigsync::Smallest_Paper({11, 8}, 60.0, Letter).value().Name, "a1");
  EXPECT_FALSE(rigsync::Smallest_Paper({11, 8}, 200.0, A4));
}

}  // namespace
