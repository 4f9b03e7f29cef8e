// SPDX-License-Identifier: Apache-2.0
//
// What a capture file was made of: for each picture the samples that its row comes from, or why it
// has no row. It is written beside the capture as import.json (rigsync/formats/import_file.h).
#ifndef RIGSYNC_IMPORT_IMPORT_RECORD_H
#define RIGSYNC_IMPORT_IMPORT_RECORD_H

#include "rigsync/capture/body_labels.h"
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

// The noise of a body's samples: standard deviation on each axis.
struct Body_Noise {
  double Position_Mm = 0, Rotation_Deg = 0;
};

// Or a speed.
struct Speed_Limit {
  double Linear = 0, Angular = 0;  // m/s, rad/s
};

// A tracked body of the take.
struct Body_Facts {
  std::size_t Samples = 0, Lost = 0;  // with a pose, without one
  double Rate_Hz = 0;                 // of the samples
  Body_Noise Noise;
  Speed_Limit Rest;  // up to these speeds it stands still
};

// One body while a picture was taken.
struct Body_Reading {
  Tracker_Sample Sample;  // of the row
  std::size_t Sample_Count = 0;
  double Spread_Mm = 0, Spread_Deg = 0;  // of those samples, standard deviation on each axis
  Body_Velocity Velocity;
};

// Which samples a row's pose comes from.
enum class Pose_Choice {
  Hold,     // the median of the hold around the picture
  Picture,  // a line through the samples around the picture's time
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
  std::filesystem::path Pictures;                          // the folder, or the clip
  std::string Picture_Times;  // where their times come from: "EXIF", "the frames of a clip"
  Body_Facts Camera, Board;   // Board has no samples for a board that stands still
  Body_Labels Camera_Labels = Body_Labels::Unknown;
  Pose_Choice Pose = Pose_Choice::Hold;
  std::size_t Hold_Count = 0;
  Clock_Match Clock;
  std::vector<Imported_Row> Rows;  // in the order of the pictures
};

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_IMPORT_RECORD_H
