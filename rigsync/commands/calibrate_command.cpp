// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate': one capture, from CSV to result.json. Like any host of the library, it
// prepares the folders, calls the library once and reports the outcome.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/input_hashes.h"
#include "rigsync/calibrate/library_inputs.h"
#include "rigsync/calibrate/library_run.h"
#include "rigsync/calibrate/reprojection_folders.h"
#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/calibrate/run_folder.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/lens_solve_cost.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/capture_flags.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/engine_output.h"
#include "rigsync/commands/recorded_motions.h"
#include "rigsync/commands/report_file.h"
#include "rigsync/formats/import_file.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/inspect/cause.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/report/result_text.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Calibrate_Footer =
    R"(Where the board sits on its tracker is solved from the capture. If it was
measured, state it: then it helps the solve, as far as the capture doesn't
contradict it. Besides the library's solve the command makes one of its own, of
both mounts together, and compares the two. The verdict comes first:
  usable      both agree, and the mount is known to the limits
  look        something is odd: read why before you use the result
  don't use   they contradict each other, or the mount can't be known

What stays the same for a whole stage can be in a TOML or JSON file (--config
stage.toml). A flag overrides the file:
  board = "11x8"
  square = "30mm"
  solution = "joint"

Exit status: the library's code (0 good, 99 usable, others: no usable result);
with code 0 or 99, 20 for look and 21 for don't use; 2 for wrong usage, 70 when
an exception ended the run. Scripts should check "usable" in result.json.

Example:
  rigsync calibrate capture/capture.csv --board 11x8 --square 30mm \
    --out result)";

// The command line as typed.
struct Calibrate_Arguments {
  Capture_Arguments Capture;
  std::string Out, Engine;
  bool Is_Verbose = false, Is_Quiet = false, Is_Library_Only = false, Allows_Many_Images = false;
};

Solution_Choice Parse_Solution(const std::string& Flag, const std::string& Text) {
  const auto Choice = Solution_Named(Text);
  if (!Choice) Refuse(Flag, Text, "library or joint");
  return *Choice;
}

// Whether the axes are kept as they are.
bool Parse_Body_Axes(const std::string& Flag, const std::string& Text) {
  if (Text == "auto") return false;
  if (Text != "as-given") Refuse(Flag, Text, "auto or as-given");
  return true;
}

Lag_Choice Parse_Lag(const std::string& Flag, const std::string& Text) {
  if (Text == "none") return {};
  if (Text == "solve") return {/*Is_Solved=*/true, 0.0};
  return {/*Is_Solved=*/false, Parse_Short_Time(Flag, Text)};
}

// The library would read a folder as an empty CSV and report too few boards. For a file that does
// not exist it has a code of its own.
fs::path Csv_Path(const std::string& Path) {
  std::error_code Ignored;
  if (fs::is_directory(Path, Ignored)) {
    throw Usage_Error(Path + ": is a folder; expected the capture's CSV file");
  }
  return fs::absolute(Path);
}

constexpr const char* Without_Library_Only = " (or leave out --library-only: then it is solved)";
constexpr const char* With_Neither =
    "; state both --board-euler and --board-offset, or neither: then the place is solved";

// Both halves of the board's place, or none.
std::optional<Board_Place> Read_Stated_Board(const Stage_Values& Values, bool Is_Library_Only) {
  const bool Is_Stated = Values.Has("board-euler") || Values.Has("board-offset");
  if (!Is_Stated && !Is_Library_Only) return std::nullopt;
  const char* const Alternative = Is_Library_Only ? Without_Library_Only : With_Neither;
  return Board_Place{Values.Read("board-euler", Parse_Angles, Alternative),
                     Values.Read("board-offset", Parse_Offset, Alternative)};
}

