// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/poses_section.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/report/pose_text.h"
#include "rigsync/review/pose_advice.h"
#include "rigsync/review/seen_boards.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

constexpr double Dial_Size = 300.0, Dial_Radius = 112.0;
constexpr double Ring_Deg = 15.0;
// Boards that are tilted by less than this say little about the focal length.
constexpr double Least_Good_Tilt_Deg = 10.0;

std::string Tip_Of(const Run_View& View, const Seen_Board& Board) {
  const Viewed_Row& Row = View.Rows[Board.Row];
  return fmt::format("line {}, {}: tilt {}, roll {} degrees, {} m{}", Row.Image.Line,
                     Row.Image.Name, Short_Number(Board.Tilt_Deg, 0),
                     Short_Number(Board.Roll_Deg, 0), Short_Number(Board.Distance),
                     Board.Is_Kept ? "" : "; dropped");
}

void Add_Mark(Element Svg, double X, double Y, const Run_View& View, const Seen_Board& Board) {
  Element Mark =
      Board.Is_Kept ? Add_Circle(Svg, X, Y, 3.5, "kept") : Add_Cross(Svg, X, Y, 4.5, "dropped");
  Add_Tip(Mark, Tip_Of(View, Board));
}

bool Has_Left_Out(const std::vector<Seen_Board>& Boards) {
  return std::any_of(Boards.begin(), Boards.end(),
                     [](const Seen_Board& Board) { return !Board.Is_Kept; });
}

void Add_Marks_Legend(Element Svg, double X, double Y, const std::vector<Seen_Board>& Boards) {
  std::vector<Legend_Entry> Entries = {{Mark_Shape::Circle, "kept", "kept"}};
  if (Has_Left_Out(Boards)) Entries.push_back({Mark_Shape::Cross, "dropped", "dropped"});
  Add_Legend(Svg, X, Y, Entries);
}

// ---- Tilt ------------------------------------------------------------------------------------

double Outer_Tilt(const std::vector<Seen_Board>& Boards) {
  double Largest = 2 * Ring_Deg;
  for (const Seen_Board& Board : Boards) Largest = std::max(Largest, Board.Tilt_Deg);
  return Ring_Deg * std::ceil(Largest / Ring_Deg);
}

void Draw_Tilt_Rings(Element Svg, double Outer_Deg) {
  const double Middle = Dial_Size / 2;
  for (double Deg = Ring_Deg; Deg <= Outer_Deg + 0.5; Deg += Ring_Deg) {
    Add_Circle(Svg, Middle, Middle, Dial_Radius * Deg / Outer_Deg, "ring");
    // On the diagonal, where there are fewer marks than on the axes.
    const double Along = Dial_Radius * Deg / Outer_Deg * std::sqrt(0.5);
    Add_Label(Svg, Middle + Along + 2, Middle + Along + 10, Short_Number(Deg, 0) + "°", "tick");
  }
  Add_Line(Svg, Middle - Dial_Radius, Middle, Middle + Dial_Radius, Middle, "grid");
  Add_Line(Svg, Middle, Middle - Dial_Radius, Middle, Middle + Dial_Radius, "grid");
  Add_Label(Svg, Middle, Middle - Dial_Radius - 8, "top nearer", "label", "middle");
  Add_Label(Svg, Middle, Middle + Dial_Radius + 18, "bottom nearer", "label", "middle");
  Add_Label(Svg, Middle + Dial_Radius + 4, Middle + 4, "right", "label");
  Add_Label(Svg, Middle - Dial_Radius - 4, Middle + 4, "left", "label", "end");
}

void Add_Tilts(Element Parent, const Run_View& View, const std::vector<Seen_Board>& Boards) {
  Element Figure = Add_Figure(
      Parent, {"Tilt",
               "Each mark is a board; the farther from the middle, the more it was tilted, with "
               "the side nearer to the camera that the mark is at. Good: marks on all sides, most "
               "of them beyond 15 degrees."});
  const auto Tilted = std::count_if(Boards.begin(), Boards.end(), [](const Seen_Board& Board) {
    return Board.Tilt_Deg >= Least_Good_Tilt_Deg;
  });
  Element Svg = Add_Drawing(Figure, Dial_Size, Dial_Size, "Tilt of the boards",
                            fmt::format("{} of {} are tilted by {} degrees or more.", Tilted,
                                        Boards.size(), Short_Number(Least_Good_Tilt_Deg)));
  const double Outer_Deg = Outer_Tilt(Boards);
  Draw_Tilt_Rings(Svg, Outer_Deg);
  for (const Seen_Board& Board : Boards) {
    const Eigen::Vector2d At = Eigen::Vector2d::Constant(Dial_Size / 2) +
                               Dial_Radius * Board.Tilt_Deg / Outer_Deg * Board.Near_Side;
    Add_Mark(Svg, At.x(), At.y(), View, Board);
  }
  Add_Marks_Legend(Svg, 4, 10, Boards);
}

