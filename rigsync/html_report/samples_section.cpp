// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/samples_section.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/geometry/units.h"
#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/review/sample_motion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace rigsync {
namespace {

constexpr Plot_Size Panel_Size{760, 210};
// Beyond this many times what good rows stay below, a mark is drawn at the upper edge.
constexpr double Off_Scale_Factor = 2.0;
constexpr double Usual_Part = 0.9;
// Labels that are nearer to each other than this overlap, units of the drawing.
constexpr double Label_Distance = 34.0;

double Line_Of(const Run_View& View, std::size_t Row) {
  return static_cast<double>(View.Rows[Row].Image.Line);
}

Axis Line_Axis(const Run_View& View) {
  Axis Lines =
      Round_Axis(Line_Of(View, 0), Line_Of(View, View.Rows.size() - 1), "line of the CSV file", 10);
  const double Step = Lines.Ticks.size() > 1 ? Lines.Ticks[1] - Lines.Ticks[0] : 1.0;
  if (Step < 1.0) Lines = Round_Axis(Lines.Low, Lines.Low + 5.0, Lines.Label, 5);
  return Lines;
}

const Slip* Slip_Of(const Run_View& View) {
  const auto& Solved = View.Result.Solved;
  if (!Solved || !Solved->Likeliest_Slip) return nullptr;
  const Slip& Seen = *Solved->Likeliest_Slip;
  const bool Is_Shown = Seen.Evidence != Slip_Evidence::None && Seen.First_Row < View.Rows.size();
  return Is_Shown ? &Seen : nullptr;
}

std::string Slip_Text(const Run_View& View, const Slip& Seen) {
  return fmt::format(
      "{}the {} tracker slipped before line {}, by {} mm and {} degrees.",
      Seen.Evidence == Slip_Evidence::Found ? "It seems certain that " : "It may be that ",
      Seen.Tracker == Slipped_Tracker::Camera ? "camera's" : "board's",
      Short_Number(Line_Of(View, Seen.First_Row), 0),
      Two_Figures(Mm_In_Metre * Seen.Motion.tail<3>().norm()),
      Two_Figures(Degrees_Per_Radian * Seen.Motion.head<3>().norm()));
}

void Draw_Slip(const Plot& Into, const Run_View& View, const Slip& Seen) {
  const double Before =
      Seen.First_Row > 0 ? Line_Of(View, Seen.First_Row - 1) : Line_Of(View, Seen.First_Row);
  const double X = Into.X_At((Before + Line_Of(View, Seen.First_Row)) / 2);
  Add_Line(Into.Svg, X, Into.Top, X, Into.Top + Into.Height, "slip");
  const bool Is_Right = X > Into.Left + 0.8 * Into.Width;
  Add_Label(Into.Svg, Is_Right ? X - 5 : X + 5, Into.Top + 12, "slip", "note",
            Is_Right ? "end" : "start");
}

enum class Mark_Kind { Kept, Left_Out, Repeat };

struct Row_Value {
  double Line = 0, Value = 0;
  Mark_Kind Kind = Mark_Kind::Kept;
  std::string Tip, Key;  // Key: of result.json, empty for none
  double File_Value = 0;
};

// Where the axis ends: what most of the good rows stay below, times the factor, and no more than
// the largest value.
double Upper_End(const std::vector<Row_Value>& Rows) {
  double Largest = 0;
  std::vector<double> Good;
  for (const Row_Value& Row : Rows) {
    if (!std::isfinite(Row.Value)) continue;
    Largest = std::max(Largest, Row.Value);
    if (Row.Kind == Mark_Kind::Kept) Good.push_back(Row.Value);
  }
  if (Good.empty()) return std::max(Largest, 1e-6);
  std::sort(Good.begin(), Good.end());
  const auto Usual = static_cast<std::size_t>(Usual_Part * static_cast<double>(Good.size() - 1));
  return std::max(std::min(Off_Scale_Factor * Good[Usual], Largest), 1e-6);
}

Element Draw_Mark(const Plot& Into, double X, double Y, const Row_Value& Row,
                  const Legend_Entry& Kept) {
  if (Row.Kind == Mark_Kind::Left_Out) return Add_Cross(Into.Svg, X, Y, 4.5, "dropped");
  if (Row.Kind == Mark_Kind::Repeat) return Add_Square(Into.Svg, X, Y, 4.5, "stale");
  if (Kept.Shape == Mark_Shape::Plus) return Add_Plus(Into.Svg, X, Y, 4.0, Kept.Class);
  return Add_Circle(Into.Svg, X, Y, 3.0, Kept.Class);
}

// Values beyond the axis stand at its upper end with their number.
void Draw_Row_Values(const Plot& Into, const std::vector<Row_Value>& Rows,
                     const Legend_Entry& Kept) {
  double Last_Label = -Label_Distance;
  for (const Row_Value& Row : Rows) {
    if (!std::isfinite(Row.Value)) continue;
    const double X = Into.X_At(Row.Line);
    const bool Is_Off = Row.Value > Into.Y.High;
    Element Mark = Draw_Mark(Into, X, Is_Off ? Into.Top + 5 : Into.Y_At(Row.Value), Row, Kept);
    Add_Tip(Mark, Row.Tip);
    if (!Row.Key.empty()) Mark_Number(Mark, Row.Key, Row.File_Value);
    if (!Is_Off || X - Last_Label < Label_Distance) continue;
    Last_Label = X;
    Add_Label(Into.Svg, X + 7, Into.Top + 9, Two_Figures(Row.Value), "note");
  }
}

// ---- Residuals -------------------------------------------------------------------------------

std::vector<Row_Value> Residuals_Of(const Run_View& View, bool Is_Mm) {
  std::vector<Row_Value> Rows;
  for (const Solved_Row& Row : View.Result.Solved->Joint.Rows) {
    if (Row.Row >= View.Rows.size()) continue;
    const double Value = Is_Mm ? Mm_In_Metre * Row.Residual.tail<3>().norm()
                               : Degrees_Per_Radian * Row.Residual.head<3>().norm();
    const Mark_Kind Kind = Row.Is_Kept ? Mark_Kind::Kept : Mark_Kind::Left_Out;
    Rows.push_back(
        {Line_Of(View, Row.Row), Value, Kind,
         fmt::format("line {}, {}: {} {}, F {}{}", View.Rows[Row.Row].Image.Line,
                     View.Rows[Row.Row].Image.Name, Two_Figures(Value), Is_Mm ? "mm" : "degrees",
                     Two_Figures(Row.F), Row.Is_Kept ? "" : "; left out"),
         fmt::format("joint.rows.{}.f", Rows.size()), Row.F});
  }
  return Rows;
}

std::size_t Count_Left_Out(const std::vector<Row_Value>& Rows) {
  return static_cast<std::size_t>(std::count_if(Rows.begin(), Rows.end(), [](const Row_Value& Row) {
    return Row.Kind == Mark_Kind::Left_Out;
  }));
}

void Add_Residual_Panel(Element Figure, const Run_View& View, bool Is_Mm) {
  const std::vector<Row_Value> Rows = Residuals_Of(View, Is_Mm);
  const Accuracy_Limits& Limits = View.Result.Inputs.Limits;
  const double Limit = Is_Mm ? Limits.Mm : Limits.Deg;
  const double End = std::max(Upper_End(Rows), Limit);
  const Plot Drawn =
      Add_Plot(Figure, Line_Axis(View), Round_Axis(0.0, End, Is_Mm ? "mm" : "degrees", 4),
               Is_Mm ? "Residual of every row in millimetres" : "Residual of every row in degrees",
               fmt::format("{} rows, {} left out.", Rows.size(), Count_Left_Out(Rows)), Panel_Size);
  const Legend_Entry Of_Row{Mark_Shape::Circle, "kept", "row"};
  Add_Legend(Drawn.Svg, 560, 10, {Of_Row, {Mark_Shape::Cross, "dropped", "left out"}});
  Add_Line(Drawn.Svg, Drawn.Left, Drawn.Y_At(Limit), Drawn.Left + Drawn.Width, Drawn.Y_At(Limit),
           "reference");
  if (const Slip* const Seen = Slip_Of(View)) Draw_Slip(Drawn, View, *Seen);
  Draw_Row_Values(Drawn, Rows, Of_Row);
}

std::string Residual_Heading(const std::vector<Row_Value>& Rows, double Limit_Mm) {
  const std::size_t Left_Out = Count_Left_Out(Rows);
  if (Left_Out > 0)
    return fmt::format("{} of {} rows contradict the others", Left_Out, Rows.size());
  std::vector<double> Values;
  for (const Row_Value& Row : Rows) Values.push_back(Row.Value);
  const double Middle = Median(Values);
  return fmt::format("{}; half of them are off by more than {} mm",
                     Middle > Limit_Mm ? "The rows are alike, and all are far off"
                                       : "No row contradicts the others",
                     Two_Figures(Middle));
}

void Add_Residuals(Element Section, const Run_View& View) {
  if (!View.Result.Solved || View.Result.Solved->Joint.Rows.empty()) {
    Add_Text(Section, "p", "Without a joint solve the rows have no residuals.", "quiet");
    return;
  }
  Element Figure = Add_Figure(
      Section,
      {Residual_Heading(Residuals_Of(View, true), View.Result.Inputs.Limits.Mm),
       "How far the board is, in every image, from where the joint solve and the two samples put "
       "it. Good: an even band below the dashed line, which is the limit of the mount, without a "
       "trend or a step. A cross is a row that the joint solve left out: its sample is stale, has "
       "jumped, or belongs to another image. A step means that a tracker slipped. What is beyond "
       "the axis stands at its top with its number."});
  if (const Slip* const Seen = Slip_Of(View)) {
    Add_Text(Figure, "p", Slip_Text(View, *Seen), "warn-text");
  }
  Add_Residual_Panel(Figure, View, true);
  Add_Residual_Panel(Figure, View, false);
}

// ---- Motion ----------------------------------------------------------------------------------

using Step_Of_Row = std::function<const std::optional<Tracker_Step>&(const Row_Steps&)>;

std::vector<Row_Value> Steps_Of(const Run_View& View, const std::vector<Row_Steps>& Motion,
                                const Step_Of_Row& Step_Of, const char* Name, bool Is_Mm) {
  std::vector<Row_Value> Rows;
  for (std::size_t i = 0; i < Motion.size(); ++i) {
    const std::optional<Tracker_Step>& Step = Step_Of(Motion[i]);
    if (!Step) continue;
    const double Value = Is_Mm ? Step->Mm : Step->Deg;
    Rows.push_back({Line_Of(View, i), Value, Step->Is_Repeat ? Mark_Kind::Repeat : Mark_Kind::Kept,
                    fmt::format("line {}: the {} tracker {}", View.Rows[i].Image.Line, Name,
                                Step->Is_Repeat ? "repeats the sample of the row before"
                                                : fmt::format("moved by {} {}", Two_Figures(Value),
                                                              Is_Mm ? "mm" : "degrees")),
                    "", 0});
  }
  return Rows;
}

void Add_Motion_Panel(Element Figure, const Run_View& View, const std::vector<Row_Value>& Camera,
                      const std::vector<Row_Value>& Board, bool Is_Mm) {
  std::vector<Row_Value> All = Camera;
  All.insert(All.end(), Board.begin(), Board.end());
  const Plot Drawn = Add_Plot(
      Figure, Line_Axis(View), Round_Axis(0.0, Upper_End(All), Is_Mm ? "mm" : "degrees", 4),
      Is_Mm ? "Motion of both trackers in millimetres" : "Motion of both trackers in degrees",
      "From each row to the next.", Panel_Size);
  const Legend_Entry Of_Camera{Mark_Shape::Circle, "camera", "camera's tracker"};
  const Legend_Entry Of_Board{Mark_Shape::Plus, "tracker", "board's tracker"};
  Add_Legend(Drawn.Svg, 350, 10,
             {Of_Camera, Of_Board, {Mark_Shape::Square, "stale", "not updated"}});
  Draw_Row_Values(Drawn, Camera, Of_Camera);
  Draw_Row_Values(Drawn, Board, Of_Board);
}

std::size_t Count_Repeats(const std::vector<Row_Value>& Rows) {
  return static_cast<std::size_t>(std::count_if(Rows.begin(), Rows.end(), [](const Row_Value& Row) {
    return Row.Kind == Mark_Kind::Repeat;
  }));
}

std::string Repeats_Text(std::size_t Repeats, const char* Tracker) {
  return fmt::format("{} sample{} of the {} tracker", Repeats, Repeats == 1 ? "" : "s", Tracker);
}

std::string Motion_Heading(std::size_t Camera, std::size_t Board) {
  if (Camera + Board == 0) return "No sample repeats the one before";
  const std::string Both = Camera > 0 && Board > 0 ? " and " : "";
  return fmt::format(
      "{}{}{} repeat{} the one before", Camera > 0 ? Repeats_Text(Camera, "camera's") : "", Both,
      Board > 0 ? Repeats_Text(Board, "board's") : "", Camera + Board == 1 ? "s" : "");
}

void Add_Motion(Element Section, const Run_View& View) {
  const std::vector<Row_Steps> Motion = Measure_Motion(View);
  const auto Camera = [](const Row_Steps& Row) -> const std::optional<Tracker_Step>& {
    return Row.Camera;
  };
  const auto Board = [](const Row_Steps& Row) -> const std::optional<Tracker_Step>& {
    return Row.Board;
  };
  const auto Camera_Mm = Steps_Of(View, Motion, Camera, "camera's", true);
  const auto Board_Mm = Steps_Of(View, Motion, Board, "board's", true);
  if (Camera_Mm.empty() && Board_Mm.empty()) {
    Add_Text(Section, "p", "The trackers' samples are not known any more.", "quiet");
    return;
  }
  Element Figure = Add_Figure(
      Section, {Motion_Heading(Count_Repeats(Camera_Mm), Count_Repeats(Board_Mm)),
                "How far each tracker moved and turned from the row before. Good: no square, and "
                "at least one tracker moves from every image to the next. A square at 0 is a "
                "sample that was not updated: the tracker was out of sight, or the image was taken "
                "too early. A tracker that stands still for the whole capture has squares "
                "throughout."});
  Add_Motion_Panel(Figure, View, Camera_Mm, Board_Mm, true);
  Add_Motion_Panel(Figure, View, Steps_Of(View, Motion, Camera, "camera's", false),
                   Steps_Of(View, Motion, Board, "board's", false), false);
}

}  // namespace

void Add_Samples_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "samples", "Samples, image by image");
  if (View.Rows.empty()) {
    Add_Text(Section, "p", "The capture's rows are not known.", "quiet");
    return;
  }
  Add_Residuals(Section, View);
  Add_Motion(Section, View);
}

}  // namespace rigsync
