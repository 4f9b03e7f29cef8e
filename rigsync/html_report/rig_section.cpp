// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/rig_section.h"

#include "rigsync/geometry/transform_list.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/scale_drawing.h"
#include "rigsync/review/corner_errors.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace rigsync {
namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;

constexpr const char* Rig_Style = R"(
.views {
  display: grid; gap: 1rem;
  grid-template-columns: repeat(auto-fit, minmax(min(19rem, 100%), 1fr));
}
.views h4 { margin: 0 0 0.25rem; font-size: 0.9rem; font-weight: 600; }
.views svg { width: 100%; max-width: 30rem; }
.views .board { fill: var(--board); fill-opacity: 0.06; stroke-opacity: 0.8; }
.views .dropped { stroke-width: 1.5; }
.views .outside { stroke-dasharray: 5 3; }
.views text { paint-order: stroke; stroke: var(--paper); stroke-width: 3px; }
.views .dot { stroke-width: 2; fill: var(--paper); }
)";

std::optional<Isometry3d> Mount_Of(const Run_View& View) {
  const Eigen::Matrix4d Transform = Matrix_From_List(Chosen_Transform_Cam_Tc(View.Result));
  if (!Transform.allFinite()) return std::nullopt;
  return Isometry3d(Transform);
}

// Directions through the frame's corners, as far as one metre along the view; distortion is left
// out.
std::vector<Vector3d> Frame_Corners(const Run_View& View) {
  if (!View.Lens_Px || View.Width == 0) return {};
  const Lens& At = *View.Lens_Px;
  const double Left = (-0.5 - At.Cx) / At.Fx, Right = (View.Width - 0.5 - At.Cx) / At.Fx;
  const double Top = (-0.5 - At.Cy) / At.Fy, Bottom = (View.Height - 0.5 - At.Cy) / At.Fy;
  return {{Left, Top, 1}, {Right, Top, 1}, {Right, Bottom, 1}, {Left, Bottom, 1}};
}

std::vector<Vector3d> Times(const std::vector<Vector3d>& Points, double Factor) {
  std::vector<Vector3d> Scaled;
  for (const Vector3d& Point : Points) Scaled.emplace_back(Factor * Point);
  return Scaled;
}

void Draw_Pyramid(const Scale_Drawing& Into, const std::vector<Vector3d>& Far_Corners) {
  if (Far_Corners.empty()) return;
  Into.Add_Polygon(Into.Svg(), Far_Corners, "camera");
  for (const Vector3d& Corner : Far_Corners) Into.Add_Segment(Vector3d::Zero(), Corner, "camera");
}

void Draw_Dot(const Scale_Drawing& Into, const Vector3d& Point_Cam, const std::string& Class) {
  const Eigen::Vector2d At = Into.At(Point_Cam);
  Add_Circle(Into.Svg(), At.x(), At.y(), 4.0, Class + " dot");
}

// ---- Camera and tracker -------------------------------------------------------------------------

// Lengths of what has no length of its own: the pyramid, and the tracker's axes.
struct Near_Scale {
  double Pyramid = 0, Axis = 0;
};

Near_Scale Near_Scale_Of(const Isometry3d& Mount) {
  const double Reach = std::max(Mount.translation().norm(), 0.05);
  return {0.45 * Reach, 0.35 * Reach};
}

std::vector<Vector3d> Near_Points(const Isometry3d& Mount, const std::vector<Vector3d>& Pyramid,
                                  const Near_Scale& Scale) {
  std::vector<Vector3d> Points = Pyramid;
  Points.emplace_back(Vector3d::Zero());
  Points.emplace_back(Mount.translation());
  Points.emplace_back(0, 0, 1.5 * Scale.Pyramid);
  for (int k = 0; k < 3; ++k) {
    Points.emplace_back(Mount.translation() + 1.2 * Scale.Axis * Mount.linear().col(k));
  }
  return Points;
}

// An axis that points at the viewer has no room for its name.
void Draw_Axes(const Scale_Drawing& Into, const Isometry3d& Mount, double Length) {
  constexpr const char* Names[] = {"x", "y", "z"};
  constexpr double Least_Length = 14.0;
  const Vector3d Origin = Mount.translation();
  for (int k = 0; k < 3; ++k) {
    const Vector3d End = Origin + Length * Mount.linear().col(k);
    Into.Add_Arrow(Origin, End, "tracker");
    const Eigen::Vector2d From = Into.At(Origin), To = Into.At(End);
    if ((To - From).norm() < Least_Length) continue;
    const Eigen::Vector2d Name = To + 9.0 * (To - From).normalized();
    Add_Label(Into.Svg(), Name.x(), Name.y() + 4.0, Names[k], "label", "middle");
  }
}

