// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/scale_drawing.h"

#include "rigsync/html_report/page.h"
#include "rigsync/html_report/plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rigsync {
namespace {

constexpr double Width = 340, Height = 290;
constexpr double Margin_X = 34, Margin_Top = 40, Margin_Bottom = 36;
constexpr double Upper_Dimension = 24, Right_Dimension = Width - 14;  // where the lines are
constexpr double Least_Dimension = 8;                                 // that is drawn
constexpr double Words_End = 90;  // of what stands at the upper left
constexpr double Grid_Lines = 6;  // across the drawing, about

// 1, 2 or 5 times a power of ten.
double Round_Length(double Length) {
  const double Power = std::pow(10.0, std::floor(std::log10(Length)));
  for (const double Factor : {1.0, 2.0, 5.0}) {
    if (Length <= 1.0000001 * Factor * Power) return Factor * Power;
  }
  return 10.0 * Power;
}

std::string Length_Text(double Metres) {
  if (Metres >= 0.995) return fmt::format("{} m", Short_Number(Metres, 1));
  return fmt::format("{} mm", Short_Number(1000.0 * Metres, 1));
}

std::string Mm_Text(double Metres) {
  return fmt::format("{:.0f} mm", 1000.0 * Metres);
}

std::string Points_Text(const std::vector<Eigen::Vector2d>& Points) {
  std::string Text;
  for (const Eigen::Vector2d& Point : Points) {
    if (!Text.empty()) Text += ' ';
    Text += Short_Number(Point.x(), 1) + "," + Short_Number(Point.y(), 1);
  }
  return Text;
}

}  // namespace

Viewpoint From_The_Side() {
  return {"From the right side", Eigen::Vector3d::UnitZ(), -Eigen::Vector3d::UnitY(), "ahead",
          "up"};
}

Viewpoint From_Above() {
  return {"From above", Eigen::Vector3d::UnitX(), Eigen::Vector3d::UnitZ(), "right", "ahead"};
}

Viewpoint From_Behind() {
  return {"From behind, as the camera looks", Eigen::Vector3d::UnitX(), -Eigen::Vector3d::UnitY(),
          "right", "up"};
}

Scale_Drawing::Scale_Drawing(Element Parent, const Viewpoint& From,
                             const std::vector<Eigen::Vector3d>& Points_Cam,
                             std::string_view Description)
    : Seen_From(From) {
  Drawn = Add_Drawing(Parent, Width, Height, From.Name, Description);
  Eigen::Vector2d Least = Eigen::Vector2d::Constant(INFINITY), Most = -Least;
  for (const Eigen::Vector3d& Point_Cam : Points_Cam) {
    const Eigen::Vector2d Flat(From.Right_Cam.dot(Point_Cam), From.Up_Cam.dot(Point_Cam));
    if (!Flat.allFinite()) continue;
    Least = Least.cwiseMin(Flat);
    Most = Most.cwiseMax(Flat);
  }
  if (!(Most - Least).allFinite()) Least.setConstant(-0.5), Most.setConstant(0.5);
  Centre = 0.5 * (Least + Most);
  const Eigen::Vector2d Range = (Most - Least).cwiseMax(1e-3);
  Scale = std::min((Width - 2.0 * Margin_X) / Range.x(),
                   (Height - Margin_Top - Margin_Bottom) / Range.y());
  Draw_Grid();
  Draw_Words();
}

Eigen::Vector2d Scale_Drawing::At(const Eigen::Vector3d& Point_Cam) const {
  const double X = Seen_From.Right_Cam.dot(Point_Cam) - Centre.x();
  const double Y = Seen_From.Up_Cam.dot(Point_Cam) - Centre.y();
  return {0.5 * Width + Scale * X,
          Margin_Top + 0.5 * (Height - Margin_Top - Margin_Bottom) - Scale * Y};
}

// Lines through the camera, so that they can be counted from there.
void Scale_Drawing::Draw_Grid() {
  const double Step = Round_Length(Width / Grid_Lines / Scale);
  const Eigen::Vector2d Origin = At(Eigen::Vector3d::Zero());
  const double Bottom = Height - 24.0, Side = Scale * Step;
  for (double X = std::fmod(Origin.x(), Side); X < Width; X += Side) {
    if (X > 0.0) Add_Line(Drawn, X, 0.0, X, Bottom, "grid");
  }
  for (double Y = std::fmod(Origin.y(), Side); Y < Bottom; Y += Side) {
    if (Y > 0.0) Add_Line(Drawn, 0.0, Y, Width, Y, "grid");
  }
  const double Y = Height - 12.0;
  Add_Line(Drawn, 4.0, Y, 4.0 + Side, Y, "axis");
  Add_Line(Drawn, 4.0, Y - 4.0, 4.0, Y + 4.0, "axis");
  Add_Line(Drawn, 4.0 + Side, Y - 4.0, 4.0 + Side, Y + 4.0, "axis");
  Add_Label(Drawn, 10.0 + Side, Y + 4.0, Length_Text(Step));
}

