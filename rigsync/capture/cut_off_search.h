// SPDX-License-Identifier: Apache-2.0
//
// The corners of boards that are cut off by the frame or partly covered, by their markers. The
// library finds none of these boards; those that it finds stay its own to the last bit.
#ifndef RIGSYNC_CAPTURE_CUT_OFF_SEARCH_H
#define RIGSYNC_CAPTURE_CUT_OFF_SEARCH_H

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/marker_match.h"
#include "rigsync/capture/parallel_rows.h"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace rigsync {

// Fewer corners than this determine no pose well.
constexpr std::size_t Least_Some_Corners = 6;

// Reads the images that show no board once more, as far as they have the size of the first. Where
// markers tell at least Least_Some_Corners corners, the state becomes Board_Cut_Off. Corners are
// counted as those of the whole boards, from the same end. In at most Threads threads.
void Search_Cut_Off_Boards(const std::vector<Capture_Row>& Rows,
                           const std::filesystem::path& Image_Root, const Matched_Board& Board,
                           Board_Search& Search, std::size_t Threads = Core_Count());

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_CUT_OFF_SEARCH_H
