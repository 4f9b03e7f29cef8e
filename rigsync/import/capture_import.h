// SPDX-License-Identifier: Apache-2.0
//
// From takes and pictures to the rows of a capture: bodies by their names, holds, the offset of the
// clocks, rows. Reads and writes no file.
#ifndef RIGSYNC_IMPORT_CAPTURE_IMPORT_H
#define RIGSYNC_IMPORT_CAPTURE_IMPORT_H

#include "rigsync/footage/footage.h"
#include "rigsync/import/holds.h"
#include "rigsync/import/import_record.h"
#include "rigsync/import/rows.h"
#include "rigsync/take/take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Import_Request {
  std::string Camera, Board;  // names of bodies; no Board for one that stands still
  Hold_Options Holds;
  Row_Options Rows;
  std::optional<double> Offset_Seconds;  // stated: it is used whatever the pictures say
};

struct Capture_Import {
  // But for Takes, Pictures, and the Csv_Line of each row.
  Import_Record Record;
  // For a clip: the frame of each row, by its place in Clip::Frames.
  std::vector<std::optional<std::size_t>> Frames;
  std::size_t Short_Stops = 0;        // stops that were too short for a hold
  std::vector<std::string> Warnings;  // a sentence each
};

// Fewer rows than this are told, because matching clocks and solving mounts both want more.
constexpr std::size_t Few_Holds = 15;

// With so many photographs, and holds that are as irregular as is advised, the clocks are hardly
// ever left open (docs/import.md).
constexpr int Enough_Photographs = 30;

// Both as one, the bodies of First in front. Where both have a timecode, Second's clock is brought
// to that of First; otherwise both are taken to have the same clock. Throws Usage_Error, beginning
// with TAKE2, when they have no time in common.
Take Joined_Takes(Take First, Take Second);

// Throws Usage_Error, beginning with --camera or --board, for a body that the take doesn't have,
// with the names that there are, and for one body in both places. The imports below do the same;
// this one is for before the pictures are read, which takes long for a clip.
void Check_Bodies(const Take& Tracks, const Import_Request& Request);

// Throws Usage_Error
//   --camera, --board   no body has that name, with the names that there are, or two have it
//   --still             no hold was found, and holds are needed
//   --offset            the offset of the clocks isn't certain: what fits best and next, and what
//                       to do
//   --images, --clip    no picture has a row, with the reasons
Capture_Import Import_Photographs(const Take& Tracks, const Photographs& From,
                                  const Import_Request& Request);
Capture_Import Import_Clip(const Take& Tracks, const Clip& From, const Import_Request& Request);

// How often each reason occurs, the most frequent first; numbers in a reason don't make it another.
struct Counted_Reason {
  std::string Reason;  // of the first
  std::vector<std::size_t> Rows;
};
std::vector<Counted_Reason> Refusal_Reasons(const std::vector<Imported_Row>& Rows);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_CAPTURE_IMPORT_H
