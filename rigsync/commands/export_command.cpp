// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export': prints a solved mount as the fields of a render engine.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/command_line/command.h"
#include "rigsync/formats/engine_fields.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/report/verdict_words.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <memory>

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

// The command line has checked that Name is one of the engines.
const Engine& Engine_Named(const std::string& Name) {
  const auto Is_Named = [&](const Engine& Target) { return Target.Name == Name; };
  return *std::find_if(Engines().begin(), Engines().end(), Is_Named);
}

// Six decimals; a value that rounds to zero has no sign.
std::string Decimal_Text(double Value) {
  const std::string Text = fmt::format("{:.6f}", Value);
  return Text == "-0.000000" ? "0.000000" : Text;
}

void Print_Fields(const Engine& Target, const Engine_Export& Fields, Solution_Choice Solution) {
  fmt::print("{}: the camera as seen from its tracker{}\n  {}\n", Target.Title,
             Solution == Solution_Choice::Joint ? " (joint solution)" : "", Target.Axes);
  for (const Field_Group& Group : Fields.Groups) {
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      fmt::print("  {:<15}{:<12}{:>14}{}{}\n", i == 0 ? Group.Label : "", Group.Names[i],
                 Decimal_Text(Group.Values[i]), Group.Unit.empty() ? "" : " ", Group.Unit);
    }
  }
}

fs::path Log_Folder(const Export_Arguments& Arguments) {
  if (Arguments.Out.empty()) return fs::absolute(Arguments.Result_File).parent_path();
  return Make_Out_Folder("--out", Arguments.Out, /*Needed_Bytes=*/0, "the run log");
}

bool Has_Reason(const Calibration_Result& Result, Verdict_Reason Reason) {
  const std::vector<Verdict_Reason>& Reasons = Result.Opinion->Reasons;
  return std::find(Reasons.begin(), Reasons.end(), Reason) != Reasons.end();
}

// Whether someone has to say which mount is meant: the library's was chosen, and it contradicts the
// joint one or is missing.
bool Needs_Choice(const Calibration_Result& Result) {
  return Result.Opinion && Result.Opinion->Judgement == Verdict::Dont_Use &&
         Result.Inputs.Solution == Solution_Choice::Library &&
         !Result.Joint_Transform_Cam_Tc.empty() && !Result.Norm_Fxy.empty() &&
         !Result.Norm_Cxy.empty() &&
         (Has_Reason(Result, Verdict_Reason::Difference_Beyond_Limit) ||
          Has_Reason(Result, Verdict_Reason::No_Library_Transform));
}

// Whether the joint mount is doubtful whatever the library says.
bool Is_Joint_Doubtful(const Calibration_Result& Result) {
  return Has_Reason(Result, Verdict_Reason::Width_Beyond_Limit) ||
         Has_Reason(Result, Verdict_Reason::Slip_Found);
}

[[noreturn]] void Ask_For_Choice(const std::string& File, const Calibration_Result& Result) {
  if (Has_Reason(Result, Verdict_Reason::No_Library_Transform)) {
    throw Usage_Error("--solution",
                      fmt::format("{}: {}; choose the joint one with --solution joint", File,
                                  Reason_Phrase(Verdict_Reason::No_Library_Transform, Result)));
  }
  throw Usage_Error(
      "--solution",
      fmt::format("{}: {}; choose one with --solution joint{} or --solution library", File,
                  Reason_Phrase(Verdict_Reason::Difference_Beyond_Limit, Result),
                  Is_Joint_Doubtful(Result) ? "" : " (in most captures the nearer one)"));
}

// Result with the mount that the command line asks for. Refuses a choice that nobody has made.
Calibration_Result With_Choice(Calibration_Result Result, const Export_Arguments& Arguments) {
  if (const auto Choice = Solution_Named(Arguments.Solution)) {
    Result.Inputs.Solution = *Choice;
  } else if (Needs_Choice(Result)) {
    Ask_For_Choice(Arguments.Result_File, Result);
  }
  return Result;
}

