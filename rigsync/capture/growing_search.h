// SPDX-License-Identifier: Apache-2.0
//
// The search for the board in a capture that grows while it is taken: an image that was searched is
// not opened again as long as its file stays as it was.
#ifndef RIGSYNC_CAPTURE_GROWING_SEARCH_H
#define RIGSYNC_CAPTURE_GROWING_SEARCH_H

#include "rigsync/capture/board_search.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace rigsync {

// By which a file that changed is known: what is written later has another time or size.
struct File_Stamp {
  std::uintmax_t Bytes = 0;
  std::filesystem::file_time_type Written{};

  bool operator==(const File_Stamp& Other) const {
    return Bytes == Other.Bytes && Written == Other.Written;
  }
  bool operator!=(const File_Stamp& Other) const { return !(*this == Other); }
};

// None for a file that is not there or is no regular file.
std::optional<File_Stamp> Stamp_Of(const std::filesystem::path& File);

class Growing_Search {
 public:
  explicit Growing_Search(const Board_Size& Searched_Board) : Board(Searched_Board) {}

  // What Search_Boards returns for the same capture. An image is searched by the size of the
  // capture's first one, so all are searched again when that changes.
  Board_Search Search(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                      const std::filesystem::path& Image_Root, const Search_Progress& Progress);

  // The number of image files that were opened since the beginning.
  std::size_t Opened() const { return Opened_Count; }

 private:
  struct Entry {
    File_Stamp Stamp;
    Searched_Image Image;
  };

  Known_Images Known_Of(const std::vector<std::filesystem::path>& Files,
                        const std::vector<std::optional<File_Stamp>>& Stamps) const;

  Board_Size Board;
  std::map<std::filesystem::path, Entry> Entries;
  int Width = 0, Height = 0;  // of the first image when the entries were searched
  std::size_t Opened_Count = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_GROWING_SEARCH_H
