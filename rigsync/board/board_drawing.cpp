// SPDX-License-Identifier: Apache-2.0
#include "rigsync/board/board_drawing.h"

#include "rigsync/capture/board_markers.h"
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

// Tolerance, so that a length that fits exactly isn't lost to rounding.
constexpr double Rounding = 1e-6;

// In the strip, from its inner edge outwards: ruler ticks, their numbers, a line of text.
constexpr double Long_Tick = 4.0, Middle_Tick = 3.0, Short_Tick = 2.0;
constexpr double Number_Baseline = 6.8;
constexpr double Text_Baseline = 10.6;
constexpr double Number_Height = 2.6, Text_Height = 3.0;
constexpr double Tick_Width = 0.2;
constexpr double Longest_Ruler = 100.0;
// Half of a ruler's first number is left of the ruler; half of the last number and the unit are
// right of it.
constexpr double Number_Reach = 3.0, Unit_Reach = 8.5;

// The part of the page that is left for the board and its margin.
struct Free_Area {
  double Width, Height;
};

Free_Area Area_Without_Strip(double Width, double Height, bool Strip_Beside) {
  return Strip_Beside ? Free_Area{Width - Strip_Depth, Height}
                      : Free_Area{Width, Height - Strip_Depth};
}

// How the page is turned and where the strip is.
struct Layout {
  double Width, Height;
  bool Strip_Beside;
};

// All layouts of a paper, preferred ones first.
std::vector<Layout> Layouts_Of(const Paper& Sheet) {
  return {{Sheet.Long_Side, Sheet.Short_Side, false},
          {Sheet.Long_Side, Sheet.Short_Side, true},
          {Sheet.Short_Side, Sheet.Long_Side, false},
          {Sheet.Short_Side, Sheet.Long_Side, true}};
}

double Ruler_Length(double Strip_Length) {
  const double Available = Strip_Length - 2.0 * Printer_Edge - Number_Reach - Unit_Reach;
  return std::min(Longest_Ruler, 10.0 * std::floor(Available / 10.0));
}

Board_Page Page_With(const Layout& Arrangement, const Board_Size& Board, double Square,
                     const Paper& Sheet) {
  const Free_Area Area =
      Area_Without_Strip(Arrangement.Width, Arrangement.Height, Arrangement.Strip_Beside);
  const double Across = (Area.Width - (Board.Cols + 1) * Square) / 2.0;
  const double Down = (Area.Height - (Board.Rows + 1) * Square) / 2.0;
  Board_Page Page;
  Page.Board = Board;
  Page.Square = Square;
  Page.Paper_Name = Sheet.Name;
  Page.Width = Arrangement.Width;
  Page.Height = Arrangement.Height;
  Page.Board_X = Across;
  Page.Board_Y = Down;
  Page.Margin = std::min(Across, Down);
  Page.Strip_Beside = Arrangement.Strip_Beside;
  Page.Ruler = Ruler_Length(Arrangement.Strip_Beside ? Arrangement.Height : Arrangement.Width);
  return Page;
}

// The largest square of which Count fit into Length with the least margin at both ends.
double Largest_Square_In(double Length, int Count) {
  return std::min((Length - 2.0 * Printer_Edge) / Count, Length / (Count + 2.0 / 3.0));
}

bool Is_American(const Paper& Sheet) {
  return Sheet.Name == "letter" || Sheet.Name == "tabloid";
}

// The top left square is black: of the two corners that half a turn exchanges, detection starts at
// the one next to a black corner square.
void Draw_Squares(cairo_t* Canvas, const Board_Page& Page) {
  for (int r = 0; r <= Page.Board.Rows; ++r) {
    for (int c = r % 2; c <= Page.Board.Cols; c += 2) {
      cairo_rectangle(Canvas, Page.Board_X + c * Page.Square, Page.Board_Y + r * Page.Square,
                      Page.Square, Page.Square);
    }
  }
  cairo_fill(Canvas);
}

