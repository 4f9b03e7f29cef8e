// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync inspect': what can be known about a capture before a solve.
#include "host/command.h"
#include "host/exit_status.h"
#include "host/inspect_report.h"
#include "host/inspection.h"
#include "host/progress.h"
#include "host/stage_file.h"
#include "host/terminal.h"

#include <fmt/format.h>

#include <cstdio>
#include <memory>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(Nothing is solved and no file is written. The report tells, by line of the CSV,
what a calibration would take without a word, and how well the board was spread
over the frame. docs/inspect.md explains each finding.

Exit status: 0 clean (notes at most), 1 warnings, 2 unusable, or wrong usage,
70 when an exception ended the run.

Example:
  rigsync inspect capture/capture.csv --board 11x8 --square 30mm)";

constexpr const char* Without_Images = " (or --no-images, which looks for no board)";

// What was typed, before anything is read from it.
struct Typed {
  std::string Csv, Image_Root, Config;
  Stage Values;  // by flag without dashes
  bool Json = false, No_Images = false;
};

Inspection_Inputs Read_Inputs(const Typed& Given) {
  Stage Values = Given.Values;
  // One file serves the whole stage, so it may hold what only a calibration reads.
  if (!Given.Config.empty()) Values.merge(Read_Stage(Given.Config, Stage_Keys()));
  Inspection_Inputs Inputs;
  Inputs.Csv = Given.Csv;
  Inputs.Look_For_Boards = !Given.No_Images;
  if (Inputs.Look_For_Boards) {
    const auto Read = [&](const std::string& Key, auto Parse) {
      return Parse(Value_Name(Given.Values, Key, Given.Config),
                   Required_Value(Values, Key, Without_Images));
    };
    Inputs.Board = Read("board", Parse_Board);
    Inputs.Square_Size = Read("square", Parse_Square);
  }
  if (Given.Image_Root.empty()) {
    Inputs.Image_Root = fs::absolute(Inputs.Csv).parent_path();
  } else {
    Inputs.Image_Root = fs::absolute(Given.Image_Root);
    if (!fs::is_directory(Inputs.Image_Root)) {
      Refuse("--image-root", Given.Image_Root, "a folder that exists");
    }
  }
  return Inputs;
}

// A line on a terminal, renewed in place and gone at the end; nothing elsewhere.
Search_Progress Progress_Line() {
  const auto Shown = std::make_shared<Progress_Output>(Is_Terminal(stderr) ? Progress_Kind::Line
                                                                           : Progress_Kind::None);
  return [Shown](std::size_t Done, std::size_t All) {
    Shown->Show(fmt::format("Looking for boards: {} of {}", Done, All));
  };
}

int Inspect(const Typed& Given) {
  const Inspection Made = Inspect_Capture(Read_Inputs(Given), Progress_Line());
  Print(Given.Json ? Report_Json(Made) : Report_Text(Made, Colour_On(stdout)));
  return Inspection_Status(Made.Told);
}

}  // namespace

void Add_Inspect_Command(CLI::App& Program, Chosen_Command& Chosen) {
  CLI::App* Command = Program.add_subcommand("inspect", "Tell what is wrong or weak in a capture.");
  const auto Given = std::make_shared<Typed>();
  Command->add_option("CAPTURE", Given->Csv, "the capture's CSV file")->required();
  const auto Add_Value = [&](const std::string& Key, const char* Type, const char* Help) {
    Command
        ->add_option_function<std::string>(
            "--" + Key, [Given, Key](const std::string& Text) { Given->Values[Key] = Text; }, Help)
        ->type_name(Type);
  };
  Add_Value("board", "COLSxROWS",
            "inner corners of the board, where four squares meet: 11x8 is a board of 12 by 9 "
            "squares (picture: rigsync board --help)");
  Add_Value("square", "LENGTH", "edge of one square: 0.03 (metres), 30mm, 3cm");
  Command->add_option("--config", Given->Config, "TOML or JSON file with the values above")
      ->type_name("FILE");
  Command
      ->add_option("--image-root", Given->Image_Root,
                   "where relative image paths start (default: the CSV's folder)")
      ->type_name("DIR");
  Command->add_flag("--no-images", Given->No_Images,
                    "check the file only: open no image, look for no board");
  Command->add_flag("--json", Given->Json, "print the report as JSON");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Chosen, Given] { Chosen = [Given] { return Inspect(*Given); }; });
}

}  // namespace host
