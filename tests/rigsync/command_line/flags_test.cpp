// SPDX-License-Identifier: Apache-2.0
//
// What flags refuse while the line is read, and where a capture's images are.
#include "rigsync/command_line/capture_flags.h"
#include "rigsync/command_line/command.h"
#include "rigsync/system/usage_error.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using rigsync::Capture_Arguments;

// The message for what is refused; empty where nothing is.
template <typename Call>
std::string Refusal(Call Made) {
  try {
    Made();
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(Flags, AChoiceIsOneOfItsWords) {
  rigsync::Command_Line Line;
  std::string Value;
  rigsync::Require_Choice(Line, Line.Program.add_option("--to", Value), {"left", "right"});
  EXPECT_EQ(Refusal([&] { Line.Program.parse("--to up"); }),
            "--to: 'up' is wrong; expected one of left, right");
  EXPECT_EQ(Refusal([&] { Line.Program.parse("--to right"); }), "");
  EXPECT_EQ(Value, "right");
}

TEST(Flags, AValueIsNotEmpty) {
  rigsync::Command_Line Line;
  std::string Value;
  rigsync::Require_Value(Line.Program.add_option("--to", Value));
  // The parser takes words from the end.
  EXPECT_EQ(Refusal([&] {
              Line.Program.parse(std::vector<std::string>{"", "--to"});
            }),
            "--to: '' is wrong; expected a value");
  EXPECT_EQ(Refusal([&] { Line.Program.parse(std::vector<std::string>{"x", "--to"}); }), "");
}

TEST(Flags, ImagesAreBesideTheirCsvUnlessAnotherFolderIsStated) {
  const Scratch_Folder Scratch;
  Capture_Arguments Arguments;
  EXPECT_EQ(Refusal([&] { rigsync::Image_Root_Of(Arguments); }),
            "CAPTURE: '' is wrong; expected the capture's CSV file");
  Arguments.Csv = (Scratch.Path() / "take" / "capture.csv").string();
  EXPECT_EQ(rigsync::Image_Root_Of(Arguments), Scratch.Path() / "take");
  Arguments.Image_Root = Scratch.String();
  EXPECT_EQ(rigsync::Image_Root_Of(Arguments), Scratch.Path());
  Arguments.Image_Root = (Scratch.Path() / "none").string();
  EXPECT_EQ(Refusal([&] { rigsync::Image_Root_Of(Arguments); }),
            "--image-root: '" + Arguments.Image_Root + "' is wrong; expected an existing folder");
}

TEST(Flags, AStageHasWhatWasTypedAndWhatItsFileSays) {
  const Scratch_Folder Scratch;
  Capture_Arguments Arguments;
  Arguments.Config = Scratch.Write("stage.toml", "board = \"7x5\"\n");
  Arguments.Typed_Settings["square"] = "30mm";
  const rigsync::Stage_Values Values(Arguments);
  EXPECT_TRUE(Values.Has("board"));
  EXPECT_TRUE(Values.Has("square"));
  EXPECT_FALSE(Values.Has("markers"));
}

}  // namespace
