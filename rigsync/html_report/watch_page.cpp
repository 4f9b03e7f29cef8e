// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/watch_page.h"

#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/report/watch_report.h"
#include "rigsync/system/text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace rigsync {
namespace {

constexpr int Refresh_Seconds = 2;

// The frame in pixels.
struct Frame {
  int Width = 1920, Height = 1080;
  Lens Lens_Px;
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

// With the sign that a terminal may not have.
std::string With_Signs(std::string Text) {
  constexpr std::string_view Typed = "+- ", Sign = "\u00b1 ";
  for (std::size_t At = Text.find(Typed); At != std::string::npos; At = Text.find(Typed, At)) {
    Text.replace(At, Typed.size(), Sign);
  }
  return Text;
}

// The edge of the inner corners in all images.
void Add_Found_Boards(const Frame_Drawing& Into, const Watched_Capture& Capture) {
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
      Add_Line(Into.Svg, Into.X_At(From[0]), Into.Y_At(From[1]), Into.X_At(To[0]), Into.Y_At(To[1]),
               "kept");
    }
  }
}

void Add_Frame_Figure(Element Section, const Watched_Capture& Capture) {
  const Frame Of = Frame_Of(Capture);
  Element Figure = Add_Figure(
      Section,
      {"The frame, with the next pose",
       "The board in lines is where it should be photographed next: its heavy edge is nearest to "
       "the camera, the ring is the first corner. The other outlines are the boards that were "
       "found. Good captures have outlines everywhere, large and small, and of every shape."});
  const Frame_Drawing Drawing =
      Add_Frame_Drawing(Figure, Of.Width, Of.Height, "The frame, with the next pose",
                        With_Signs(Advice_Text(Capture)));
  Set(Drawing.Svg, "class", "framed");
  Add_Found_Boards(Drawing, Capture);
  if (!Capture.Advice.Pose) return;
  Draw_Board_In_Frame(Drawing, Capture.Advice.Pose->Transform_Cam_Chart, Capture.Inputs.Board.Board,
                      Capture.Inputs.Board.Square_Size, Of.Lens_Px);
}

}  // namespace

std::string Watch_Page(const Watched_Capture& Capture) {
  const std::string Title = "Capture of " + One_Line(Capture.Inputs.Csv.filename().string());
  const Page Whole = Make_Page(Title, Refresh_Seconds);
  Add_Text(Whole.Main, "h1", Title, "page-title");
  Element Advice = Add_Section(Whole.Main, "next", With_Signs(Advice_Text(Capture)));
  for (const std::string& Text : Shortage_Texts(Capture)) Add_Text(Advice, "p", With_Signs(Text));
  Add_Frame_Figure(Advice, Capture);
  Element State = Add_Section(Whole.Main, "state", "The capture so far");
  std::string Screen;
  for (const std::string& Line : State_Lines(Capture, Screen_Lines, /*Colour=*/false)) {
    Screen += Line + "\n";
  }
  Add_Text(State, "pre", With_Signs(Screen));
  return Page_Source(Whole);
}

}  // namespace rigsync
