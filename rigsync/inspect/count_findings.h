// SPDX-License-Identifier: Apache-2.0
//
// A search for boards that does not go on for minutes where the stated counts are wrong: when a few
// images spread over the capture show no such board, their own counts are looked for first, by the
// markers on the board if it has some.
#ifndef RIGSYNC_INSPECT_COUNT_FINDINGS_H
#define RIGSYNC_INSPECT_COUNT_FINDINGS_H

#include "rigsync/capture/board_count_search.h"
#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/marker_search.h"
#include "rigsync/inspect/finding.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace rigsync {

// Returns what Search_Boards returns for these rows. It is called for some of them first and then
// for all, so it should know what it has searched.
using Board_Searcher = std::function<Board_Search(const std::vector<Capture_Row>& Rows,
                                                  const std::vector<bool>& Readable)>;

struct Counted_Search {
  Board_Search Boards;
  // Another size than the stated one that the images show, Images being indices of rows. Then the
  // rest was not searched, and its state is Not_Searched.
  std::optional<Seen_Counts> Other_Counts;
  // The searched images, if their markers tell that the counts are wrong; otherwise empty. Here too
  // the rest was not searched.
  std::vector<Marked_Image> Marked;
};

// The search of all rows, or of a few when these show no board of the stated size, and their
// markers tell other counts or, where none are seen, two of them show a board of another size.
// Where markers tell the stated counts, no others are looked for.
Counted_Search Search_With_Counts(const std::vector<Capture_Row>& Rows,
                                  const std::vector<bool>& Readable,
                                  const std::filesystem::path& Image_Root, const Board_Size& Stated,
                                  const Board_Searcher& Searcher);

// Adds, for images without markers, that the capture's board has other counts than the stated ones.
void Judge_Counts(const std::vector<Capture_Row>& Rows, const Seen_Counts& Seen,
                  const Board_Size& Stated, Findings& List);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_COUNT_FINDINGS_H
