// SPDX-License-Identifier: Apache-2.0
//
// A capture that is inspected again and again while it is taken, until there is enough of it.
#ifndef RIGSYNC_INSPECT_WATCH_H
#define RIGSYNC_INSPECT_WATCH_H

#include "rigsync/capture/growing_search.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/solve/next_pose.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace rigsync {

// An image file that no line of the CSV names yet.
struct Unlisted_Image {
  std::filesystem::path File;
  Image_State State = Image_State::No_Board;
};

// A capture as it was when it was last looked at.
struct Watched_Capture {
  Inspection_Inputs Inputs;
  bool Has_Csv = true;                   // false while the CSV doesn't exist
  std::optional<Inspection> Inspected;   // none while the CSV can't be read
  std::string Why_Not;                   // why it can't be read
  std::vector<Unlisted_Image> Unlisted;  // by name
  Capture_Advice Advice;
};

// Looks for images that no line names where the CSV's images are, and while it names none, in the
// image root and in its folder "images". Without a CSV only in "images": the root may be any
// folder. Of more than Most_Unlisted, those written last.
constexpr std::size_t Most_Unlisted = 60;

class Capture_Watch {
 public:
  // Inputs.Opens_Images is true.
  explicit Capture_Watch(const Inspection_Inputs& Inputs);

  // Inspects the capture if it changed, or if this is the first look. True when it did. A CSV whose
  // last line has no end yet, and that grew since the last look, is left alone until the next:
  // somebody is writing it. Progress is that of the search for boards.
  bool Look(const Search_Progress& Progress);

  const Watched_Capture& Capture() const { return Seen; }

  // The number of image files that were opened since the beginning.
  std::size_t Opened() const { return Boards.Opened(); }

 private:
  using Stamped_Files = std::map<std::filesystem::path, File_Stamp>;

  // The files that a capture consists of.
  struct Snapshot {
    std::optional<File_Stamp> Csv;
    Stamped_Files Listed, Unlisted;

    bool operator==(const Snapshot& Other) const {
      return Csv == Other.Csv && Listed == Other.Listed && Unlisted == Other.Unlisted;
    }
  };

  Snapshot Take_Snapshot();
  Board_Search Search_All(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                          const Snapshot& Now, const Search_Progress& Progress);
  void Inspect(const Snapshot& Now, const Search_Progress& Progress);
  void Advise_Next();

  Watched_Capture Seen;
  Growing_Search Boards;
  std::set<std::filesystem::path> Listed;  // image files that the CSV names
  std::optional<Snapshot> Inspected_State, Last_State;
  std::vector<Corner_List> Unlisted_Boards;
  int Width = 0, Height = 0;  // of the first image that opens, listed or not
};

// What happens between two looks and after one.
struct Watch_Steps {
  std::function<void(const Watched_Capture&)> Show;  // after each look that found a change
  std::function<bool()> Wait;                        // false: end
  Search_Progress Progress;
};

// Goes on until Wait returns false, or, with Until_Enough, until there is enough.
void Watch(Capture_Watch& Of, bool Until_Enough, const Watch_Steps& Steps);

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_WATCH_H
