// SPDX-License-Identifier: Apache-2.0
//
// The rows of a capture: which picture belongs to which samples, and why others have none.
#ifndef RIGSYNC_IMPORT_ROWS_H
#define RIGSYNC_IMPORT_ROWS_H

#include "rigsync/footage/footage.h"
#include "rigsync/import/holds.h"
#include "rigsync/import/import_record.h"
#include "rigsync/take/take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

struct Row_Options {
  Pose_Choice Pose = Pose_Choice::Hold;
  Speed_Limit Largest_Speed{0.005, 0.0052359877559830};  // 5 mm/s, 0.3 degrees/s
};

// Of each body, and where both stand still. Board is null for a board that isn't tracked.
struct Row_Source {
  const Body_Track* Camera = nullptr;
  const Body_Track* Board = nullptr;
  const Hold_Search* Stops = nullptr;
  double Offset_Seconds = 0;  // take's clock less pictures' clock
};

// A picture for a row. Frame is its place in Clip::Frames.
struct Chosen_Row {
  Imported_Row Row;  // Csv_Line is not set yet
  std::optional<std::size_t> Frame;
};

// Each photograph, in the order of their times. A row's pose is, by Options.Pose,
//
//   Hold     the median of the samples of its hold, of Around_Seconds before and after the picture.
//            A hold gives one row: of several photographs in one the nearest to its middle has it.
//   Picture  the pose at the picture's time. Each photograph may have a row, in a hold or not.
//
// A photograph has no row, and its Refusal says why, when it was taken outside the take or while a
// body was lost, between two holds, in a stop that was too short, in a hold that another has, or
// when a body was faster than Options.Largest_Speed. One whose time is known to a second belongs to
// the only hold of that second.
std::vector<Chosen_Row> Rows_Of_Photographs(const Photographs& From, const Row_Source& Source,
                                            const Row_Options& Options);

// For each hold its sharpest frame, away from its ends by a fifth of it and at least
// Least_End_Seconds, so that an offset that is off by a frame doesn't matter. The row is as above;
// a hold without a frame, before or after the clip, has none.
std::vector<Chosen_Row> Rows_Of_Clip(const Clip& From, const Row_Source& Source,
                                     const Row_Options& Options);

constexpr double Around_Seconds = 0.5;
constexpr double Least_End_Seconds = 0.1;

// Whether a row was refused because a body was faster than Options.Largest_Speed.
bool Was_Too_Fast(const Imported_Row& Row, const Row_Options& Options);

// The board's reading for a board that stands still and isn't tracked: at the origin, unturned.
Body_Reading Still_Board();

// The text of capture.csv: a header and a line for each row that has a picture, whose Csv_Line is
// set. Numbers read back as the same doubles. The first field is the time of the picture on the
// take's clock, seconds. Throws Usage_Error for a picture whose path has a comma or a line end,
// which the file can't hold.
std::string Capture_Csv(std::vector<Imported_Row>& Rows, double Offset_Seconds);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_ROWS_H
