// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/geometry/units.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/table.h"
#include "rigsync/html_report/verdict_section.h"
#include "rigsync/report/lag_text.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/solve/talent_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {
namespace {

constexpr std::array<const char*, 3> Axis_Names = {"right", "down", "ahead"};

// One of the two solved mounts.
struct Told_Mount {
  std::string Key, Name;  // of its object in the result file; as people read it
  std::vector<double> Transform;
};

bool Is_Chosen(const Told_Mount& Mount, const Calibration_Result& Result) {
  return (Mount.Key == "joint") == (Result.Inputs.Solution == Solution_Choice::Joint);
}

// The chosen one first, without one that there is not.
std::vector<Told_Mount> Mounts_Of(const Calibration_Result& Result) {
  std::vector<Told_Mount> Mounts;
  const Told_Mount Library{"library", "library", Result.Transform_Cam_Tc},
      Joint{"joint", "joint", Result.Joint_Transform_Cam_Tc};
  for (const Told_Mount& Each : {Library, Joint}) {
    if (Each.Transform.size() != 16) continue;
    Mounts.insert(Is_Chosen(Each, Result) ? Mounts.begin() : Mounts.end(), Each);
  }
  return Mounts;
}

std::string Row_Heading(const Told_Mount& Mount, const Calibration_Result& Result) {
  return Is_Chosen(Mount, Result) ? Mount.Name + " (the result)" : Mount.Name;
}

const Mount_Uncertainty* Uncertainty_Of(const Calibration_Result& Result) {
  if (!Result.Solved || Result.Joint_Transform_Cam_Tc.empty()) return nullptr;
  return &Result.Solved->Joint.Camera_Mount;
}

void Add_Widths(Element Body, const char* Key, const Eigen::Vector3d& Half_Width, int Digits) {
  const Element Row = Add_Row(Body, "\xC2\xB1 95 % (joint)", "width");
  for (int k = 0; k < 3; ++k) {
    Add_Number_Cell(Row, {fmt::format("joint.{}.{}", Key, k), Half_Width[k], Digits});
  }
}

void Add_Positions(Element Parent, const Calibration_Result& Result) {
  const Element Body =
      Add_Table(Parent, "Where the tracker is, mm", {"", "right", "down", "ahead"});
  for (const Told_Mount& Mount : Mounts_Of(Result)) {
    const Element Row =
        Add_Row(Body, Row_Heading(Mount, Result), Is_Chosen(Mount, Result) ? "chosen" : "");
    for (const std::size_t k : {3u, 7u, 11u}) {
      Add_Number_Cell(Row, {fmt::format("{}.transform_cam_tc.{}", Mount.Key, k), Mount.Transform[k],
                            2, Mm_In_Metre});
    }
  }
  if (const auto* Known = Uncertainty_Of(Result)) {
    Add_Widths(Body, "half_width_mm", Known->Half_Width_Mm, 2);
  }
}

// The turn is no number of the result file; its hook names mount and axis.
void Add_Turn_Cells(Element Row, const Told_Mount& Mount) {
  const Eigen::Matrix3d Rotation = Matrix_From_List(Mount.Transform).topLeftCorner<3, 3>();
  const Eigen::Vector3d Turn_Deg = Degrees_Per_Radian * Turn_From_Rotation(Rotation);
  for (int k = 0; k < 3; ++k) {
    const Element Cell = Add_Text(
        Row, "td", Rotation.allFinite() ? fmt::format("{:.3f}", Turn_Deg[k]) : "none", "number");
    Set(Cell, "data-turn", fmt::format("{}.{}", Mount.Key, k));
  }
}

void Add_Turns(Element Parent, const Calibration_Result& Result) {
  const Element Body =
      Add_Table(Parent, "How it is turned, degrees about the axes", {"", "right", "down", "ahead"});
  for (const Told_Mount& Mount : Mounts_Of(Result)) {
    Add_Turn_Cells(
        Add_Row(Body, Row_Heading(Mount, Result), Is_Chosen(Mount, Result) ? "chosen" : ""), Mount);
  }
  if (const auto* Known = Uncertainty_Of(Result)) {
    Add_Widths(Body, "half_width_deg", Known->Half_Width_Deg, 3);
  }
}

void Add_Difference(Element Parent, const Calibration_Result& Result) {
  if (!Result.Opinion || !std::isfinite(Result.Opinion->Difference_Mm)) return;
  const bool Is_Within = Result.Opinion->Difference_Mm <= Result.Inputs.Limits.Mm &&
                         Result.Opinion->Difference_Deg <= Result.Inputs.Limits.Deg;
  const Element Text =
      Add_Text(Parent, "p", Is_Within ? "" : "\xE2\x9C\x95 ", Is_Within ? "" : "warn-text");
  Append_Text(Text, "The two mounts are ");
  Add_Number(Text, "strong", {"second_opinion.difference_mm", Result.Opinion->Difference_Mm});
  Append_Text(Text, " mm and ");
  Add_Number(Text, "strong", {"second_opinion.difference_deg", Result.Opinion->Difference_Deg, 3});
  Append_Text(Text, " degrees apart; the limits are ");
  Add_Number(Text, "span",
             {"second_opinion.limits.mm", Result.Inputs.Limits.Mm, 3, 1, /*Is_Short=*/true});
  Append_Text(Text, " mm and ");
  Add_Number(Text, "span",
             {"second_opinion.limits.deg", Result.Inputs.Limits.Deg, 3, 1, /*Is_Short=*/true});
  Append_Text(Text, " degrees.");
}

void Add_Talent(Element Parent, const Calibration_Result& Result) {
  const auto* Known = Uncertainty_Of(Result);
  if (Known == nullptr) return;
  const Talent_Error Error = Error_At_Talent(*Known, Result.Solved->Joint.At.Transform_Cam_Tc,
                                             Result.Solved->Lens_Px, Result.Inputs.Talent_Distance);
  const Element Text = Add_Text(Parent, "p", "With the joint mount, at ");
  Add_Number(Text, "span", {"joint.at_talent.distance_m", Error.Distance, 2, 1, /*Is_Short=*/true});
  Append_Text(Text, " m from the camera a virtual object is right to \xC2\xB1 ");
  Add_Number(
      Text, "strong",
      {"joint.at_talent.half_width_mm", Error.Half_Width_Mm, Fewer_Digits(Error.Half_Width_Mm, 2)});
  Append_Text(Text, " mm, or ");
  Add_Number(
      Text, "strong",
      {"joint.at_talent.half_width_px", Error.Half_Width_Px, Fewer_Digits(Error.Half_Width_Px, 1)});
  Append_Text(Text, " pixels, across the view (95 %).");
}

// Images that the library did not use and the joint solve did.
void Add_Cut_Off(Element Parent, const Calibration_Result& Result) {
  const std::size_t Count = Result.Solved ? Count_Cut_Off(Result.Solved->Joint) : 0;
  if (Count == 0) return;
  const Element Text = Add_Text(Parent, "p", "The joint mount also uses ");
  Add_Number(Text, "span", {"joint.cut_off_boards", static_cast<double>(Count), 0});
  Append_Text(Text, Count == 1 ? " image" : " images");
  Append_Text(Text,
              " that the library leaves out, because the board is cut off or partly covered.");
}

// The lag, where the solve reckoned with one.
void Add_Lag(Element Parent, const Calibration_Result& Result) {
  if (!Result.Solved || !Result.Solved->Joint.Lag) return;
  const Lag_Estimate& Lag = *Result.Solved->Joint.Lag;
  const Element Text = Add_Text(Parent, "p", "Lag between pictures and samples: ");
  if (Evidence_Of(Lag) != Lag_Evidence::Open) {
    Add_Number(Text, "strong", {"joint.lag.ms", 1000.0 * Lag.Seconds, 0});
    if (!Lag.Is_Stated) {
      Append_Text(Text, " \xC2\xB1 ");
      Add_Number(Text, "strong", {"joint.lag.half_width_ms", 1000.0 * Lag.Half_Width_Seconds, 0});
    }
    Append_Text(Text, " ms. ");
  }
  Append_Text(Text, With_Plus_Minus(Lag_Sentences(Lag)));
}

// A bar that is longer than this many limits is cut off and ends in an arrow.
constexpr double Longest_Bar = 1.6;
constexpr double Bar_Left = 64, Limit_Length = 125, Bar_Step = 22;

struct Told_Width {
  const char* Axis;
  const char* Unit;
  double Half_Width, Limit;
  int Digits;
};

void Add_Bar(Element Svg, double Top, const Told_Width& Width) {
  const bool Is_Within = Width.Half_Width <= Width.Limit;
  const double Length = Limit_Length * std::min(Width.Half_Width / Width.Limit, Longest_Bar);
  Add_Label(Svg, Bar_Left - 8, Top + 12, Width.Axis, "label", "end");
  const Element Bar = Add(Svg, "rect", Is_Within ? "good" : "bad");
  Set(Bar, "x", Bar_Left);
  Set(Bar, "y", Top + 2);
  Set(Bar, "width", std::max(Length, 1.0));
  Set(Bar, "height", 12.0);
  if (Width.Half_Width > Longest_Bar * Width.Limit) {
    const double End = Bar_Left + Length;
    Set(Add(Svg, "path", "bad"), "d",
        fmt::format("M{0} {1}l10 8l-10 8z", Short_Number(End), Short_Number(Top)));
  }
  Add_Label(Svg, Bar_Left + Limit_Length * Longest_Bar + 16, Top + 12,
            fmt::format("{}{:.{}f} {}", Is_Within ? "" : "\xE2\x9C\x95 ", Width.Half_Width,
                        Fewer_Digits(Width.Half_Width, Width.Digits), Width.Unit));
}

void Add_Bars(Element Svg, double Top, const std::string& Title,
              const std::vector<Told_Width>& Widths) {
  Add_Label(Svg, 0, Top + 12, Title, "note");
  const double First = Top + 20, Limit_X = Bar_Left + Limit_Length;
  for (std::size_t k = 0; k < Widths.size(); ++k) {
    Add_Bar(Svg, First + Bar_Step * static_cast<double>(k), Widths[k]);
  }
  const double Last = First + Bar_Step * static_cast<double>(Widths.size());
  Add_Line(Svg, Limit_X, First - 4, Limit_X, Last, "axis");
  Add_Label(Svg, Limit_X, Last + 12, fmt::format("limit {:g} {}", Widths[0].Limit, Widths[0].Unit),
            "note", "middle");
}

std::string Bars_Description(const Mount_Uncertainty& Known, const Accuracy_Limits& Limits) {
  std::string Text;
  for (int k = 0; k < 3; ++k) {
    Text +=
        fmt::format("{}: {:.2f} mm and {:.3f} degrees. ", Axis_Names[static_cast<std::size_t>(k)],
                    Known.Half_Width_Mm[k], Known.Half_Width_Deg[k]);
  }
  return Text + fmt::format("Limits: {:g} mm and {:g} degrees.", Limits.Mm, Limits.Deg);
}

// What the three bars of the joint mount can't show: that the other solve contradicts it.
void Append_Difference(const Second_Opinion& Opinion, const Accuracy_Limits& Limits,
                       std::vector<Told_Width>& Shifts, std::vector<Told_Width>& Turns) {
  if (!std::isfinite(Opinion.Difference_Mm) || !std::isfinite(Opinion.Difference_Deg)) return;
  Shifts.push_back({"apart", "mm", Opinion.Difference_Mm, Limits.Mm, 2});
  Turns.push_back({"apart", "deg", Opinion.Difference_Deg, Limits.Deg, 3});
}

void Add_Half_Width_Figure(Element Section, const Calibration_Result& Result) {
  const auto* Known = Uncertainty_Of(Result);
  if (Known == nullptr || !Known->Half_Width_Mm.allFinite() || !Known->Half_Width_Deg.allFinite()) {
    return;  // there is no bar to draw
  }
  const Accuracy_Limits& Limits = Result.Inputs.Limits;
  const Element Figure = Add_Figure(
      Section,
      {"How well the capture tells the mount",
       "The upper three bars are how far off the joint mount may be on each axis, in 95 of 100 "
       "captures; the last one is how far the library's mount is from it. Good is a bar that ends "
       "well before the line; a bar beyond it has a cross."});
  const Element Svg = Add_Drawing(Figure, 360, 268, "Half-widths beside the limits",
                                  Bars_Description(*Known, Limits));
  std::vector<Told_Width> Shifts, Turns;
  for (std::size_t k = 0; k < 3; ++k) {
    const auto i = static_cast<Eigen::Index>(k);
    Shifts.push_back({Axis_Names[k], "mm", Known->Half_Width_Mm[i], Limits.Mm, 2});
    Turns.push_back({Axis_Names[k], "deg", Known->Half_Width_Deg[i], Limits.Deg, 3});
  }
  if (Result.Opinion) Append_Difference(*Result.Opinion, Limits, Shifts, Turns);
  Add_Bars(Svg, 0, "Position, mm", Shifts);
  Add_Bars(Svg, 136, "Rotation, degrees", Turns);
}

// What can't be told, and why.
std::string Missing_Text(const Calibration_Result& Result) {
  if (Mounts_Of(Result).empty()) return "This run has no mount.";
  if (Result.Inputs.Is_Library_Only) {
    return "With --library-only there is no second opinion: nothing tells how far off this mount "
           "may be.";
  }
  if (Uncertainty_Of(Result) != nullptr) return {};
  return "The joint solve has no mount, so nothing tells how far off this one may be.";
}

}  // namespace

void Add_Mount_Section(Element Main, const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  const Element Section = Add_Section(Main, "mount", "The mount");
  const std::vector<double>& Transform = Chosen_Transform_Cam_Tc(Result);
  const std::string Place = Transform.size() == 16 ? Seen_From_Camera(Transform) : "";
  if (!Place.empty()) Add_Text(Section, "p", Place);
  if (const std::string Missing = Missing_Text(Result); !Missing.empty()) {
    Add_Text(Section, "p", Missing, "missing");
  }
  if (Mounts_Of(Result).empty()) return;
  const Element Pair = Add(Section, "div", "pair");
  const Element Numbers = Add(Pair, "div");
  Add_Positions(Numbers, Result);
  Add_Turns(Numbers, Result);
  Add_Text(Numbers, "p", "The turn is a rotation vector: along its axis, and as long as its angle.",
           "quiet");
  Add_Difference(Numbers, Result);
  Add_Talent(Numbers, Result);
  Add_Cut_Off(Numbers, Result);
  Add_Lag(Numbers, Result);
  Add_Half_Width_Figure(Add(Pair, "div"), Result);
}

}  // namespace rigsync