// Adds a marker's black to the path: its outline, with white cells as holes.
void Add_Marker(cairo_t* Canvas, int Id, double X, double Y, double Edge) {
  cairo_rectangle(Canvas, X, Y, Edge, Edge);
  const auto Cells = Cells_Of_Marker(Id);
  const double Cell = Edge / static_cast<double>(Marker_Cells);
  for (std::size_t r = 0; r < Marker_Cells; ++r) {
    for (std::size_t c = 0; c < Marker_Cells; ++c) {
      if (!Cells[r][c]) continue;
      cairo_rectangle(Canvas, X + static_cast<double>(c) * Cell, Y + static_cast<double>(r) * Cell,
                      Cell, Cell);
    }
  }
}

// All cells are one path: between cells that are filled one by one a print shows hairlines.
void Draw_Markers(cairo_t* Canvas, const Board_Page& Page) {
  if (!Page.First_Marker) return;
  const Marked_Board Board = {Page.Board, *Page.First_Marker};
  const double Edge = Page.Marker_Size * Page.Square;
  const double Free = (Page.Square - Edge) / 2.0;
  for (int k = 0; k < White_Square_Count(Page.Board); ++k) {
    const int Id = Board.First_Id + k;
    const Square_Place Place = Square_Of_Marker(Board, Id).value();
    Add_Marker(Canvas, Id, Page.Board_X + Place.Col * Page.Square + Free,
               Page.Board_Y + Place.Row * Page.Square + Free, Edge);
  }
  cairo_set_fill_rule(Canvas, CAIRO_FILL_RULE_EVEN_ODD);
  cairo_fill(Canvas);
  cairo_set_fill_rule(Canvas, CAIRO_FILL_RULE_WINDING);
}

void Draw_Text(cairo_t* Canvas, const std::string& Text, double X, double Y) {
  cairo_move_to(Canvas, X, Y);
  cairo_show_text(Canvas, Text.c_str());
}

double Text_Width(cairo_t* Canvas, const std::string& Text) {
  cairo_text_extents_t Extents;
  cairo_text_extents(Canvas, Text.c_str(), &Extents);
  return Extents.x_advance;
}

// Ticks are filled rectangles, each centred on its millimetre.
void Draw_Ruler(cairo_t* Canvas, double X, double Length) {
  const int Millimetres = static_cast<int>(std::lround(Length));
  for (int Mm = 0; Mm <= Millimetres; ++Mm) {
    const double Tick = Mm % 10 == 0 ? Long_Tick : Mm % 5 == 0 ? Middle_Tick : Short_Tick;
    cairo_rectangle(Canvas, X + Mm - Tick_Width / 2.0, 0.0, Tick_Width, Tick);
  }
  cairo_fill(Canvas);
  cairo_set_font_size(Canvas, Number_Height);
  for (int Mm = 0; Mm <= Millimetres; Mm += 10) {
    const std::string Number = fmt::format("{}", Mm);
    Draw_Text(Canvas, Number, X + Mm - Text_Width(Canvas, Number) / 2.0, Number_Baseline);
  }
  Draw_Text(Canvas, "mm", X + Length + Number_Reach + 1.0, Number_Baseline);
}

std::string Markers_Text(const Board_Page& Page) {
  if (!Page.First_Marker) return "";
  return fmt::format(", ArUco markers {} to {} of 4x4_1000", *Page.First_Marker,
                     *Page.First_Marker + White_Square_Count(Page.Board) - 1);
}

std::string Strip_Text(const Board_Page& Page) {
  std::string Text = fmt::format(
      "{} x {} inner corners, squares of {:g} mm{}. Print at 100 %: the ruler is {:g} mm "
      "long.",
      Page.Board.Cols, Page.Board.Rows, Page.Square, Markers_Text(Page), Page.Ruler);
  if (!Looks_Same_Half_Turned(Page.Board)) Text += " The first corner is at the top left.";
  return Text;
}

