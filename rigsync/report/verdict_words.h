// SPDX-License-Identifier: Apache-2.0
//
// The verdict on a run in words that the terminal and the page of a report share: whether the
// result can be used, why, what caused it, and what to do next.
#ifndef RIGSYNC_REPORT_VERDICT_WORDS_H
#define RIGSYNC_REPORT_VERDICT_WORDS_H

#include "rigsync/calibrate/calibration_result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// A paragraph, or a command to type: one line, ready for a shell.
struct Next_Step {
  std::string Text;
  bool Is_Command = false;
};

struct Verdict_Words {
  Verdict Tone = Verdict::Dont_Use;        // how it is shown
  std::string Short;                       // "Usable.", "Look before you use it.", "Don't use it."
  std::string First_Reason;                // a sentence
  std::vector<std::string> Other_Reasons;  // a sentence each
  std::string Cause_Title = "Cause";       // "Most likely cause" where only the code is known
  std::string Cause;                       // empty where nothing is wrong
  std::vector<Next_Step> Next_Steps;
};

// Result_File is the path of the newest result, for commands that read it. A run without a second
// opinion has the words of its code, and one that an exception ended has the exception.
Verdict_Words Words_Of(const Calibration_Result& Result, const std::filesystem::path& Result_File);

// How a run without a second opinion is shown: good, usable with a warning, or not to be used.
Verdict Tone_Of_Code(int Code);

// "Code 4. The board was found in fewer than 5 images."
std::string Code_Sentence(int Code);

// A reason of the opinion as a sentence with its figures.
std::string Reason_Text(Verdict_Reason Reason, const Calibration_Result& Result);

// The same as a part of a longer sentence: with a small letter and without the full stop.
std::string Reason_Phrase(Verdict_Reason Reason, const Calibration_Result& Result);

// What a code that is good only because NaN is above no limit means.
std::string Not_Finite_Sentence(int Code);
constexpr const char* Not_Finite_Advice = "Look in the CSV for NaN or infinite tracker values.";

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_VERDICT_WORDS_H
