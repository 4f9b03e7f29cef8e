// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/growing_search.h"

#include <algorithm>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

std::size_t Count_Opened(const std::vector<bool>& Readable, const Known_Images& Known) {
  std::size_t Count = 0;
  for (std::size_t i = 0; i < Readable.size(); ++i) Count += Readable[i] && !Known[i] ? 1 : 0;
  return Count;
}

}  // namespace

std::optional<File_Stamp> Stamp_Of(const fs::path& File) {
  std::error_code Error;
  if (!fs::is_regular_file(File, Error)) return std::nullopt;
  File_Stamp Stamp;
  Stamp.Bytes = fs::file_size(File, Error);
  if (Error) return std::nullopt;
  Stamp.Written = fs::last_write_time(File, Error);
  if (Error) return std::nullopt;
  return Stamp;
}

Known_Images Growing_Search::Known_Of(const std::vector<fs::path>& Files,
                                      const std::vector<std::optional<File_Stamp>>& Stamps) const {
  Known_Images Known(Files.size());
  for (std::size_t i = 0; i < Files.size(); ++i) {
    const auto Found = Stamps[i] ? Entries.find(Files[i]) : Entries.end();
    if (Found != Entries.end() && Found->second.Stamp == *Stamps[i]) Known[i] = Found->second.Image;
  }
  return Known;
}

Board_Search Growing_Search::Search(const std::vector<Capture_Row>& Rows,
                                    const std::vector<bool>& Readable, const fs::path& Image_Root,
                                    const Search_Progress& Progress) {
  // Stamps are taken before the images are read: a file that is written meanwhile has another one
  // at the next search.
  std::vector<fs::path> Files;
  std::vector<std::optional<File_Stamp>> Stamps;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Files.push_back(Image_Root / Rows[i].Image);
    Stamps.push_back(Readable[i] ? Stamp_Of(Files.back()) : std::nullopt);
  }
  Known_Images Known = Known_Of(Files, Stamps);
  Opened_Count += Count_Opened(Readable, Known);
  Board_Search Found = Search_Boards(Rows, Readable, Known, Image_Root, Board, Progress);
  // Without a first image none was searched for the board.
  const bool Is_Other_Size = Width > 0 && (Found.Width != Width || Found.Height != Height);
  if (Is_Other_Size) {
    Entries.clear();
    Known.assign(Rows.size(), std::nullopt);
    Opened_Count += Count_Opened(Readable, Known);
    Found = Search_Boards(Rows, Readable, Known, Image_Root, Board, Progress);
  }
  Width = Found.Width;
  Height = Found.Height;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Stamps[i]) Entries[Files[i]] = {*Stamps[i], Found.Images[i]};
  }
  return Found;
}

}  // namespace rigsync
