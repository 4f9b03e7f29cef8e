// SPDX-License-Identifier: Apache-2.0
//
// A take: what a tracking system recorded of one or more bodies, whatever its file looked like.
//
// Poses have the capture's own convention already (docs/conventions.md): positions in metres in
// Base, quaternions w, x, y, z of unit length that take directions of Base into the body. The axes
// of Base are right-handed.
#ifndef RIGSYNC_TAKE_TAKE_H
#define RIGSYNC_TAKE_TAKE_H

#include "rigsync/capture/body_labels.h"
#include "rigsync/capture/tracker_sample.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rigsync {

struct Timed_Sample {
  double Seconds = 0;       // on the take's clock
  bool Is_Tracked = false;  // false: the body was lost, and Sample says nothing
  Tracker_Sample Sample;
};

struct Body_Track {
  std::string Name;
  std::vector<Timed_Sample> Samples;  // times ascend, none twice
  Body_Labels Labels = Body_Labels::Unknown;
};

struct Take {
  std::string Format;  // as in messages: "Motive CSV"
  std::vector<Body_Track> Bodies;
  double Rate_Hz = 0;  // as the file states it; 0 if it doesn't
  // Timecode at Seconds == 0 of the take's clock, seconds since midnight (timecode.h).
  std::optional<double> Timecode_Start;
  // How the file was read, for import.json: what it says of itself and what was said by flags, in
  // words, such as {"length unit", "millimetres, by the header"}.
  std::vector<std::pair<std::string, std::string>> Facts;
  // What was left out, a sentence each: "3 packets with a bad checksum".
  std::vector<std::string> Warnings;
};

// The body of this name, or nullptr.
const Body_Track* Find_Body(const Take& In, const std::string& Name);

// Median interval between samples, seconds; 0 with fewer than two.
double Sample_Interval(const Body_Track& Body);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TAKE_H