Calibration_Inputs Read_Inputs(const Calibrate_Arguments& Arguments) {
  const Stage_Values Values(Arguments.Capture);
  Calibration_Inputs Inputs;
  Inputs.Image_Root = Image_Root_Of(Arguments.Capture);
  Inputs.Csv = Csv_Path(Arguments.Capture.Csv);
  Inputs.Board = Values.Read("board", Parse_Board);
  Inputs.Square_Size = Values.Read("square", Parse_Square);
  Inputs.Is_Library_Only = Arguments.Is_Library_Only;
  Inputs.Stated_Board = Read_Stated_Board(Values, Inputs.Is_Library_Only);
  if (Values.Has("board-accuracy")) {
    const auto Stated = Values.Read("board-accuracy", Parse_Length_And_Angle);
    Inputs.Board_Accuracy = {Stated.Angle_Deg, Stated.Length};
  }
  if (Values.Has("sensor")) Inputs.Sensor_Size_Mm = Values.Read("sensor", Parse_Sensor);
  if (Values.Has("solution")) Inputs.Solution = Values.Read("solution", Parse_Solution);
  if (Values.Has("body-axes")) Inputs.Keeps_Body_Axes = Values.Read("body-axes", Parse_Body_Axes);
  if (Values.Has("lag")) Inputs.Lag = Values.Read("lag", Parse_Lag);
  if (Values.Has("limits")) {
    const auto Limits = Values.Read("limits", Parse_Length_And_Angle);
    Inputs.Limits = {1000.0 * Limits.Length, Limits.Angle_Deg};
  }
  if (Values.Has("markers")) Inputs.First_Marker = Values.Read("markers", Parse_Marker);
  if (Values.Has("talent-distance")) {
    Inputs.Talent_Distance = Values.Read("talent-distance", Parse_Distance);
  }
  if (Inputs.Is_Library_Only && Inputs.Solution == Solution_Choice::Joint) {
    throw Usage_Error("--library-only makes no joint solution; leave one of the two out");
  }
  if (Inputs.Is_Library_Only && (Inputs.Lag.Is_Solved || Inputs.Lag.Seconds != 0.0)) {
    throw Usage_Error(
        "--lag", "--lag: is of the joint solve, which --library-only leaves out; leave one out");
  }
  return Inputs;
}

// The capture's own solve, before the library's run. None with --library-only, and for a file that
// doesn't exist, which the library has a code for.
std::optional<Inspection> Inspect_Inputs(const Calibration_Inputs& Inputs,
                                         const Row_Motions& Motions, std::size_t Images,
                                         Progress_Kind Kind) {
  std::error_code Ignored;
  if (Inputs.Is_Library_Only || !fs::exists(Inputs.Csv, Ignored)) return std::nullopt;
  Inspection_Inputs Capture;
  Capture.Csv = Inputs.Csv;
  Capture.Image_Root = Inputs.Image_Root;
  Capture.Board.Board = Inputs.Board;
  Capture.Board.Square_Size = Inputs.Square_Size;
  Capture.Board.Accuracy = Inputs.Board_Accuracy;
  Capture.Limits = Inputs.Limits;
  Capture.First_Marker = Inputs.First_Marker;
  Capture.Lag = Inputs.Lag;
  Capture.Motions = Motions;
  if (Inputs.Stated_Board) {
    Capture.Board.Euler = Inputs.Stated_Board->Euler_Deg;
    Capture.Board.Offset = Inputs.Stated_Board->Offset;
  }
  Progress_Output Shown(Kind);
  Shown.Begin(fmt::format("checking the capture: {} images", Images));
  return Inspect_Capture(Capture, [&Shown](std::size_t Done, std::size_t All) {
    Shown.Show(fmt::format("Checking the capture: {} of {} images", Done, All));
  });
}

// What the lens solve of so many images costs, and what to do instead.
std::string Many_Images_Text(std::size_t Images, const Board_Size& Board) {
  const Lens_Solve_Cost Cost =
      Expected_Lens_Solve(Images, static_cast<std::size_t>(Board.Cols) * Board.Rows);
  return fmt::format(
      "the lens solve of {} images takes {} and {} of memory. More than {} images gain little: "
      "keep one line of the CSV in {}",
      Images, Duration_Text(Cost.Seconds),
      Bytes_Text(static_cast<std::uintmax_t>(std::max(Cost.Bytes, 0.0))), Enough_Images,
      Thinning_Step(Images));
}

// Rows without an image file never reach the lens solve.
std::size_t Count_Image_Files(const Calibration_Result& Result) {
  return static_cast<std::size_t>(std::count_if(
      Result.Images.begin(), Result.Images.end(), [&Result](const Capture_Image& Image) {
        std::error_code Ignored;
        return fs::is_regular_file(Result.Inputs.Image_Root / Image.Name, Ignored);
      }));
}

