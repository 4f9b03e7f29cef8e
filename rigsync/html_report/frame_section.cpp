// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/frame_section.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/review/corner_residuals.h"
#include "rigsync/review/lens_shape.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

constexpr int Rings = 8;
// From a root mean square of this many pixels on, photographs are blurred or the board is bent.
constexpr double Good_Rms_Px = 0.3;

// A mount that would move by less than this part of the limits is as good as it was.
constexpr double Harmless_Part = 1.0 / 3.0;

std::string Lens_Check_Text(const Lens_Model_Check& Check, const Accuracy_Limits& Limits) {
  const double Mm = 1000.0 * Check.Mount_Motion.tail<3>().norm();
  const double Deg = Degrees_Per_Radian * Check.Mount_Motion.head<3>().norm();
  const bool Is_Harmless = Mm < Harmless_Part * Limits.Mm && Deg < Harmless_Part * Limits.Deg;
  return fmt::format(
      "The lens model leaves something: with tangential distortion and a third radial coefficient, "
      "which it leaves out, the corners would fit better, and the mount would move by {} mm and {} "
      "degrees. {}",
      Two_Figures(Mm), Two_Figures(Deg),
      Is_Harmless ? "That is little beside the limits." : "That is much beside the limits.");
}

std::string Ring_Text(const Farthest_Ring& Farthest) {
  const double Off = Farthest.Mean.Mean;
  return fmt::format(
      "The lens model leaves something: between {} and {} pixels from the centre, corners are {} "
      "pixels off {}, which is {} standard errors.",
      Short_Number(Farthest.Ring->From_Px, 0), Short_Number(Farthest.Ring->To_Px, 0),
      Two_Figures(std::abs(Off)),
      !Farthest.Is_Radial ? "around it"
      : Off > 0.0         ? "outwards"
                          : "inwards",
      Short_Number(Farthest.Mean.Standard_Errors(), 0));
}

// Errors of tangential distortion cancel out along a ring, so the check of the model comes first.
std::string Judgement_Text(const Run_View& View, const Farthest_Ring& Farthest) {
  const auto& Solved = View.Result.Solved;
  if (Solved && Solved->Lens_Check && Asks_For_More(*Solved->Lens_Check)) {
    return Lens_Check_Text(*Solved->Lens_Check, View.Result.Inputs.Limits);
  }
  if (!Farthest.Ring) return "There are too few images for a judgement of the lens model.";
  if (Farthest.Mean.Standard_Errors() > Clear_Standard_Errors) return Ring_Text(Farthest);
  return "The lens model fits: no ring differs from 0 by more than chance explains.";
}

double Largest_Mean(const Residual_Grid& Grid) {
  double Largest = 0;
  for (const Residual_Cell& Cell : Grid.Cells) {
    if (Cell.Corners >= Least_Cell_Corners) Largest = std::max(Largest, Cell.Mean_Px.norm());
  }
  return Largest;
}

void Draw_Cells(const Frame_Drawing& Into, const Residual_Grid& Grid, double Magnification) {
  for (int r = 0; r < Grid.Rows; ++r) {
    for (int c = 0; c < Grid.Cols; ++c) {
      const Residual_Cell& Cell = Grid.Cells[static_cast<std::size_t>(r * Grid.Cols + c)];
      if (Cell.Corners < Least_Cell_Corners) continue;
      const double X = Into.X_At((c + 0.5) / Grid.Cols * Into.Width);
      const double Y = Into.Y_At((r + 0.5) / Grid.Rows * Into.Height);
      const Eigen::Vector2d Drawn = Into.Scale * Magnification * Cell.Mean_Px;
      Element Arrow = Add_Arrow(Into.Svg, X - Drawn.x() / 2, Y - Drawn.y() / 2, X + Drawn.x() / 2,
                                Y + Drawn.y() / 2, "arrow");
      Add_Tip(Arrow, fmt::format("{} pixels, mean of {} corners", Two_Figures(Cell.Mean_Px.norm()),
                                 Cell.Corners));
    }
  }
}

void Add_Vectors(Element Parent, const Run_View& View,
                 const std::vector<Corner_Residual>& Residuals) {
  const Residual_Grid Grid = Bin_Over_Frame(Residuals, View.Width, View.Height);
  const double Largest = Largest_Mean(Grid);
  const double Room = 0.95 * std::max(View.Width, View.Height) / std::max(Grid.Cols, Grid.Rows);
  const double Magnification = Round_Magnification(Largest, Room);
  Element Figure = Add_Figure(
      Parent, {"What the lens leaves, over the frame",
               fmt::format("Each arrow is the mean of the corners in its part of the frame, found "
                           "less drawn, {} times as long as it is in the picture; the longest is "
                           "{} pixels. Good: short arrows in all directions, no swirl, no star. "
                           "Parts with fewer than {} corners are empty.",
                           Short_Number(Magnification), Two_Figures(Largest), Least_Cell_Corners)});
  const Frame_Drawing Frame =
      Add_Frame_Drawing(Figure, View.Width, View.Height, "Mean errors of corners over the frame",
                        fmt::format("The longest is {} pixels.", Two_Figures(Largest)));
  Draw_Cells(Frame, Grid, Magnification);
  const double X = Frame.X_At(View.Lens_Px->Cx), Y = Frame.Y_At(View.Lens_Px->Cy);
  Add_Line(Frame.Svg, X - 6, Y, X + 6, Y, "axis");
  Add_Tip(Add_Line(Frame.Svg, X, Y - 6, X, Y + 6, "axis"), "principal point");
}

