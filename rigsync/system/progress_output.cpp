// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/progress_output.h"

#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"
#include "rigsync/system/utf8.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdio>

namespace rigsync {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double Plain_Interval_Seconds = 10.0;

}  // namespace

std::string Duration_Text(double Seconds) {
  constexpr double Few = 7.5, Minutes_From = 90.0, Minute = 60.0, Step = 5.0;
  if (!(Seconds >= Few)) return "a few seconds";
  if (Seconds < Minutes_From)
    return fmt::format("about {:.0f} s", std::round(Seconds / Step) * Step);
  return fmt::format("about {:.0f} min", std::ceil(Seconds / Minute));
}

Progress_Kind Kind_Of_Progress(bool Quiet) {
  if (Quiet) return Progress_Kind::None;
  return Is_Terminal(stderr) ? Progress_Kind::Line : Progress_Kind::Plain;
}

Progress_Output::Progress_Output(Progress_Kind Output_Kind)
    : Kind(Output_Kind), Start_Time(Clock::now()) {
  if (Kind != Progress_Kind::None) Output = Copy_Of(Standard_Error);
}

Progress_Output::~Progress_Output() {
  Clear();
  if (Output >= 0) Close(Output);
}

void Progress_Output::Begin(const std::string& Text) {
  if (Kind != Progress_Kind::Plain) return;
  Last_Line_Seconds = Seconds();
  Say("rigsync: " + Text + "\n");
}

void Progress_Output::Show(const std::string& Text) {
  if (Kind == Progress_Kind::Plain) {
    if (Seconds() - Last_Line_Seconds >= Plain_Interval_Seconds) Begin(Text);
    return;
  }
  if (Kind == Progress_Kind::None || Text == Shown_Text) return;
  Shown_Text = Text;
  Say("\r" + First_Characters(Text, Terminal_Width - 1) + "\x1b[K");
}

void Progress_Output::Clear() {
  if (Kind != Progress_Kind::Line) return;
  Say(Clear_Line);
  Shown_Text.clear();
}

double Progress_Output::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - Start_Time).count();
}

// A closed terminal or a full pipe must not stop the work.
void Progress_Output::Say(const std::string& Text) const {
  Write_If_Ready(Output, Text);
}

}  // namespace rigsync