// ---- Roll ------------------------------------------------------------------------------------

void Draw_Dial(Element Svg) {
  const double Middle = Dial_Size / 2;
  Add_Circle(Svg, Middle, Middle, Dial_Radius, "ring");
  for (int Deg = 0; Deg < 360; Deg += 45) {
    const double Angle = Deg / Degrees_Per_Radian;
    const double X = std::sin(Angle), Y = -std::cos(Angle);
    Add_Line(Svg, Middle + 0.92 * Dial_Radius * X, Middle + 0.92 * Dial_Radius * Y,
             Middle + Dial_Radius * X, Middle + Dial_Radius * Y, "axis");
    Add_Label(Svg, Middle + (Dial_Radius + 16) * X, Middle + (Dial_Radius + 14) * Y + 4,
              fmt::format("{}°", Deg), "tick", "middle");
  }
}

// An upright board as a picture in the middle, to show what 0 degrees means.
void Draw_Upright_Board(Element Svg) {
  const double Middle = Dial_Size / 2;
  Element Outline = Add(Svg, "rect", "board");
  Set(Outline, "x", Middle - 28);
  Set(Outline, "y", Middle - 20);
  Set(Outline, "width", 56);
  Set(Outline, "height", 40);
  Add_Circle(Svg, Middle - 21, Middle - 13, 3, "found");
  Add_Label(Svg, Middle, Middle + 36, "as at 0°", "note", "middle");
}

void Add_Rolls(Element Parent, const Run_View& View, const std::vector<Seen_Board>& Boards) {
  Element Figure = Add_Figure(
      Parent, {"Roll",
               "How far the board was turned in its own plane, clockwise as the camera sees it; "
               "0 degrees is upright, with its first corner at the upper left. Good: marks in at "
               "least three quarters of the dial, because turns about two axes tell where the "
               "camera is on its tracker."});
  Element Svg = Add_Drawing(Figure, Dial_Size, Dial_Size, "Roll of the boards",
                            fmt::format("{} boards.", Boards.size()));
  Draw_Dial(Svg);
  Draw_Upright_Board(Svg);
  const double Middle = Dial_Size / 2;
  for (const Seen_Board& Board : Boards) {
    const double Angle = Board.Roll_Deg / Degrees_Per_Radian;
    const double X = std::sin(Angle), Y = -std::cos(Angle);
    Add_Line(Svg, Middle + 0.5 * Dial_Radius * X, Middle + 0.5 * Dial_Radius * Y,
             Middle + 0.82 * Dial_Radius * X, Middle + 0.82 * Dial_Radius * Y,
             Board.Is_Kept ? "ray" : "reference");
    Add_Mark(Svg, Middle + 0.82 * Dial_Radius * X, Middle + 0.82 * Dial_Radius * Y, View, Board);
  }
  Add_Marks_Legend(Svg, 4, 10, Boards);
}

// ---- Distance --------------------------------------------------------------------------------