void Scale_Drawing::Draw_Words() {
  Add_Label(Drawn, 4.0, 13.0, "\xE2\x86\x91 " + Seen_From.Up_Word, "note");
  Add_Label(Drawn, Width - 4.0, Height - 8.0, Seen_From.Right_Word + " \xE2\x86\x92", "note",
            "end");
}

Element Scale_Drawing::Add_Polygon(Element Parent, const std::vector<Eigen::Vector3d>& Corners_Cam,
                                   std::string_view Class) const {
  std::vector<Eigen::Vector2d> Points;
  for (const Eigen::Vector3d& Corner_Cam : Corners_Cam) Points.push_back(At(Corner_Cam));
  Element Polygon = Add(Parent, "polygon", Class);
  Set(Polygon, "points", Points_Text(Points));
  return Polygon;
}

Element Scale_Drawing::Add_Segment(const Eigen::Vector3d& From_Cam, const Eigen::Vector3d& To_Cam,
                                   std::string_view Class) const {
  const Eigen::Vector2d From = At(From_Cam), To = At(To_Cam);
  return Add_Line(Drawn, From.x(), From.y(), To.x(), To.y(), Class);
}

void Scale_Drawing::Add_Arrow(const Eigen::Vector3d& From_Cam, const Eigen::Vector3d& To_Cam,
                              std::string_view Class) const {
  constexpr double Head = 6.0;
  const Eigen::Vector2d From = At(From_Cam), To = At(To_Cam);
  const double Length = (To - From).norm();
  if (!(Length > Head)) return;
  const Eigen::Vector2d Back = Head / Length * (From - To), Aside(-0.5 * Back.y(), 0.5 * Back.x());
  Add_Segment(From_Cam, To_Cam, Class);
  Set(Add(Drawn, "polyline", Class), "points",
      Points_Text({To + Back + Aside, To, To + Back - Aside}));
}

void Scale_Drawing::Add_Dimensions(const Eigen::Vector3d& From_Cam,
                                   const Eigen::Vector3d& To_Cam) const {
  const Eigen::Vector2d From = At(From_Cam), To = At(To_Cam), Middle = 0.5 * (From + To);
  const Eigen::Vector2d Metres = (To - From).cwiseAbs() / Scale;
  if (std::abs(To.x() - From.x()) > Least_Dimension) {
    Add_Dimension_Line({From.x(), Upper_Dimension}, {To.x(), Upper_Dimension}, From, To);
    Add_Label(Drawn, std::max(Middle.x(), Words_End), Upper_Dimension - 6.0, Mm_Text(Metres.x()),
              "label", "middle");
  }
  if (std::abs(To.y() - From.y()) > Least_Dimension) {
    Add_Dimension_Line({Right_Dimension, From.y()}, {Right_Dimension, To.y()}, From, To);
    Element Number = Add_Label(Drawn, 0, 0, Mm_Text(Metres.y()), "label", "middle");
    const double Y = std::clamp(Middle.y(), 60.0, Height - 60.0);
    Set(Number, "transform",
        fmt::format("translate({} {}) rotate(-90)", Short_Number(Right_Dimension + 11.0),
                    Short_Number(Y)));
  }
}

// With a tick at each end, and lines from there to the points that it is about.
void Scale_Drawing::Add_Dimension_Line(const Eigen::Vector2d& Begin, const Eigen::Vector2d& End,
                                       const Eigen::Vector2d& From,
                                       const Eigen::Vector2d& To) const {
  const Eigen::Vector2d Along = (End - Begin).normalized();
  const Eigen::Vector2d Tick = 4.0 * Eigen::Vector2d(Along.y(), -Along.x());
  Add_Line(Drawn, Begin.x(), Begin.y(), End.x(), End.y(), "axis");
  for (const auto& [At_End, Point] : {std::pair(Begin, From), std::pair(End, To)}) {
    const Eigen::Vector2d A = At_End - Tick, B = At_End + Tick;
    Add_Line(Drawn, A.x(), A.y(), B.x(), B.y(), "axis");
    Add_Line(Drawn, At_End.x(), At_End.y(), Point.x(), Point.y(), "reference");
  }
}

}  // namespace rigsync
