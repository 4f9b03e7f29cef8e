// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/lens_section.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/table.h"
#include "rigsync/review/lens_shape.h"
#include "rigsync/solve/lens_uncertainty.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

constexpr std::array<const char*, Lens_Parameters> Names = {"Fx", "Fy", "Cx", "Cy", "K1", "K2"};
constexpr std::array<const char*, Lens_Parameters> Meanings = {
    "focal length across",           "focal length down",        "principal point, from the left",
    "principal point, from the top", "distortion, second power", "distortion, fourth power"};
constexpr std::array<const char*, Lens_Parameters> Keys = {"joint.lens.fx", "joint.lens.fy",
                                                           "joint.lens.cx", "joint.lens.cy",
                                                           "joint.lens.k1", "joint.lens.k2"};
constexpr int First_Coefficient = 4;  // those before are pixels

std::array<double, Lens_Parameters> Values_Of(const Lens& Of) {
  return {Of.Fx, Of.Fy, Of.Cx, Of.Cy, Of.K1, Of.K2};
}

// The lens of the joint solve has the uncertainty; the library's differs from it by rounding.
struct Shown_Lens {
  Lens Numbers;
  bool Is_Joint = false;  // those of the file's joint.lens
  Matrix6d Covariance = Matrix6d::Zero();
};

std::optional<Shown_Lens> Lens_To_Show(const Run_View& View) {
  const auto& Solved = View.Result.Solved;
  if (Solved && Is_Known(Solved->Seen.Lens_Covariance)) {
    return Shown_Lens{Solved->Lens_Px, true, Solved->Seen.Lens_Covariance};
  }
  if (!View.Lens_Px) return std::nullopt;
  return Shown_Lens{*View.Lens_Px, false, Matrix6d::Zero()};
}

std::string Number_Of(std::size_t k, double Value) {
  if (!std::isfinite(Value)) return "unknown";
  return k < First_Coefficient ? fmt::format("{:.2f} px", Value) : fmt::format("{:.5f}", Value);
}

std::string Amount_Of(std::size_t k, double Value) {
  return k < First_Coefficient ? Two_Figures(Value) + " px" : Two_Figures(Value);
}

void Add_Number_Row(Element Body, const Shown_Lens& Shown, std::size_t k) {
  Element Row = Add(Body, "tr");
  Element Name = Add(Row, "th");
  Set(Name, "scope", "row");
  Append_Text(Name, Names[k]);
  Add_Text(Row, "td", Meanings[k]);
  const double Value = Values_Of(Shown.Numbers)[k];
  Element Number = Add_Text(Row, "td", Number_Of(k, Value), "number");
  if (!Shown.Is_Joint) return;
  Mark_Number(Number, Keys[k], Value);
  const auto At = static_cast<Eigen::Index>(k);
  const double Half_Width = Lens_Half_Widths(Shown.Covariance)[At];
  Add_Text(Row, "td", Amount_Of(k, std::sqrt(Shown.Covariance(At, At))), "number");
  Mark_Number(Add_Text(Row, "td", "± " + Amount_Of(k, Half_Width), "number"),
              fmt::format("joint.lens.half_width.{}", k), Half_Width);
}

void Add_Numbers(Element Section, const Shown_Lens& Shown) {
  Element Table = Add(Add_Table_Frame(Section, "The numbers of the lens"), "table");
  Element Head = Add(Add(Table, "thead"), "tr");
  for (const char* Name : {"Name", "Meaning"}) Set(Add_Text(Head, "th", Name), "scope", "col");
  Set(Add_Text(Head, "th", "Value", "number"), "scope", "col");
  if (Shown.Is_Joint) {
    Set(Add_Text(Head, "th", "Standard deviation", "number"), "scope", "col");
    Set(Add_Text(Head, "th", "95 % range", "number"), "scope", "col");
  }
  Element Body = Add(Table, "tbody");
  for (std::size_t k = 0; k < Names.size(); ++k) Add_Number_Row(Body, Shown, k);
}

