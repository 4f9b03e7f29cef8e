// SPDX-License-Identifier: Apache-2.0
//
// The library's result codes in plain words: what each means on a stage, what it tends to come
// from, and what to do next. docs/codes.md says the same, and more.
#ifndef RIGSYNC_CALIBRATE_CODES_H
#define RIGSYNC_CALIBRATE_CODES_H

#include <string>
#include <vector>

namespace rigsync {

struct Code_Advice {
  int Code;
  std::string Meaning;              // one sentence
  std::string Next_Step;            // what to try, most likely cause first
  std::string On_Stage;             // what it says of the capture, and of what may be used
  std::vector<std::string> Causes;  // at least one, most likely first, a sentence each
};

// All codes in ascending order.
const std::vector<Code_Advice>& All_Codes();

// The advice for a code; for one that has none, a sentence that says so.
Code_Advice Advice_For(int Code);

// True for the codes whose result may go to an engine.
bool Is_Usable(int Code);

// The codes whose cause may stand in the capture's lines.
bool May_Lie_In_The_Capture(int Code);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_CODES_H
