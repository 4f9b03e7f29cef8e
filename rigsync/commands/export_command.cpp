// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export': a result as the fields of a render engine, or as a file for another program.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/engine_output.h"
#include "rigsync/commands/output_file.h"
#include "rigsync/engine/tracker_axes.h"
#include "rigsync/exports/file_target.h"
#include "rigsync/formats/import_file.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Export_Footer =
    R"(Each export for an engine has the pose of the camera as seen from its tracker.
docs/engines.md describes the axes of each engine and which number goes into
which field, docs/files.md the targets that are files.

Where the mounts of the library and of the joint solve contradict each other,
it asks for --solution.

Exit status: the library's code (0 good, 3 gimbal lock, ue4 only), 2 for wrong
usage, 70 for an exception.

Example:
  rigsync export result/result.json --to ue5
  rigsync export result/result.json --to aximmetry --json
  rigsync export result/result.json --to blender -o camera.py)";

// The command line as typed.
struct Export_Arguments {
  std::string Result_File, Engine, Solution, Out, Output, Axes, Sensor, Focus, Zoom, Capture,
      Image_Root;
  bool Prints_Json = false;
};

fs::path Log_Folder(const Export_Arguments& Arguments) {
  if (Arguments.Out.empty()) return fs::absolute(Arguments.Result_File).parent_path();
  return Make_Out_Folder("--out", Arguments.Out, /*Needed_Bytes=*/0, "the run log");
}

const File_Target* File_Target_Named(const std::string& Name) {
  for (const File_Target& Target : File_Targets()) {
    if (Target.Name == Name) return &Target;
  }
  return nullptr;
}

// "numbers: ue4, ue5, ...; files: blender, ..."
std::string Targets_Help() {
  std::vector<std::string> Numbers, Files;
  for (const Engine& Target : Engines()) Numbers.push_back(Target.Name);
  for (const File_Target& Target : File_Targets()) Files.push_back(Target.Name);
  return fmt::format("numbers: {}; files: {}", fmt::join(Numbers, ", "), fmt::join(Files, ", "));
}

[[noreturn]] void Refuse_Useless(const std::string& Flag, const std::string& Target) {
  throw Usage_Error(Flag, fmt::format("{}: the export to {} has no use for it", Flag, Target));
}

// Refuses flags that were typed and mean nothing for a file.
void Refuse_Flags_Without_Use(const Export_Arguments& Arguments, const File_Target& Target) {
  const std::tuple<const char*, File_Option, bool> Typed[] = {
      {"--tracker-axes", File_Option::Axes, !Arguments.Axes.empty()},
      {"--sensor", File_Option::Sensor, !Arguments.Sensor.empty()},
      {"--focus", File_Option::Position, !Arguments.Focus.empty()},
      {"--zoom", File_Option::Position, !Arguments.Zoom.empty()},
      {"--capture", File_Option::Capture, !Arguments.Capture.empty()},
      {"--image-root", File_Option::Image_Root, !Arguments.Image_Root.empty()},
  };
  for (const auto& [Flag, Option, Is_Typed] : Typed) {
    if (Is_Typed && !Has_Use(Target, Option)) Refuse_Useless(Flag, Target.Title);
  }
  if (!Arguments.Out.empty()) Refuse_Useless("--out", Target.Title);
  if (Arguments.Prints_Json) Refuse_Useless("--json", Target.Title);
}

// The same for the numbers of an engine: flags that are for files.
void Refuse_Flags_Of_Files(const Export_Arguments& Arguments, const Engine& Target) {
  const std::pair<const char*, const std::string&> Typed[] = {
      {"--output", Arguments.Output},   {"--sensor", Arguments.Sensor},
      {"--focus", Arguments.Focus},     {"--zoom", Arguments.Zoom},
      {"--capture", Arguments.Capture}, {"--image-root", Arguments.Image_Root},
  };
  for (const auto& [Flag, Value] : Typed) {
    if (!Value.empty()) Refuse_Useless(Flag, Target.Title);
  }
}

std::optional<Lens_Position> Position_Of(const Export_Arguments& Arguments) {
  if (Arguments.Focus.empty() && Arguments.Zoom.empty()) return std::nullopt;
  Lens_Position At;
  if (!Arguments.Focus.empty()) At.Focus = Parse_Number("--focus", Arguments.Focus);
  if (!Arguments.Zoom.empty()) At.Zoom = Parse_Number("--zoom", Arguments.Zoom);
  return At;
}

File_Request Request_Of(const Export_Arguments& Arguments, const File_Target& Target,
                        const Calibration_Result& Result) {
  File_Request Request = Request_From(Arguments.Result_File, Result);
  Request.At = Position_Of(Arguments);
  Request.Doubts = Doubts_Of(Result);
  if (!Arguments.Axes.empty()) {
    Request.Axes = Parse_Tracker_Axes("--tracker-axes", Arguments.Axes, Target.Space,
                                      Result.Inputs.Camera_Labels);
  }
  if (!Arguments.Sensor.empty()) Request.Sensor_Mm = Parse_Sensor("--sensor", Arguments.Sensor);
  if (!Arguments.Capture.empty()) {
    Request.Capture = fs::absolute(Arguments.Capture);
    Request.Is_Capture_Stated = true;
    Request.Image_Root = Request.Capture.parent_path();
  }
  if (!Arguments.Image_Root.empty()) Request.Image_Root = fs::absolute(Arguments.Image_Root);
  return Request;
}