// Six steps from none to full.
std::string Shade_Of(double Correlation) {
  return fmt::format("number shade-{}",
                     std::clamp(static_cast<int>(std::round(5.0 * std::abs(Correlation))), 0, 5));
}

void Add_Correlations(Element Parent, const Matrix6d& Covariance) {
  const Matrix6d Correlation = Correlation_Of(Covariance);
  Element Figure = Add_Figure(
      Parent, {"Which numbers hang together",
               "Correlations of the errors, from -1 to 1; the fuller the colour, the stronger. "
               "Where two are near 1 or -1, the images can't tell the two apart: one is off, and "
               "the other makes "
               "up for it. Good: hardly any colour for Cx and Cy in the rows of Fx and Fy. K1 and "
               "K2 always hang together, and so do Fx and Fy."});
  Element Table =
      Add(Add_Table_Frame(Figure, "Correlations of the lens's numbers"), "table", "matrix");
  Element Head = Add(Add(Table, "thead"), "tr");
  Add_Text(Head, "td", "");
  for (const char* Name : Names) Set(Add_Text(Head, "th", Name, "number"), "scope", "col");
  Element Body = Add(Table, "tbody");
  for (std::size_t r = 0; r < Names.size(); ++r) {
    Element Row = Add(Body, "tr");
    Set(Add_Text(Row, "th", Names[r]), "scope", "row");
    for (std::size_t c = 0; c < Names.size(); ++c) {
      const double Value = Correlation(static_cast<Eigen::Index>(r), static_cast<Eigen::Index>(c));
      Add_Text(Row, "td", r == c ? "1" : fmt::format("{:.2f}", Value),
               r == c ? "number quiet" : Shade_Of(Value));
    }
  }
}

// From the principal point to the farthest corner of the frame, and of the found corners.
double Farthest_Corner(const Run_View& View, const Lens& From) {
  double Farthest = 0;
  for (const double X : {0.0, 1.0 * View.Width}) {
    for (const double Y : {0.0, 1.0 * View.Height}) {
      Farthest = std::max(Farthest, std::hypot(X - From.Cx, Y - From.Cy));
    }
  }
  return Farthest;
}

double Farthest_Found(const Run_View& View, const Lens& From) {
  double Farthest = 0;
  for (const Viewed_Row& Row : View.Rows) {
    for (const auto& [X, Y] : Row.Corners) {
      Farthest = std::max(
          Farthest, std::hypot(static_cast<double>(X) - From.Cx, static_cast<double>(Y) - From.Cy));
    }
  }
  return Farthest;
}

std::string Path_Of(const Plot& Into, const std::vector<Distortion_Point>& Curve, double Sides,
                    bool Is_Backwards) {
  std::string Path;
  for (std::size_t k = 0; k < Curve.size(); ++k) {
    const Distortion_Point& Point = Curve[Is_Backwards ? Curve.size() - 1 - k : k];
    Path += fmt::format("L{} {}", Short_Number(Into.X_At(Point.Radius_Px)),
                        Short_Number(Into.Y_At(Point.Shift_Px + Sides * Point.Half_Width_Px)));
  }
  return Path;
}

void Draw_Curve(const Plot& Into, const std::vector<Distortion_Point>& Curve) {
  std::string Band = Path_Of(Into, Curve, 1.0, false) + Path_Of(Into, Curve, -1.0, true) + "Z";
  Band[0] = 'M';
  Set(Add(Into.Svg, "path", "band"), "d", Band);
  std::string Line = Path_Of(Into, Curve, 0.0, false);
  Line[0] = 'M';
  Set(Add(Into.Svg, "path", "predicted"), "d", Line);
}

