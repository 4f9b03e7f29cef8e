// SPDX-License-Identifier: Apache-2.0
//
// A capture as the take of a tracking system: a sample of both bodies at equal intervals, in the
// files that such systems export. README.md describes the formats.
#ifndef RIGSYNC_SIMULATE_TAKE_H
#define RIGSYNC_SIMULATE_TAKE_H

#include "simulate/simulate.h"

#include <string>
#include <vector>

namespace simulate {

// The moment at which a take's clock shows 0, in seconds of Unix time: 2024-03-14 10:20:30 UTC.
constexpr long long Clock_Epoch = 1710411630;

struct Body_Reading {
  bool Is_Tracked = true;  // false: lost, and Reading says nothing
  Sample Reading;
};

// What the tracking system saw at one moment.
struct Take_Row {
  double Seconds = 0;  // on the take's clock
  Body_Reading Camera, Board;
};

// The samples of the whole capture, from 0 until the last hold ends, each with noise of its own. In
// the hold of a jumped row the camera's samples have the error of that row, from the middle of the
// move before it to the middle of the one after it. In that of a stale row, and the move before
// it, they repeat the last one before.
std::vector<Take_Row> Record_Take(const Plan& Capture);

struct Take_File {
  std::string Name;  // without a folder
  std::string Text;
};

// The files of the take in the format of the capture's options; none for Take_Format::None. The
// bodies are called camera and board.
std::vector<Take_File> Take_Files(const Plan& Capture);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_TAKE_H
