// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the list of --times: refused with a message that names flag, list and line, or read
// as finite times of pictures whose names are there and differ. And any bytes as a photograph with
// EXIF: a finite time, or what is wrong with it, but not both.
//
// Input: a byte whose bits say whether the list has a rate and whether it is a photograph, the rest
// is the file.
#include "rigsync/footage/exif_time.h"
#include "rigsync/footage/time_list.h"
#include "rigsync/system/usage_error.h"

#include "tests/fuzz/fuzz_support.h"

#include <set>

namespace {

void Check_Exif(const std::string& Bytes) {
  const rigsync::Exif_Time Read = rigsync::Parse_Exif_Time(Bytes);
  Promise(!Read.Time || Read.Fault.empty(), "a faulty time is none");
  Promise(Read.Fault.find('\n') == std::string::npos, "a fault is one line");
  if (!Read.Time) return;
  Promise(Read.Time->Time.Seconds >= 0.0 && Read.Time->Time.Seconds < 253402300801.0,
          "a time is from 1970 to 9999");
  Promise(std::abs(Read.Time->Offset_Seconds.value_or(0.0)) < 86400.0, "an offset is below a day");
}

void Check_List(const rigsync::Time_List& List) {
  Promise(List.Resolution_Seconds > 0.0 && List.Resolution_Seconds <= 1.0,
          "a resolution is at most a second");
  std::set<std::string> Names;
  std::size_t Line = 0;
  for (const rigsync::Listed_Time& Time : List.Times) {
    Promise(std::isfinite(Time.Seconds), "a time is finite");
    Promise(!Time.Name.empty() && Names.insert(Time.Name).second, "names are there and differ");
    Promise(Time.Line > Line, "times are in the order of the lines");
    Line = Time.Line;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  Bytes Input(Data, Size);
  const auto Kind = Input.Take<std::uint8_t>();
  const std::string File = Input.Take_Rest();
  if ((Kind & 1) != 0) {
    Check_Exif(File);
    return 0;
  }
  std::optional<rigsync::Frame_Rate> Rate;
  if ((Kind & 2) != 0) Rate = rigsync::Frame_Rate{30000, 1001};
  try {
    Check_List(rigsync::Parse_Time_List(File, "list.csv", Rate));
  } catch (const rigsync::Usage_Error& Refusal) {
    const std::string Text = Refusal.what();
    Promise(Refusal.Option_Name() == "--times", "a refusal carries the name of the flag");
    Promise(Text.rfind("--times: list.csv: line ", 0) == 0 ||
                Text == "--times: list.csv: is not text in UTF-8; save the list as CSV in UTF-8",
            "a refusal names flag, list and line");
    Promise(Text.find('\n') == std::string::npos, "a refusal is one line");
  }
  return 0;
}
