// SPDX-License-Identifier: Apache-2.0
//
// The pictures of a capture before they belong to tracker samples: photographs in a folder, or the
// frames of a clip, with the times at which they were taken.
#ifndef RIGSYNC_FOOTAGE_FOOTAGE_H
#define RIGSYNC_FOOTAGE_FOOTAGE_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// Where the times of photographs come from.
enum class Time_Source { List, Exif, File_Time };

// "a list of times", "EXIF", "file times"
const char* Time_Source_Text(Time_Source Source);

struct Photograph {
  std::filesystem::path File;
  double Seconds = 0;  // on the clock of the pictures
};

struct Photographs {
  std::vector<Photograph> Pictures;  // by time, then by name
  Time_Source Source = Time_Source::File_Time;
  double Resolution_Seconds = 0;  // of the times: 1 for EXIF without fractions of a second
  // Timecode at Seconds == 0, seconds since midnight, if the times are timecodes.
  std::optional<double> Timecode_Start;
  std::vector<std::string> Warnings;  // what was left out, a sentence each
};

// One frame of a clip.
struct Clip_Frame {
  double Seconds = 0;    // when it is shown, from the clip's first frame
  float Difference = 0;  // mean absolute difference to the frame before, grey levels of 255
  float Sharpness = 0;   // grows with focus and stillness; comparable within one clip only
};

struct Clip {
  std::filesystem::path File;
  int Width = 0, Height = 0;  // pixels, as the frames are shown
  double Rate_Hz = 0;
  std::vector<Clip_Frame> Frames;
  std::optional<double> Timecode_Start;  // of the first frame, seconds since midnight
  std::size_t Stream = 0;                // of the file's streams, the one with these frames
  std::vector<std::string> Warnings;     // a sentence each
};

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_FOOTAGE_H
