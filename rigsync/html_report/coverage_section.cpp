// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/coverage_section.h"

#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/inspect/capture_survey.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

std::optional<Coverage> Coverage_Of(const Run_View& View) {
  if (View.Width <= 0 || View.Height <= 0) return std::nullopt;
  Board_Search Search;
  Search.Width = View.Width;
  Search.Height = View.Height;
  for (const Viewed_Row& Row : View.Rows) {
    Search.Images.emplace_back();
    Search.Images.back().Corners = Row.Corners;
  }
  return Measure_Coverage(Search);
}

std::string Advice_Text(const Coverage& Frame_Coverage) {
  const std::vector<Frame_Part> Parts = Frame_Parts(Frame_Coverage);
  const auto Emptiest =
      std::min_element(Parts.begin(), Parts.end(),
                       [](const Frame_Part& A, const Frame_Part& B) { return A.Share < B.Share; });
  if (Emptiest->Share < Least_Part_Share) {
    return fmt::format("Next, hold the board so that it reaches the {} of the frame.",
                       Emptiest->Name);
  }
  if (Frame_Coverage.Share() < Least_Share) {
    return fmt::format("Most room for more is at the {} of the frame.", Emptiest->Name);
  }
  return "There is no gap that matters.";
}

void Draw_Cells(const Frame_Drawing& Into, const Coverage& Frame_Coverage) {
  const int Most = *std::max_element(Frame_Coverage.Images.begin(), Frame_Coverage.Images.end());
  const double Width = Into.Scale * Into.Width / Frame_Coverage.Cols;
  const double Height = Into.Scale * Into.Height / Frame_Coverage.Rows;
  for (int r = 0; r < Frame_Coverage.Rows; ++r) {
    for (int c = 0; c < Frame_Coverage.Cols; ++c) {
      const int Images = Frame_Coverage.At(r, c);
      const double X = Into.Left + c * Width, Y = Into.Top + r * Height;
      Element Cell = Add(Into.Svg, "rect", Images > 0 ? "cell" : "gap");
      Set(Cell, "x", X + 0.5);
      Set(Cell, "y", Y + 0.5);
      Set(Cell, "width", Width - 1);
      Set(Cell, "height", Height - 1);
      if (Images > 0) Set(Cell, "fill-opacity", 0.12 + 0.48 * std::sqrt(1.0 * Images / Most));
      Add_Tip(Cell, Images == 0   ? "no corner"
                    : Images == 1 ? "corners of 1 image"
                                  : fmt::format("corners of {} images", Images));
      if (Images == 0) Add_Cross(Into.Svg, X + Width / 2, Y + Height / 2, 3.0, "gap-mark");
    }
  }
}

// All in one path: points of length 0 with round ends.
void Draw_Corners(const Frame_Drawing& Into, const Run_View& View) {
  std::string Path;
  for (const Viewed_Row& Row : View.Rows) {
    for (const auto& [X, Y] : Row.Corners) {
      Path += fmt::format("M{} {}h0", Short_Number(Into.X_At(static_cast<double>(X)), 1),
                          Short_Number(Into.Y_At(static_cast<double>(Y)), 1));
    }
  }
  Set(Add(Into.Svg, "path", "dots"), "d", Path);
}

}  // namespace

void Add_Coverage_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "coverage", "Where corners were found");
  const auto Frame_Coverage = Coverage_Of(View);
  if (!Frame_Coverage) {
    Add_Text(Section, "p", "No corners are known: no board was found, or the images are gone.",
             "quiet");
    return;
  }
  const double Percent = 100.0 * Frame_Coverage->Share();
  Element Figure = Add_Figure(
      Section,
      {fmt::format("Corners reach {} % of the frame", Short_Number(Percent, 0)),
       "Every dot is a corner of the board; a part of the frame has the fuller colour the more "
       "images have corners there. Only there is the lens known. Good: two thirds or more, and "
       "corners near "
       "all four edges. The outermost parts often stay empty, because the board's white margin has "
       "to be in the picture."});
  const std::string Advice = Advice_Text(*Frame_Coverage);
  Add_Text(Figure, "p", Advice, Frame_Coverage->Share() < Least_Share ? "warn-text" : "");
  const Frame_Drawing Frame =
      Add_Frame_Drawing(Figure, View.Width, View.Height, "Where corners were found",
                        fmt::format("{} % of the frame. {}", Short_Number(Percent, 0), Advice), 20);
  Set(Frame.Svg, "class", "framed");
  Add_Legend(Frame.Svg, Frame.Left, 10,
             {{Mark_Shape::Circle, "dot", "corner"},
              {Mark_Shape::Cross, "gap-mark", "no corner in this part"}});
  Draw_Cells(Frame, *Frame_Coverage);
  Draw_Corners(Frame, View);
}

}  // namespace rigsync
