// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/board_findings.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/statistics.h"

#include <fmt/format.h>

#include <algorithm>

namespace rigsync {
namespace {

// A board whose error is this many times the median is blurred, bent or wrongly detected. Below
// half a pixel it does no harm.
constexpr double Bad_Fit_Factor = 3.0;
constexpr double Bad_Fit_Floor_Px = 0.5;

void Add_Refused(const Capture_Row& Row, Findings& List) {
  List.Add({"image_refused",
            Level::Error,
            "The image decoder throws an exception for this file. The library then searches the "
            "previous image again, under this line's name and with its samples.",
            fmt::format("Line {} names {}.", Row.Line, Quoted(Row.Image)),
            "Remove the line.",
            {Row.Line}});
}

void Add_Unreadable(const Capture_Row& Row, Findings& List) {
  List.Add({"image_unreadable",
            Level::Warning,
            "The file cannot be read as an image, so the line is dropped.",
            fmt::format("Line {} names {}.", Row.Line, Quoted(Row.Image)),
            "Check that the file is complete, that you have permission to read it, and that its "
            "format is one that OpenCV reads (PNG, JPEG, TIFF, BMP).",
            {Row.Line}});
}

void Add_Other_Size(const Capture_Row& Row, const Searched_Image& Image, const Board_Search& Search,
                    Findings& List) {
  List.Add({"image_size",
            Level::Warning,
            fmt::format("The image differs in size from the first one ({} x {}). The library "
                        "accepts it, but its corners will be wrong.",
                        Search.Width, Search.Height),
            fmt::format("Line {} has {} x {}.", Row.Line, Image.Width, Image.Height),
            "Remove the line, or save all images in the same size.",
            {Row.Line}});
}

void Add_No_Board(const Capture_Row& Row, Findings& List) {
  List.Add({"board_not_found",
            Level::Warning,
            "No board is found in the image, so the line is dropped.",
            fmt::format("Line {} names {}.", Row.Line, Quoted(Row.Image)),
            "The whole board with its white margin must be in the frame, in focus, evenly lit and "
            "not too far away. If no image shows it, check --board: inner corners, columns first.",
            {Row.Line}});
}

void Add_Cut_Off(const Capture_Row& Row, const Searched_Image& Image, Findings& List) {
  List.Add({"board_cut_off",
            Level::Note,
            "The board is cut off by the frame or partly covered. The library drops the line; the "
            "joint solve uses the corners that are seen, if they are enough for a pose.",
            fmt::format("Line {} shows {} corners.", Row.Line, Image.Some_Corners.size()),
            "Nothing, as long as enough other images show the whole board.",
            {Row.Line}});
}

}  // namespace

void Judge_Search(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                  Findings& List) {
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Searched_Image& Image = Search.Images[i];
    if (Image.State == Image_State::Refused) Add_Refused(Rows[i], List);
    if (Image.State == Image_State::Unreadable) Add_Unreadable(Rows[i], List);
    if (Image.Width == 0) continue;
    if (Image.Width != Search.Width || Image.Height != Search.Height) {
      Add_Other_Size(Rows[i], Image, Search, List);
    }
    if (Image.State == Image_State::No_Board) Add_No_Board(Rows[i], List);
    if (Image.State == Image_State::Board_Cut_Off) Add_Cut_Off(Rows[i], Image, List);
  }
}

void Judge_Lens(const std::vector<Capture_Row>& Rows, const Lens_Fit& Lens, Findings& List) {
  std::vector<double> Errors;
  Errors.reserve(Lens.Errors.size());
  for (const Board_Error& Board : Lens.Errors) Errors.push_back(Board.Rms);
  const double Usual = Median(Errors);
  const double Limit = std::max(Bad_Fit_Factor * Usual, Bad_Fit_Floor_Px);
  for (const Board_Error& Board : Lens.Errors) {
    if (Board.Rms <= Limit) continue;
    const std::size_t Line = Rows[Board.Row].Line;
    List.Add({"board_fits_badly",
              Level::Warning,
              "The reprojection error of the board's corners is far larger than in the other "
              "images.",
              fmt::format("In line {} it is about {:.1f} pixels; the median is {:.1f}.", Line,
                          Board.Rms, Usual),
              "Look at the image. If it is blurred by motion, or the board is partly covered or "
              "shows a reflection, remove the line.",
              {Line}});
  }
  if (Lens.Rms <= library_limits::Lens_Rms_Px) return;
  List.Add({"lens_fits_badly",
            Level::Error,
            fmt::format("The best lens fits the boards with an RMS reprojection error of {:.1f} "
                        "pixels. Above {:.1f}, a calibration ends with code 5.",
                        Lens.Rms, library_limits::Lens_Rms_Px),
            "",
            "Do not change zoom or focus during the capture, use a flat and stiff board, check "
            "--board, and remove lines whose boards fit badly.",
            {}});
}

}  // namespace rigsync
