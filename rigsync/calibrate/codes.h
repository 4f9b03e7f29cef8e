// SPDX-License-Identifier: Apache-2.0
//
// The library's result codes in plain words: what each means on a stage, its likely causes and what
// to do next. docs/codes.md says the same, and more.
#ifndef RIGSYNC_CALIBRATE_CODES_H
#define RIGSYNC_CALIBRATE_CODES_H

#include <string>
#include <vector>

namespace rigsync {

struct Code_Advice {
  int Code;
  std::string Meaning;              // one sentence
  std::string Next_Step;            // what to try, for the most likely cause first
  std::string On_Stage;             // what it says about the capture, and what may be used
  std::vector<std::string> Causes;  // at least one, the most likely first, a sentence each
};

// All codes in ascending order.
const std::vector<Code_Advice>& All_Codes();

// The advice for a code. An unknown code gets advice that says so.
Code_Advice Advice_For(int Code);

// Whether a result with this code may go to an engine. A result must also be finite: see Is_Usable.
bool Is_Usable_Code(int Code);

// Whether the cause of this code may be in the capture's CSV or images, where 'rigsync inspect'
// finds it.
bool May_Blame_Capture(int Code);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_CODES_H
