// SPDX-License-Identifier: Apache-2.0
//
// What a capture file was made of: for each picture the samples that its row comes from, or why it
// has no row. It is written beside the capture as import.json (rigsync/formats/import_file.h).
#ifndef RIGSYNC_IMPORT_IMPORT_RECORD_H
#define RIGSYNC_IMPORT_IMPORT_RECORD_H

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/solve/row_motion.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rigsync {

// How the pictures' clock was brought to that of the take.
enum class Clock_Method {
  Stated,       // by a flag
  Timecode,     // both have one
  Correlation,  // motion in the take and motion, or times, of the pictures
};

struct Clock_Match {
  Clock_Method Method = Clock_Method::Stated;
  double Offset_Seconds = 0;  // time on the take's clock less time on the pictures' clock
  // For Correlation: how well the best offset fits and the best one elsewhere, 0 to 1, and where
  // that is.
  double Score = 0, Second_Score = 0, Second_Offset_Seconds = 0;
  bool Is_Certain = false;
};

// One body while a picture was taken.
struct Body_Reading {
  Tracker_Sample Sample;  // of the row
  std::size_t Sample_Count = 0;
  double Spread_Mm = 0, Spread_Deg = 0;  // of those samples, standard deviation on each axis
  Body_Velocity Velocity;
};

struct Imported_Row {
  std::filesystem::path Picture;              // as the CSV names it, or as it was found
  double Picture_Seconds = 0;                 // on the pictures' clock
  std::optional<std::size_t> Csv_Line;        // counted from 1; none for a picture without a row
  std::string Refusal;                        // why it has no row; empty for one that has
  double Begin_Seconds = 0, End_Seconds = 0;  // of the hold, on the take's clock
  Body_Reading Camera, Board;
};

struct Import_Record {
  std::vector<std::filesystem::path> Takes;
  std::string Format, Camera_Body, Board_Body;  // Board_Body is empty for a board that stands still
  std::vector<std::pair<std::string, std::string>> Facts;  // of the takes (take.h)
  Clock_Match Clock;
  std::vector<Imported_Row> Rows;  // in the order of the pictures
};

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_IMPORT_RECORD_H
