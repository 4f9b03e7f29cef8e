// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/capture_flags.h"

#include "rigsync/system/usage_error.h"

namespace rigsync {

namespace fs = std::filesystem;

void Add_Capture_Flags(CLI::App& Command, Capture_Arguments& Arguments,
                       const std::vector<Value_Flag>& More) {
  std::vector<Value_Flag> Flags = {
      {"board", "COLSxROWS",
       "inner corners of the board, where four squares meet: 11x8 is a board of 12 by 9 squares "
       "(picture: rigsync board --help)"},
      {"square", "LENGTH", "edge length of one square, up to 1 m: 0.03 (metres), 30mm, 3cm"},
      {"board-euler", "A,B,C",
       "rotation of the board in its tracker's frame, if it was measured, degrees: Rx(A) Ry(B) "
       "Rz(C)"},
      {"board-offset", "X,Y,Z",
       "position of the first inner corner in the frame of the board's tracker, if it was "
       "measured, metres or with units, up to 10 m each"},
      {"board-accuracy", "LENGTH,ANGLE",
       "one standard deviation of these two on each axis (default: 5mm,1deg)"},
      {"markers", "FIRST",
       "the first id of the markers on the board (rigsync board --markers): another board is then "
       "told"},
  };
  Flags.insert(Flags.end(), More.begin(), More.end());
  Command.add_option("CAPTURE", Arguments.Csv, "the capture's CSV file")->required();
  for (const Value_Flag& Flag : Flags) {
    const std::string Key = Flag.Key;
    Command
        .add_option_function<std::string>(
            "--" + Key,
            [&Arguments, Key](const std::string& Text) { Arguments.Typed_Settings[Key] = Text; },
            Flag.Help)
        ->type_name(Flag.Type);
  }
  Command
      .add_option("--config", Arguments.Config, "stage file, TOML or JSON, with the values above")
      ->type_name("FILE");
  Command
      .add_option("--image-root", Arguments.Image_Root,
                  "folder that relative image paths start from (default: the CSV's folder)")
      ->type_name("DIR");
}

Stage_Values::Stage_Values(const Capture_Arguments& Arguments)
    : Typed_Settings(Arguments.Typed_Settings),
      All_Settings(Arguments.Typed_Settings),
      Config(Arguments.Config) {
  if (!Config.empty()) All_Settings.merge(Read_Stage_File(Config, Stage_Keys()));
}

fs::path Image_Root_Of(const Capture_Arguments& Arguments) {
  if (Arguments.Csv.empty()) Refuse("CAPTURE", Arguments.Csv, "the capture's CSV file");
  if (Arguments.Image_Root.empty()) return fs::absolute(Arguments.Csv).parent_path();
  const fs::path Root = fs::absolute(Arguments.Image_Root);
  if (!fs::is_directory(Root)) Refuse("--image-root", Arguments.Image_Root, "an existing folder");
  return Root;
}

}  // namespace rigsync
