// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/marker_match.h"

#include "rigsync/geometry/statistics.h"

#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

using Pixel = std::array<float, 2>;

// With fewer markers the middle distance may be that of a misread one.
constexpr std::size_t Least_Markers = 3;

// A marker is in its square when its middle is at most this far from the square's, in edges of the
// marker. Other squares are two edges away or more.
constexpr double Most_Off_Edges = 0.5;

double Distance(const Pixel& A, const Pixel& B) {
  return std::hypot(double(A[0]) - B[0], double(A[1]) - B[1]);
}

// Where a square's middle is by the corners around it. None for a square at the board's edge.
std::optional<Pixel> Middle_By_Corners(const std::vector<Pixel>& Corners, const Board_Size& Board,
                                       const Square_Place& Square) {
  if (Square.Col < 1 || Square.Row < 1 || Square.Col >= Board.Cols || Square.Row >= Board.Rows) {
    return std::nullopt;
  }
  const auto Corner = [&](int Col, int Row) {
    return Corners[static_cast<std::size_t>(Row) * static_cast<std::size_t>(Board.Cols) +
                   static_cast<std::size_t>(Col)];
  };
  Pixel Middle{};
  for (const int Row : {Square.Row - 1, Square.Row}) {
    for (const int Col : {Square.Col - 1, Square.Col}) {
      const Pixel At = Corner(Col, Row);
      Middle[0] += At[0] / 4.0f;
      Middle[1] += At[1] / 4.0f;
    }
  }
  return Middle;
}

// In edges of the marker, how far markers are from their squares by corners in either order.
struct Marker_Distances {
  std::vector<double> From_First, From_Last;
};

Marker_Distances Measure(const Marked_Image& Image, const std::vector<Pixel>& Corners,
                         const Marked_Board& Board) {
  const Board_Size& Size = Board.Board;
  Marker_Distances Measured;
  for (const Seen_Marker& Marker : Image.Markers) {
    const auto Square = Square_Of_Marker(Board, Marker.Id);
    if (!Square) continue;
    const Square_Place Opposite = {Size.Cols - Square->Col, Size.Rows - Square->Row};
    const auto Here = Middle_By_Corners(Corners, Size, *Square);
    const auto There = Middle_By_Corners(Corners, Size, Opposite);
    if (!Here || !There) continue;
    const double Edge = Distance(Marker.Corners[0], Marker.Corners[1]);
    Measured.From_First.push_back(Distance(Middle_Of(Marker), *Here) / Edge);
    Measured.From_Last.push_back(Distance(Middle_Of(Marker), *There) / Edge);
  }
  return Measured;
}

// The numbers of images in which the corners begin at either end.
struct Votes {
  std::size_t From_First = 0, From_Last = 0;

  std::size_t All() const { return From_First + From_Last; }
};

Votes Count_Orders(const Board_Search& Search, const std::vector<Marked_Image>& Images,
                   const Marked_Board& Board) {
  Votes Counted;
  for (const Marked_Image& Image : Images) {
    const Searched_Image& Searched = Search.Images[Image.Row];
    if (Searched.State != Image_State::Board_Found || Image.Is_Mirrored) continue;
    const auto Order = Order_Of_Corners(Image, Searched.Corners, Board);
    if (!Order) continue;
    ++(*Order == Corner_Order::From_First ? Counted.From_First : Counted.From_Last);
  }
  return Counted;
}

std::vector<int> Likely_First_Ids(const std::vector<Marked_Image>& Images,
                                  std::optional<int> First_Id) {
  if (First_Id) return {*First_Id};
  std::vector<int> Likely;
  for (const Read_Board& Read : Read_Boards(Images)) Likely.push_back(Read.Board.First_Id);
  Likely.push_back(0);
  return Likely;
}

}  // namespace

std::optional<Corner_Order> Order_Of_Corners(const Marked_Image& Image,
                                             const std::vector<std::array<float, 2>>& Corners,
                                             const Marked_Board& Board) {
  const Marker_Distances Measured = Measure(Image, Corners, Board);
  if (Measured.From_First.size() < Least_Markers) return std::nullopt;
  const double From_First = Median(Measured.From_First), From_Last = Median(Measured.From_Last);
  if (From_First <= Most_Off_Edges) return Corner_Order::From_First;
  if (From_Last <= Most_Off_Edges) return Corner_Order::From_Last;
  return std::nullopt;
}

std::optional<Matched_Board> Match_Markers(const Board_Search& Search,
                                           const std::vector<Marked_Image>& Images,
                                           const Board_Size& Board, std::optional<int> First_Id) {
  std::optional<Matched_Board> Best;
  std::size_t Most = 0;
  for (const int First : Likely_First_Ids(Images, First_Id)) {
    const Marked_Board Tried = {Board, First};
    const Votes Counted = Count_Orders(Search, Images, Tried);
    if (Counted.All() <= Most) continue;
    Most = Counted.All();
    Best = {Tried, Counted.From_Last > Counted.From_First ? Corner_Order::From_Last
                                                          : Corner_Order::From_First};
  }
  return Best;
}

}  // namespace rigsync
