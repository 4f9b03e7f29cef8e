// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/image_card.h"

#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// A card's drawing is this wide, in its own units, whatever the photograph.
constexpr double Drawn_Width = 480.0;

// The median arrow's length, in parts of the frame's width, at most.
constexpr double Median_Arrow = 0.035;

// Pixels of the photograph to the drawing's units.
struct Card_Frame {
  double Scale = 1.0, Width = Drawn_Width, Height = 0.75 * Drawn_Width;

  Eigen::Vector2d At(const Eigen::Vector2d& Pixel) const {
    // A pixel's centre has whole coordinates.
    return Scale * (Pixel + Eigen::Vector2d(0.5, 0.5));
  }
};

Card_Frame Frame_Of(const Thumbnail& Photograph, const Run_View& View) {
  const int Width = Photograph.Width > 0 ? Photograph.Width : View.Width;
  const int Height = Photograph.Width > 0 ? Photograph.Height : View.Height;
  Card_Frame Frame;
  if (Width <= 0 || Height <= 0) return Frame;
  Frame.Scale = Drawn_Width / Width;
  Frame.Height = Frame.Scale * Height;
  return Frame;
}

// The part of From-To inside the frame, From being inside: 0 to 1.
double Inside_Part(const Eigen::Vector2d& From, const Eigen::Vector2d& To,
                   const Card_Frame& Frame) {
  const Eigen::Vector2d Step = To - From, End(Frame.Width, Frame.Height);
  double Part = 1.0;
  for (int k = 0; k < 2; ++k) {
    if (Step[k] > 0.0) Part = std::min(Part, (End[k] - From[k]) / Step[k]);
    if (Step[k] < 0.0) Part = std::min(Part, -From[k] / Step[k]);
  }
  return std::max(Part, 0.0);
}

std::string Point_Text(const Eigen::Vector2d& Point) {
  return Short_Number(Point.x(), 1) + " " + Short_Number(Point.y(), 1);
}

// A line with a head; one that leaves the frame is cut there and has none.
std::string Arrow_Path(const Eigen::Vector2d& From, const Eigen::Vector2d& To,
                       const Card_Frame& Frame) {
  const double Part = Inside_Part(From, To, Frame);
  const Eigen::Vector2d End = From + Part * (To - From);
  std::string Path = "M" + Point_Text(From) + "L" + Point_Text(End);
  const double Length = (To - From).norm();
  if (Part < 1.0 || Length < 3.0) return Path;
  const Eigen::Vector2d Back = std::min(5.0, 0.5 * Length) / Length * (From - To);
  const Eigen::Vector2d Aside(-0.5 * Back.y(), 0.5 * Back.x());
  return Path + "M" + Point_Text(End + Back + Aside) + "L" + Point_Text(End) + "L" +
         Point_Text(End + Back - Aside);
}

// Dots are lines without length and with round ends: one element for all of a card.
void Add_Corners(Element Svg, const Row_Error& Error, const Card_Frame& Frame, double Factor) {
  std::string Dots, Arrows;
  for (std::size_t k = 0; k < Error.Found_Px.size(); ++k) {
    const Eigen::Vector2d& Found = Error.Found_Px[k];
    Dots += "M" + Point_Text(Frame.At(Found)) + "h0";
    if (Error.Predicted_Px.size() != Error.Found_Px.size()) continue;
    const Eigen::Vector2d Off = Error.Predicted_Px[k] - Found;
    if (!Off.allFinite()) continue;
    Arrows += Arrow_Path(Frame.At(Found), Frame.At(Found + Factor * Off), Frame);
  }
  if (!Arrows.empty()) Set(Add(Svg, "path", "arrow"), "d", Arrows);
  if (!Dots.empty()) Set(Add(Svg, "path", "found"), "d", Dots);
}

void Add_Cross(Element Svg, const Card_Frame& Frame) {
  constexpr double X = 24.0, Half = 10.0;
  const double Y = Frame.Height - 24.0;
  Set(Add(Svg, "path", "dropped"), "d",
      fmt::format("M{} {}l{} {}m0 -{}l-{} {}", Short_Number(X - Half), Short_Number(Y - Half),
                  2 * Half, 2 * Half, 2 * Half, 2 * Half, 2 * Half));
}

