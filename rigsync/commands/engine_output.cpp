// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/engine_output.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/command_line/command.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/report/verdict_words.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// Six decimals; a value that rounds to zero has no sign.
std::string Decimal_Text(double Value) {
  const std::string Text = fmt::format("{:.6f}", Value);
  return Text == "-0.000000" ? "0.000000" : Text;
}

void Print_Fields(const Engine& Target, const Engine_Export& Fields, const Tracker_Axes& Axes,
                  Solution_Choice Solution) {
  fmt::print("{}: the camera as seen from its tracker{}\n  {}\n", Target.Title,
             Solution == Solution_Choice::Joint ? " (joint solution)" : "", Target.Axes);
  fmt::print("  tracker axes: {} of the tracked body\n", Tracker_Axes_Text(Axes));
  if (Target.Position_Axes != Tracker_Axes::Identity()) {
    fmt::print("  position fields: along {} of the tracker\n",
               Tracker_Axes_Text(Target.Position_Axes));
  }
  for (const Field_Group& Group : Fields.Groups) {
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      fmt::print("  {:<15}{:<12}{:>14}{}{}\n", i == 0 ? Group.Label : "", Group.Names[i],
                 Decimal_Text(Group.Values[i]), Group.Unit.empty() ? "" : " ", Group.Unit);
    }
  }
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
    throw Usage_Error(
        "--solution",
        fmt::format("{}: {}; {}", File, Reason_Phrase(Verdict_Reason::No_Library_Transform, Result),
                    Is_Joint_Doubtful(Result)
                        ? "the joint one is doubtful as well. Take the capture again, or export it "
                          "all the same with --solution joint"
                        : "choose the joint one with --solution joint"));
  }
  throw Usage_Error(
      "--solution",
      fmt::format("{}: {}; choose one with --solution joint{} or --solution library", File,
                  Reason_Phrase(Verdict_Reason::Difference_Beyond_Limit, Result),
                  Is_Joint_Doubtful(Result) ? "" : " (in most captures the nearer one)"));
}

// Refuses a result without lens or transform, and a lens that no run writes.
void Require_Result(const std::string& File, const Calibration_Result& Result) {
  const std::vector<double>& Transform_Cam_Tc = Chosen_Transform_Cam_Tc(Result);
  if (Transform_Cam_Tc.empty() && Result.Inputs.Solution == Solution_Choice::Joint) {
    throw Usage_Error(File + " has no joint solution to export");
  }
  if (Transform_Cam_Tc.empty() || Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty()) {
    throw Usage_Error(fmt::format("{} has no result to export: {}", File,
                                  Result.Message.empty() ? "its values are null" : Result.Message));
  }
  Require_Mount(File, Transform_Cam_Tc);
  Solved_Camera_Of(Result, File);
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

}  // namespace

CLI::Option* Add_Engine_Flag(Command_Line& Line, CLI::App& Command, std::string& Name,
                             const std::string& Help) {
  std::vector<std::string> Names;
  for (const Engine& Target : Engines()) Names.push_back(Target.Name);
  return Require_Choice(Line, Command.add_option("--to", Name, Help), Names)->type_name("ENGINE");
}

const Engine& Engine_Named(const std::string& Name) {
  const auto Is_Named = [&](const Engine& Target) { return Target.Name == Name; };
  return *std::find_if(Engines().begin(), Engines().end(), Is_Named);
}

void Require_Export(const std::string& File, const Calibration_Result& Result, bool Is_Chosen) {
  if (!Is_Chosen && Needs_Choice(Result)) Ask_For_Choice(File, Result);
  Require_Result(File, Result);
}

Calibration_Result Read_For_Export(const fs::path& File, const std::string& Solution) {
  Calibration_Result Result = Read_Result(File);
  const auto Choice = Solution_Named(Solution);
  if (Choice) Result.Inputs.Solution = *Choice;
  Require_Export(File.string(), Result, Choice.has_value());
  return Result;
}

std::string Doubts_Of(const Calibration_Result& Result) {
  if (Result.Opinion && Result.Opinion->Judgement != Verdict::Agree) return Doubts_Text(Result);
  return Is_Usable(Result) ? "" : "this result must not be used: " + Result.Message;
}

void Warn_Of_Doubts(const Calibration_Result& Result) {
  const std::string Doubts = Doubts_Of(Result);
  if (!Doubts.empty()) Warn(Doubts);
}

int Print_Export(const Engine& Target, const Calibration_Result& Result,
                 const std::optional<Tracker_Axes>& Axes, const fs::path& Log_Folder,
                 bool As_Json) {
  const Tracker_Axes Object_Axes = Axes.value_or(Target.Library_Axes);
  const Run_Logs Earlier_Logs = List_Run_Logs(Log_Folder);
  Engine_Export Fields;
  {
    const Quiet_Output Quiet(/*Quiet=*/true);
    Fields = Export_With_Axes(Target, Result, Axes, Log_Folder.string());
  }
  if (As_Json) {
    const bool Usable = Is_Usable(Result) && Fields.Code == 0 && Is_Finite(Fields);
    Print(Export_Json(Target, Fields, Object_Axes, Result.Inputs.Solution, Usable,
                      Run_Log_Since(Earlier_Logs, Log_Folder)));
  } else if (Fields.Code == 0) {
    Print_Fields(Target, Fields, Object_Axes, Result.Inputs.Solution);
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

}  // namespace rigsync
