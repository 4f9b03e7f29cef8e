// SPDX-License-Identifier: Apache-2.0
//
// Progress messages: one line that is rewritten on a terminal, plain lines elsewhere.
#ifndef RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H
#define RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H

#include <chrono>
#include <string>

namespace rigsync {

// "a few seconds", "about 25 s", "about 3 min": rounded, because the duration is an estimate.
std::string Duration_Text(double Seconds);

enum class Progress_Kind { None, Plain, Line };

// Line if standard error is a terminal, otherwise Plain; None if Quiet.
Progress_Kind Kind_Of_Progress(bool Quiet);

// Clears the line on a terminal.
constexpr const char* Clear_Line = "\r\x1b[K";

// Writes progress to the standard error of the time of construction. It never waits for a reader.
class Progress_Output {
 public:
  explicit Progress_Output(Progress_Kind Output_Kind);
  ~Progress_Output();  // clears the line on the terminal
  Progress_Output(const Progress_Output&) = delete;
  Progress_Output& operator=(const Progress_Output&) = delete;

  // Says what begins now, as a plain line. Has no effect on a terminal.
  void Begin(const std::string& Text);

  // Says how far the work is: rewrites the line on a terminal; writes a plain line every ten
  // seconds elsewhere.
  void Show(const std::string& Text);

  // Clears the line on a terminal, for a message; the next Show writes it again.
  void Clear();

  double Seconds() const;  // since construction

 private:
  void Say(const std::string& Text) const;

  const Progress_Kind Kind;
  const std::chrono::steady_clock::time_point Start_Time;
  int Output = -1;
  std::string Shown_Text;  // the text on the terminal
  double Last_Line_Seconds = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H