// Refuses a result without lens or transform.
void Require_Result(const std::string& File, const Calibration_Result& Result) {
  const std::vector<double>& Transform_Cam_Tc = Chosen_Transform_Cam_Tc(Result);
  if (Transform_Cam_Tc.empty() && Result.Inputs.Solution == Solution_Choice::Joint) {
    throw Usage_Error(File + " has no joint solution to export");
  }
  if (Transform_Cam_Tc.empty() || Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty()) {
    throw Usage_Error(fmt::format("{} has no result to export: {}", File,
                                  Result.Message.empty() ? "its values are null" : Result.Message));
  }
  Require_Finite_Mount(File, Transform_Cam_Tc);
}

// Whether the reasons rule out the mount that is exported, which may not be the one that was
// judged.
bool Is_Ruled_Out(const Calibration_Result& Result) {
  if (Result.Opinion->Reasons.empty()) return Result.Opinion->Judgement == Verdict::Dont_Use;
  if (Is_Joint_Doubtful(Result) || Has_Reason(Result, Verdict_Reason::Not_Solved)) return true;
  return Result.Inputs.Solution == Solution_Choice::Library &&
         (Has_Reason(Result, Verdict_Reason::No_Library_Transform) ||
          Has_Reason(Result, Verdict_Reason::Library_Code) ||
          Has_Reason(Result, Verdict_Reason::Difference_Beyond_Limit));
}

std::string Doubts_Text(const Calibration_Result& Result) {
  std::vector<std::string> Phrases;
  for (const Verdict_Reason Reason : Result.Opinion->Reasons) {
    Phrases.push_back(Reason_Phrase(Reason, Result));
  }
  std::string Text = Is_Ruled_Out(Result) ? "this result must not be used"
                                          : "check this result on the set before it is used";
  if (!Phrases.empty()) Text += fmt::format(": {}", fmt::join(Phrases, "; "));
  Text += ".";
  return Result.Cause ? Text + " Cause: " + Result.Cause->What : Text;
}

void Warn_Of_Doubts(const Calibration_Result& Result) {
  if (Result.Opinion && Result.Opinion->Judgement != Verdict::Agree) {
    Warn(Doubts_Text(Result));
  } else if (!Is_Usable(Result)) {
    Warn("this result must not be used: " + Result.Message);
  }
}

int Export(const Export_Arguments& Arguments) {
  const Engine& Target = Engine_Named(Arguments.Engine);
  const Calibration_Result Result = With_Choice(Read_Result(Arguments.Result_File), Arguments);
  Require_Result(Arguments.Result_File, Result);
  Warn_Of_Doubts(Result);
  const fs::path Folder = Log_Folder(Arguments);
  const Run_Logs Earlier_Logs = List_Run_Logs(Folder);
  Engine_Export Fields;
  {
    const Quiet_Output Quiet(/*Quiet=*/true);
    Fields = Target.Export(Result, Folder.string());
  }
  if (Arguments.Prints_Json) {
    const bool Usable = Is_Usable(Result) && Fields.Code == 0 && Is_Finite(Fields);
    Print(Export_Json(Target, Fields, Result.Inputs.Solution, Usable,
                      Run_Log_Since(Earlier_Logs, Folder)));
  } else if (Fields.Code == 0) {
    Print_Fields(Target, Fields, Result.Inputs.Solution);
  }
  std::fflush(stdout);
  if (Fields.Code != 0) {
    const Code_Advice Advice = Advice_For(Fields.Code);
    Complain(fmt::format("code {}. {} {}", Advice.Code, Advice.Meaning, Advice.Next_Step));
  } else if (!Is_Finite(Fields)) {
    Warn("the export holds NaN or infinite numbers and must not be used.");
  }
  return Fields.Code;
}

}  // namespace

void Add_Export_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("export", "Print a result as the fields of a render engine.");
  const auto Arguments = std::make_shared<Export_Arguments>();
  Command->add_option("RESULT", Arguments->Result_File, "result.json of 'rigsync calibrate'")
      ->required();
  std::vector<std::string> Names;
  for (const Engine& Target : Engines()) Names.push_back(Target.Name);
  Require_Choice(
      Line, Command->add_option("--to", Arguments->Engine, "ue4, ue5, ue5-xn or aximmetry"), Names)
      ->required()
      ->type_name("ENGINE");
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
