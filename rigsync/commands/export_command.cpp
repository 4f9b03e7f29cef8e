// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export': a solved mount as the numbers that a render engine's fields take.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/command_line/command.h"
#include "rigsync/formats/engine_fields.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(Each export tells where the camera is, as seen from its tracker. docs/engines.md
tells for each engine which axes that is in and which field takes which number.

Exit status: the library's code (0 good, 3 gimbal lock, ue4 only), 2 for wrong
usage, 70 for an exception.

Example:
  rigsync export result/result.json --to ue5
  rigsync export result/result.json --to aximmetry --json)";

struct Typed {
  std::string Result, Engine, Out;
  bool Json = false;
};

// The command line holds the name of one.
const Engine& Engine_Named(const std::string& Name) {
  const auto Is_Named = [&](const Engine& Known) { return Known.Name == Name; };
  return *std::find_if(Engines().begin(), Engines().end(), Is_Named);
}

// Six decimals, and no sign in front of what is zero in them.
std::string Decimal_Text(double Value) {
  const std::string Text = fmt::format("{:.6f}", Value);
  return Text == "-0.000000" ? "0.000000" : Text;
}

void Print_Fields(const Engine& To, const Exported& Result) {
  fmt::print("{}: the camera as seen from its tracker\n  {}\n", To.Title, To.Axes);
  for (const Field_Group& Group : Result.Groups) {
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      fmt::print("  {:<15}{:<12}{:>14}{}{}\n", i == 0 ? Group.Label : "", Group.Names[i],
                 Decimal_Text(Group.Values[i]), Group.Unit.empty() ? "" : " ", Group.Unit);
    }
  }
}

fs::path Out_Folder(const Typed& Given) {
  if (Given.Out.empty()) return fs::absolute(Given.Result).parent_path();
  return Make_Out_Folder("--out", Given.Out, /*Needed_Bytes=*/0, "the run log");
}

void Require_Exportable(const Typed& Given, const Calibration_Result& Result) {
  if (Result.Transform_Cam_Tc.empty() || Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty()) {
    throw Usage_Error(fmt::format("{} holds no result to export: {}", Given.Result,
                                  Result.Message.empty() ? "it was left empty" : Result.Message));
  }
  if (!Is_Usable(Result)) {
    Warn("this result is not fit for use: " + Result.Message);
  }
}

int Export(const Typed& Given) {
  const Engine& To = Engine_Named(Given.Engine);
  const Calibration_Result Result = Read_Result(Given.Result);
  Require_Exportable(Given, Result);
  const fs::path Out = Out_Folder(Given);
  const Run_Logs Logs_Before = List_Run_Logs(Out);
  Exported Values;
  {
    const Quiet_Output Quiet(/*Quiet=*/true);
    Values = To.Call(Result, Out.string());
  }
  if (Given.Json) {
    const bool Usable = Is_Usable(Result) && Values.Code == 0 && All_Finite(Values);
    Print(Export_Json(To, Values, Usable, Run_Log_Since(Logs_Before, Out)));
  } else if (Values.Code == 0) {
    Print_Fields(To, Values);
  }
  std::fflush(stdout);
  if (Values.Code != 0) {
    const Code_Advice Advice = Advice_For(Values.Code);
    Complain(fmt::format("code {}. {} {}", Advice.Code, Advice.Meaning, Advice.Next_Step));
  } else if (!All_Finite(Values)) {
    Warn("the export holds numbers that are not finite. Don't use it.");
  }
  return Values.Code;
}

}  // namespace

void Add_Export_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("export", "Print a result as a render engine's fields take it.");
  const auto Given = std::make_shared<Typed>();
  Command->add_option("RESULT", Given->Result, "result.json of 'rigsync calibrate'")->required();
  std::vector<std::string> Names;
  for (const Engine& Known : Engines()) Names.push_back(Known.Name);
  Require_Choice(Line, Command->add_option("--to", Given->Engine, "ue4, ue5, ue5-xn or aximmetry"),
                 Names)
      ->required()
      ->type_name("ENGINE");
  Command->add_option("--out", Given->Out, "folder for the run log (default: RESULT's folder)")
      ->type_name("DIR");
  Command->add_flag("--json", Given->Json,
                    "print JSON, digits in full; 'usable' tells whether the result is good");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Line, Given] { Line.Action = [Given] { return Export(*Given); }; });
}

}  // namespace rigsync
