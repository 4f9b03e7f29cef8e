// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as what ffprobe prints about a clip: refused with a reason, or facts with which frames
// can be read. And any lines as ffmpeg's checksums of frames: a finite time for each line that is
// taken for a frame.
//
// Input: ffprobe's text; behind the first zero byte, lines of ffmpeg.
#include "rigsync/footage/clip_facts.h"

#include "tests/fuzz/fuzz_support.h"

#include <sstream>

namespace {

void Check_Facts(const std::string& Text) {
  try {
    const rigsync::Clip_Facts Facts = rigsync::Parse_Clip_Facts(Text);
    Promise(Facts.Width >= 1 && Facts.Width <= 32768, "a width is 1 to 32768");
    Promise(Facts.Height >= 1 && Facts.Height <= 32768, "a height is 1 to 32768");
    Promise(Facts.Rate.Hz() >= 1e-5 && Facts.Rate.Hz() <= 1e5, "a rate is one of pictures");
    Promise(std::isfinite(Facts.Seconds) && Facts.Seconds >= 0.0, "a length is finite");
    const double Start = Facts.Timecode_Start.value_or(0.0);
    // 24 hours of numbers take a little longer at 29.97.
    Promise(Start >= 0.0 && Start < 2.0 * rigsync::Seconds_Per_Day, "a timecode is of a day");
  } catch (const std::runtime_error& Refusal) {
    Promise(*Refusal.what() != '\0', "a refusal has a reason");
  }
}

void Check_Times(const std::string& Text) {
  rigsync::Frame_Times Times;
  std::istringstream Lines(Text);
  for (std::string Line; std::getline(Lines, Line);) {
    const std::size_t Before = Times.Seconds().size();
    const bool Is_Taken = Times.Take_Line(Line);
    const std::size_t Added = Times.Seconds().size() - Before;
    Promise(Added <= (Is_Taken ? 1u : 0u), "a line has a time at most");
    if (Added == 1) Promise(std::isfinite(Times.Seconds().back()), "a time is finite");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  const std::string Input(reinterpret_cast<const char*>(Data), Size);
  const std::size_t Middle = Input.find('\0');
  Check_Facts(Input.substr(0, Middle));
  if (Middle != std::string::npos) Check_Times(Input.substr(Middle + 1));
  return 0;
}
