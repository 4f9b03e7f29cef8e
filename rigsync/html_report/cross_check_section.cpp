// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/cross_check_section.h"

#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

// Of the differences of sound captures, this part is smaller.
constexpr double Usual_Part = 0.95, Rare_Part = 0.999;

std::string Missing_Text(const Calibration_Result& Result) {
  if (Result.Inputs.Is_Library_Only) {
    return "With --library-only the images are not solved apart.";
  }
  if (!Result.Halves) return "This result holds no cross-check.";
  switch (Result.Halves->Status) {
    case Cross_Status::Too_Few_Rows:
      return fmt::format(
          "Fewer than {} images have a board and both samples. Half of them would be too few to be "
          "solved apart.",
          Least_Cross_Rows);
    case Cross_Status::Whole_Unsolved:
      return "The joint solve has no answer for all images together, so the halves are not solved "
             "apart.";
    case Cross_Status::Half_Unsolved:
      return "Half of the images alone has no answer: take more images.";
    case Cross_Status::Compared:
      break;
  }
  return "";
}

bool Are_Within(const Cross_Check& Check, const Accuracy_Limits& Limits) {
  return Check.Mm.Seen <= Limits.Mm && Check.Deg.Seen <= Limits.Deg;
}

// Halves that agree because nearly anything would: little is known of either.
constexpr const char* Weak_Halves =
    "The halves differ by no more than the stated uncertainty explains, but by more than the "
    "limits: half of these images can't tell the mount.";

std::string Judgement_Text(const Cross_Check& Check, const Accuracy_Limits& Limits) {
  if (!(Check.Probability_Nearer > Usual_Part)) {
    if (!Are_Within(Check, Limits)) return Weak_Halves;
    return "The halves agree: they differ by no more than the stated uncertainty explains.";
  }
  if (!(Check.Probability_Nearer > Rare_Part)) {
    return "The halves differ a little more than the stated uncertainty explains. One sound "
           "capture in twenty does so by chance; look for rows that stand out under Samples.";
  }
  return "The halves contradict each other: the mount is less sure than its stated uncertainty "
         "says. Look for a slip or for rows that stand out under Samples, and take a new capture.";
}

struct Table_Row {
  const char* What;
  const char* Unit;
  const Cross_Difference& Difference;
  const char *Seen_Key, *Expected_Key;
};

void Add_Number_Cell(Element Row, const std::string& Text, const char* Key, double Value) {
  Mark_Number(Add_Text(Row, "td", Text, "number"), Key, Value);
}

void Add_Table(Element Section, const Cross_Check& Check) {
  const Element Frame = Add_Table_Frame(Section, "Difference of the halves");
  Element Table = Add(Frame, "table");
  Element Head = Add(Add(Table, "thead"), "tr");
  Add_Text(Head, "th", "Difference of the halves");
  for (const char* Name : {"found", "expected", "ratio"}) {
    Set(Add_Text(Head, "th", Name, "number"), "scope", "col");
  }
  const std::string At_Distance =
      fmt::format("Picture at {} m, over the frame", Short_Number(Check.Distance));
  const Table_Row Rows[] = {{"Position of the mount", "mm", Check.Mm, "cross_check.difference_mm",
                             "cross_check.expected_mm"},
                            {"Rotation of the mount", "degrees", Check.Deg,
                             "cross_check.difference_deg", "cross_check.expected_deg"},
                            {At_Distance.c_str(), "pixels", Check.Px, "cross_check.difference_px",
                             "cross_check.expected_px"}};
  Element Body = Add(Table, "tbody");
  for (const Table_Row& Each : Rows) {
    Element Row = Add(Body, "tr");
    Set(Add_Text(Row, "th", Each.What), "scope", "row");
    Add_Number_Cell(Row, fmt::format("{} {}", Two_Figures(Each.Difference.Seen), Each.Unit),
                    Each.Seen_Key, Each.Difference.Seen);
    Add_Number_Cell(Row, fmt::format("{} {}", Two_Figures(Each.Difference.Expected), Each.Unit),
                    Each.Expected_Key, Each.Difference.Expected);
    Add_Text(Row, "td", Two_Figures(Each.Difference.Ratio()), "number");
  }
}

