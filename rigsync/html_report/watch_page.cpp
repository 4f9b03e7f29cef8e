// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/watch_page.h"

#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/report/watch_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace rigsync {
namespace {

constexpr int Refresh_Seconds = 2;
constexpr double Drawn_Width = 640;

// The frame in pixels, and how it is drawn.
struct Frame {
  double Width = 1920, Height = 1080;
  Lens Lens_Px;

  double Scale() const { return Drawn_Width / Width; }
};

// Before a lens is fitted, the one that the advice reckons with then.
Frame Frame_Of(const Watched_Capture& Capture) {
  Frame Of;
  const bool Is_Searched = Capture.Inspected && Capture.Inspected->Search;
  if (Is_Searched && Capture.Inspected->Search->Width > 0) {
    Of.Width = Capture.Inspected->Search->Width;
    Of.Height = Capture.Inspected->Search->Height;
  }
  const double Focal = std::max(Of.Width, Of.Height);
  Of.Lens_Px = {Focal, Focal, 0.5 * Of.Width, 0.5 * Of.Height, 0, 0};
  if (Is_Searched && Capture.Inspected->Lens) Of.Lens_Px = Capture.Inspected->Lens->Lens_Px;
  return Of;
}

// In the drawing's units. Without distortion, which moves no corner by more than a line is wide.
Eigen::Vector2d Drawn(const Frame& Of, const Eigen::Vector3d& Point_Cam) {
  return Of.Scale() *
         Eigen::Vector2d(Of.Lens_Px.Fx * Point_Cam.x() / Point_Cam.z() + Of.Lens_Px.Cx,
                         Of.Lens_Px.Fy * Point_Cam.y() / Point_Cam.z() + Of.Lens_Px.Cy);
}

// The edge of the inner corners in all images.
void Add_Found_Boards(Element Svg, const Watched_Capture& Capture, const Frame& Of) {
  if (!Capture.Inspected || !Capture.Inspected->Search) return;
  const Board_Size& Board = Capture.Inputs.Board.Board;
  const auto Cols = static_cast<std::size_t>(Board.Cols);
  for (const Searched_Image& Image : Capture.Inspected->Search->Images) {
    const std::size_t Count = Image.Corners.size();
    if (Count == 0) continue;
    const std::array<std::size_t, 4> Edge = {0, Cols - 1, Count - 1, Count - Cols};
    for (std::size_t k = 0; k < Edge.size(); ++k) {
      const auto& From = Image.Corners[Edge[k]];
      const auto& To = Image.Corners[Edge[(k + 1) % Edge.size()]];
      Add_Line(Svg, Of.Scale() * From[0], Of.Scale() * From[1], Of.Scale() * To[0],
               Of.Scale() * To[1], "kept");
    }
  }
}

// The advised board, its rows and columns of corners as lines.
void Add_Next_Board(Element Svg, const Watched_Capture& Capture, const Frame& Of) {
  if (!Capture.Advice.Pose) return;
  const Board_Size& Board = Capture.Inputs.Board.Board;
  const Eigen::Isometry3d& Pose = Capture.Advice.Pose->Transform_Cam_Chart;
  const auto Add = [&](double Col, double Row, double To_Col, double To_Row) {
    const double Square = Capture.Inputs.Board.Square_Size;
    const Eigen::Vector2d From = Drawn(Of, Pose * (Square * Eigen::Vector3d(Col, Row, 0)));
    const Eigen::Vector2d To = Drawn(Of, Pose * (Square * Eigen::Vector3d(To_Col, To_Row, 0)));
    Add_Line(Svg, From.x(), From.y(), To.x(), To.y(), "board");
  };
  for (int c = -1; c <= Board.Cols; ++c) Add(c, -1, c, Board.Rows);
  for (int r = -1; r <= Board.Rows; ++r) Add(-1, r, Board.Cols, r);
}

void Add_Frame_Figure(Element Section, const Watched_Capture& Capture) {
  const Frame Of = Frame_Of(Capture);
  Element Figure = Add_Figure(
      Section,
      {"The frame, with the next pose",
       "The board in lines is where it should be photographed next; the other outlines are "
       "the boards that were found. Good captures have outlines everywhere, large and "
       "small, and of every shape."});
  const double Height = Of.Scale() * Of.Height;
  Element Svg = Add_Drawing(Figure, Drawn_Width, Height, "The frame, with the next pose",
                            Advice_Text(Capture));
  for (const double Y : {0.5, Height - 0.5}) Add_Line(Svg, 0, Y, Drawn_Width, Y, "axis");
  for (const double X : {0.5, Drawn_Width - 0.5}) Add_Line(Svg, X, 0, X, Height, "axis");
  Add_Found_Boards(Svg, Capture, Of);
  Add_Next_Board(Svg, Capture, Of);
}

}  // namespace

std::string Watch_Page(const Watched_Capture& Capture) {
  const Page Whole =
      Make_Page("Capture " + Capture.Inputs.Csv.filename().string(), Refresh_Seconds);
  Element Advice = Add_Section(Whole.Main, "next", Advice_Text(Capture));
  for (const std::string& Text : Shortage_Texts(Capture)) Add_Text(Advice, "p", Text);
  Add_Frame_Figure(Advice, Capture);
  Element State = Add_Section(Whole.Main, "state", "The capture so far");
  std::string Screen;
  for (const std::string& Line : Watch_Lines(Capture, /*Colour=*/false)) Screen += Line + "\n";
  Add_Text(State, "pre", Screen);
  return Page_Source(Whole);
}

}  // namespace rigsync
