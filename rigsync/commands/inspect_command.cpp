// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync inspect': what can be known about a capture before a solve.
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/capture_flags.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/inspection_file.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/report/inspect_report.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"

#include <fmt/format.h>

#include <cstdio>
#include <memory>

namespace rigsync {
namespace {

constexpr const char* Footer =
    R"(Nothing is solved and no file is written. The report tells, by line of the CSV,
what a calibration would take without a word, how well the board was spread over
the frame, and what images and samples make of --board-euler and --board-offset,
where they are given. docs/inspect.md explains each finding.

Exit status: 0 clean (notes at most), 1 warnings, 2 unusable, or wrong usage,
70 when an exception ended the run.

Example:
  rigsync inspect capture/capture.csv --board 11x8 --square 30mm
  rigsync inspect capture/capture.csv --config stage.toml)";

constexpr const char* Without_Images = " (or --no-images, which looks for no board)";

// What was typed, before anything is read from it.
struct Typed {
  Capture_Arguments Capture;
  bool Json = false, No_Images = false;
};

Inspection_Inputs Read_Inputs(const Typed& Given) {
  const Stage_Values Values(Given.Capture);
  Inspection_Inputs Inputs;
  Inputs.Csv = Given.Capture.Csv;
  Inputs.Look_For_Boards = !Given.No_Images;
  if (Inputs.Look_For_Boards) {
    Board_Estimate& Board = Inputs.Board;
    Board.Board = Values.Read("board", Parse_Board, Without_Images);
    Board.Square_Size = Values.Read("square", Parse_Square, Without_Images);
    if (Values.Has("board-euler")) Board.Euler = Values.Read("board-euler", Parse_Angles);
    if (Values.Has("board-offset")) Board.Offset = Values.Read("board-offset", Parse_Offset);
  }
  Inputs.Image_Root = Image_Root_Of(Given.Capture);
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

// Exit_Success, Exit_Warnings or Exit_Unusable.
int Inspection_Status(const Findings& Told) {
  switch (Told.Gravest()) {
    case Level::Note:
      return Exit_Success;
    case Level::Warning:
      return Exit_Warnings;
    case Level::Error:
      return Exit_Unusable;
  }
  return Exit_Unusable;
}

int Inspect(const Typed& Given) {
  const Inspection Made = Inspect_Capture(Read_Inputs(Given), Progress_Line());
  Print(Given.Json ? Inspection_Json(Made) : Report_Text(Made, Colour_On(stdout)));
  return Inspection_Status(Made.Told);
}

}  // namespace

void Add_Inspect_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("inspect", "Tell what is wrong or weak in a capture.");
  const auto Given = std::make_shared<Typed>();
  Add_Capture_Flags(*Command, Given->Capture);
  Command->add_flag("--no-images", Given->No_Images,
                    "check the file only: open no image, look for no board");
  Command->add_flag("--json", Given->Json, "print the report as JSON");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Line, Given] { Line.Action = [Given] { return Inspect(*Given); }; });
}

}  // namespace rigsync