double Magnification_Of(const Cross_Check& Check, const Run_View& View) {
  double Largest = 0;
  for (const Cross_Point& Point : Check.Points) {
    Largest = std::max({Largest, Point.Expected_Px, Point.Difference_Px.norm()});
  }
  const double Room = 0.6 * std::max(View.Width, View.Height) / std::max(Check.Cols, Check.Rows);
  return Round_Magnification(Largest, Room);
}

void Draw_Point(const Frame_Drawing& Into, const Cross_Point& Point, double Magnification) {
  if (!Point.Difference_Px.allFinite() || !std::isfinite(Point.Expected_Px)) return;
  const double X = Into.X_At(Point.Pixel.x()), Y = Into.Y_At(Point.Pixel.y());
  const double Units = Into.Scale * Magnification;
  Add_Circle(Into.Svg, X, Y, Units * Point.Expected_Px, "reference");
  Element Arrow = Add_Arrow(Into.Svg, X, Y, X + Units * Point.Difference_Px.x(),
                            Y + Units * Point.Difference_Px.y(), "arrow");
  Add_Tip(Arrow, fmt::format("{} pixels; {} expected", Two_Figures(Point.Difference_Px.norm()),
                             Two_Figures(Point.Expected_Px)));
}

void Add_Frame_Figure(Element Section, const Cross_Check& Check, const Run_View& View) {
  const double Magnification = Magnification_Of(Check, View);
  Element Figure = Add_Figure(
      Section,
      {"Where the halves draw the same object",
       fmt::format(
           "An arrow leads from where the odd images draw a virtual object {} m away to where the "
           "even ones do, {} times as long as it is in the picture. The circle around it is as "
           "far as the uncertainties let expect. Good: the arrows end near their circles or inside "
           "them.",
           Short_Number(Check.Distance), Short_Number(Magnification))});
  const Frame_Drawing Frame =
      Add_Frame_Drawing(Figure, View.Width, View.Height, "Difference of the halves over the frame",
                        fmt::format("{} pixels in the mean, {} expected.",
                                    Two_Figures(Check.Px.Seen), Two_Figures(Check.Px.Expected)),
                        20);
  Set(Frame.Svg, "class", "framed");
  Add_Legend(Frame.Svg, Frame.Left, 10,
             {{Mark_Shape::Arrow, "arrow", "difference"},
              {Mark_Shape::Line, "reference", "expected length"}});
  for (const Cross_Point& Point : Check.Points) Draw_Point(Frame, Point, Magnification);
}

}  // namespace

void Add_Cross_Check_Section(Element Main, const Run_View& View) {
  Element Section =
      Add_Section(Main, "cross-check", "Cross-check: half of the images against the other half");
  const std::string Missing = Missing_Text(View.Result);
  if (!Missing.empty()) {
    Add_Text(Section, "p", Missing, "quiet");
    return;
  }
  const Cross_Check& Check = *View.Result.Halves;
  const Accuracy_Limits& Limits = View.Result.Inputs.Limits;
  const bool Is_Good = !(Check.Probability_Nearer > Usual_Part) && Are_Within(Check, Limits);
  Add_Text(Section, "p", Judgement_Text(Check, Limits), Is_Good ? "" : "warn-text");
  Add_Text(Section, "p",
           fmt::format("Every other image is solved apart, {} and {} of them, each half with its "
                       "own lens and mount. A ratio of about 1 is good: then the stated "
                       "uncertainty is what two captures would differ by. Errors that all images "
                       "share don't show here.",
                       Check.Halves[0].Rows, Check.Halves[1].Rows),
           "quiet");
  Add_Table(Section, Check);
  if (View.Width > 0 && View.Height > 0) Add_Frame_Figure(Section, Check, View);
}

}  // namespace rigsync
