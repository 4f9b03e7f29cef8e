// SPDX-License-Identifier: Apache-2.0
//
// What the programs ffprobe and ffmpeg print about a clip, read from their text.
#ifndef RIGSYNC_FOOTAGE_CLIP_FACTS_H
#define RIGSYNC_FOOTAGE_CLIP_FACTS_H

#include "rigsync/take/timecode.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

// What a clip says of its first picture stream that is not a cover.
struct Clip_Facts {
  std::size_t Stream = 0;  // its number in the file
  int Width = 0,
      Height = 0;      // pixels, as the frames are shown: after the turn that the file states
  Frame_Rate Rate;     // on average
  double Seconds = 0;  // its length; 0 if it isn't stated
  std::optional<double> Timecode_Start;  // of the first frame, seconds since midnight
  std::vector<std::string> Warnings;     // a sentence each
};

// The fields that Parse_Clip_Facts reads, for the flag -show_entries of ffprobe.
extern const char* const Probed_Entries;

// Reads what ffprobe prints with "-of json". A timecode is looked for in the picture stream, then
// in a stream of timecodes, then in the file. Its numbers are counted at the rate of its own stream
// if that has one, because a clip of 50 frames a second may count 25. Throws std::runtime_error:
// "has no picture stream", or what is missing or out of its range.
Clip_Facts Parse_Clip_Facts(const std::string& Json);

// The times of frames by ffmpeg's frame checksums, a line for each frame:
//   0,      40000,      40000,    40000,   129600, 0x370d4051
// with stream, decoding time, time of showing, duration, bytes and checksum. Before the first one
// "#tb 0: 1/1000000" says what the times count.
class Frame_Times {
 public:
  // Whether the line is one of a checksum file.
  bool Take_Line(std::string_view Line);

  // In the order of the lines.
  const std::vector<double>& Seconds() const { return Times; }

 private:
  double Unit_Seconds = 1e-6;
  std::vector<double> Times;
};

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_CLIP_FACTS_H
