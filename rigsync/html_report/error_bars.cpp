// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/error_bars.h"

#include "rigsync/html_report/plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace rigsync {
namespace {

constexpr Plot_Size Size{720, 260};

// Part of an image's room that its bars take; the result's are narrower and stand in front.
constexpr double First_Part = 0.85, Last_Part = 0.5;

// Above this many times the largest kept error, the others' differences would be too small to see.
constexpr double Most_Above_Kept = 2.5;

double Height_Of_Axis(const std::vector<Image_Entry>& Entries) {
  double Kept = 0, All = 0;
  for (const Image_Entry& Entry : Entries) {
    for (const double Px : {Entry.Error.First_Mean_Px, Entry.Error.Mean_Px}) {
      if (!std::isfinite(Px)) continue;
      All = std::max(All, Px);
      if (Entry.Error.Is_Kept) Kept = std::max(Kept, Px);
    }
  }
  return Kept > 0.0 ? std::min(All, Most_Above_Kept * Kept) : All;
}

std::string Tip_Of(const Image_Entry& Entry, const Run_View& View) {
  const Row_Error& Error = Entry.Error;
  std::string Text = fmt::format("{}, {}", View.Rows[Entry.Row].Image.Name, Entry.Fate);
  if (std::isfinite(Error.First_Mean_Px))
    Text += fmt::format("; {:.2f} px before", Error.First_Mean_Px);
  if (std::isfinite(Error.Mean_Px)) Text += fmt::format("; {:.2f} px after", Error.Mean_Px);
  return Text;
}

// A bar that is cut has its number, upright.
void Add_Bar(const Plot& Into, Element Svg, double X, double Width, double Px,
             std::string_view Class) {
  if (!std::isfinite(Px)) return;
  const bool Is_Cut = Px > Into.Y.High;
  const double Top = Into.Y_At(std::min(Px, Into.Y.High));
  Element Bar = Add(Svg, "rect", Class);
  Set(Bar, "x", X - Width / 2);
  Set(Bar, "y", Top);
  Set(Bar, "width", Width);
  Set(Bar, "height", Into.Top + Into.Height - Top);
  if (!Is_Cut || Class == "first") return;
  // Beside the link, whose name has the number with its decimals.
  Element Number = Add_Label(Into.Svg, 0, 0, fmt::format("{:.0f}", Px), "note", "end");
  Set(Number, "transform",
      fmt::format("translate({} {}) rotate(-90)", Short_Number(X + 3.5),
                  Short_Number(Into.Top + 4)));
  Set(Number, "font-size", 10.0);
}

void Add_Cross(Element Svg, double X, double Y, std::string_view Class) {
  constexpr double Half = 3.5;
  Add_Line(Svg, X - Half, Y - Half, X + Half, Y + Half, Class);
  Add_Line(Svg, X - Half, Y + Half, X + Half, Y - Half, Class);
}

void Add_Image(const Plot& Into, const Image_Entry& Entry, const Run_View& View, double Place) {
  const double X = Into.X_At(Place), Room = Into.X_At(Place + 1.0) - X;
  const double Bottom = Into.Top + Into.Height;
  Element Link = Add(Into.Svg, "a");
  Set(Link, "href", "#" + Entry.Id);
  Set(Link, "aria-label", Tip_Of(Entry, View));
  Add_Tip(Link, Tip_Of(Entry, View));
  Element Hit = Add(Link, "rect", "hit");
  Set(Hit, "x", X - Room / 2);
  Set(Hit, "y", Into.Top);
  Set(Hit, "width", Room);
  Set(Hit, "height", Into.Height);
  Add_Bar(Into, Link, X, First_Part * Room, Entry.Error.First_Mean_Px, "first");
  const bool Is_Kept = Entry.Error.Is_Kept;
  const char* const Dropped = Is_Set_Aside(Entry.Error) ? "dropped aside" : "dropped";
  Add_Bar(Into, Link, X, Last_Part * Room, Entry.Error.Mean_Px, Is_Kept ? "kept" : Dropped);
  if (!Is_Kept) Add_Cross(Link, X, Bottom - 6.0, Dropped);
}

void Add_Key(Element Svg) {
  const auto Box = [&](double X, std::string_view Class, std::string_view Text) {
    Element Rect = Add(Svg, "rect", Class);
    Set(Rect, "x", X);
    Set(Rect, "y", 4.0);
    Set(Rect, "width", 10.0);
    Set(Rect, "height", 9.0);
    Add_Label(Svg, X + 15, 13, Text);
  };
  Box(330, "first", "before (first pass)");
  Box(465, "kept", "after, kept");
  Box(560, "dropped", "after, dropped");
  Add_Cross(Svg, 565, 8.5, "dropped");
}

std::string Description_Of(const std::vector<Image_Entry>& Entries) {
  const auto Kept = std::count_if(Entries.begin(), Entries.end(),
                                  [](const Image_Entry& Each) { return Each.Error.Is_Kept; });
  return fmt::format("{} images, {} of them kept. Each bar is a link to the image below.",
                     Entries.size(), Kept);
}

// The CSV's lines where all are known, as in the other figures; otherwise the images are counted.
std::vector<double> Places_By_Time(const Run_View& View) {
  std::vector<double> Places;
  for (const Viewed_Row& Row : View.Rows) Places.push_back(static_cast<double>(Row.Image.Line));
  const bool Are_Known =
      std::all_of(Places.begin(), Places.end(), [](double Line) { return Line > 0; });
  if (!Are_Known) std::iota(Places.begin(), Places.end(), 1.0);
  return Places;
}

}  // namespace

void Add_Error_Bars(Element Figure, const std::vector<Image_Entry>& Entries, const Run_View& View,
                    Bar_Order Order) {
  const bool Is_By_Time = Order == Bar_Order::By_Time;
  std::vector<double> Places(Entries.size());
  std::iota(Places.begin(), Places.end(), 1.0);
  if (Is_By_Time) Places = Places_By_Time(View);
  const Axis X = Round_Axis(0.0, Places.empty() ? 1.0 : Places.back() + 1.0,
                            Is_By_Time ? "line of the CSV file" : "rank, worst first", 10);
  const Axis Y = Round_Axis(0.0, Height_Of_Axis(Entries), "mean distance of the corners, pixels");
  const Plot Into = Add_Plot(Figure, X, Y, Is_By_Time ? "Error by time" : "Error by size",
                             Description_Of(Entries), Size);
  Element Svg = Into.Svg;
  Set(Svg, "role", "group");  // an image has no links for a screen reader
  Add_Key(Svg);
  std::vector<const Image_Entry*> At(Entries.size());
  for (const Image_Entry& Entry : Entries) At[Is_By_Time ? Entry.Row : Entry.Rank] = &Entry;
  for (std::size_t k = 0; k < At.size(); ++k) {
    Add_Image(Into, *At[k], View, Places[k]);
  }
}

}  // namespace rigsync