// The time of the lens solve grows with the cube of the number of images, so it is told before the
// run, and a number that is hardly meant is refused.
void Judge_Image_Amount(const Calibrate_Arguments& Arguments, const Calibration_Result& Result) {
  const std::size_t Images = Count_Image_Files(Result);
  const Image_Amount Amount = Amount_Of(Images);
  if (Amount == Image_Amount::Usual) return;
  const std::string Text = Many_Images_Text(Images, Result.Inputs.Board);
  if (Amount == Image_Amount::Too_Many && !Arguments.Allows_Many_Images) {
    throw Usage_Error(Result.Inputs.Csv.string() + ": " + Text +
                      ", or allow them with --many-images");
  }
  Warn(Text);
}

// A pipe can be read only once, and the library has to read it. A device may have no end.
void Refuse_Pipe(const Calibration_Inputs& Inputs) {
  std::error_code Ignored;
  const fs::file_status Status = fs::status(Inputs.Csv, Ignored);
  if (fs::is_character_file(Status) || fs::is_block_file(Status)) {
    throw Usage_Error(Inputs.Csv.string() +
                      ": is a device or a terminal; expected the capture's CSV file");
  }
  if (Inputs.Is_Library_Only || !fs::exists(Status) || fs::is_regular_file(Status)) return;
  throw Usage_Error(Inputs.Csv.string() +
                    ": is not a regular file and can be read only once; expected the capture's CSV "
                    "file, or --library-only");
}

// Space for the run log and the result: mostly the corners in the run log, a few kB for each image.
std::uintmax_t Needed_Bytes(std::size_t Images) {
  constexpr std::uintmax_t Base = 1'000'000, Per_Image = 20'000;
  return Base + Per_Image * Images;
}

// A reprojection image takes about the space of its photograph. The result does not depend on these
// images, so that a lack of space for them is only worth a warning.
void Warn_If_Space_Is_Short(const fs::path& Out, const std::vector<Capture_Image>& Images,
                            const fs::path& Image_Root) {
  std::uintmax_t Expected_Bytes = 0;
  for (const Capture_Image& Image : Images) {
    std::error_code Error;
    const std::uintmax_t Size = fs::file_size(Image_Root / Image.Name, Error);
    if (!Error) Expected_Bytes += Size;
  }
  std::error_code Error;
  const fs::space_info Space = fs::space(Out, Error);
  if (Error || Has_Space(Space, Expected_Bytes)) return;
  Warn(
      fmt::format("{} has {} of free space, but the reprojection images will take about {}: some "
                  "may be missing",
                  Out.string(), Bytes_Text(Space.available), Bytes_Text(Expected_Bytes)));
}

std::string Start_Time_Text() {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(std::time(nullptr)));
}

// What result.json takes twice, so that the reprojection images can't take it.
std::size_t Result_Bytes(std::size_t Images) {
  constexpr std::size_t Base = 100'000, Per_Image = 10'000;
  return Base + Per_Image * Images;
}

// Writes result.json and report.html into the run's folder and into the output folder, the large
// pages last. Returns the text of the error of result.json, empty without one.
std::string Write_Files(const fs::path& Out, const Calibration_Result& Result, fs::path& Page) {
  try {
    Write_Result(Result.Run_Folder, Result);
    const std::string Page_Text = Page_Of_Run(Result.Run_Folder);
    // Of two runs that end at the same time, and of one that is ended now, the two files are of the
    // same run. Somebody who keeps the lock for longer than it takes is not waited for.
    constexpr double Far_Longer_Seconds = 5.0;
    const Folder_Lock Lock(Out, Far_Longer_Seconds);
    const Held_Signals Until_Both;
    Write_Result(Out, Result);
    Page = Write_Reports(Out, Result.Run_Folder, Page_Text);
  } catch (const std::runtime_error& Error) {
    return Error.what();
  }
  return {};
}

// The result does not depend on them.
void Warn_Of_Missing_Reprojections(const Calibration_Result& Result) {
  const std::vector<std::string> Missing = Missing_Reprojections(Result.Run_Folder, Result.Report);
  if (Missing.empty()) return;
  Warn(
      fmt::format("{} could not be written, beginning with that of '{}'; the result does not "
                  "depend on {}. Make room in {} and calibrate again to have {}",
                  Missing.size() == 1 ? "a reprojection image"
                                      : fmt::format("{} reprojection images", Missing.size()),
                  One_Line(Missing.front()), Missing.size() == 1 ? "it" : "them",
                  Result.Run_Folder.string(), Missing.size() == 1 ? "it" : "them"));
}

