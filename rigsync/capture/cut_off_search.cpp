// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/cut_off_search.h"

#include "rigsync/system/quiet_output.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

cv::Mat Read_Image(const fs::path& File) {
  try {
    return cv::imread(File.string(), cv::IMREAD_COLOR);
  } catch (const cv::Exception&) {
    return {};
  }
}

// By rising index, which counts from the end that the whole boards' corners begin at.
std::vector<Seen_Corner> In_Order(std::vector<Seen_Corner> Corners, const Matched_Board& Board) {
  const Board_Size& Size = Board.Board.Board;
  const std::size_t Last = static_cast<std::size_t>(Size.Cols) * Size.Rows - 1;
  if (Board.Order == Corner_Order::From_Last) {
    for (Seen_Corner& Corner : Corners) Corner.Index = Last - Corner.Index;
  }
  std::sort(Corners.begin(), Corners.end(),
            [](const Seen_Corner& A, const Seen_Corner& B) { return A.Index < B.Index; });
  return Corners;
}

}  // namespace

void Search_Cut_Off_Boards(const std::vector<Capture_Row>& Rows, const fs::path& Image_Root,
                           const Matched_Board& Board, Board_Search& Search, std::size_t Threads) {
  const Quiet_Output Quiet(true);
  std::vector<std::size_t> Without;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Searched_Image& Image = Search.Images[i];
    const bool Is_First_Size = Image.Width == Search.Width && Image.Height == Search.Height;
    if (Image.State == Image_State::No_Board && Is_First_Size) Without.push_back(i);
  }
  const auto Search_One = [&](std::size_t k, std::size_t /*Thread*/) {
    const cv::Mat Image = Read_Image(Image_Root / Rows[Without[k]].Image);
    if (Image.empty()) return;  // it was there a moment ago
    std::vector<Seen_Corner> Corners = Find_Corners_By_Markers(Image, Board.Board);
    if (Corners.size() < Least_Some_Corners) return;
    Searched_Image& Result = Search.Images[Without[k]];
    Result.State = Image_State::Board_Cut_Off;
    Result.Some_Corners = In_Order(std::move(Corners), Board);
  };
  Work_On_Rows(Without.size(), std::max(std::min(Threads, Without.size()), std::size_t{1}),
               Search_One, {});
}

}  // namespace rigsync
