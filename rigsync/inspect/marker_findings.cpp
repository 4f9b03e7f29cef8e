// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/marker_findings.h"

#include "rigsync/capture/marker_match.h"
#include "rigsync/geometry/statistics.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

namespace rigsync {
namespace {

constexpr std::size_t Most_Looked_At = 6;
constexpr std::size_t Most_Turned_Looked_At = 24;

std::vector<std::size_t> Rows_In(const Board_Search& Search, Image_State State) {
  std::vector<std::size_t> Rows;
  for (std::size_t i = 0; i < Search.Images.size(); ++i) {
    if (Search.Images[i].State == State) Rows.push_back(i);
  }
  return Rows;
}

std::string Counts(const Board_Size& Board) {
  return fmt::format("{}x{}", Board.Cols, Board.Rows);
}

// ---- Mirrored images -------------------------------------------------------------------------

void Judge_Mirrored(const std::vector<Capture_Row>& Rows, const std::vector<Marked_Image>& Images,
                    Findings& List) {
  std::vector<std::size_t> Lines;
  std::string Example;
  for (const Marked_Image& Image : Images) {
    if (!Image.Is_Mirrored) continue;
    const Capture_Row& Row = Rows[Image.Row];
    if (Lines.empty()) Example = fmt::format("Line {} names {}.", Row.Line, Quoted(Row.Image));
    Lines.push_back(Row.Line);
  }
  if (Lines.empty()) return;
  const auto Marked = std::count_if(Images.begin(), Images.end(),
                                    [](const Marked_Image& Image) { return Image.Has_Board; });
  // Then most likely those too that were not looked at.
  const bool Are_All = static_cast<std::ptrdiff_t>(Lines.size()) == Marked;
  List.Add({"image_mirrored", Level::Error,
            std::string(Are_All ? "The images are mirrored" : "The image is mirrored") +
                ": the markers on the board can be read only with right and left exchanged. "
                "No position of the camera shows the board like this, so the mount will be wrong.",
            Example,
            "Switch off mirroring in the camera, the recorder or the converter, and mirror the "
            "images back or take them again.",
            Are_All ? std::vector<std::size_t>() : Lines});
}

// ---- Which board -----------------------------------------------------------------------------

bool Has_Id(const Marked_Board& Board, int Id) {
  return Square_Of_Marker(Board, Id).has_value();
}

// The stated board, if one of those that were read may be it; otherwise the one with most markers.
std::size_t Main_Board(const std::vector<Read_Board>& Boards, const Stated_Markers& Stated) {
  if (!Stated.First_Id) return 0;
  const auto Is_Stated = [&](const Read_Board& Read) {
    return Has_Id({Stated.Board, *Stated.First_Id}, Read.Board.First_Id);
  };
  const auto Found = std::find_if(Boards.begin(), Boards.end(), Is_Stated);
  return Found == Boards.end() ? 0 : static_cast<std::size_t>(Found - Boards.begin());
}

void Judge_Number(const std::vector<Capture_Row>& Rows, const std::vector<Marked_Image>& Images,
                  const std::vector<Read_Board>& Boards, std::size_t Main, Findings& List) {
  if (Boards.size() < 2) return;
  const Read_Board& Other = Boards[Main == 0 ? 1 : 0];
  std::vector<std::size_t> Lines;
  for (std::size_t k = 0; k < Boards.size(); ++k) {
    if (k == Main) continue;
    for (const std::size_t Image : Boards[k].Images) Lines.push_back(Rows[Images[Image].Row].Line);
  }
  std::sort(Lines.begin(), Lines.end());
  Lines.erase(std::unique(Lines.begin(), Lines.end()), Lines.end());
  List.Add(
      {"several_boards", Level::Error,
       "The images show several boards. A calibration takes them for one, and each has its own "
       "place.",
       fmt::format("Beside the board with markers from {} on there is one with markers from "
                   "{} on.",
                   Boards[Main].Board.First_Id, Other.Board.First_Id),
       "Remove these lines, and keep other boards out of the frame. Calibrate each board's "
       "images apart.",
       Lines});
}

void Judge_First_Id(const Read_Board& Read, const Stated_Markers& Stated, Findings& List) {
  if (!Stated.First_Id) return;
  if (Has_Id({Stated.Board, *Stated.First_Id}, Read.Board.First_Id)) return;
  List.Add({"other_board",
            Level::Warning,
            fmt::format("The images show another board than --markers states: its markers begin "
                        "with {}, not with {}.",
                        Read.Board.First_Id, *Stated.First_Id),
            "",
            "Take the stage's board, or the stage file that belongs to this one: its counts, its "
            "square and its place on the tracker may differ.",
            {}});
}

// ---- Counts ----------------------------------------------------------------------------------

bool Are_Swapped(const Board_Size& A, const Board_Size& B) {
  return A.Cols == B.Rows && A.Rows == B.Cols;
}

bool Are_Right(const Read_Board& Read, const Board_Size& Stated) {
  const Board_Size& Seen = Read.Board.Board;
  const bool Are_Rows_Wrong =
      Seen.Rows > Stated.Rows || (Read.Has_All_Rows && Seen.Rows < Stated.Rows);
  return Seen.Cols == Stated.Cols && !Are_Rows_Wrong;
}

// True when the markers contradict the stated counts.
bool Judge_Counts(const Read_Board& Read, const Board_Size& Stated, Findings& List) {
  const Board_Size& Seen = Read.Board.Board;
  if (Are_Right(Read, Stated)) return false;
  if (Are_Swapped(Seen, Stated)) {
    List.Add(
        {"board_counts_swapped",
         Level::Warning,
         fmt::format("The counts of --board are swapped: by its markers the board has {} inner "
                     "corners, columns first, not {}. It is found all the same, with rows "
                     "and columns exchanged, and its place with it.",
                     Counts(Seen), Counts(Stated)),
         "",
         fmt::format("Use --board {}.", Counts(Seen)),
         {}});
    return true;
  }
  const std::string Board =
      Read.Has_All_Rows
          ? fmt::format("the board has {} inner corners, not {}", Counts(Seen), Counts(Stated))
          : fmt::format("the board has {} inner corners in a row and at least {} rows, not {}",
                        Seen.Cols, Seen.Rows, Counts(Stated));
  List.Add({"board_counts",
            Level::Error,
            fmt::format("The counts of --board are wrong: by its markers {}. The board is not "
                        "found, or a part of it is taken for all.",
                        Board),
            "",
            Read.Has_All_Rows ? fmt::format("Use --board {}.", Counts(Seen))
                              : "Count the inner corners, where four squares meet, columns first.",
            {}});
  return true;
}

// ---- Boards that are held upside down --------------------------------------------------------

void Judge_Turns(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                 const std::vector<Marked_Image>& Images, const Marked_Board& Board,
                 bool Has_Stated_Place, Findings& List) {
  if (!Looks_Same_Half_Turned(Board.Board)) return;
  std::vector<std::size_t> Lines;
  std::size_t Judged = 0;
  for (const Marked_Image& Image : Images) {
    const Searched_Image& Searched = Search.Images[Image.Row];
    if (Searched.State != Image_State::Board_Found || Image.Is_Mirrored) continue;
    const auto Order = Order_Of_Corners(Image, Searched.Corners, Board);
    if (!Order) continue;
    ++Judged;
    if (*Order == Corner_Order::From_Last) Lines.push_back(Rows[Image.Row].Line);
  }
  // Where all begin at the last corner, only a stated place is that of another one.
  if (Lines.empty() || (Lines.size() == Judged && !Has_Stated_Place)) return;
  List.Add({"board_half_turned", Level::Warning,
            fmt::format("The board is held upside down: a board of {} looks the same after half a "
                        "turn, so its last corner is taken for its first one, and the sample of "
                        "its tracker doesn't fit.",
                        Counts(Board.Board)),
            fmt::format("{} of {} images that were looked at.", Lines.size(), Judged),
            "Remove these lines, or hold the board the other way up. A board with one even and one "
            "odd count can be held in any way.",
            Lines});
}

}  // namespace

bool Are_Counts_Wrong(const std::vector<Marked_Image>& Images, const Board_Size& Stated) {
  const std::vector<Read_Board> Boards = Read_Boards(Images);
  return !Boards.empty() && std::none_of(Boards.begin(), Boards.end(), [&](const Read_Board& Read) {
    return Are_Right(Read, Stated) || Are_Swapped(Read.Board.Board, Stated);
  });
}

std::vector<std::size_t> First_Look(const Board_Search& Search) {
  std::vector<std::size_t> Rows;
  for (const Image_State State : {Image_State::Board_Found, Image_State::No_Board}) {
    const std::vector<std::size_t> All = Rows_In(Search, State);
    if (!All.empty()) Rows.push_back(All[All.size() / 2]);
  }
  return Rows;
}

std::vector<std::size_t> Second_Look(const Board_Search& Search, const Board_Size& Board) {
  std::vector<std::size_t> Rows =
      Evenly_Chosen(Rows_In(Search, Image_State::Board_Found),
                    Looks_Same_Half_Turned(Board) ? Most_Turned_Looked_At : Most_Looked_At);
  const auto Others = Evenly_Chosen(Rows_In(Search, Image_State::No_Board), Most_Looked_At);
  Rows.insert(Rows.end(), Others.begin(), Others.end());
  std::sort(Rows.begin(), Rows.end());
  return Rows;
}

std::vector<Marked_Image> Look_At_Markers(const std::vector<Capture_Row>& Rows,
                                          const Board_Search& Search, const Board_Size& Board,
                                          const std::filesystem::path& Image_Root) {
  const std::vector<std::size_t> Chosen = Second_Look(Search, Board);
  std::vector<Marked_Image> Images = Search_Markers(Rows, Chosen, Image_Root);
  if (Read_Boards(Images).size() < 2) return Images;
  std::vector<std::size_t> Others;
  for (const Image_State State : {Image_State::Board_Found, Image_State::No_Board}) {
    for (const std::size_t Row : Rows_In(Search, State)) {
      if (!std::binary_search(Chosen.begin(), Chosen.end(), Row)) Others.push_back(Row);
    }
  }
  for (Marked_Image& Image : Search_Markers(Rows, Others, Image_Root)) {
    Images.push_back(std::move(Image));
  }
  std::sort(Images.begin(), Images.end(),
            [](const Marked_Image& A, const Marked_Image& B) { return A.Row < B.Row; });
  return Images;
}

void Judge_Markers(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                   const std::vector<Marked_Image>& Images, const Stated_Markers& Stated,
                   Findings& List) {
  Judge_Mirrored(Rows, Images, List);
  const std::vector<Read_Board> Boards = Read_Boards(Images);
  if (Boards.empty()) {
    if (Stated.First_Id && !Images.empty()) {
      List.Add({"markers_not_seen",
                Level::Warning,
                "No image that was looked at shows markers of a board, although --markers states "
                "them.",
                "",
                "Is it the right board? Markers are read from edges of about ten pixels on, in "
                "focus.",
                {}});
    }
    return;
  }
  const std::size_t Main = Main_Board(Boards, Stated);
  Judge_Number(Rows, Images, Boards, Main, List);
  Judge_First_Id(Boards[Main], Stated, List);
  if (Judge_Counts(Boards[Main], Stated.Board, List)) return;
  const Marked_Board Known = {Stated.Board, Boards[Main].Board.First_Id};
  Judge_Turns(Rows, Search, Images, Known, Stated.Has_Stated_Place, List);
}

}  // namespace rigsync
