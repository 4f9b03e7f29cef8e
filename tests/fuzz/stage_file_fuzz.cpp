// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the stage file of --config, as JSON, as TOML or without a format in its name:
// refused with a message that names flag and file, or read as values of known flags, which are read
// back the same after they are written. The values that are read go to the parsers of the flags,
// which accept them or refuse them with the name of the flag.
//
// Input: a byte for the format, the rest is the file.
#include "rigsync/capture/board_size.h"
#include "rigsync/formats/stage_file.h"
#include "rigsync/system/usage_error.h"

#include "rigsync/command_line/arguments.h"
#include "tests/fuzz/fuzz_support.h"

#include <functional>
#include <map>

namespace {

// Every flag's parser, as 'rigsync calibrate' calls it.
const std::map<std::string, std::function<void(const std::string&, const std::string&)>>&
Parsers() {
  static const std::map<std::string, std::function<void(const std::string&, const std::string&)>>
      All = {{"board",
              [](const std::string& Flag, const std::string& Text) {
                const rigsync::Board_Size Board = rigsync::Parse_Board(Flag, Text);
                Promise(Board.Cols >= 3 && Board.Cols <= 100, "a board has 3 to 100 columns");
                Promise(Board.Rows >= 3 && Board.Rows <= 100, "a board has 3 to 100 rows");
              }},
             {"square",
              [](const std::string& Flag, const std::string& Text) {
                const double Edge = rigsync::Parse_Square(Flag, Text);
                Promise(Edge > 0.0 && Edge <= 1.0, "a square is above 0 and at most 1 m");
              }},
             {"board-euler",
              [](const std::string& Flag, const std::string& Text) {
                for (const double Angle : rigsync::Parse_Angles(Flag, Text)) {
                  Promise(std::isfinite(Angle), "an angle is finite");
                }
              }},
             {"board-offset",
              [](const std::string& Flag, const std::string& Text) {
                for (const double Length : rigsync::Parse_Offset(Flag, Text)) {
                  Promise(std::abs(Length) <= 10.0, "an offset is on a stage");
                }
              }},
             {"sensor", [](const std::string& Flag, const std::string& Text) {
                for (const double Side : rigsync::Parse_Sensor(Flag, Text)) {
                  Promise(Side >= 1.0 && Side <= 100.0, "a sensor's sides are millimetres");
                }
              }}};
  return All;
}

std::vector<std::string> Known_Keys() {
  std::vector<std::string> Keys;
  for (const auto& [Key, Parse] : Parsers()) Keys.push_back(Key);
  return Keys;
}

void Check_Values(const rigsync::Stage_Settings& Values) {
  for (const auto& [Key, Text] : Values) {
    Promise(Parsers().count(Key) == 1, "only known keys are read");
    const std::string Flag = "--" + Key;
    try {
      Parsers().at(Key)(Flag, Text);
    } catch (const rigsync::Usage_Error& Refusal) {
      Promise(Refusal.Option_Name() == Flag, "a refusal carries the name of the flag");
      Promise(std::string(Refusal.what()).rfind(Flag, 0) == 0, "a refusal begins with the flag");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  static const std::vector<std::string> Known = Known_Keys();
  Bytes Input(Data, Size);
  const char* const Names[] = {"stage.json", "stage.toml", "stage"};
  const std::string Name = Names[Input.Take<std::uint8_t>() % 3];
  const std::filesystem::path File = Folder.Write(Name, Input.Take_Rest());
  rigsync::Stage_Settings Values;
  try {
    Values = rigsync::Read_Stage_File(File, Known);
  } catch (const rigsync::Usage_Error& Refusal) {
    Promise(Refusal.Option_Name() == "--config", "a refusal carries the name of the flag");
    Promise(std::string(Refusal.what()).rfind("--config: " + File.string() + ": ", 0) == 0,
            "a refusal names flag and file");
    return 0;
  }
  Check_Values(Values);
  const std::filesystem::path Copy = Folder.Path() / "copy.json";
  rigsync::Write_Stage_File(Copy, Values);
  Promise(rigsync::Read_Stage_File(Copy, Known) == Values, "what is written is read back");
  return 0;
}
