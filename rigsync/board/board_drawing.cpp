// SPDX-License-Identifier: Apache-2.0
#include "rigsync/board/board_drawing.h"

#include "rigsync/system/text.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/format.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

namespace rigsync {
namespace {

// What rounding may take off a length that fits exactly.
constexpr double Rounding = 1e-6;

// Within the strip, from its inner edge outwards: ruler ticks, their numbers, a line of text.
constexpr double Long_Tick = 4.0, Middle_Tick = 3.0, Short_Tick = 2.0;
constexpr double Number_Line = 6.8;  // where the letters stand
constexpr double Text_Line = 10.6;
constexpr double Number_Height = 2.6, Text_Height = 3.0;
constexpr double Tick_Width = 0.2;
constexpr double Longest_Ruler = 100.0;
// Half of a ruler's first number stands before it; half of the last, and the unit, behind it.
constexpr double Number_Reach = 3.0, Unit_Reach = 8.5;

// Width and height of what the board and its margin have for themselves.
struct Room {
  double Width, Height;
};

Room Room_On(double Width, double Height, bool Strip_Beside) {
  return Strip_Beside ? Room{Width - Strip_Depth, Height} : Room{Width, Height - Strip_Depth};
}

// The ways to lay a page out, the usual ones first.
struct Way {
  double Width, Height;
  bool Strip_Beside;
};

std::vector<Way> Ways_On(const Paper& On) {
  return {{On.Long_Side, On.Short_Side, false},
          {On.Long_Side, On.Short_Side, true},
          {On.Short_Side, On.Long_Side, false},
          {On.Short_Side, On.Long_Side, true}};
}

double Ruler_Length(double Strip_Length) {
  const double Room = Strip_Length - 2.0 * Printer_Edge - Number_Reach - Unit_Reach;
  return std::min(Longest_Ruler, 10.0 * std::floor(Room / 10.0));
}

Board_Page Page_By(const Way& Chosen, const Board_Size& Board, double Square, const Paper& On) {
  const Room Free = Room_On(Chosen.Width, Chosen.Height, Chosen.Strip_Beside);
  const double Across = (Free.Width - (Board.Cols + 1) * Square) / 2.0;
  const double Down = (Free.Height - (Board.Rows + 1) * Square) / 2.0;
  Board_Page Page;
  Page.Board = Board;
  Page.Square = Square;
  Page.Paper_Name = On.Name;
  Page.Width = Chosen.Width;
  Page.Height = Chosen.Height;
  Page.Board_X = Across;
  Page.Board_Y = Down;
  Page.Margin = std::min(Across, Down);
  Page.Strip_Beside = Chosen.Strip_Beside;
  Page.Ruler = Ruler_Length(Chosen.Strip_Beside ? Chosen.Height : Chosen.Width);
  return Page;
}

// The largest square of which Count, and the least margin on both sides, take up to Length.
double Largest_In(double Length, int Count) {
  return std::min((Length - 2.0 * Printer_Edge) / Count, Length / (Count + 2.0 / 3.0));
}

bool Is_American(const Paper& On) {
  return On.Name == "letter" || On.Name == "tabloid";
}

// The top left square is black: of the two corners that a half turn exchanges, detection starts at
// the one beside a black corner square.
void Draw_Squares(cairo_t* Canvas, const Board_Page& Page) {
  for (int r = 0; r <= Page.Board.Rows; ++r) {
    for (int c = r % 2; c <= Page.Board.Cols; c += 2) {
      cairo_rectangle(Canvas, Page.Board_X + c * Page.Square, Page.Board_Y + r * Page.Square,
                      Page.Square, Page.Square);
    }
  }
  cairo_fill(Canvas);
}

void Draw_Text(cairo_t* Canvas, const std::string& Text, double X, double Y) {
  cairo_move_to(Canvas, X, Y);
  cairo_show_text(Canvas, Text.c_str());
}

double Width_Of(cairo_t* Canvas, const std::string& Text) {
  cairo_text_extents_t Extents;
  cairo_text_extents(Canvas, Text.c_str(), &Extents);
  return Extents.x_advance;
}

// Ticks are filled and not stroked: each is centred on its millimetre, and the first and the last
// are as far apart as the ruler is long.
void Draw_Ruler(cairo_t* Canvas, double X, double Length) {
  const int Millimetres = static_cast<int>(std::lround(Length));
  for (int At = 0; At <= Millimetres; ++At) {
    const double Tick = At % 10 == 0 ? Long_Tick : At % 5 == 0 ? Middle_Tick : Short_Tick;
    cairo_rectangle(Canvas, X + At - Tick_Width / 2.0, 0.0, Tick_Width, Tick);
  }
  cairo_fill(Canvas);
  cairo_set_font_size(Canvas, Number_Height);
  for (int At = 0; At <= Millimetres; At += 10) {
    const std::string Number = fmt::format("{}", At);
    Draw_Text(Canvas, Number, X + At - Width_Of(Canvas, Number) / 2.0, Number_Line);
  }
  Draw_Text(Canvas, "mm", X + Length + Number_Reach + 1.0, Number_Line);
}

std::string Words_On(const Board_Page& Page) {
  std::string Text = fmt::format(
      "{} x {} inner corners, squares of {:g} mm. Print at 100 %: the ruler is {:g} mm "
      "long.",
      Page.Board.Cols, Page.Board.Rows, Page.Square, Page.Ruler);
  if (!Looks_Same_Half_Turned(Page.Board)) Text += " The first corner is at the top left.";
  return Text;
}

// In the strip's own axes: x along it, y outwards from its inner edge.
void Draw_Strip(cairo_t* Canvas, const Board_Page& Page) {
  const double Length = Page.Strip_Beside ? Page.Height : Page.Width;
  Draw_Ruler(Canvas, Printer_Edge + Number_Reach, Page.Ruler);
  const std::string Words = Words_On(Page);
  cairo_set_font_size(Canvas, Text_Height);
  const double Room = Length - 2.0 * (Printer_Edge + Number_Reach);
  const double Needed = Width_Of(Canvas, Words);
  if (Needed > Room) cairo_set_font_size(Canvas, Text_Height * Room / Needed);
  Draw_Text(Canvas, Words, Printer_Edge + Number_Reach, Text_Line);
}

void Draw(cairo_t* Canvas, const Board_Page& Page) {
  cairo_set_source_rgb(Canvas, 1, 1, 1);
  cairo_paint(Canvas);
  cairo_set_source_rgb(Canvas, 0, 0, 0);
  Draw_Squares(Canvas, Page);

  cairo_select_font_face(Canvas, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  // Letters as designed: hinting would round them to a pixel grid, which a page doesn't have.
  cairo_font_options_t* const Options = cairo_font_options_create();
  cairo_font_options_set_hint_style(Options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(Options, CAIRO_HINT_METRICS_OFF);
  cairo_set_font_options(Canvas, Options);
  cairo_font_options_destroy(Options);

  if (Page.Strip_Beside) {
    // Read from the right: the strip's x runs up the page, its y to the right.
    cairo_translate(Canvas, Page.Width - Strip_Depth, Page.Height);
    cairo_rotate(Canvas, -std::acos(-1.0) / 2.0);
  } else {
    cairo_translate(Canvas, 0.0, Page.Height - Strip_Depth);
  }
  Draw_Strip(Canvas, Page);
}

cairo_status_t Append(void* Target, const unsigned char* Bytes, unsigned int Count) {
  static_cast<std::string*>(Target)->append(Bytes, Bytes + Count);
  return CAIRO_STATUS_SUCCESS;
}

void Require(cairo_status_t Status) {
  if (Status == CAIRO_STATUS_SUCCESS) return;
  throw std::runtime_error(
      fmt::format("the board can't be drawn: {}", cairo_status_to_string(Status)));
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Canvas = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

// The drawing libraries keep the fonts that were used until the process ends, which a leak checker
// takes for a loss. They go with one of these, after everything that was drawn with them.
struct Font_Caches {
  Font_Caches() = default;
  ~Font_Caches() {
    cairo_debug_reset_static_data();
    FcFini();
  }
  Font_Caches(const Font_Caches&) = delete;
  Font_Caches& operator=(const Font_Caches&) = delete;
};

constexpr double Points_Per_Mm = 72.0 / 25.4;

Surface Make_Surface(const Board_Page& Page, Drawing_Form Form, std::string& Bytes) {
  if (Form == Drawing_Form::Svg) {
    Surface Made(cairo_svg_surface_create_for_stream(Append, &Bytes, Page.Width, Page.Height),
                 cairo_surface_destroy);
    // Width and height then carry the unit, and one unit of the drawing is a millimetre.
    cairo_svg_surface_set_document_unit(Made.get(), CAIRO_SVG_UNIT_MM);
    return Made;
  }
  Surface Made(cairo_pdf_surface_create_for_stream(Append, &Bytes, Page.Width * Points_Per_Mm,
                                                   Page.Height * Points_Per_Mm),
               cairo_surface_destroy);
  // No time of day, so that the same board is the same file.
  cairo_pdf_surface_set_metadata(Made.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
  cairo_pdf_surface_set_metadata(Made.get(), CAIRO_PDF_METADATA_TITLE,
                                 fmt::format("Chessboard of {} x {} inner corners, {:g} mm",
                                             Page.Board.Cols, Page.Board.Rows, Page.Square)
                                     .c_str());
  return Made;
}

}  // namespace

const std::vector<Paper>& Named_Papers() {
  static const std::vector<Paper> Papers = {
      {"a4", 210, 297},  {"a3", 297, 420},         {"a2", 420, 594},         {"a1", 594, 841},
      {"a0", 841, 1189}, {"letter", 215.9, 279.4}, {"tabloid", 279.4, 431.8}};
  return Papers;
}

double Least_Margin(double Square) {
  return std::max(Printer_Edge, Square / 3.0);
}

std::optional<Board_Page> Plan_Page(const Board_Size& Board, double Square, const Paper& On) {
  std::optional<Board_Page> Best;
  for (const Way& Tried : Ways_On(On)) {
    const Board_Page Page = Page_By(Tried, Board, Square, On);
    if (Page.Margin < Least_Margin(Square) - Rounding) continue;
    if (!Best || Page.Margin > Best->Margin + Rounding) Best = Page;
  }
  return Best;
}

double Largest_Square(const Board_Size& Board, const Paper& On) {
  double Largest = 0.0;
  for (const Way& Tried : Ways_On(On)) {
    const Room Free = Room_On(Tried.Width, Tried.Height, Tried.Strip_Beside);
    Largest = std::max(Largest, std::min(Largest_In(Free.Width, Board.Cols + 1),
                                         Largest_In(Free.Height, Board.Rows + 1)));
  }
  return std::floor(Largest * 10.0 + Rounding) / 10.0;
}

std::optional<Paper> Smallest_Paper(const Board_Size& Board, double Square, const Paper& Like) {
  for (const bool American : {Is_American(Like), !Is_American(Like)}) {
    for (const Paper& Known : Named_Papers()) {
      if (Is_American(Known) == American && Plan_Page(Board, Square, Known)) return Known;
    }
  }
  return std::nullopt;
}

std::string Draw_Page(const Board_Page& Page, Drawing_Form Form) {
  const Font_Caches Caches;
  std::string Bytes;
  const Surface Target = Make_Surface(Page, Form, Bytes);
  Require(cairo_surface_status(Target.get()));
  const Canvas On(cairo_create(Target.get()), cairo_destroy);
  if (Form == Drawing_Form::Pdf) cairo_scale(On.get(), Points_Per_Mm, Points_Per_Mm);
  Draw(On.get(), Page);
  cairo_show_page(On.get());
  Require(cairo_status(On.get()));
  cairo_surface_finish(Target.get());
  Require(cairo_surface_status(Target.get()));
  return Bytes;
}

}  // namespace rigsync