void Add_Picture(Element Card, const Image_Entry& Entry, const Run_View& View,
                 const Thumbnail& Photograph, double Factor) {
  const Card_Frame Frame = Frame_Of(Photograph, View);
  Element Svg = Add(Card, "svg");
  Set(Svg, "viewBox",
      fmt::format("0 0 {} {}", Short_Number(Frame.Width), Short_Number(Frame.Height)));
  Set(Svg, "role", "img");
  Set(Svg, "aria-label",
      fmt::format("{}. {} corners found{}", View.Rows[Entry.Row].Image.Name,
                  Entry.Error.Found_Px.size(),
                  Photograph.Data_Url.empty() ? ", without its photograph" : ""));
  if (!Photograph.Data_Url.empty()) {
    Element Image = Add(Svg, "image");
    Set(Image, "width", Frame.Width);
    Set(Image, "height", Frame.Height);
    Set(Image, "preserveAspectRatio", "none");
    Set(Image, "href", Photograph.Data_Url);
  } else {
    Add_Text(Svg, "text", "no photograph", "note");
    Set(Svg.last_child(), "x", 12.0);
    Set(Svg.last_child(), "y", 28.0);
  }
  Add_Corners(Svg, Entry.Error, Frame, Factor);
  if (!Entry.Error.Is_Kept && !Is_Set_Aside(Entry.Error)) Add_Cross(Svg, Frame);
}

const char* Fate_Class(const Row_Error& Error) {
  if (Error.Is_Kept) return "";
  return Is_Set_Aside(Error) ? " out aside" : " out";
}

// A number of result.json under its key, where it is one.
void Add_Figure_Of(Element Parent, double Value, int Digits, const std::string& Key) {
  if (Key.empty()) {
    Add_Text(Parent, "span", fmt::format("{:.{}f}", Value, Digits));
  } else {
    Add_Number(Parent, "span", {Key, Value, Digits});
  }
}

std::string Key_Of(const std::string& Parent, const char* Name) {
  return Parent.empty() ? "" : fmt::format("{}.{}", Parent, Name);
}

// Whether the mean is the number of the library's log, which the file has.
bool Is_Logged(const Image_Entry& Entry, const Run_View& View) {
  const auto& Logged = View.Rows[Entry.Row].Report.Reprojection_Px;
  return Logged && *Logged == Entry.Error.Mean_Px;
}

void Add_Error(Element Card, const Image_Entry& Entry, const Run_View& View) {
  const Row_Error& Error = Entry.Error;
  const bool Has_First = std::isfinite(Error.First_Mean_Px),
             Has_Last = std::isfinite(Error.Mean_Px);
  if (!Has_First && !Has_Last) return;
  Element Line = Add(Card, "p");
  if (Has_First) {
    Add_Figure_Of(Line, Error.First_Mean_Px, 2, Key_Of(Entry.Key, "first_reprojection_px"));
    Append_Text(Line, Has_Last ? " px before, " : " px before");
  }
  if (!Has_Last) return;
  Add_Figure_Of(Line, Error.Mean_Px, 2,
                Is_Logged(Entry, View) ? Key_Of(Entry.Key, "reprojection_px") : "");
  Append_Text(Line, " px after");
  if (!std::isfinite(Error.Mean_Mm)) return;
  Add_Text(Card, "p", fmt::format("{:.1f} mm at {:.2f} m", Error.Mean_Mm, Error.Distance));
}

// What the solve of both mounts says of the row.
void Add_Joint(Element Card, const Image_Entry& Entry) {
  if (!Entry.Error.Joint) return;
  Element Line = Add_Text(Card, "p", "Joint solve: ", "quiet");
  Append_Text(Line, Entry.Error.Joint->Is_Kept ? "kept, F " : "left out, F ");
  const double F = Entry.Error.Joint->F;
  Add_Figure_Of(Line, F, F < 10.0 ? 1 : 0, Key_Of(Entry.Joint_Key, "f"));
}

}  // namespace

double Arrow_Factor(const std::vector<Image_Entry>& Entries, const Run_View& View) {
  std::vector<double> Lengths;
  for (const Image_Entry& Entry : Entries) {
    const Row_Error& Error = Entry.Error;
    if (!Error.Is_Kept || Error.Predicted_Px.size() != Error.Found_Px.size()) continue;
    for (std::size_t k = 0; k < Error.Found_Px.size(); ++k) {
      Lengths.push_back((Error.Predicted_Px[k] - Error.Found_Px[k]).norm());
    }
  }
  return std::max(1.0, Round_Magnification(Finite_Median(Lengths), Median_Arrow * View.Width));
}

void Add_Image_Card(Element Cards, const Image_Entry& Entry, const Run_View& View,
                    const Thumbnail& Photograph, double Factor) {
  const Viewed_Row& Row = View.Rows[Entry.Row];
  Element Card =
      Add(Cards, "article", fmt::format("card{} rank-{}", Fate_Class(Entry.Error), Entry.Rank));
  Set(Card, "id", Entry.Id);
  Add_Text(Card, "h4", Row.Image.Name);
  Add_Picture(Card, Entry, View, Photograph, Factor);
  const std::string Line = Row.Image.Line > 0 ? fmt::format("Line {}, ", Row.Image.Line) : "";
  Add_Text(Card, "p", Line + Entry.Fate, fmt::format("fate{}", Fate_Class(Entry.Error)));
  Add_Error(Card, Entry, View);
  Add_Joint(Card, Entry);
}

}  // namespace rigsync
