// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/recalled_rows.h"

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/cut_off_search.h"
#include "rigsync/capture/image_paths.h"
#include "rigsync/inspect/marker_findings.h"
#include "rigsync/review/run_view.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"

#include <algorithm>
#include <cmath>
#include <system_error>

namespace rigsync {
namespace {

// Half of the log's last digit, and what a turn by other axes and back leaves of double precision.
constexpr double Log_Rounding = 0.5e-6 + 1e-9;

// A quaternion that was turned has more than one rounded number in each of its own.
constexpr double Turned_Rounding = 2.0 * Log_Rounding;

Tracker_Sample Own_Camera(const Logged_Row& Row, const Calibration_Result& Result) {
  return With_Own_Axes(Row.Camera, Result.Library_Axes);
}

template <std::size_t Size>
bool Are_Near(const std::array<double, Size>& Left, const std::array<double, Size>& Right) {
  for (std::size_t k = 0; k < Size; ++k) {
    const bool Are_Same = Left[k] == Right[k] || (std::isnan(Left[k]) && std::isnan(Right[k]));
    if (!Are_Same && !(std::abs(Left[k] - Right[k]) <= Turned_Rounding)) return false;
  }
  return true;
}

bool Are_Near(const Tracker_Sample& Left, const Tracker_Sample& Right) {
  return Are_Near(Left.Position, Right.Position) && Are_Near(Left.Quaternion, Right.Quaternion);
}

bool Name_The_Same(const std::vector<Capture_Row>& Rows, const std::vector<Viewed_Row>& Viewed) {
  return std::equal(Rows.begin(), Rows.end(), Viewed.begin(), Viewed.end(),
                    [](const Capture_Row& Row, const Viewed_Row& Of_Run) {
                      return Row.Line == Of_Run.Image.Line && Row.Image == Of_Run.Image.Name;
                    });
}

bool Have_Logged_Samples(const std::vector<Capture_Row>& Rows, const Logged_Run& Logged,
                         const Calibration_Result& Result) {
  return std::all_of(Logged.Rows.begin(), Logged.Rows.end(), [&](const Logged_Row& Row) {
    return Row.Image < Rows.size() && Are_Near(Rows[Row.Image].Camera, Own_Camera(Row, Result)) &&
           Are_Near(Rows[Row.Image].Board, Row.Board);
  });
}

// The rows of the CSV if it still is the one of the run; otherwise none.
std::vector<Capture_Row> Rows_Of_Csv(const Logged_Run& Logged, const Run_View& View) {
  std::error_code Ignored;
  if (!std::filesystem::is_regular_file(View.Result.Inputs.Csv, Ignored)) return {};
  try {
    std::vector<Capture_Row> Rows = Read_Capture_File(View.Result.Inputs.Csv).Rows;
    const std::string& Hash = View.Result.Hashes.Csv;
    const bool Is_Same = Name_The_Same(Rows, View.Rows) &&
                         (Hash.empty() ? Have_Logged_Samples(Rows, Logged, View.Result)
                                       : Hash == File_Sha256(View.Result.Inputs.Csv));
    return Is_Same ? Rows : std::vector<Capture_Row>();
  } catch (const Usage_Error&) {  // it can't be opened
    return {};
  }
}

void Take_Logged_Rows(const Logged_Run& Logged, Run_View& View) {
  const Board_Size& Board = View.Result.Inputs.Board;
  const auto Corner_Count = static_cast<std::size_t>(Board.Cols) * Board.Rows;
  for (const Logged_Row& Logged_Row : Logged.Rows) {
    if (Logged_Row.Image >= View.Rows.size()) continue;
    Viewed_Row& Row = View.Rows[Logged_Row.Image];
    Row.Camera = Own_Camera(Logged_Row, View.Result);
    Row.Board = Logged_Row.Board;
    if (Logged_Row.Corners.size() == Corner_Count) Row.Corners = Logged_Row.Corners;
  }
}

void Take_Csv_Rows(const std::vector<Capture_Row>& Rows, Run_View& View) {
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    View.Rows[i].Camera = Rows[i].Camera;
    View.Rows[i].Board = Rows[i].Board;
  }
}

// The images by name alone, as the search takes them.
std::vector<Capture_Row> Named_Rows(const std::vector<Viewed_Row>& Viewed) {
  std::vector<Capture_Row> Rows;
  for (const Viewed_Row& Row : Viewed) {
    Capture_Row Named;
    Named.Line = Row.Image.Line;
    Named.Image = Row.Image.Name;
    Rows.push_back(Named);
  }
  return Rows;
}

std::vector<bool> Readable_Photographs(const std::vector<Capture_Row>& Rows,
                                       const std::filesystem::path& Root) {
  std::vector<bool> Readable;
  for (const Image_Path& Path : Find_Image_Paths(Rows, Root)) {
    Readable.push_back(Path.State == Path_State::File && !Path.Climbs_Out);
  }
  return Readable;
}

void Search_Photographs(Run_View& View) {
  const Board_Size& Board = View.Result.Inputs.Board;
  if (View.Rows.empty() || Board.Cols < 1 || Board.Rows < 1) return;
  const std::vector<Capture_Row> Rows = Named_Rows(View.Rows);
  const std::filesystem::path& Root = View.Result.Inputs.Image_Root;
  const Board_Search Search =
      Search_Boards(Rows, Readable_Photographs(Rows, Root), Root, Board, {});
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    View.Rows[i].Corners = Search.Images[i].Corners;
  }
  if (View.Width != 0) return;
  View.Width = Search.Width;
  View.Height = Search.Height;
}