void Add_Distances(Element Parent, const Run_View& View, const std::vector<Seen_Board>& Boards) {
  double Nearest = Boards.front().Distance, Farthest = Nearest, Share = 0;
  for (const Seen_Board& Board : Boards) {
    Nearest = std::min(Nearest, Board.Distance);
    Farthest = std::max(Farthest, Board.Distance);
    Share = std::max(Share, 100.0 * Board.Frame_Share);
  }
  Element Figure = Add_Figure(
      Parent, {"Distance",
               "Distance of the board's centre from the camera, and the part of the frame within "
               "its outermost corners. Good: the farthest board is at least half as far again as "
               "the nearest, and none is smaller than a twentieth of the frame."});
  const Plot Drawn =
      Add_Plot(Figure, Round_Axis(Nearest, Farthest, "metres from the camera"),
               Round_Axis(0.0, Share, "% of the frame"), "Distance of the boards",
               fmt::format("From {} to {} m.", Short_Number(Nearest), Short_Number(Farthest)),
               {Dial_Size, Dial_Size});
  for (const Seen_Board& Board : Boards) {
    Add_Mark(Drawn.Svg, Drawn.X_At(Board.Distance), Drawn.Y_At(100.0 * Board.Frame_Share), View,
             Board);
  }
  Add_Marks_Legend(Drawn.Svg, 160, 9, Boards);
}

// ---- The next pose ---------------------------------------------------------------------------

std::string Widths_Text(const Mount_Widths& Widths) {
  return fmt::format("{} mm and {} degrees", Two_Figures(Widths.Mm), Two_Figures(Widths.Deg));
}

bool Is_Short_Of(const Capture_Advice& Advice, Shortage What) {
  return std::find(Advice.Short_Of.begin(), Advice.Short_Of.end(), What) != Advice.Short_Of.end();
}

std::string Gain_Text(const Capture_Advice& Advice, const Accuracy_Limits& Limits) {
  if (!Advice.Widths_Now || !Advice.Pose->After) return "";
  const bool Is_One_Enough =
      Advice.Pose->After->Mm <= Limits.Mm && Advice.Pose->After->Deg <= Limits.Deg;
  return fmt::format(" The mount is known to {} now (95 %), and to {} with this image.{}",
                     Widths_Text(*Advice.Widths_Now), Widths_Text(*Advice.Pose->After),
                     Is_One_Enough ? "" : " One image is not enough.");
}

void Add_Pose_Figure(Element Section, const Run_View& View, const Capture_Advice& Advice) {
  std::string Words = Pose_Text(Advice.Pose->Parts, /*Is_First=*/false);
  Words[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(Words[0])));
  Element Figure = Add_Figure(
      Section, {"The pose that would help most",
                fmt::format("{}; the roll is from the last image. The heavy edge is nearest to the "
                            "camera, the ring is the first corner. Good: an image as near to this "
                            "as is convenient.",
                            Words)});
  const std::string Gain = Gain_Text(Advice, View.Result.Inputs.Limits);
  if (!Gain.empty()) Add_Text(Figure, "p", Gain.substr(1));
  const Frame_Drawing Frame = Add_Frame_Drawing(Figure, View.Width, View.Height,
                                                "The pose that would help most", Words + ".");
  Set(Frame.Svg, "class", "framed");
  Draw_Board_In_Frame(Frame, Advice.Pose->Transform_Cam_Chart, View.Result.Inputs.Board,
                      View.Result.Inputs.Square_Size, *View.Lens_Px);
}

void Add_Next_Pose(Element Section, const Run_View& View) {
  const auto Advice = Advise_Run(View);
  if (!Advice) return;
  if (Advice->Is_Enough) {
    const auto& Opinion = View.Result.Opinion;
    const bool Is_Agreed = Opinion && Opinion->Judgement == Verdict::Agree;
    Add_Text(Section, "p",
             Is_Agreed ? "There are enough images: the mount is known well within the limits, and "
                         "another one would change little."
                       : "Another image of this kind would change little: see the verdict first.");
    return;
  }
  if (Is_Short_Of(*Advice, Shortage::Soundness)) {
    Add_Text(Section, "p", "More images alone don't mend this capture: see the verdict first.",
             "warn-text");
  }
  if (Advice->Pose) Add_Pose_Figure(Section, View, *Advice);
}

}  // namespace

void Add_Poses_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "poses", "How the board was held");
  const std::vector<Seen_Board> Boards = Measure_Boards(View);
  if (Boards.empty()) {
    Add_Text(Section, "p",
             View.Lens_Px ? "The corners that were found are not known any more."
                          : "No lens was solved, so the boards have no poses.",
             "quiet");
    return;
  }
  Element Row = Add(Section, "div", "trio");
  Add_Tilts(Row, View, Boards);
  Add_Rolls(Row, View, Boards);
  Add_Distances(Row, View, Boards);
  Add_Next_Pose(Section, View);
}

}  // namespace rigsync
