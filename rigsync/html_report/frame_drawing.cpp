// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/frame_drawing.h"

#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/review/rig_chain.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

constexpr double Long_Side = 400.0;  // units of the drawing
constexpr double Margin = 2.0;       // for the border's line
constexpr double Head_Length = 5.0, Head_Half_Width = 2.5;
// How wide a letter is on average, units; a legend needs no more.
constexpr double Letter_Width = 6.6;

std::string Point_Text(double X, double Y) {
  return Short_Number(X) + " " + Short_Number(Y);
}

// The outline of a part of the board, of straight lines in Chart that a lens may bend.
std::vector<Eigen::Vector3d> Line_In_Chart(const Eigen::Vector2d& From, const Eigen::Vector2d& To) {
  constexpr int Pieces = 8;
  std::vector<Eigen::Vector3d> Points;
  for (int k = 0; k <= Pieces; ++k) {
    const Eigen::Vector2d Point = From + (To - From) * k / Pieces;
    Points.emplace_back(Point.x(), Point.y(), 0.0);
  }
  return Points;
}

class Board_Drawing {
 public:
  Board_Drawing(const Frame_Drawing& In, const Eigen::Isometry3d& Pose, const Lens& By)
      : Into(In), Transform_Cam_Chart(Pose), Lens_Px(By) {}

  void Add_Edge(const Eigen::Vector2d& From, const Eigen::Vector2d& To, std::string_view Class,
                double Stroke) const {
    std::string Path;
    for (const Eigen::Vector2d& Pixel : Pixels(Line_In_Chart(From, To))) {
      Path += (Path.empty() ? "M" : "L") + Place(Pixel);
    }
    Element Edge = Add(Into.Svg, "path", Class);
    Set(Edge, "d", Path);
    Set(Edge, "stroke-width", Stroke);
  }

  void Add_Dot(const Eigen::Vector2d& At, double Radius, std::string_view Class) const {
    const Eigen::Vector2d Pixel = Pixels({{At.x(), At.y(), 0.0}}).front();
    Add_Circle(Into.Svg, Into.X_At(Pixel.x()), Into.Y_At(Pixel.y()), Radius, Class);
  }

  double Depth(const Eigen::Vector2d& At) const {
    return (Transform_Cam_Chart * Eigen::Vector3d(At.x(), At.y(), 0.0)).z();
  }

 private:
  std::vector<Eigen::Vector2d> Pixels(std::vector<Eigen::Vector3d> Points) const {
    for (Eigen::Vector3d& Point : Points) Point = Transform_Cam_Chart * Point;
    return Project(Lens_Px, Points);
  }

  std::string Place(const Eigen::Vector2d& Pixel) const {
    return Point_Text(Into.X_At(Pixel.x()), Into.Y_At(Pixel.y()));
  }

  const Frame_Drawing& Into;
  const Eigen::Isometry3d& Transform_Cam_Chart;
  const Lens& Lens_Px;
};

void Add_Mark(Element Svg, double X, double Y, const Legend_Entry& Entry) {
  switch (Entry.Shape) {
    case Mark_Shape::Circle:
      Add_Circle(Svg, X + 6, Y, 3.5, Entry.Class);
      break;
    case Mark_Shape::Cross:
      Add_Cross(Svg, X + 6, Y, 3.5, Entry.Class);
      break;
    case Mark_Shape::Plus:
      Add_Plus(Svg, X + 6, Y, 4.0, Entry.Class);
      break;
    case Mark_Shape::Square:
      Add_Square(Svg, X + 6, Y, 3.5, Entry.Class);
      break;
    case Mark_Shape::Line:
      Add_Line(Svg, X, Y, X + 14, Y, Entry.Class);
      break;
    case Mark_Shape::Arrow:
      Add_Arrow(Svg, X, Y, X + 14, Y, Entry.Class);
      break;
  }
}

}  // namespace

Frame_Drawing Add_Frame_Drawing(Element Figure, int Width, int Height, std::string_view Title,
                                std::string_view Description, double Legend_Height) {
  Frame_Drawing New;
  New.Scale = Long_Side / std::max(Width, Height);
  New.Left = Margin;
  New.Top = Margin + Legend_Height;
  New.Width = Width;
  New.Height = Height;
  New.Svg = Add_Drawing(Figure, New.Scale * Width + 2 * Margin,
                        New.Scale * Height + 2 * Margin + Legend_Height, Title, Description);
  Element Border = Add(New.Svg, "rect", "axis");
  Set(Border, "x", New.Left);
  Set(Border, "y", New.Top);
  Set(Border, "width", New.Scale * Width);
  Set(Border, "height", New.Scale * Height);
  return New;
}