void Add_Curve(Element Parent, const Run_View& View, const Shown_Lens& Shown) {
  const auto Curve =
      Distortion_Curve(Shown.Numbers, Shown.Covariance, Farthest_Corner(View, Shown.Numbers));
  if (Curve.size() < 2) return;
  double Low = 0, High = 0;
  for (const Distortion_Point& Point : Curve) {
    Low = std::min(Low, Point.Shift_Px - Point.Half_Width_Px);
    High = std::max(High, Point.Shift_Px + Point.Half_Width_Px);
  }
  const Distortion_Point& Last = Curve.back();
  Element Figure = Add_Figure(
      Parent, {"Distortion",
               "How far a point is drawn from where a lens without distortion draws it, outwards, "
               "against its distance from the centre; the band is the 95 % range. Good: a narrow "
               "band, and corners nearly to the corners of the frame, because beyond the last one "
               "the curve is a guess."});
  const Plot Drawn =
      Add_Plot(Figure, Round_Axis(0.0, Last.Radius_Px, "pixels from the principal point"),
               Round_Axis(Low, High, "shift outwards, pixels"), "Distortion",
               fmt::format("{} pixels at {} pixels from the principal point, give or take {}.",
                           Short_Number(Last.Shift_Px, 1), Short_Number(Last.Radius_Px, 0),
                           Two_Figures(Last.Half_Width_Px)),
               {400, 280});
  Draw_Curve(Drawn, Curve);
  const double Found = Farthest_Found(View, Shown.Numbers);
  if (!(Found > 0.0) || Found > Drawn.X.High) return;
  const double X = Drawn.X_At(Found);
  Add_Line(Drawn.Svg, X, Drawn.Top, X, Drawn.Top + Drawn.Height, "reference");
  Add_Label(Drawn.Svg, X - 4, Low < -High ? Drawn.Top + 12 : Drawn.Top + Drawn.Height - 6,
            "last corner", "note", "end");
}

std::string Check_Text(const Lens_Model_Check& Check) {
  const double Mm = 1000.0 * Check.Mount_Motion.tail<3>().norm();
  const double Deg = Degrees_Per_Radian * Check.Mount_Motion.head<3>().norm();
  const std::string Numbers =
      fmt::format("P1 {:.5f}, P2 {:.5f}, K3 {:.4f} would fit best (F {})", Check.Coefficients[0],
                  Check.Coefficients[1], Check.Coefficients[2], Short_Number(Check.F, 1));
  if (!Asks_For_More(Check)) {
    return "The model leaves out tangential distortion and a third radial coefficient, and these "
           "corners don't ask for them: " +
           Numbers + ".";
  }
  return fmt::format(
      "These corners ask for what the model leaves out, tangential distortion and a third radial "
      "coefficient: {}. With them the mount would move by {} mm and {} degrees.",
      Numbers, Two_Figures(Mm), Two_Figures(Deg));
}

}  // namespace

void Add_Lens_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "lens", "The lens");
  const auto Shown = Lens_To_Show(View);
  if (!Shown) {
    Add_Text(Section, "p", "No lens was solved.", "quiet");
    return;
  }
  Add_Text(Section, "p",
           Shown->Is_Joint
               ? "Good: the 95 % range of Fx and Fy is below a thousandth of them, that of Cx and "
                 "Cy below two pixels. Boards that are tilted, and corners near the edges of the "
                 "frame, make it smaller."
               : "The uncertainty of the lens comes with the joint solve, which this run doesn't "
                 "have.",
           "quiet");
  Add_Numbers(Section, *Shown);
  const auto& Solved = View.Result.Solved;
  if (Solved && Solved->Lens_Check) Add_Text(Section, "p", Check_Text(*Solved->Lens_Check));
  Element Pair = Add(Section, "div", "pair");
  if (View.Width > 0 && View.Height > 0) Add_Curve(Pair, View, *Shown);
  if (Shown->Is_Joint) Add_Correlations(Pair, Shown->Covariance);
}

}  // namespace rigsync