double Largest_Reach(const std::vector<Residual_Ring>& Rings_Seen) {
  double Largest = 0;
  for (const Residual_Ring& Ring : Rings_Seen) {
    for (const Mean_With_Error& Mean : {Ring.Radial, Ring.Tangential}) {
      Largest = std::max(Largest, std::abs(Mean.Mean) + 2.0 * Mean.Error);
    }
  }
  return Largest;
}

void Draw_Mean(const Plot& Into, const Residual_Ring& Ring, const Mean_With_Error& Mean,
               bool Is_Radial) {
  const double Middle = (Ring.From_Px + Ring.To_Px) / 2;
  const double X = Into.X_At(Middle) + (Is_Radial ? -4.0 : 4.0), Y = Into.Y_At(Mean.Mean);
  const char* const Class = Is_Radial ? "kept" : "found";
  Add_Line(Into.Svg, X, Into.Y_At(Mean.Mean - 2.0 * Mean.Error), X,
           Into.Y_At(Mean.Mean + 2.0 * Mean.Error), Class);
  Element Mark =
      Is_Radial ? Add_Circle(Into.Svg, X, Y, 3.5, Class) : Add_Square(Into.Svg, X, Y, 3.5, Class);
  Add_Tip(Mark, fmt::format("{} px {} standard error {}, {} corners in {} images",
                            Short_Number(Mean.Mean, 4), Is_Radial ? "outwards," : "around,",
                            Short_Number(Mean.Error, 4), Ring.Corners, Ring.Images));
}

void Add_Radius(Element Parent, const std::vector<Residual_Ring>& Rings_Seen,
                std::string_view Judgement) {
  Element Figure = Add_Figure(
      Parent, {"Error against the distance from the centre",
               "Means of rings about the principal point, with two standard errors up and down. "
               "Good: the bars reach 0 everywhere, and there is no trend."});
  if (Rings_Seen.empty()) {
    Add_Text(Figure, "p", "No ring has corners of enough images.", "quiet");
    return;
  }
  const double Reach = std::max(Largest_Reach(Rings_Seen), 1e-3);
  const Plot Drawn =
      Add_Plot(Figure, Round_Axis(0.0, Rings_Seen.back().To_Px, "pixels from the principal point"),
               Round_Axis(-Reach, Reach, "mean error, pixels"),
               "Mean error of corners against their distance from the principal point", Judgement,
               {400, 280});
  Add_Line(Drawn.Svg, Drawn.Left, Drawn.Y_At(0), Drawn.Left + Drawn.Width, Drawn.Y_At(0), "axis");
  Add_Legend(Drawn.Svg, 210, 9,
             {{Mark_Shape::Circle, "kept", "outwards"}, {Mark_Shape::Square, "found", "around"}});
  for (const Residual_Ring& Ring : Rings_Seen) {
    Draw_Mean(Drawn, Ring, Ring.Radial, true);
    Draw_Mean(Drawn, Ring, Ring.Tangential, false);
  }
}

}  // namespace

void Add_Frame_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "frame", "Does the lens model fit?");
  const std::vector<Corner_Residual> Residuals = Measure_Residuals(View);
  if (Residuals.empty() || View.Width <= 0 || View.Height <= 0) {
    Add_Text(Section, "p",
             View.Lens_Px ? "The corners that were found are not known any more."
                          : "No lens was solved, so there is nothing to compare corners with.",
             "quiet");
    return;
  }
  const auto Rings_Seen = Bin_Over_Radius(Residuals, {View.Lens_Px->Cx, View.Lens_Px->Cy}, Rings);
  const std::string Judgement = Judgement_Text(View, Find_Farthest(Rings_Seen));
  const double Rms = Rms_Px(Residuals);
  Add_Text(Section, "p", Judgement);
  Add_Text(Section, "p",
           fmt::format("Found corners against the board drawn where its own image puts it, so that "
                       "this shows the lens alone; the trackers have no part in it. The root mean "
                       "square is {} pixels; below {} is good.",
                       Two_Figures(Rms), Short_Number(Good_Rms_Px)),
           Rms < Good_Rms_Px ? "quiet" : "");
  Element Pair = Add(Section, "div", "pair");
  Add_Vectors(Pair, View, Residuals);
  Add_Radius(Pair, Rings_Seen, Judgement);
}

}  // namespace rigsync
