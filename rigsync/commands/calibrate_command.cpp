// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate': one capture, from CSV to result.json. It is a host like any other: it
// prepares folders, makes the library's one call, and tells what came of it.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/library_run.h"
#include "rigsync/calibrate/run_folder.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/reprojection_paths.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/capture_flags.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/report/result_text.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(The board, its square and its place on its tracker can stand in a TOML or JSON
file for the whole stage (--config stage.toml); a flag wins over the file:
  board = "11x8"
  square = "30mm"
  board-euler = [12, -20, 8]
  board-offset = "-170mm,50mm,40mm"

Exit status: the library's code (0 good, 99 usable, others: no usable result),
2 for wrong usage, 70 when an exception ended the run. A script asks "usable" in
result.json: code 0 says nothing of numbers that aren't finite.

Example:
  rigsync calibrate capture/capture.csv --board 11x8 --square 30mm \
    --board-euler 12,-20,8 --board-offset -170mm,50mm,40mm --out result)";

// What was typed, before anything is read from it.
struct Typed {
  Capture_Arguments Capture;
  std::string Out;
  bool Verbose = false, Quiet = false;
};

// The library opens a folder, finds no line in it, and blames the boards. A file that isn't there
// is left to it: that has a code of its own.
fs::path Csv_Path(const std::string& Typed) {
  std::error_code Ignored;
  if (fs::is_directory(Typed, Ignored)) {
    throw Usage_Error(Typed + ": is a folder; expected the capture's CSV file");
  }
  return fs::absolute(Typed);
}

Calibration_Inputs Read_Inputs(const Capture_Arguments& Given) {
  const Stage_Values Values(Given);
  Calibration_Inputs Inputs;
  Inputs.Image_Root = Image_Root_Of(Given);
  Inputs.Csv = Csv_Path(Given.Csv);
  Inputs.Board = Values.Read("board", Parse_Board);
  Inputs.Square_Size = Values.Read("square", Parse_Square);
  Inputs.Board_Euler = Values.Read("board-euler", Parse_Angles);
  Inputs.Board_Offset = Values.Read("board-offset", Parse_Offset);
  if (Values.Has("sensor")) Inputs.Sensor_Size = Values.Read("sensor", Parse_Sensor);
  return Inputs;
}

// Space for the run log and the result: a few kB for each image's corners, and the rest.
std::uintmax_t Needed_Bytes(std::size_t Images) {
  constexpr std::uintmax_t Base = 1'000'000, Per_Image = 20'000;
  return Base + Per_Image * Images;
}

// A reprojection image takes about the space of its photograph. The result does without them, so
// that a disk that is too small for them is worth a warning and no more.
void Warn_If_Space_Is_Short(const fs::path& Out, const std::vector<Capture_Image>& Images,
                            const fs::path& Image_Root) {
  std::uintmax_t Expected = 0;
  for (const Capture_Image& Image : Images) {
    std::error_code Error;
    const std::uintmax_t Size = fs::file_size(Image_Root / Image.Name, Error);
    if (!Error) Expected += Size;
  }
  std::error_code Error;
  const fs::space_info Space = fs::space(Out, Error);
  if (Error || Space.available >= Expected) return;
  Warn(
      fmt::format("{} has {} of free space, and the reprojection images will take about {}: some "
                  "may be missing or cut short",
                  Out.string(), Bytes_Text(Space.available), Bytes_Text(Expected)));
}

std::string Local_Time_Text() {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(std::time(nullptr)));
}

// The run's own result.json, and the newest of the output folder. Returns what went wrong.
std::string Write_Results(const fs::path& Out, const Calibration_Result& Result) {
  try {
    Write_Result(Result.Run_Folder, Result);
    Write_Result(Out, Result);
  } catch (const std::runtime_error& Error) {
    return Error.what();
  }
  return {};
}

void Complain_Of_Exception(const Calibration_Result& Result) {
  Complain("the calibration was ended by an exception: " + Result.Exception);
  if (Result.Run_Log.empty()) return;
  fmt::print(stderr, "  How far it came is in the run log:\n  {}\n", Result.Run_Log.string());
}

void Tell(const Calibration_Result& Result, const fs::path& Out) {
  if (!Result.Code) return Complain_Of_Exception(Result);
  Print(Result_Text(Result, Written_Reprojections(Result.Run_Folder, Result.Images),
                    Out / "result.json", Colour_On(stdout)));
  if (Is_Usable(*Result.Code) && !Is_Usable(Result)) {
    Warn(fmt::format(
        "the code is {}, but the result holds numbers that are not finite (nan or inf). Don't use "
        "it: look in the CSV for tracker values that are no numbers.",
        *Result.Code));
  }
}

int Calibrate(const Typed& Given) {
  Calibration_Result Result;
  Result.Inputs = Read_Inputs(Given.Capture);
  const fs::path& Image_Root = Result.Inputs.Image_Root;
  Result.Images = Read_Image_Names(Result.Inputs.Csv);
  Refuse_Climbing_Images(Result.Inputs.Csv, Result.Images, Image_Root);
  const fs::path Out =
      Make_Out_Folder("--out", Given.Out, Needed_Bytes(Result.Images.size()), "run log and result");
  Warn_If_Space_Is_Short(Out, Result.Images, Image_Root);
  Result.Run_Folder = Make_Run_Folder(Out);
  for (const std::string& Name :
       Make_Reprojection_Folders(Result.Run_Folder, Result.Images, Image_Root)) {
    Warn(fmt::format("no folder can be made for the reprojection image of '{}': it will be missing",
                     One_Line(Name)));
  }

  Result.Begun = Local_Time_Text();
  Run_Library(Result, Given.Verbose, Kind_Of_Progress(Given.Quiet || Given.Verbose));

  // Written first, so that nobody who stops reading takes the result along; told in any case, so
  // that a full disk doesn't either.
  const std::string Unwritten = Write_Results(Out, Result);
  Tell(Result, Out);
  if (!Unwritten.empty()) throw std::runtime_error(Unwritten);
  return Result.Code.value_or(Exit_Exception);
}

}  // namespace

void Add_Calibrate_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("calibrate", "Solve lens and camera mount from a capture.");
  const auto Given = std::make_shared<Typed>();
  Add_Capture_Flags(
      *Command, Given->Capture,
      {{"sensor", "WxH", "sensor size in millimetres: gives field of view and focal length too"}});
  Command->add_option("--out", Given->Out, "folder for result.json, run log and images")
      ->required()
      ->type_name("DIR");
  CLI::Option* const Verbose =
      Command->add_flag("--verbose", Given->Verbose, "show the run log while the library works");
  Command->add_flag("--quiet", Given->Quiet, "show no progress while the library works")
      ->excludes(Verbose);
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Line, Given] { Line.Action = [Given] { return Calibrate(*Given); }; });
}

}  // namespace rigsync