// A calibration without an error writes its log to the end.
void Warn_Of_Cut_Log(const Calibration_Result& Result) {
  if (!Result.Code || !Is_Usable_Code(*Result.Code)) return;
  if (Result.Report.Step == Run_Step::Ended) return;
  Warn(
      fmt::format("the run log could not be written to its end, so the report and result.json "
                  "lack what it tells of the images. Make room in {} and calibrate again to have "
                  "it",
                  Result.Run_Folder.string()));
}

void Report_Exception(const Calibration_Result& Result) {
  Complain("an exception ended the calibration: " + Result.Exception);
  if (Result.Run_Log.empty()) return;
  Print_Error(
      fmt::format("  The run log shows how far the run got:\n  {}\n", Result.Run_Log.string()));
}

void Report_Result(const Calibration_Result& Result, const Written_Files& Files) {
  if (!Result.Code) return Report_Exception(Result);
  Print(Result_Text(Result, Files, Uses_Colour(stdout)));
  if (Has_Misleading_Code(Result) && !Result.Opinion) {
    Warn(
        fmt::format("the code is {}, but the result holds NaN or infinite numbers and must not be "
                    "used. Look in "
                    "the CSV for NaN or infinite tracker values.",
                    *Result.Code));
  }
}

// Odd and even images of the capture solved apart.
Cross_Check Check_Halves_Of(const Inspection& Inspected, const Calibration_Inputs& Inputs) {
  const Board_Search& Search = *Inspected.Search;
  return Check_Halves(Facts_Of(Inspected.File.Rows, Search, Inspected.Inputs.Motions), Inputs.Board,
                      Inputs.Square_Size, *Inspected.Solution, {Search.Width, Search.Height},
                      Inputs.Talent_Distance);
}

// The capture as the library reads it: with other axes of the camera's tracker where it needs them.
void Prepare_Library_Call(const std::optional<Inspection>& Inspected, Calibration_Result& Result) {
  if (Inspected) Result.Solved = Inspected->Solution;
  if (Inspected && Inspected->Solution) Result.Halves = Check_Halves_Of(*Inspected, Result.Inputs);
  Choose_Library_Inputs(Result);
  Result.Library_Csv = Result.Inputs.Csv;
  if (!Result.Library_Axes.Is_Turned) return;
  Result.Library_Csv = Result.Run_Folder / "capture-turned.csv";
  Write_Turned_Capture(Result.Library_Csv, Inspected->File.Rows, Result.Library_Axes);
}

// The library's code for a run that gives no usable result, and for one that does, whether it can
// be relied on.
int Exit_Status(const Calibration_Result& Result) {
  if (!Result.Code) return Exit_Exception;
  const bool Is_Judged = Result.Opinion && (Is_Usable_Code(*Result.Code) ||
                                            (Result.Inputs.Solution == Solution_Choice::Joint &&
                                             !Result.Joint_Transform_Cam_Tc.empty()));
  if (Is_Judged && Result.Opinion->Judgement == Verdict::Look) return Exit_Look;
  if (Is_Judged && Result.Opinion->Judgement == Verdict::Dont_Use) return Exit_Dont_Use;
  return *Result.Code;
}

// Prints the fields of an engine after the result. Returns the export's code; a result without
// anything to export, or with two mounts that contradict each other, says so instead.
int Print_Engine(const std::string& Name, const Calibration_Result& Result,
                 const fs::path& Result_File) {
  if (Name.empty() || !Result.Code) return 0;
  try {
    Require_Export(Result_File.string(), Result, /*Is_Chosen=*/false);
  } catch (const Usage_Error& Refusal) {
    Warn(fmt::format("no fields of {}: {}", Engine_Named(Name).Title, Refusal.what()));
    return 0;
  }
  Print("\n");
  Warn_Of_Doubts(Result);
  return Print_Export(Engine_Named(Name), Result, std::nullopt, Result_File.parent_path(),
                      /*As_Json=*/false);
}