Element Add_Arrow(Element Svg, double X1, double Y1, double X2, double Y2, std::string_view Class) {
  const double Length = std::hypot(X2 - X1, Y2 - Y1);
  if (!(Length > 1.0)) return Add_Circle(Svg, X1, Y1, 1.0, Class);
  const double Ux = (X2 - X1) / Length, Uy = (Y2 - Y1) / Length;
  const double Head = std::min(Head_Length, 0.6 * Length);
  const double Side = Head / Head_Length * Head_Half_Width;
  const double Bx = X2 - Head * Ux, By = Y2 - Head * Uy;
  Element Arrow = Add(Svg, "path", Class);
  Set(Arrow, "d",
      fmt::format("M{}L{}M{}L{}L{}", Point_Text(X1, Y1), Point_Text(X2, Y2),
                  Point_Text(Bx - Side * Uy, By + Side * Ux), Point_Text(X2, Y2),
                  Point_Text(Bx + Side * Uy, By - Side * Ux)));
  return Arrow;
}

Element Add_Cross(Element Svg, double X, double Y, double Radius, std::string_view Class) {
  Element Cross = Add(Svg, "path", Class);
  Set(Cross, "d",
      fmt::format("M{}L{}M{}L{}", Point_Text(X - Radius, Y - Radius),
                  Point_Text(X + Radius, Y + Radius), Point_Text(X - Radius, Y + Radius),
                  Point_Text(X + Radius, Y - Radius)));
  return Cross;
}

Element Add_Plus(Element Svg, double X, double Y, double Radius, std::string_view Class) {
  Element Plus = Add(Svg, "path", Class);
  Set(Plus, "d",
      fmt::format("M{}L{}M{}L{}", Point_Text(X - Radius, Y), Point_Text(X + Radius, Y),
                  Point_Text(X, Y - Radius), Point_Text(X, Y + Radius)));
  return Plus;
}

Element Add_Square(Element Svg, double X, double Y, double Radius, std::string_view Class) {
  Element Square = Add(Svg, "rect", Class);
  Set(Square, "x", X - Radius);
  Set(Square, "y", Y - Radius);
  Set(Square, "width", 2 * Radius);
  Set(Square, "height", 2 * Radius);
  return Square;
}

void Add_Legend(Element Svg, double X, double Y, const std::vector<Legend_Entry>& Entries) {
  for (const Legend_Entry& Entry : Entries) {
    Add_Mark(Svg, X, Y, Entry);
    Add_Label(Svg, X + 18, Y + 4, Entry.Text, "note");
    X += 30 + Letter_Width * static_cast<double>(Entry.Text.size());
  }
}

void Draw_Board_In_Frame(const Frame_Drawing& Into, const Eigen::Isometry3d& Transform_Cam_Chart,
                         const Board_Size& Board, double Square_Size, const Lens& Lens_Px) {
  const Board_Drawing Drawing(Into, Transform_Cam_Chart, Lens_Px);
  const double Right = Board.Cols * Square_Size, Bottom = Board.Rows * Square_Size;
  const std::vector<Eigen::Vector2d> Outline = {
      {-Square_Size, -Square_Size}, {Right, -Square_Size}, {Right, Bottom}, {-Square_Size, Bottom}};
  double Nearest = 0;
  std::size_t Near_Edge = 0;
  double Depths[4];
  for (std::size_t k = 0; k < 4; ++k) {
    if (!(Drawing.Depth(Outline[k]) > 0.0)) return;
    Depths[k] = Drawing.Depth(0.5 * (Outline[k] + Outline[(k + 1) % 4]));
    if (k == 0 || Depths[k] < Nearest) Nearest = Depths[k], Near_Edge = k;
  }
  for (int c = 0; c < Board.Cols; ++c) {
    Drawing.Add_Edge({c * Square_Size, -Square_Size}, {c * Square_Size, Bottom}, "board", 0.5);
  }
  for (int r = 0; r < Board.Rows; ++r) {
    Drawing.Add_Edge({-Square_Size, r * Square_Size}, {Right, r * Square_Size}, "board", 0.5);
  }
  const bool Is_Tilted = *std::max_element(Depths, Depths + 4) - Nearest > 0.05 * Nearest;
  for (std::size_t k = 0; k < 4; ++k) {
    Drawing.Add_Edge(Outline[k], Outline[(k + 1) % 4], "board",
                     Is_Tilted && k == Near_Edge ? 5.0 : 1.5);
  }
  Drawing.Add_Dot({0, 0}, 4.0, "found");
}

}  // namespace rigsync