void Draw_Near(Element Views, const Viewpoint& From, const Isometry3d& Mount,
               const std::vector<Vector3d>& Frame) {
  const Near_Scale Scale = Near_Scale_Of(Mount);
  const std::vector<Vector3d> Pyramid = Times(Frame, Scale.Pyramid);
  Element Panel = Add(Views, "div");
  Add_Text(Panel, "h4", From.Name);
  const Scale_Drawing Into(Panel, From, Near_Points(Mount, Pyramid, Scale),
                           "Camera and tracker, to scale.");
  Draw_Pyramid(Into, Pyramid);
  Into.Add_Arrow(Vector3d::Zero(), Vector3d(0, 0, 1.5 * Scale.Pyramid), "camera");
  Into.Add_Dimensions(Vector3d::Zero(), Mount.translation());
  Draw_Axes(Into, Mount, Scale.Axis);
  Draw_Dot(Into, Vector3d::Zero(), "camera");
  Draw_Dot(Into, Mount.translation(), "tracker");
}

// A coordinate of the mount in words, with its number under the key of result.json.
void Add_Offset(Element Line, const Isometry3d& Mount, int k, const char* Above_Zero,
                const char* Below_Zero) {
  const double Value = Mount.translation()[k], Factor = Value < 0.0 ? -1000.0 : 1000.0;
  Add_Number(Line, "strong", {fmt::format("transform_cam_tc.{}", 4 * k + 3), Value, 1, Factor});
  Append_Text(Line, fmt::format(" mm {}", Value < 0.0 ? Below_Zero : Above_Zero));
}

void Add_Mount_Words(Element Figure, const Isometry3d& Mount) {
  Element Line = Add_Text(Figure, "p", "The tracker's origin is ");
  Add_Offset(Line, Mount, 0, "to the right of", "to the left of");
  Append_Text(Line, ", ");
  Add_Offset(Line, Mount, 1, "below", "above");
  Append_Text(Line, " and ");
  Add_Offset(Line, Mount, 2, "ahead of", "behind");
  Append_Text(Line, " the lens's centre of projection.");
}

void Add_Near_Figure(Element Section, const Run_View& View, const Isometry3d& Mount) {
  Element Figure = Add_Figure(
      Section, {"Camera and tracker",
                "The pyramid is what the lens sees, from its centre of projection; x, y and z are "
                "the tracker's axes as the result has them. Good: it looks like your rig, with the "
                "tracker on the side where it is screwed on and as far away as a ruler says."});
  Add_Mount_Words(Figure, Mount);
  Element Views = Add(Figure, "div", "views");
  for (const Viewpoint& From : {From_The_Side(), From_Above(), From_Behind()}) {
    Draw_Near(Views, From, Mount, Frame_Corners(View));
  }
}

// ---- Boards -------------------------------------------------------------------------------------

struct Standing_Board {
  std::vector<Vector3d> Outline_Cam;  // of its squares
  Vector3d Centre_Cam = Vector3d::Zero();
  Row_Error Of_Row;
  std::string Name;
};

std::vector<Standing_Board> Boards_Of(const Run_View& View) {
  const Calibration_Inputs& Inputs = View.Result.Inputs;
  const double Square = View.Chain ? View.Chain->Square_Size : Inputs.Square_Size;
  const double Right = Inputs.Board.Cols * Square, Down = Inputs.Board.Rows * Square;
  const std::vector<Row_Error> Errors = Measure_Row_Errors(View);
  std::vector<Standing_Board> Boards;
  for (std::size_t i = 0; i < Errors.size(); ++i) {
    const auto& Pose = Errors[i].Seen_Transform_Cam_Chart;
    if (!Pose) continue;
    Standing_Board Board;
    for (const Vector3d& Corner_Chart : {Vector3d(-Square, -Square, 0), Vector3d(Right, -Square, 0),
                                         Vector3d(Right, Down, 0), Vector3d(-Square, Down, 0)}) {
      Board.Outline_Cam.emplace_back(*Pose * Corner_Chart);
      Board.Centre_Cam += 0.25 * Board.Outline_Cam.back();
    }
    Board.Of_Row = Errors[i];
    Board.Name =
        View.Rows[i].Image.Name + (Errors[i].Is_Kept ? "" : ", dropped: " + Errors[i].Drop_Reason);
    Boards.push_back(Board);
  }
  return Boards;
}

