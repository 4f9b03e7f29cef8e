// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export': prints a solved mount as the fields of a render engine.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/command_line/command.h"
#include "rigsync/commands/engine_output.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/out_folder.h"

#include <filesystem>
#include <memory>
#include <string>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(Each export is the pose of the camera as seen from its tracker. docs/engines.md
describes the axes of each engine and which number goes into which field.

Where the mounts of the library and of the joint solve contradict each other,
it asks for --solution.

Exit status: the library's code (0 good, 3 gimbal lock, ue4 only), 2 for wrong
usage, 70 for an exception.

Example:
  rigsync export result/result.json --to ue5
  rigsync export result/result.json --to aximmetry --json)";

// The command line as typed.
struct Export_Arguments {
  std::string Result_File, Engine, Solution, Out;
  bool Prints_Json = false;
};

fs::path Log_Folder(const Export_Arguments& Arguments) {
  if (Arguments.Out.empty()) return fs::absolute(Arguments.Result_File).parent_path();
  return Make_Out_Folder("--out", Arguments.Out, /*Needed_Bytes=*/0, "the run log");
}

int Export(const Export_Arguments& Arguments) {
  Calibration_Result Result = Read_Result(Arguments.Result_File);
  const auto Choice = Solution_Named(Arguments.Solution);
  if (Choice) Result.Inputs.Solution = *Choice;
  Require_Export(Arguments.Result_File, Result, Choice.has_value());
  Warn_Of_Doubts(Result);
  return Print_Export(Engine_Named(Arguments.Engine), Result, Log_Folder(Arguments),
                      Arguments.Prints_Json);
}

}  // namespace

void Add_Export_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("export", "Print a result as the fields of a render engine.");
  const auto Arguments = std::make_shared<Export_Arguments>();
  Command->add_option("RESULT", Arguments->Result_File, "result.json of 'rigsync calibrate'")
      ->required();
  Add_Engine_Flag(Line, *Command, Arguments->Engine, "ue4, ue5, ue5-xn or aximmetry")->required();
  Require_Choice(Line,
                 Command->add_option("--solution", Arguments->Solution,
                                     "library or joint: whose mount to export (default: the one "
                                     "that is the result)"),
                 {"library", "joint"})
      ->type_name("SOLUTION");
  Command->add_option("--out", Arguments->Out, "folder for the run log (default: RESULT's folder)")
      ->type_name("DIR");
  Command->add_flag("--json", Arguments->Prints_Json,
                    "print JSON with all digits; 'usable' says whether the result is good");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Export(*Arguments); }; });
}

}  // namespace rigsync
