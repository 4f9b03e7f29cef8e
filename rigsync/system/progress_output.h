// SPDX-License-Identifier: Apache-2.0
//
// Where progress is told: one line that is rewritten on a terminal, plain lines elsewhere.
#ifndef RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H
#define RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H

#include <chrono>
#include <string>

namespace rigsync {

// "a few seconds", "about 25 s", "about 3 min": rounded, since it is an estimate.
std::string Duration_Text(double Seconds);

enum class Progress_Kind { None, Plain, Line };

// A line where standard error is a terminal, plain lines elsewhere, none for Quiet.
Progress_Kind Kind_Of_Progress(bool Quiet);

// Takes the line off a terminal.
constexpr const char* Clear_Line = "\r\x1b[K";

// Where progress is told: what standard error is when one of these is made. It never waits for a
// reader.
class Progress_Output {
 public:
  explicit Progress_Output(Progress_Kind Wanted);
  ~Progress_Output();  // takes the line off the terminal
  Progress_Output(const Progress_Output&) = delete;
  Progress_Output& operator=(const Progress_Output&) = delete;

  // What begins now, for plain lines; a line on a terminal shows how far it has come.
  void Begin(const std::string& Text);

  // How far the work has come: written anew on a terminal, every ten seconds in plain lines.
  void Show(const std::string& Text);

  double Seconds() const;  // since it was made

 private:
  void Say(const std::string& Text) const;

  const Progress_Kind Kind;
  const std::chrono::steady_clock::time_point Began;
  int Output = -1;
  std::string Shown;  // on the terminal now
  double Said_At = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PROGRESS_OUTPUT_H
