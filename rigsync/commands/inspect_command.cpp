// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync inspect': checks a capture before a calibration.
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/capture_flags.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/inspection_status.h"
#include "rigsync/formats/inspection_file.h"
#include "rigsync/html_report/page_file.h"
#include "rigsync/html_report/watch_page.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/inspect/watch.h"
#include "rigsync/report/inspect_report.h"
#include "rigsync/report/watch_report.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <memory>

namespace rigsync {
namespace {

constexpr const char* Inspect_Footer =
    R"(The command calibrates nothing and writes no file but the page of --page. It
reports, by line of the CSV, mistakes that a calibration accepts without an
error, how well the boards cover the frame, and whether the tracker samples
agree with the images. It solves where the camera's tracker and the board are
mounted, and how well that is known. --board-euler and --board-offset are
compared with it if you give them. docs/inspect.md explains each finding.

With --watch it looks again, every second, whether the CSV or the images have
changed, and says which pose of the board to photograph next, until there is
enough. It goes on until Ctrl-C.

Exit status: 0 clean (notes only), 1 warnings, 2 unusable capture or
wrong usage, 70 when an exception ended the run. With --watch: 0 at Ctrl-C,
or when there is enough; 2 for wrong usage, or a page that can't be written.

Example:
  rigsync inspect capture/capture.csv --board 11x8 --square 30mm
  rigsync inspect capture/capture.csv --config stage.toml
  rigsync inspect capture/capture.csv --config stage.toml --watch)";

constexpr const char* Without_Images = " (or --no-images, which needs no board)";

// The command line as typed, not parsed yet.
struct Inspect_Arguments {
  Capture_Arguments Capture;
  bool Json = false, No_Images = false, Watch = false, Until_Enough = false;
  std::string Page;  // empty for none
};

Inspection_Inputs Read_Inputs(const Inspect_Arguments& Arguments) {
  const Stage_Values Values(Arguments.Capture);
  Inspection_Inputs Inputs;
  Inputs.Csv = Arguments.Capture.Csv;
  Inputs.Opens_Images = !Arguments.No_Images;
  if (Inputs.Opens_Images) {
    Board_Estimate& Board = Inputs.Board;
    Board.Board = Values.Read("board", Parse_Board, Without_Images);
    Board.Square_Size = Values.Read("square", Parse_Square, Without_Images);
    if (Values.Has("board-euler")) Board.Euler = Values.Read("board-euler", Parse_Angles);
    if (Values.Has("board-offset")) Board.Offset = Values.Read("board-offset", Parse_Offset);
    if (Values.Has("board-accuracy")) {
      const auto Stated = Values.Read("board-accuracy", Parse_Length_And_Angle);
      Board.Accuracy = {Stated.Angle_Deg, Stated.Length};
    }
  }
  if (Values.Has("markers")) Inputs.First_Marker = Values.Read("markers", Parse_Marker);
  Inputs.Image_Root = Image_Root_Of(Arguments.Capture);
  return Inputs;
}

// Shows a line that is updated in place and cleared at the end, on a terminal only.
Search_Progress Progress_Line() {
  const auto Shown = std::make_shared<Progress_Output>(Is_Terminal(stderr) ? Progress_Kind::Line
                                                                           : Progress_Kind::None);
  return [Shown](std::size_t Done, std::size_t All) {
    Shown->Show(fmt::format("Searching for boards: {} of {}", Done, All));
  };
}

// Keeps one screen up to date on a terminal. Elsewhere each state is a block of lines of its own,
// unless it reads like the last.
class Watch_Screen {
 public:
  void Show(const Watched_Capture& Capture) {
    std::string Text;
    for (const std::string& Line : Watch_Lines(Capture, Uses_Colour(stdout))) {
      Text += Terminal_Text(Line) + (Is_Screen ? Rest_Of_Line : "") + "\n";
    }
    if (Text == Shown) return;
    Print_Screen(Is_Screen ? (Shown.empty() ? Whole_Screen : Begin) + Text + Rest_Of_Screen
                           : (Shown.empty() ? "" : "\n") + Text);
    std::fflush(stdout);
    Shown = Text;
  }

 private:
  static constexpr const char* Rest_Of_Line = "\x1b[K";
  static constexpr const char* Rest_Of_Screen = "\x1b[J";
  const std::string Begin = "\x1b[H", Whole_Screen = "\x1b[H\x1b[2J";

  const bool Is_Screen = Is_Terminal(stdout) && Terminal_Takes_Colours(stdout);
  std::string Shown;
};

std::filesystem::path Whole_Path(const std::string& File) {
  return std::filesystem::weakly_canonical(std::filesystem::absolute(File));
}

// A page in the place of the capture would be the end of it, even where the CSV is yet to come.
void Check_Page(const Inspect_Arguments& Arguments) {
  if (Arguments.Page.empty()) return;
  Refuse_Other_File("--page", Arguments.Page);
  if (Whole_Path(Arguments.Page) != Whole_Path(Arguments.Capture.Csv)) return;
  throw Usage_Error("--page",
                    fmt::format("--page: {} is the capture. Name another file.", Arguments.Page));
}

// Until there is enough, or until Ctrl-C.
int Watch_Capture(const Inspect_Arguments& Arguments) {
  constexpr double Seconds_Between_Looks = 1.0;
  Check_Page(Arguments);
  Capture_Watch Watched(Read_Inputs(Arguments));
  Watch_Screen Screen;
  const Stop_Request Stop;
  Watch_Steps Steps;
  Steps.Show = [&](const Watched_Capture& Capture) {
    Screen.Show(Capture);
    if (!Arguments.Page.empty()) Write_Page("--page", Arguments.Page, Watch_Page(Capture));
  };
  Steps.Wait = [&] { return Stop.Wait(Seconds_Between_Looks); };
  // A line for each look that searches images, cleared after it.
  Steps.Progress = [Line = Search_Progress()](std::size_t Done, std::size_t All) mutable {
    if (!Line) Line = Progress_Line();
    Line(Done, All);
    if (Done == All) Line = {};
  };
  Watch(Watched, Arguments.Until_Enough, Steps);
  return Exit_Success;
}

int Inspect(const Inspect_Arguments& Arguments) {
  if (Arguments.Watch) return Watch_Capture(Arguments);
  const Inspection Result = Inspect_Capture(Read_Inputs(Arguments), Progress_Line());
  Print(Arguments.Json ? Inspection_Json(Result) : Inspection_Text(Result, Uses_Colour(stdout)));
  return Inspection_Status(Result.All_Findings);
}

}  // namespace

void Add_Inspect_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("inspect", "Check a capture for mistakes and weaknesses.");
  const auto Arguments = std::make_shared<Inspect_Arguments>();
  Add_Capture_Flags(*Command, Arguments->Capture);
  CLI::Option* const No_Images =
      Command->add_flag("--no-images", Arguments->No_Images, "check the file only; open no images");
  CLI::Option* const Json =
      Command->add_flag("--json", Arguments->Json, "print the report as JSON");
  CLI::Option* const Watch = Command->add_flag(
      "--watch", Arguments->Watch, "look again when files change; say which pose to take next");
  Watch->excludes(No_Images)->excludes(Json);
  Command->add_flag("--until-enough", Arguments->Until_Enough, "end --watch when there is enough")
      ->needs(Watch);
  Command
      ->add_option("--page", Arguments->Page,
                   "with --watch: an HTML page that is written anew at each change")
      ->type_name("FILE")
      ->needs(Watch);
  Command->group("Commands");
  Command->footer(Inspect_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Inspect(*Arguments); }; });
}

}  // namespace rigsync
