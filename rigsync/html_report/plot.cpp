// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/plot.h"

#include "rigsync/html_report/page.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rigsync {
namespace {

// 1, 2 or 5 times a power of ten, at least the step that gives Count ticks.
double Round_Step(double Range, int Count) {
  const double Step = Range / Count;
  const double Power = std::pow(10.0, std::floor(std::log10(Step)));
  for (const double Factor : {1.0, 2.0, 5.0}) {
    if (Step <= Factor * Power * 1.0000001) return Factor * Power;
  }
  return 10.0 * Power;
}

int Decimals_Of(const std::vector<double>& Ticks) {
  if (Ticks.size() < 2) return 2;
  const double Step = Ticks[1] - Ticks[0];
  return std::clamp(static_cast<int>(std::ceil(-std::log10(Step) - 1e-9)), 0, 6);
}

void Draw_X_Axis(const Plot& Into) {
  const double Bottom = Into.Top + Into.Height;
  const int Digits = Decimals_Of(Into.X.Ticks);
  for (const double Tick : Into.X.Ticks) {
    Add_Line(Into.Svg, Into.X_At(Tick), Into.Top, Into.X_At(Tick), Bottom, "grid");
    Add_Label(Into.Svg, Into.X_At(Tick), Bottom + 15, Short_Number(Tick, Digits), "tick", "middle");
  }
  Add_Line(Into.Svg, Into.Left, Bottom, Into.Left + Into.Width, Bottom, "axis");
  Add_Label(Into.Svg, Into.Left + Into.Width / 2, Bottom + 31, Into.X.Label, "label", "middle");
}

void Draw_Y_Axis(const Plot& Into) {
  const int Digits = Decimals_Of(Into.Y.Ticks);
  for (const double Tick : Into.Y.Ticks) {
    Add_Line(Into.Svg, Into.Left, Into.Y_At(Tick), Into.Left + Into.Width, Into.Y_At(Tick), "grid");
    Add_Label(Into.Svg, Into.Left - 6, Into.Y_At(Tick) + 4, Short_Number(Tick, Digits), "tick",
              "end");
  }
  Add_Line(Into.Svg, Into.Left, Into.Top, Into.Left, Into.Top + Into.Height, "axis");
  Add_Label(Into.Svg, 0, 12, Into.Y.Label);
}

}  // namespace

Axis Round_Axis(double Low, double High, std::string Label, int Count) {
  if (!std::isfinite(Low) || !std::isfinite(High)) Low = 0.0, High = 1.0;
  if (!(High > Low)) High = Low + 1.0;
  const double Step = Round_Step(High - Low, Count);
  Axis New;
  New.Label = std::move(Label);
  const double First = std::floor(Low / Step + 1e-9), Last = std::ceil(High / Step - 1e-9);
  for (double k = First; k <= Last; ++k) New.Ticks.push_back(k * Step);
  New.Low = New.Ticks.front();
  New.High = New.Ticks.back();
  return New;
}

double Plot::X_At(double Value) const {
  return Left + Width * (Value - X.Low) / (X.High - X.Low);
}

double Plot::Y_At(double Value) const {
  return Top + Height * (Y.High - Value) / (Y.High - Y.Low);
}

Plot Add_Plot(Element Figure, const Axis& X, const Axis& Y, std::string_view Title,
              std::string_view Description, const Plot_Size& Size) {
  Plot New;
  New.Svg = Add_Drawing(Figure, Size.Width, Size.Height, Title, Description);
  New.X = X;
  New.Y = Y;
  New.Left = 48.0;
  New.Top = 24.0;
  New.Width = Size.Width - New.Left - 16.0;
  New.Height = Size.Height - New.Top - 40.0;
  Draw_X_Axis(New);
  Draw_Y_Axis(New);
  return New;
}

Element Add_Line(Element Svg, double X1, double Y1, double X2, double Y2, std::string_view Class) {
  Element Line = Add(Svg, "line", Class);
  Set(Line, "x1", X1);
  Set(Line, "y1", Y1);
  Set(Line, "x2", X2);
  Set(Line, "y2", Y2);
  return Line;
}

Element Add_Circle(Element Svg, double X, double Y, double Radius, std::string_view Class) {
  Element Circle = Add(Svg, "circle", Class);
  Set(Circle, "cx", X);
  Set(Circle, "cy", Y);
  Set(Circle, "r", Radius);
  return Circle;
}

Element Add_Label(Element Svg, double X, double Y, std::string_view Text, std::string_view Class,
                  std::string_view Anchor) {
  Element Label = Add_Text(Svg, "text", Text, Class);
  Set(Label, "x", X);
  Set(Label, "y", Y);
  if (Anchor != "start") Set(Label, "text-anchor", Anchor);
  return Label;
}

void Add_Tip(Element Mark, std::string_view Text) {
  Add_Text(Mark, "title", Text);
}

}  // namespace rigsync
