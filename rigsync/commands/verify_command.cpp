// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync verify': proves the exports of a result back to pixels.
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/engine_output.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/verify/verification.h"
#include "rigsync/verify/verification_text.h"

#include <cstddef>
#include <memory>
#include <string>

namespace rigsync {
namespace {

constexpr const char* Verify_Footer =
    R"(From each target's numbers a camera is made as the target makes it. It sees
points all over the frame, from the poses that the tracker had in the capture,
and their pixels are compared with those of the solved camera itself. The
allowed difference is what the rounding of the exported numbers can make.
docs/verify.md tells how.

What a target's own lens can't have, such as a second focal length, is told and
is no failure. Neither is a target that can't have the stated axes, or not this
mount (gimbal lock). One that is refused for any other reason is a failure.

Exit status: 0 when every target is within its bound; 1 when one is beyond or
can't be proven; 2 for wrong usage.

Example:
  rigsync verify result
  rigsync verify result --capture other.csv --tracker-axes z-up --json)";

// Enough to have each pose of a usual capture, and quick for a long one.
constexpr std::size_t Most_Samples = 200;

// The command line as typed.
struct Verify_Arguments {
  std::string Result_File, Capture, Solution, Axes;
  bool Is_Json = false;
};

// The poses of a stated capture; those of the result's own, if it can be read; fixed ones.
Proof_Samples Samples_For(const Verify_Arguments& Arguments, const Calibration_Result& Result) {
  if (!Arguments.Capture.empty()) {
    Proof_Samples Stated = Samples_Of_Capture(Arguments.Capture, Most_Samples);
    if (Stated.Samples.empty()) {
      throw Usage_Error("--capture", "--capture " + Arguments.Capture +
                                         ": no row has a sample of the camera's tracker");
    }
    return Stated;
  }
  try {
    const Proof_Samples Own = Samples_Of_Capture(Result.Inputs.Csv, Most_Samples);
    if (!Own.Samples.empty()) return Own;
  } catch (const Usage_Error&) {
    // A result may be on another computer than its capture.
  }
  return Fixed_Samples();
}

int Verify(const Verify_Arguments& Arguments) {
  const std::filesystem::path File = Result_File(Arguments.Result_File);
  const Calibration_Result Result = Read_For_Export(File, Arguments.Solution);
  Warn_Of_Doubts(Result);
  const Verification Made =
      Verify_Exports({File, Result, Samples_For(Arguments, Result), Arguments.Axes});
  Print(Arguments.Is_Json
            ? Verification_Json(Made, File, Result.Inputs.Solution)
            : Verification_Text(Made, File, Result.Inputs.Solution, Uses_Colour(stdout)));
  return Made.Holds() ? Exit_Success : Exit_Beyond_Bound;
}

}  // namespace

void Add_Verify_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("verify", "Prove the exports of a result back to pixels.");
  const auto Arguments = std::make_shared<Verify_Arguments>();
  Command
      ->add_option("RESULT", Arguments->Result_File,
                   "result.json of 'rigsync calibrate', or the folder that has it")
      ->required();
  Require_Value(
      Command->add_option(
          "--capture", Arguments->Capture,
          "CSV whose samples are used (default: that of the calibration, or fixed poses)"))
      ->type_name("CSV");
  Require_Choice(Line,
                 Command->add_option("--solution", Arguments->Solution,
                                     "library or joint: whose mount (default: the one that is the "
                                     "result)"),
                 {"library", "joint"})
      ->type_name("SOLUTION");
  Require_Value(Command->add_option(
                    "--tracker-axes", Arguments->Axes,
                    "axes of the tracker object: as-tracked, z-up, y-up or z,-x,y (default: each "
                    "target's own)"))
      ->type_name("AXES");
  Command->add_flag("--json", Arguments->Is_Json, "print JSON with all digits");
  Command->group("Commands");
  Command->footer(Verify_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Verify(*Arguments); }; });
}

}  // namespace rigsync
