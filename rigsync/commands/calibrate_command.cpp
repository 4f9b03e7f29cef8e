// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate': one capture, from CSV to result.json. Like any host of the library, it
// prepares the folders, calls the library once and reports the outcome.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/library_run.h"
#include "rigsync/calibrate/reprojection_folders.h"
#include "rigsync/calibrate/run_folder.h"
#include "rigsync/capture/capture_file.h"
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
    R"(The board, its square size and its pose on its tracker can be in a TOML or JSON
file for the whole stage (--config stage.toml). A flag overrides the file:
  board = "11x8"
  square = "30mm"
  board-euler = [12, -20, 8]
  board-offset = "-170mm,50mm,40mm"

Exit status: the library's code (0 good, 99 usable, others: no usable result),
2 for wrong usage, 70 when an exception ended the run. Scripts should check
"usable" in result.json: a result with code 0 can hold NaN or infinite numbers.

Example:
  rigsync calibrate capture/capture.csv --board 11x8 --square 30mm \
    --board-euler 12,-20,8 --board-offset -170mm,50mm,40mm --out result)";

// The command line as typed.
struct Calibrate_Arguments {
  Capture_Arguments Capture;
  std::string Out;
  bool Is_Verbose = false, Is_Quiet = false;
};

// The library would read a folder as an empty CSV and report too few boards. For a file that does
// not exist it has a code of its own.
fs::path Csv_Path(const std::string& Path) {
  std::error_code Ignored;
  if (fs::is_directory(Path, Ignored)) {
    throw Usage_Error(Path + ": is a folder; expected the capture's CSV file");
  }
  return fs::absolute(Path);
}

Calibration_Inputs Read_Inputs(const Capture_Arguments& Arguments) {
  const Stage_Values Values(Arguments);
  Calibration_Inputs Inputs;
  Inputs.Image_Root = Image_Root_Of(Arguments);
  Inputs.Csv = Csv_Path(Arguments.Csv);
  Inputs.Board = Values.Read("board", Parse_Board);
  Inputs.Square_Size = Values.Read("square", Parse_Square);
  Inputs.Stated_Board = Board_Place{Values.Read("board-euler", Parse_Angles),
                                    Values.Read("board-offset", Parse_Offset)};
  if (Values.Has("sensor")) Inputs.Sensor_Size_Mm = Values.Read("sensor", Parse_Sensor);
  return Inputs;
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
  if (Error || Space.available >= Expected_Bytes) return;
  Warn(
      fmt::format("{} has {} of free space, but the reprojection images will take about {}: some "
                  "may be missing or incomplete",
                  Out.string(), Bytes_Text(Space.available), Bytes_Text(Expected_Bytes)));
}

std::string Start_Time_Text() {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(std::time(nullptr)));
}

// Writes result.json into the run's folder and into the output folder. Returns the text of the
// error, empty without one.
std::string Write_Results(const fs::path& Out, const Calibration_Result& Result) {
  try {
    Write_Result(Result.Run_Folder, Result);
    Write_Result(Out, Result);
  } catch (const std::runtime_error& Error) {
    return Error.what();
  }
  return {};
}

void Report_Exception(const Calibration_Result& Result) {
  Complain("an exception ended the calibration: " + Result.Exception);
  if (Result.Run_Log.empty()) return;
  Print_Error(
      fmt::format("  The run log shows how far the run got:\n  {}\n", Result.Run_Log.string()));
}

void Report_Result(const Calibration_Result& Result, const fs::path& Out) {
  if (!Result.Code) return Report_Exception(Result);
  Print(Result_Text(Result, Written_Reprojections(Result.Run_Folder, Result.Images),
                    Out / "result.json", Uses_Colour(stdout)));
  if (Has_Misleading_Code(Result)) {
    Warn(
        fmt::format("the code is {}, but the result holds NaN or infinite numbers and must not be "
                    "used. Look in "
                    "the CSV for NaN or infinite tracker values.",
                    *Result.Code));
  }
}

int Calibrate(const Calibrate_Arguments& Arguments) {
  Calibration_Result Result;
  Result.Inputs = Read_Inputs(Arguments.Capture);
  const fs::path& Image_Root = Result.Inputs.Image_Root;
  Result.Images = Read_Image_Names(Result.Inputs.Csv);
  Refuse_Climbing_Images(Result.Inputs.Csv, Result.Images, Image_Root);
  const fs::path Out = Make_Out_Folder("--out", Arguments.Out, Needed_Bytes(Result.Images.size()),
                                       "run log and result");
  Warn_If_Space_Is_Short(Out, Result.Images, Image_Root);
  Result.Run_Folder = Make_Run_Folder(Out);
  for (const std::string& Name :
       Make_Reprojection_Folders(Result.Run_Folder, Result.Images, Image_Root)) {
    Warn(fmt::format("the reprojection image of '{}' will be missing: its folder cannot be created",
                     One_Line(Name)));
  }

  Result.Library_Board = *Result.Inputs.Stated_Board;
  Result.Start_Time = Start_Time_Text();
  Run_Library(Result, Arguments.Is_Verbose,
              Kind_Of_Progress(Arguments.Is_Quiet || Arguments.Is_Verbose));

  // The files are written first, in case standard output is a closed pipe. The result is printed
  // even if they can't be written.
  const std::string Write_Error = Write_Results(Out, Result);
  Report_Result(Result, Out);
  if (!Write_Error.empty()) throw std::runtime_error(Write_Error);
  return Result.Code.value_or(Exit_Exception);
}

}  // namespace

void Add_Calibrate_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("calibrate", "Solve lens and camera mount from a capture.");
  const auto Arguments = std::make_shared<Calibrate_Arguments>();
  Add_Capture_Flags(
      *Command, Arguments->Capture,
      {{"sensor", "WxH", "sensor size in millimetres; adds field of view and focal length"}});
  Command->add_option("--out", Arguments->Out, "folder for result.json, run log and images")
      ->required()
      ->type_name("DIR");
  CLI::Option* const Verbose = Command->add_flag("--verbose", Arguments->Is_Verbose,
                                                 "show the run log while the library works");
  Command->add_flag("--quiet", Arguments->Is_Quiet, "show no progress while the library works")
      ->excludes(Verbose);
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Calibrate(*Arguments); }; });
}

}  // namespace rigsync
