// SPDX-License-Identifier: Apache-2.0
//
// Boards read from markers whose places in the picture are computed by hand: a board seen from the
// front and from a slant, cut off, beside another one.
#include "rigsync/capture/marker_search.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using rigsync::Board_Size;
using rigsync::Marked_Image;
using rigsync::Read_Board;
using rigsync::Read_Boards;
using rigsync::Seen_Marker;

// How squares get into a picture of 1000 by 1000: moved by so many pixels, 40 pixels each, and
// foreshortened towards the right.
struct View {
  double X = 100, Y = 100, Slant = 0;

  std::array<float, 2> Pixel(double Col, double Row) const {
    const double Far = 1.0 + Slant * Col;
    return {static_cast<float>(X + 40.0 * Col / Far), static_cast<float>(Y + 40.0 * Row / Far)};
  }
};

// The markers of a board of so many squares, numbered as they are seen row by row. The first square
// is black.
void Add_Board(const View& Seen, int Squares_Across, int Squares_Down, int First_Id,
               Marked_Image& Image) {
  int Id = First_Id;
  for (int Row = 0; Row < Squares_Down; ++Row) {
    for (int Col = 0; Col < Squares_Across; ++Col) {
      if ((Row + Col) % 2 == 0) continue;
      Seen_Marker Marker;
      Marker.Id = Id++;
      Marker.Corners = {Seen.Pixel(Col + 0.25, Row + 0.25), Seen.Pixel(Col + 0.75, Row + 0.25),
                        Seen.Pixel(Col + 0.75, Row + 0.75), Seen.Pixel(Col + 0.25, Row + 0.75)};
      const auto [X, Y] = rigsync::Middle_Of(Marker);
      if (X > 20 && Y > 20 && X < 980 && Y < 980) Image.Markers.push_back(Marker);
    }
  }
}

Marked_Image Picture() {
  Marked_Image Image;
  Image.Width = Image.Height = 1000;
  return Image;
}

void Expect_Board(const Read_Board& Read, const Board_Size& Board, int First_Id) {
  EXPECT_EQ(Read.Board.Board.Cols, Board.Cols);
  EXPECT_EQ(Read.Board.Board.Rows, Board.Rows);
  EXPECT_EQ(Read.Board.First_Id, First_Id);
}

TEST(ReadBoards, CountsOfEvenAndOddBoardsAreReadFromTheirIds) {
  for (const Board_Size Board : {Board_Size{11, 8}, {8, 11}, {7, 7}, {6, 6}, {10, 7}, {4, 3}}) {
    for (const View Seen : {View{100, 100, 0.0}, {100, 100, 0.03}}) {
      SCOPED_TRACE(testing::Message() << Board.Cols << "x" << Board.Rows << ", " << Seen.Slant);
      Marked_Image Image = Picture();
      Add_Board(Seen, Board.Cols + 1, Board.Rows + 1, 37, Image);
      const auto Boards = Read_Boards({Image});
      ASSERT_EQ(Boards.size(), 1u);
      Expect_Board(Boards[0], Board, 37);
      EXPECT_TRUE(Boards[0].Has_All_Rows);
      EXPECT_EQ(Boards[0].Images, std::vector<std::size_t>{0});
    }
  }
}

TEST(ReadBoards, ABoardThatTheFrameCutsOffHasAtLeastTheRowsThatAreSeen) {
  Marked_Image Image = Picture();
  // Nine rows of squares; the middle of the eighth is at 970.
  Add_Board({100, 670, 0.0}, 12, 9, 0, Image);
  const auto Boards = Read_Boards({Image});
  ASSERT_EQ(Boards.size(), 1u);
  Expect_Board(Boards[0], {11, 7}, 0);
  EXPECT_FALSE(Boards[0].Has_All_Rows);
}

TEST(ReadBoards, ViewsThatShowDifferentPartsGiveOneBoard) {
  Marked_Image Upper = Picture(), Lower = Picture();
  Add_Board({100, 750, 0.0}, 12, 9, 0, Upper);
  Add_Board({100, -150, 0.0}, 12, 9, 0, Lower);
  const auto Boards = Read_Boards({Upper, Lower});
  ASSERT_EQ(Boards.size(), 1u);
  Expect_Board(Boards[0], {11, 8}, 0);
  EXPECT_EQ(Boards[0].Images, (std::vector<std::size_t>{0, 1}));
}

// Their ids follow each other, as if there were one board of twice the rows.
TEST(ReadBoards, TwoBoardsAreTwoInOneImageAndInDifferentOnes) {
  Marked_Image Both = Picture(), First = Picture(), Second = Picture();
  Add_Board({30, 30, 0.0}, 12, 9, 0, Both);
  Add_Board({300, 560, 0.0}, 12, 9, 54, Both);
  Add_Board({100, 100, 0.0}, 12, 9, 0, First);
  Add_Board({100, 100, 0.0}, 12, 9, 54, Second);
  for (const auto& Images : {std::vector<Marked_Image>{Both}, {First, Second}}) {
    SCOPED_TRACE(Images.size());
    const auto Boards = Read_Boards(Images);
    ASSERT_EQ(Boards.size(), 2u);
    Expect_Board(Boards[0], {11, 8}, 0);
    Expect_Board(Boards[1], {11, 8}, 54);
  }
}

TEST(ReadBoards, AMisreadMarkerChangesNothing) {
  Marked_Image Image = Picture();
  Add_Board({100, 100, 0.0}, 12, 9, 0, Image);
  Image.Markers[20].Id = 417;
  Image.Markers[33].Id = 2;
  const auto Boards = Read_Boards({Image});
  ASSERT_EQ(Boards.size(), 1u);
  Expect_Board(Boards[0], {11, 8}, 0);
}

TEST(ReadBoards, FewMarkersOrSomeOfAnotherArrangementAreNoBoard) {
  Marked_Image Few = Picture(), Column = Picture();
  Add_Board({100, 100, 0.0}, 4, 2, 0, Few);
  EXPECT_THAT(Read_Boards({Few}), testing::IsEmpty());
  // Numbered column by column.
  Add_Board({100, 100, 0.0}, 6, 7, 0, Column);
  for (Seen_Marker& Marker : Column.Markers) Marker.Id = (Marker.Id * 7) % 21;
  EXPECT_THAT(Read_Boards({Column}), testing::IsEmpty());
}

}  // namespace
