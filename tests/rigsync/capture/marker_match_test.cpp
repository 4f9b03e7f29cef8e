// SPDX-License-Identifier: Apache-2.0
//
// A board of 5 by 4 corners on squares of 40 pixels, seen from the front, so that every place can
// be told by hand: the corner (c, r) is at (100 + 40 c, 100 + 40 r), and a marker has an edge
// of 20.
#include "rigsync/capture/marker_match.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace {

using rigsync::Board_Search;
using rigsync::Board_Size;
using rigsync::Corner_Order;
using rigsync::Image_State;
using rigsync::Marked_Board;
using rigsync::Marked_Image;
using rigsync::Match_Markers;
using rigsync::Order_Of_Corners;
using rigsync::Searched_Image;
using rigsync::Seen_Marker;

using Pixels = std::vector<std::array<float, 2>>;

constexpr Board_Size Board = {5, 4};
constexpr int First_Id = 20;
const Marked_Board Marked = {Board, First_Id};

Pixels Corners_From_First() {
  Pixels Corners;
  for (int Row = 0; Row < Board.Rows; ++Row) {
    for (int Col = 0; Col < Board.Cols; ++Col) {
      Corners.push_back({static_cast<float>(100 + 40 * Col), static_cast<float>(100 + 40 * Row)});
    }
  }
  return Corners;
}

Pixels Corners_From_Last() {
  Pixels Corners = Corners_From_First();
  std::reverse(Corners.begin(), Corners.end());
  return Corners;
}

// The board has 6 by 5 squares, the first of which is black, so its rows have three, three, three,
// three and three white ones. Of the second row they are the first, the third and the fifth square,
// of the third the second, the fourth and the sixth. A square at the edge has no corner on one
// side.
struct White_Square {
  int Id;
  float X, Y;  // its middle
};
constexpr White_Square Inner_Squares[] = {{First_Id + 4, 160, 120},
                                          {First_Id + 5, 240, 120},
                                          {First_Id + 6, 120, 160},
                                          {First_Id + 7, 200, 160}};
constexpr White_Square At_Edge[] = {{First_Id + 3, 80, 120}, {First_Id + 8, 280, 160}};

Seen_Marker Marker_Of(const White_Square& Square, float Off_X = 0) {
  const float X = Square.X + Off_X, Y = Square.Y;
  Seen_Marker Marker;
  Marker.Id = Square.Id;
  Marker.Corners = {{{X - 10, Y - 10}, {X + 10, Y - 10}, {X + 10, Y + 10}, {X - 10, Y + 10}}};
  return Marker;
}

// The inner markers up to a number of them.
Marked_Image Image_With(std::size_t Count, float Off_X = 0) {
  Marked_Image Image;
  Image.Width = Image.Height = 400;
  for (std::size_t i = 0; i < Count; ++i)
    Image.Markers.push_back(Marker_Of(Inner_Squares[i], Off_X));
  return Image;
}

TEST(OrderOfCorners, IsReadFromThreeMarkersOrMore) {
  EXPECT_EQ(Order_Of_Corners(Image_With(3), Corners_From_First(), Marked),
            Corner_Order::From_First);
  EXPECT_EQ(Order_Of_Corners(Image_With(3), Corners_From_Last(), Marked), Corner_Order::From_Last);
  EXPECT_EQ(Order_Of_Corners(Image_With(2), Corners_From_First(), Marked), std::nullopt);
  EXPECT_EQ(Order_Of_Corners(Image_With(2), Corners_From_Last(), Marked), std::nullopt);
}

TEST(OrderOfCorners, MarkersAtTheEdgeAndOfOtherBoardsDontCount) {
  Marked_Image Image = Image_With(2);
  for (const White_Square& Square : At_Edge) Image.Markers.push_back(Marker_Of(Square));
  Image.Markers.push_back(Marker_Of({First_Id - 1, 120, 80}));
  Image.Markers.push_back(Marker_Of({First_Id + 15, 120, 80}));
  EXPECT_EQ(Order_Of_Corners(Image, Corners_From_First(), Marked), std::nullopt);
}

TEST(OrderOfCorners, OneMisreadMarkerOfThreeChangesNothing) {
  Marked_Image Image = Image_With(2);
  Image.Markers.push_back(Marker_Of({First_Id + 6, 240, 200}));
  EXPECT_EQ(Order_Of_Corners(Image, Corners_From_First(), Marked), Corner_Order::From_First);
  EXPECT_EQ(Order_Of_Corners(Image, Corners_From_Last(), Marked), Corner_Order::From_Last);
}

// Half an edge, 10 pixels, and one more.
TEST(OrderOfCorners, MarkersBesideTheirSquaresAreNoneOfTheBoard) {
  EXPECT_EQ(Order_Of_Corners(Image_With(4, 10), Corners_From_First(), Marked),
            Corner_Order::From_First);
  EXPECT_EQ(Order_Of_Corners(Image_With(4, 10), Corners_From_Last(), Marked),
            Corner_Order::From_Last);
  EXPECT_EQ(Order_Of_Corners(Image_With(4, 11), Corners_From_First(), Marked), std::nullopt);
  EXPECT_EQ(Order_Of_Corners(Image_With(4, 11), Corners_From_Last(), Marked), std::nullopt);
}

Searched_Image Found(const Pixels& Corners) {
  Searched_Image Image;
  Image.State = Image_State::Board_Found;
  Image.Width = Image.Height = 400;
  Image.Corners = Corners;
  return Image;
}

// Images in each of which the four inner markers are seen.
std::vector<Marked_Image> Marked_Images(std::size_t Count) {
  std::vector<Marked_Image> Images;
  for (std::size_t i = 0; i < Count; ++i) {
    Images.push_back(Image_With(4));
    Images.back().Row = i;
  }
  return Images;
}

TEST(MatchMarkers, TheOrderIsThatOfMostImagesAndOfTwoSidesTheFirst) {
  Board_Search Search;
  Search.Images = {Found(Corners_From_First()), Found(Corners_From_Last()),
                   Found(Corners_From_Last())};
  const auto Most = Match_Markers(Search, Marked_Images(3), Board, First_Id);
  ASSERT_TRUE(Most);
  EXPECT_EQ(Most->Board.First_Id, First_Id);
  EXPECT_EQ(Most->Order, Corner_Order::From_Last);
  Search.Images.pop_back();
  const auto Equal = Match_Markers(Search, Marked_Images(2), Board, First_Id);
  ASSERT_TRUE(Equal);
  EXPECT_EQ(Equal->Order, Corner_Order::From_First);
}

TEST(MatchMarkers, ImagesThatAreMirroredOrWithoutABoardDontCount) {
  Board_Search Search;
  Search.Images = {Found(Corners_From_First()), Found(Corners_From_Last()),
                   Found(Corners_From_Last())};
  std::vector<Marked_Image> Images = Marked_Images(3);
  Images[1].Is_Mirrored = true;
  Search.Images[2].State = Image_State::Board_Cut_Off;
  const auto Best = Match_Markers(Search, Images, Board, First_Id);
  ASSERT_TRUE(Best);
  EXPECT_EQ(Best->Order, Corner_Order::From_First);
  Images[0].Is_Mirrored = true;
  EXPECT_FALSE(Match_Markers(Search, Images, Board, First_Id));
}

TEST(MatchMarkers, OtherIdsThanTheStatedOnesMatchNothing) {
  Board_Search Search;
  Search.Images = {Found(Corners_From_First())};
  EXPECT_FALSE(Match_Markers(Search, Marked_Images(1), Board, First_Id + 100));
}

}  // namespace
