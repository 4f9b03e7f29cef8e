// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/capture_flags.h"

#include "rigsync/system/usage_error.h"

namespace rigsync {

namespace fs = std::filesystem;

void Add_Capture_Flags(CLI::App& Command, Capture_Words& Words,
                       const std::vector<Value_Flag>& More) {
  std::vector<Value_Flag> Flags = {
      {"board", "COLSxROWS",
       "inner corners of the board, where four squares meet: 11x8 is a board of 12 by 9 squares "
       "(picture: rigsync board --help)"},
      {"square", "LENGTH", "edge of one square, up to 1 m: 0.03 (metres), 30mm, 3cm"},
      {"board-euler", "A,B,C",
       "the board's rotation as seen from its tracker, degrees: Rx(A) Ry(B) Rz(C)"},
      {"board-offset", "X,Y,Z",
       "the first inner corner as seen from the board's tracker, metres or with units, up to 10 m "
       "each"},
  };
  Flags.insert(Flags.end(), More.begin(), More.end());
  Command.add_option("CAPTURE", Words.Csv, "the capture's CSV file")->required();
  for (const Value_Flag& Flag : Flags) {
    const std::string Key = Flag.Key;
    Command
        .add_option_function<std::string>(
            "--" + Key, [&Words, Key](const std::string& Text) { Words.Values[Key] = Text; },
            Flag.Help)
        ->type_name(Flag.Type);
  }
  Command.add_option("--config", Words.Config, "TOML or JSON file with the values above")
      ->type_name("FILE");
  Command
      .add_option("--image-root", Words.Image_Root,
                  "where relative image paths start (default: the CSV's folder)")
      ->type_name("DIR");
}

Stage_Values::Stage_Values(const Capture_Words& Words)
    : Typed(Words.Values), All(Words.Values), Config(Words.Config) {
  if (!Config.empty()) All.merge(Read_Stage(Config, Stage_Keys()));
}

fs::path Image_Root_Of(const Capture_Words& Words) {
  if (Words.Csv.empty()) Refuse("CAPTURE", Words.Csv, "the capture's CSV file");
  if (Words.Image_Root.empty()) return fs::absolute(Words.Csv).parent_path();
  const fs::path Root = fs::absolute(Words.Image_Root);
  if (!fs::is_directory(Root)) Refuse("--image-root", Words.Image_Root, "a folder that exists");
  return Root;
}

}  // namespace rigsync