int Calibrate(const Calibrate_Arguments& Arguments) {
  Calibration_Result Result;
  Result.Inputs = Read_Inputs(Arguments);
  Refuse_Pipe(Result.Inputs);
  const fs::path& Image_Root = Result.Inputs.Image_Root;
  Result.Images = Read_Image_Names(Result.Inputs.Csv);
  Refuse_Climbing_Images(Result.Inputs.Csv, Result.Images, Image_Root);
  Refuse_Unfit_Images(Result.Inputs.Csv, Result.Images, Image_Root);
  Result.Inputs.Camera_Labels = Labels_Of_Capture(Result.Inputs.Csv);
  const Row_Motions Motions = Read_Recorded_Motions(Result.Inputs);
  Judge_Image_Amount(Arguments, Result);
  const fs::path Out = Make_Out_Folder("--out", Arguments.Out, Needed_Bytes(Result.Images.size()),
                                       "run log and result");
  Warn_If_Space_Is_Short(Out, Result.Images, Image_Root);
  Result.Hashes = Hash_Inputs(Result.Inputs, Result.Images);
  const Progress_Kind Kind = Kind_Of_Progress(Arguments.Is_Quiet || Arguments.Is_Verbose);
  const std::optional<Inspection> Inspected =
      Inspect_Inputs(Result.Inputs, Motions, Result.Images.size(), Kind);
  Result.Run_Folder = Make_Run_Folder(Out);
  for (const std::string& Name :
       Make_Reprojection_Folders(Result.Run_Folder, Result.Images, Image_Root)) {
    Warn(fmt::format("the reprojection image of '{}' will be missing: its folder cannot be created",
                     One_Line(Name)));
  }

  Prepare_Library_Call(Inspected, Result);
  Result.Start_Time = Start_Time_Text();
  {
    const Reserved_Space For_The_Result(Result.Run_Folder, Result_Bytes(Result.Images.size()));
    Run_Library(Result, Arguments.Is_Verbose, Kind);
  }
  Remove_Cut_Reprojections(Result.Run_Folder, Result.Images);
  Restore_Own_Axes(Result);
  if (Inspected) Judge_Result(Likeliest_Cause(*Inspected), Result);

  // The files are written first, in case standard output is a closed pipe. The result is printed
  // even if they can't be written.
  Written_Files Files;
  Files.Result = Out / "result.json";
  const std::string Write_Error = Write_Files(Out, Result, Files.Page);
  Files.Reprojections = Written_Reprojections(Result.Run_Folder, Result.Images);
  Warn_Of_Missing_Reprojections(Result);
  Warn_Of_Cut_Log(Result);
  Report_Result(Result, Files);
  if (!Write_Error.empty()) throw std::runtime_error(Write_Error);
  const int Export_Code = Print_Engine(Arguments.Engine, Result, Files.Result);
  const int Status = Exit_Status(Result);
  return Status == Exit_Success ? Export_Code : Status;
}

}  // namespace

void Add_Calibrate_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("calibrate", "Solve lens and camera mount from a capture.");
  const auto Arguments = std::make_shared<Calibrate_Arguments>();
  Add_Capture_Flags(
      *Command, Arguments->Capture,
      {{"sensor", "WxH", "sensor size in millimetres; adds field of view and focal length"},
       {"solution", "library|joint",
        "which of the two solved mounts is the result (default: library)"},
       {"limits", "LENGTH,ANGLE", "how far off a mount may be (default: 3mm,0.3deg)"},
       {"talent-distance", "LENGTH",
        "distance from the camera at which the uncertainty is told in pixels (default: 3m)"},
       {"lag", "none|solve|TIME",
        "lag between pictures and tracker samples that the joint solve allows for, as 40ms, or "
        "solves; needs the import.json of 'rigsync import' (default: none)"},
       {"body-axes", "auto|as-given",
        "whether the library may get other axes of the camera's tracker, which it needs for some "
        "mounts (default: auto)"}});
  Command
      ->add_option("--out", Arguments->Out,
                   "folder for result.json, report.html, run log and images")
      ->required()
      ->type_name("DIR");
  Add_Engine_Flag(Line, *Command, Arguments->Engine,
                  "also print the fields of an engine, as 'rigsync export' does: ue4, ue5, ue5-xn "
                  "or aximmetry");
  CLI::Option* const Verbose = Command->add_flag("--verbose", Arguments->Is_Verbose,
                                                 "show the run log while the library works");
  Command->add_flag("--library-only", Arguments->Is_Library_Only,
                    "only the library's call, with the stated place of the board and without a "
                    "second opinion");
  Command->add_flag("--many-images", Arguments->Allows_Many_Images,
                    "calibrate also from more images than the lens solve can take in reasonable "
                    "time");
  Command->add_flag("--quiet", Arguments->Is_Quiet, "show no progress while the library works")
      ->excludes(Verbose);
  Command->group("Commands");
  Command->footer(Calibrate_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Calibrate(*Arguments); }; });
}

}  // namespace rigsync
