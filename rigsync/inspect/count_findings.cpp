// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/count_findings.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/inspect/marker_findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace rigsync {
namespace {

// Evenly spread, so that a few frames without a board at the beginning don't decide. With fewer
// readable images there is nothing to save.
constexpr std::size_t Probed_Images = 4;

std::vector<std::size_t> Probed_Rows(const std::vector<bool>& Readable) {
  std::vector<std::size_t> Rows;
  for (std::size_t i = 0; i < Readable.size(); ++i) {
    if (Readable[i]) Rows.push_back(i);
  }
  return Evenly_Chosen(Rows, Probed_Images);
}

std::vector<bool> Only(const std::vector<std::size_t>& Rows, std::size_t Count) {
  std::vector<bool> Is_Chosen(Count, false);
  for (const std::size_t Row : Rows) Is_Chosen[Row] = true;
  return Is_Chosen;
}

bool Is_Without_Board(const Board_Search& Search, const std::vector<std::size_t>& Rows) {
  return Search.Usable_Count() == 0 &&
         std::any_of(Rows.begin(), Rows.end(), [&Search](std::size_t Row) {
           return Search.Images[Row].State == Image_State::No_Board;
         });
}

// With the rows that the images are of.
std::optional<Seen_Counts> Find_Counts(const std::vector<Capture_Row>& Rows,
                                       const std::vector<std::size_t>& Probed,
                                       const std::filesystem::path& Image_Root,
                                       const Board_Size& Stated, const Board_Search& Search) {
  std::vector<std::filesystem::path> Files;
  for (const std::size_t Row : Probed) Files.push_back(Image_Root / Rows[Row].Image);
  auto Seen = Find_Board_Counts(Files, Search.Width, Search.Height, Stated);
  if (!Seen) return std::nullopt;
  for (std::size_t& Image : Seen->Images) Image = Probed[Image];
  return Seen;
}

// Markers come first: they tell in a moment what otherwise takes seconds.
void Look_For_Counts(const std::vector<Capture_Row>& Rows, const std::vector<std::size_t>& Probed,
                     const std::filesystem::path& Image_Root, const Board_Size& Stated,
                     Counted_Search& Result) {
  std::vector<Marked_Image> Marked = Search_Markers(Rows, Probed, Image_Root);
  if (Read_Boards(Marked).empty()) {
    Result.Other_Counts = Find_Counts(Rows, Probed, Image_Root, Stated, Result.Boards);
  } else if (Are_Counts_Wrong(Marked, Stated)) {
    Result.Marked = std::move(Marked);
  }
}

std::string Size_Text(const Board_Size& Board) {
  return fmt::format("{}x{}", Board.Cols, Board.Rows);
}

}  // namespace

Counted_Search Search_With_Counts(const std::vector<Capture_Row>& Rows,
                                  const std::vector<bool>& Readable,
                                  const std::filesystem::path& Image_Root, const Board_Size& Stated,
                                  const Board_Searcher& Searcher) {
  const std::vector<std::size_t> Probed = Probed_Rows(Readable);
  Counted_Search Result;
  if (Probed.size() > 1) {
    const std::vector<bool> Is_Probed = Only(Probed, Rows.size());
    Result.Boards = Searcher(Rows, Is_Probed);
    if (Is_Without_Board(Result.Boards, Probed)) {
      Look_For_Counts(Rows, Probed, Image_Root, Stated, Result);
    }
    if (Result.Other_Counts || !Result.Marked.empty()) {
      for (std::size_t i = 0; i < Rows.size(); ++i) {
        if (Readable[i] && !Is_Probed[i]) Result.Boards.Images[i].State = Image_State::Not_Searched;
      }
      return Result;
    }
  }
  Result.Boards = Searcher(Rows, Readable);
  return Result;
}

void Judge_Counts(const std::vector<Capture_Row>& Rows, const Seen_Counts& Seen,
                  const Board_Size& Stated, Findings& List) {
  std::vector<std::size_t> Lines;
  for (const std::size_t Row : Seen.Images) Lines.push_back(Rows[Row].Line);
  const std::string Size = Size_Text(Seen.Board);
  const bool Are_Squares = Stated.Cols == Seen.Board.Cols + 1 && Stated.Rows == Seen.Board.Rows + 1;
  List.Add({"board_counts",
            Level::Error,
            fmt::format("No board of {} inner corners is found. This looks like {}: {} images show "
                        "such a board, and the search ended there.",
                        Size_Text(Stated), Size, Seen.Images.size()),
            fmt::format("It is found in {}.", Lines_Text(Lines)),
            fmt::format("{}Inspect again with --board {}.",
                        Are_Squares ? "--board takes inner corners, where four squares meet, and "
                                      "not squares. "
                                    : "",
                        Size),
            {}});
}

}  // namespace rigsync