// The file goes to --output, or to standard output.
int Export_File(const Export_Arguments& Arguments, const File_Target& Target,
                const Calibration_Result& Result) {
  Refuse_Flags_Without_Use(Arguments, Target);
  const File_Request Request = Request_Of(Arguments, Target, Result);
  const bool Is_Printed = Arguments.Output.empty() || Arguments.Output == "-";
  if (!Is_Printed) {
    Refuse_Result_As_Output(Arguments.Output, Arguments.Result_File, Result);
    Refuse_As_Output(Arguments.Output, Request.Capture);
    Refuse_As_Output(Arguments.Output, Request.Capture.parent_path() / Import_File_Name);
  }
  const File_Text Written = Target.Write(Request);
  if (!Is_Printed) Write_Output(Arguments.Output, Written.Text);
  for (const std::string& Warning : Written.Warnings) Warn(Warning);
  if (Is_Printed) {
    Print(Written.Text);
    return Exit_Success;
  }
  Print(fmt::format("{}: {}\n", Target.Title, Arguments.Output));
  return Exit_Success;
}

// The fields of an engine go to standard output.
int Export_Numbers(const Export_Arguments& Arguments, const Engine& Target,
                   const Calibration_Result& Result) {
  Refuse_Flags_Of_Files(Arguments, Target);
  std::optional<Tracker_Axes> Axes;
  if (!Arguments.Axes.empty()) {
    Axes = Parse_Tracker_Axes("--tracker-axes", Arguments.Axes, Target.Space,
                              Result.Inputs.Camera_Labels);
  }
  return Print_Export(Target, Result, Axes, Log_Folder(Arguments), Arguments.Prints_Json);
}

int Export(const Export_Arguments& Typed) {
  Export_Arguments Arguments = Typed;
  Arguments.Result_File = Result_File(Typed.Result_File).string();
  const Calibration_Result Result = Read_For_Export(Arguments.Result_File, Arguments.Solution);
  Warn_Of_Doubts(Result);
  if (const File_Target* Target = File_Target_Named(Arguments.Engine)) {
    return Export_File(Arguments, *Target, Result);
  }
  return Export_Numbers(Arguments, Engine_Named(Arguments.Engine), Result);
}

}  // namespace

void Add_Export_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("export", "Print a result for an engine or another program.");
  const auto Arguments = std::make_shared<Export_Arguments>();
  Command
      ->add_option("RESULT", Arguments->Result_File,
                   "result.json of 'rigsync calibrate', or the folder that has it")
      ->required();
  std::vector<std::string> Targets;
  for (const Engine& Target : Engines()) Targets.push_back(Target.Name);
  for (const File_Target& Target : File_Targets()) Targets.push_back(Target.Name);
  Require_Choice(Line, Command->add_option("--to", Arguments->Engine, Targets_Help()), Targets)
      ->type_name("TARGET")
      ->required();
  Require_Choice(Line,
                 Command->add_option("--solution", Arguments->Solution,
                                     "library or joint: whose mount to export (default: the one "
                                     "that is the result)"),
                 {"library", "joint"})
      ->type_name("SOLUTION");
  Require_Value(Command->add_option("-o,--output", Arguments->Output,
                                    "file to write (default: -, standard output)"))
      ->type_name("FILE");
  Require_Value(
      Command->add_option("--tracker-axes", Arguments->Axes,
                          "axes of the engine's tracker object: as-tracked, z-up, y-up or z,-x,y"))
      ->type_name("AXES");
  Require_Value(Command->add_option("--sensor", Arguments->Sensor,
                                    "sensor size in mm (default: that of the calibration)"))
      ->type_name("WxH");
  Require_Value(
      Command->add_option("--focus", Arguments->Focus, "focus of a lens file's point (default: 0)"))
      ->type_name("VALUE");
  Require_Value(
      Command->add_option("--zoom", Arguments->Zoom, "zoom of a lens file's point (default: 0)"))
      ->type_name("VALUE");
  Require_Value(Command->add_option("--capture", Arguments->Capture,
                                    "CSV of the capture (default: that of the calibration)"))
      ->type_name("CSV");
  Require_Value(
      Command->add_option("--image-root", Arguments->Image_Root,
                          "folder where relative image paths start (default: the capture's)"))
      ->type_name("DIR");
  Require_Value(Command->add_option("--out", Arguments->Out,
                                    "folder for the run log (default: RESULT's folder)"))
      ->type_name("DIR");
  Command->add_flag("--json", Arguments->Prints_Json,
                    "print JSON with all digits; 'usable' says whether the result is good");
  Command->group("Commands");
  Command->footer(Export_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Export(*Arguments); }; });
}

}  // namespace rigsync