// The rows of boards that were cut off, which the joint solve used or left out.
std::vector<std::size_t> Cut_Off_Rows(const Run_View& View) {
  std::vector<std::size_t> Rows;
  if (!View.Result.Solved) return Rows;
  for (const Solved_Row& Row : View.Result.Solved->Joint.Rows) {
    if (Row.Is_Cut_Off && Row.Row < View.Rows.size()) Rows.push_back(Row.Row);
  }
  return Rows;
}

// As a search of the photographs would have left it, before those that are cut off.
Board_Search Recalled_Search(const Run_View& View, const std::vector<bool>& Readable) {
  Board_Search Search;
  Search.Width = View.Width;
  Search.Height = View.Height;
  Search.Images.resize(View.Rows.size());
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    if (!Readable[i] || View.Rows[i].Corners.empty()) continue;
    Search.Images[i] = {Image_State::Board_Found, View.Width, View.Height, View.Rows[i].Corners};
  }
  for (const std::size_t Row : Cut_Off_Rows(View)) {
    if (Readable[Row]) Search.Images[Row] = {Image_State::No_Board, View.Width, View.Height, {}};
  }
  return Search;
}

// No log has these corners, so the photographs are looked at once more.
void Search_Cut_Off_Photographs(Run_View& View) {
  if (Cut_Off_Rows(View).empty()) return;
  const Board_Size& Board = View.Result.Inputs.Board;
  const std::vector<Capture_Row> Rows = Named_Rows(View.Rows);
  const std::filesystem::path& Root = View.Result.Inputs.Image_Root;
  Board_Search Search = Recalled_Search(View, Readable_Photographs(Rows, Root));
  const auto Marked = Search_Markers(Rows, Second_Look(Search, Board), Root);
  const auto Matched = Match_Markers(Search, Marked, Board, View.Result.Inputs.First_Marker);
  if (!Matched) return;
  Search_Cut_Off_Boards(Rows, Root, *Matched, Search);
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    View.Rows[i].Some_Corners = Search.Images[i].Some_Corners;
  }
}

}  // namespace

void Recall_Rows(const Logged_Run& Logged, Run_View& View) {
  Take_Logged_Rows(Logged, View);
  Take_Csv_Rows(Rows_Of_Csv(Logged, View), View);
  if (Logged.Rows.empty()) Search_Photographs(View);
  Search_Cut_Off_Photographs(View);
}

}  // namespace rigsync