void Draw_Board(const Scale_Drawing& Into, const Standing_Board& Board) {
  Element Group = Add(Into.Svg(), "g");
  Add_Tip(Group, Board.Name);
  const std::string Dropped = Is_Set_Aside(Board.Of_Row) ? "dropped aside" : "dropped";
  Into.Add_Polygon(Group, Board.Outline_Cam, Board.Of_Row.Is_Kept ? "board" : Dropped + " outside");
  if (Board.Of_Row.Is_Kept) return;
  constexpr double Half = 5.0;
  const Eigen::Vector2d At = Into.At(Board.Centre_Cam);
  Add_Line(Group, At.x() - Half, At.y() - Half, At.x() + Half, At.y() + Half, Dropped);
  Add_Line(Group, At.x() - Half, At.y() + Half, At.x() + Half, At.y() - Half, Dropped);
}

double Farthest_Of(const std::vector<Standing_Board>& Boards) {
  double Farthest = 0;
  for (const Standing_Board& Board : Boards) {
    for (const Vector3d& Corner_Cam : Board.Outline_Cam) {
      Farthest = std::max(Farthest, Corner_Cam.z());
    }
  }
  return Farthest;
}

void Draw_Far(Element Views, const Viewpoint& From, const std::vector<Standing_Board>& Boards,
              const std::vector<Vector3d>& Pyramid, const std::optional<Isometry3d>& Mount) {
  std::vector<Vector3d> Points = Pyramid;
  Points.emplace_back(Vector3d::Zero());
  for (const Standing_Board& Board : Boards) {
    Points.insert(Points.end(), Board.Outline_Cam.begin(), Board.Outline_Cam.end());
  }
  Element Panel = Add(Views, "div");
  Add_Text(Panel, "h4", From.Name);
  const Scale_Drawing Into(Panel, From, Points, "Camera and boards, to scale.");
  Draw_Pyramid(Into, Pyramid);
  // The dropped ones last, so that no other hides them.
  for (const bool Is_Kept : {true, false}) {
    for (const Standing_Board& Board : Boards) {
      if (Board.Of_Row.Is_Kept == Is_Kept) Draw_Board(Into, Board);
    }
  }
  if (Mount) Draw_Dot(Into, Mount->translation(), "tracker");
  Draw_Dot(Into, Vector3d::Zero(), "camera");
}

void Add_Far_Figure(Element Section, const Run_View& View,
                    const std::vector<Standing_Board>& Boards) {
  const auto Dropped = std::count_if(Boards.begin(), Boards.end(), [](const Standing_Board& Board) {
    return !Board.Of_Row.Is_Kept;
  });
  Element Figure = Add_Figure(
      Section,
      {"Boards where they stood",
       fmt::format("Each outline is a board as its image sees it, {} in all; dashed with a cross: "
                   "dropped ({}), grey where the joint solve kept it. Good: boards at several "
                   "distances, tilted both ways, and "
                   "everywhere in the pyramid.",
                   Boards.size(), Dropped)});
  Element Views = Add(Figure, "div", "views");
  const std::vector<Vector3d> Pyramid = Times(Frame_Corners(View), Farthest_Of(Boards));
  for (const Viewpoint& From : {From_The_Side(), From_Above(), From_Behind()}) {
    Draw_Far(Views, From, Boards, Pyramid, Mount_Of(View));
  }
}

}  // namespace

void Add_Rig_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "rig", "The rig");
  Add_Style(Main, Rig_Style);
  const std::optional<Isometry3d> Mount = Mount_Of(View);
  const auto& Opinion = View.Result.Opinion;
  if (Mount && Opinion && Opinion->Judgement == Verdict::Dont_Use) {
    Add_Text(Section, "p",
             "The verdict is against this mount: the tracker may sit elsewhere than it is drawn.",
             "warn-text");
  }
  if (Mount) {
    Add_Near_Figure(Section, View, *Mount);
  } else {
    Add_Text(Section, "p", "The result has no mount to draw.", "missing");
  }
  const std::vector<Standing_Board> Boards = Boards_Of(View);
  if (!Boards.empty()) {
    Add_Far_Figure(Section, View, Boards);
  } else {
    Add_Text(Section, "p",
             "Where the boards stood is not known: the run has no corners or no lens.", "missing");
  }
}

}  // namespace rigsync