// In the strip's own axes: x along it, y outwards from its inner edge.
void Draw_Strip(cairo_t* Canvas, const Board_Page& Page) {
  const double Length = Page.Strip_Beside ? Page.Height : Page.Width;
  Draw_Ruler(Canvas, Printer_Edge + Number_Reach, Page.Ruler);
  const std::string Text = Strip_Text(Page);
  cairo_set_font_size(Canvas, Text_Height);
  const double Available = Length - 2.0 * (Printer_Edge + Number_Reach);
  const double Needed = Text_Width(Canvas, Text);
  if (Needed > Available) cairo_set_font_size(Canvas, Text_Height * Available / Needed);
  Draw_Text(Canvas, Text, Printer_Edge + Number_Reach, Text_Baseline);
}

void Draw(cairo_t* Canvas, const Board_Page& Page) {
  cairo_set_source_rgb(Canvas, 1, 1, 1);
  cairo_paint(Canvas);
  cairo_set_source_rgb(Canvas, 0, 0, 0);
  Draw_Squares(Canvas, Page);
  Draw_Markers(Canvas, Page);

  cairo_select_font_face(Canvas, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  // No hinting: it would round the letters to a pixel grid, which a page doesn't have.
  cairo_font_options_t* const Options = cairo_font_options_create();
  cairo_font_options_set_hint_style(Options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(Options, CAIRO_HINT_METRICS_OFF);
  cairo_set_font_options(Canvas, Options);
  cairo_font_options_destroy(Options);

  if (Page.Strip_Beside) {
    // Read from the right: the strip's x axis runs up the page, its y axis to the right.
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

// Releases the fonts that the drawing libraries keep until the process ends, which a leak checker
// would report. Outlives everything that is drawn with them.
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
    Surface Target(cairo_svg_surface_create_for_stream(Append, &Bytes, Page.Width, Page.Height),
                   cairo_surface_destroy);
    // Width and height then have the unit mm, and one unit of the drawing is a millimetre.
    cairo_svg_surface_set_document_unit(Target.get(), CAIRO_SVG_UNIT_MM);
    return Target;
  }
  Surface Target(cairo_pdf_surface_create_for_stream(Append, &Bytes, Page.Width * Points_Per_Mm,
                                                     Page.Height * Points_Per_Mm),
                 cairo_surface_destroy);
  // No creation time, so that the same board gives the same file.
  cairo_pdf_surface_set_metadata(Target.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
  cairo_pdf_surface_set_metadata(Target.get(), CAIRO_PDF_METADATA_TITLE,
                                 fmt::format("Chessboard of {} x {} inner corners, {:g} mm",
                                             Page.Board.Cols, Page.Board.Rows, Page.Square)
                                     .c_str());
  return Target;
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

std::optional<Board_Page> Plan_Page(const Board_Size& Board, double Square, const Paper& Sheet) {
  std::optional<Board_Page> Best;
  for (const Layout& Candidate : Layouts_Of(Sheet)) {
    const Board_Page Page = Page_With(Candidate, Board, Square, Sheet);
    if (Page.Margin < Least_Margin(Square) - Rounding) continue;
    if (!Best || Page.Margin > Best->Margin + Rounding) Best = Page;
  }
  return Best;
}

double Largest_Square(const Board_Size& Board, const Paper& Sheet) {
  double Largest = 0.0;
  for (const Layout& Candidate : Layouts_Of(Sheet)) {
    const Free_Area Area =
        Area_Without_Strip(Candidate.Width, Candidate.Height, Candidate.Strip_Beside);
    Largest = std::max(Largest, std::min(Largest_Square_In(Area.Width, Board.Cols + 1),
                                         Largest_Square_In(Area.Height, Board.Rows + 1)));
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
  const Font_Caches Fonts;
  std::string Bytes;
  const Surface Target = Make_Surface(Page, Form, Bytes);
  Require(cairo_surface_status(Target.get()));
  const Canvas Context(cairo_create(Target.get()), cairo_destroy);
  if (Form == Drawing_Form::Pdf) cairo_scale(Context.get(), Points_Per_Mm, Points_Per_Mm);
  Draw(Context.get(), Page);
  cairo_show_page(Context.get());
  Require(cairo_status(Context.get()));
  cairo_surface_finish(Target.get());
  Require(cairo_surface_status(Target.get()));
  return Bytes;
}

}  // namespace rigsync
