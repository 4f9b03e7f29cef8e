// SPDX-License-Identifier: Apache-2.0
//
// A drawing with two axes. Values are put into the drawing's own units by X_At and Y_At.
#ifndef RIGSYNC_HTML_REPORT_PLOT_H
#define RIGSYNC_HTML_REPORT_PLOT_H

#include "rigsync/html_report/element.h"

#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

struct Axis {
  double Low = 0, High = 1;  // at the ends; High is above Low
  std::string Label;         // with the unit
  std::vector<double> Ticks;
};

// An axis from Low to High at least, widened to round numbers, with about Count ticks. Where they
// are equal or not finite it is one unit long.
Axis Round_Axis(double Low, double High, std::string Label, int Count = 5);

struct Plot {
  Element Svg;
  double Left = 0, Top = 0, Width = 0, Height = 0;  // of the area between the axes
  Axis X, Y;

  double X_At(double Value) const;
  double Y_At(double Value) const;  // grows upwards
};

struct Plot_Size {
  double Width = 640, Height = 240;  // of the whole drawing
};

// With grid, ticks and labels. The drawing's description is for a screen reader.
Plot Add_Plot(Element Figure, const Axis& X, const Axis& Y, std::string_view Title,
              std::string_view Description, const Plot_Size& Size = {});

// Marks in a drawing's units.
Element Add_Line(Element Svg, double X1, double Y1, double X2, double Y2, std::string_view Class);
Element Add_Circle(Element Svg, double X, double Y, double Radius, std::string_view Class);
// Anchor is start, middle or end.
Element Add_Label(Element Svg, double X, double Y, std::string_view Text,
                  std::string_view Class = "label", std::string_view Anchor = "start");
// What a pointer that rests on the element shows, and what a screen reader may say.
void Add_Tip(Element Mark, std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_PLOT_H
