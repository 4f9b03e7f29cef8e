// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the file of a take, of a known format or through a map, with flags or without:
// refused with a message that names the file, or read as bodies whose times ascend and whose poses
// are finite, with rotations of unit length. The same lines with other line ends and a byte-order
// mark are the same take.
//
// Input: a byte for the flags, then the file, or a map and the file with a line "====" between
// them.
#include "rigsync/system/usage_error.h"
#include "rigsync/take/take_file.h"

#include "tests/fuzz/fuzz_support.h"

#include <optional>

namespace {

namespace fs = std::filesystem;

const std::string Map_End = "\n====\n";

struct Input {
  rigsync::Take_Options Options;
  std::string Map, Table;
  bool Has_Map = false;
};

// The three lowest bits are the rotation, the next two the axes, the highest one the map.
Input Take_Input(Bytes& From) {
  static const char* const Rotations[] = {nullptr,           "helical",        "euler-xyz-body",
                                          "euler-xyz-fixed", "euler-zxy-body", "euler-zyx-fixed",
                                          "matrix-columns",  "matrix-rows"};
  static const char* const Axes[] = {nullptr, "x,-z,y", "x,-y,z", "z,x,y"};
  Input Result;
  const auto Flags = From.Take<std::uint8_t>();
  if (const char* const Word = Rotations[Flags & 7]) {
    Result.Options.Rotation = rigsync::Parse_Rotation("--rotation", Word);
  }
  if (const char* const Word = Axes[(Flags >> 3) & 3]) {
    Result.Options.Axes = rigsync::Parse_Axes("--axes", std::string(Word));
  }
  Result.Table = From.Take_Rest();
  const std::size_t End = Result.Table.find(Map_End);
  Result.Has_Map = (Flags & 0x80) != 0 && End != std::string::npos;
  if (Result.Has_Map) {
    Result.Map = Result.Table.substr(0, End + 1);
    Result.Table.erase(0, End + Map_End.size());
  } else if ((Flags & 0x40) != 0) {
    Result.Options.Format = static_cast<rigsync::Take_Format>((Flags >> 3) % 6);
  }
  return Result;
}

std::optional<rigsync::Take> Read(const fs::path& File, const rigsync::Take_Options& Options) {
  try {
    return rigsync::Read_Take(File, Options);
  } catch (const rigsync::Usage_Error& Refusal) {
    const std::string Text = Refusal.what();
    const bool Is_Of_Map = Text.rfind("--map: " + Options.Map.string() + ": ", 0) == 0;
    const bool Is_Of_File = Text.rfind("TAKE: " + File.string() + ": ", 0) == 0;
    Promise(Is_Of_File || (Is_Of_Map && !Options.Map.empty()), "a refusal names the file: " + Text);
    Promise(Refusal.Option_Name() == (Is_Of_File ? "TAKE" : "--map"), "and carries its argument");
    Promise(Text.find('\n') == std::string::npos, "a refusal is one line");
    return std::nullopt;
  }
}

void Check_Sample(const rigsync::Timed_Sample& Sample) {
  Promise(std::isfinite(Sample.Seconds), "a time is finite");
  if (!Sample.Is_Tracked) {
    Promise(Sample.Sample == rigsync::Tracker_Sample(), "a lost sample says nothing");
    return;
  }
  double Square = 0.0;
  for (const double Part : Sample.Sample.Quaternion) Square += Part * Part;
  Promise(std::abs(Square - 1.0) < 1e-12, "a rotation has unit length");
  for (const double Length : Sample.Sample.Position) {
    Promise(std::isfinite(Length), "a position is finite");
  }
}

void Check(const rigsync::Take& Take) {
  Promise(!Take.Format.empty() && !Take.Bodies.empty(), "a take has a format and bodies");
  Promise(std::isfinite(Take.Rate_Hz) && Take.Rate_Hz >= 0.0, "a rate is a number");
  for (const rigsync::Body_Track& Body : Take.Bodies) {
    Promise(!Body.Samples.empty(), "a body has samples");
    Promise(Find_Body(Take, Body.Name) == &Body, "a body has a name of its own");
    for (std::size_t i = 0; i < Body.Samples.size(); ++i) {
      Check_Sample(Body.Samples[i]);
      Promise(i == 0 || Body.Samples[i - 1].Seconds < Body.Samples[i].Seconds, "times ascend");
    }
  }
  for (const auto& [Topic, Text] : Take.Facts) {
    Promise((Topic + Text).find('\n') == std::string::npos, "a fact is one line");
  }
}

std::string With_Other_Line_Ends(const std::string& Table) {
  std::string Text = "\xef\xbb\xbf";
  for (const char Letter : Table) {
    if (Letter == '\n') Text += '\r';
    Text += Letter;
  }
  return Text;
}

bool Are_Same(const rigsync::Take& Left, const rigsync::Take& Right) {
  if (Left.Bodies.size() != Right.Bodies.size() || Left.Warnings != Right.Warnings) return false;
  for (std::size_t i = 0; i < Left.Bodies.size(); ++i) {
    const std::vector<rigsync::Timed_Sample>&A = Left.Bodies[i].Samples,
          &B = Right.Bodies[i].Samples;
    const auto Is_Same = [](const rigsync::Timed_Sample& One, const rigsync::Timed_Sample& Other) {
      return One.Seconds == Other.Seconds && One.Is_Tracked == Other.Is_Tracked &&
             One.Sample == Other.Sample;
    };
    if (!std::equal(A.begin(), A.end(), B.begin(), B.end(), Is_Same)) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  Bytes From(Data, Size);
  Input Given = Take_Input(From);
  if (Given.Has_Map) Given.Options.Map = Folder.Write("map.toml", Given.Map);
  const std::optional<rigsync::Take> Take =
      Read(Folder.Write("take.csv", Given.Table), Given.Options);
  if (Take) Check(*Take);
  // A mark is no first cell of another line's file, and "\r" at an end is dropped once alone.
  const bool Is_Plain = Given.Table.find('\r') == std::string::npos &&
                        Given.Table.find("\xef\xbb\xbf") != 0 && Given.Table[0] != '\xff' &&
                        Given.Table[0] != '\xfe';
  if (!Is_Plain) return 0;
  const std::optional<rigsync::Take> Other =
      Read(Folder.Write("take.csv", With_Other_Line_Ends(Given.Table)), Given.Options);
  Promise(Take.has_value() == Other.has_value(), "line ends don't decide whether a file is read");
  Promise(!Take || Are_Same(*Take, *Other), "line ends don't change a take");
  return 0;
}
