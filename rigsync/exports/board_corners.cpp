// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/board_corners.h"

#include "rigsync/capture/image_paths.h"
#include "rigsync/exports/kept_rows.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace rigsync {
namespace {

Capture_File Read_Capture(const File_Request& Request) {
  if (Request.Capture.empty()) {
    throw Usage_Error("--capture",
                      "--capture: missing. The corners are looked for in the images of the "
                      "capture, and the result does not name its CSV file");
  }
  return Read_Capture_File(Request.Capture);
}

Board_Size Board_Of(const File_Request& Request) {
  const Board_Size& Board = Request.Result.Inputs.Board;
  if (Board.Cols < 1 || Board.Rows < 1) {
    throw Usage_Error(
        fmt::format("{}: 'inputs.board' is missing, so the counts of the board are "
                    "not known; calibrate again with this version",
                    Request.Result_File.string()));
  }
  return Board;
}

// Words of the table end at blanks, and a line that begins with # is a comment.
void Refuse_Unwritable_Paths(const File_Request& Request, const std::vector<Capture_Row>& Rows) {
  for (const Capture_Row& Row : Rows) {
    const bool Has_Blank = Row.Image.find_first_of(" \t\r\n\v\f") != std::string::npos;
    if (!Row.Is_Image || (!Has_Blank && Row.Image.rfind('#', 0) != 0)) continue;
    throw Usage_Error(
        fmt::format("{}: line {}: the image path '{}' has a blank or begins with #, "
                    "which a table of corners can't hold. Name the file otherwise "
                    "and calibrate again",
                    Request.Capture.string(), Row.Line, One_Line(Row.Image)));
  }
}

std::vector<bool> Readable_Images(const std::vector<Capture_Row>& Rows,
                                  const std::filesystem::path& Image_Root) {
  std::vector<bool> Readable;
  for (const Image_Path& Path : Find_Image_Paths(Rows, Image_Root)) {
    Readable.push_back(Path.State == Path_State::File);
  }
  return Readable;
}

Board_Search Search_Capture(const File_Request& Request, const std::vector<Capture_Row>& Rows,
                            const Board_Size& Board) {
  Progress_Output Shown(Is_Terminal(stderr) ? Progress_Kind::Line : Progress_Kind::None);
  return Search_Boards(Rows, Readable_Images(Rows, Request.Image_Root), Request.Image_Root, Board,
                       [&Shown](std::size_t Done, std::size_t All) {
                         Shown.Show(fmt::format("Searching for boards: {} of {}", Done, All));
                       });
}

std::size_t Boards_In(const Board_Search& Search) {
  return static_cast<std::size_t>(
      std::count_if(Search.Images.begin(), Search.Images.end(),
                    [](const Searched_Image& Image) { return !Image.Corners.empty(); }));
}

}  // namespace

std::string Corners_Table(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                          const std::string& Titled) {
  std::string Text = "## " + Titled + "\n# filename x y level\n";
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (!Rows[i].Is_Image || Rows[i].Image.empty()) continue;
    const Searched_Image& Image = Search.Images[i];
    if (Image.Corners.empty()) Text += Rows[i].Image + " - - -\n";
    for (const auto& [X, Y] : Image.Corners) {
      Text += fmt::format("{} {:.6f} {:.6f} 0\n", Rows[i].Image, X, Y);
    }
  }
  return Text;
}

File_Text Write_Corners(const File_Request& Request) {
  const Board_Size Board = Board_Of(Request);
  const Capture_File File = Read_Capture(Request);
  Refuse_Unwritable_Paths(Request, File.Rows);
  const Board_Search Search = Search_Capture(Request, File.Rows, Board);
  const std::size_t Found = Boards_In(Search);
  if (Found == 0) {
    throw Usage_Error(
        "--image-root",
        fmt::format("--image-root: no image of {} below {} shows the board of {}x{}; name the "
                    "folder where its image paths start",
                    Request.Capture.string(), Request.Image_Root.string(), Board.Cols, Board.Rows));
  }
  File_Text Written;
  if (Is_Other_Capture(Request)) {
    Written.Warnings.push_back(Request.Capture.string() +
                               " is not the file that the result was made from, or was changed "
                               "since. The corners are those of its images");
  }
  Written.Text = Corners_Table(
      File.Rows, Search,
      fmt::format("rigsync: the board of {}x{} inner corners in {} of {} images of {} x {} pixels, "
                  "squares of {:g} m",
                  Board.Cols, Board.Rows, Found, File.Rows.size(), Search.Width, Search.Height,
                  Request.Result.Inputs.Square_Size));
  return Written;
}

}  // namespace rigsync
