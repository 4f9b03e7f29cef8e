// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export': a solved mount as the numbers that a render engine's fields take.
#include "host/arguments.h"
#include "host/codes.h"
#include "host/command.h"
#include "host/plain_path.h"
#include "host/quiet_output.h"
#include "host/result_file.h"
#include "host/run_folder.h"
#include "host/run_log_file.h"
#include "host/text.h"
#include "rigsync_core.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

namespace host {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

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

// Some of an engine's fields that belong together, in the engine's order.
struct Field_Group {
  std::string Label;  // on the terminal
  std::string Key;    // in JSON, with the unit in the name
  std::string Unit;
  std::vector<std::string> Names;
  std::vector<double> Values;
};

struct Exported {
  int Code = 0;
  std::vector<Field_Group> Groups;
};

struct Engine {
  std::string Name;
  std::string Title;
  std::string Axes;  // of the camera in the exported pose
  Exported (*Call)(const Calibration_Result& Result, const std::string& Out);
};

// Each call hands the library fresh vectors: it appends to what it is given.
Exported Call_UE4(const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> Rotation, Location;
  const int Code = CamAxisToUE4(Result.Transform_Cam_Tc, Rotation, Location, Out);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Rotation", "rotation_deg", "deg", {"Roll", "Pitch", "Yaw"}, Rotation}}};
}

using UE5_Call = int (*)(std::vector<double>, std::vector<double>&, std::vector<double>&,
                         std::string);

Exported Call_UE5_Form(UE5_Call Call, const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> Quaternion, Location;
  const int Code = Call(Result.Transform_Cam_Tc, Quaternion, Location, Out);
  return {Code,
          {{"Location", "location_cm", "cm", {"X", "Y", "Z"}, Location},
           {"Quaternion", "quaternion", "", {"X", "Y", "Z", "W"}, Quaternion}}};
}

Exported Call_UE5(const Calibration_Result& Result, const std::string& Out) {
  return Call_UE5_Form(CamAxisToUE5, Result, Out);
}

Exported Call_UE5_ExportxN(const Calibration_Result& Result, const std::string& Out) {
  return Call_UE5_Form(CamAxisToUE5_ExportxN, Result, Out);
}

Exported Call_Aximmetry(const Calibration_Result& Result, const std::string& Out) {
  std::vector<double> FoV, Centre_Shift, Rotation, Position;
  const int Code = CamAxisToAximmetry(Result.Norm_Fxy, Result.Norm_Cxy, Result.Transform_Cam_Tc,
                                      FoV, Centre_Shift, Rotation, Position, Out);
  return {Code,
          {{"Position", "position_cm", "cm", {"X", "Y", "Z"}, Position},
           {"Rotation", "rotation_deg", "deg", {"X", "Y", "Z"}, Rotation},
           {"Field of view", "field_of_view_deg", "deg", {"Horizontal"}, FoV},
           {"Centre shift", "centre_shift", "of the image side", {"X", "Y"}, Centre_Shift}}};
}

const std::vector<Engine>& Engines() {
  static const std::vector<Engine> All = {
      {"ue4", "Unreal Engine 4", "camera axes: x along its view, y right, z up; left-handed",
       Call_UE4},
      {"ue5", "Unreal Engine 5", "camera axes: x right, y down, z along its view; right-handed",
       Call_UE5},
      {"ue5-xn", "Unreal Engine 5, ExportxN axes",
       "camera axes: x up, y along its view, z left; right-handed", Call_UE5_ExportxN},
      {"aximmetry", "Aximmetry", "camera axes: x right, y up, z along its view; left-handed",
       Call_Aximmetry},
  };
  return All;
}

const Engine& Engine_Named(const std::string& Name) {
  std::string Expected;
  for (const Engine& Known : Engines()) {
    if (Known.Name == Name) return Known;
    Expected += (Expected.empty() ? "" : ", ") + Known.Name;
  }
  Refuse("--to", Name, "one of " + Expected);
}

// Numbers with as many digits as it takes to read the same double back; null where one isn't
// finite, or where the library gave none. "code" is that of the export: Usable tells whether the
// calibration was good too.
void Print_Json(const Engine& To, const Exported& Result, bool Usable, const fs::path& Run_Log) {
  Json Root;
  Root["engine"] = To.Name;
  Root["code"] = Result.Code;
  Root["usable"] = Usable;
  Root["message"] = Result.Code == 0 ? "Exported." : Advice_For(Result.Code).Meaning;
  for (const Field_Group& Group : Result.Groups) {
    Json& Values = Root[Group.Key];  // null until something is put in
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      Values[Lower_Case(Group.Names[i])] = Group.Values[i];
    }
  }
  Root["run_log"] = Run_Log.empty() ? Json(nullptr) : Json(Plain_Path(Run_Log).string());
  fmt::print("{}\n", Root.dump(2, ' ', false, Json::error_handler_t::replace));
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

bool All_Finite(const Exported& Result) {
  for (const Field_Group& Group : Result.Groups) {
    for (const double Value : Group.Values) {
      if (!std::isfinite(Value)) return false;
    }
  }
  return true;
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
    Print_Json(To, Values, Usable, Run_Log_Since(Logs_Before, Out));
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

void Add_Export_Command(CLI::App& Program, Chosen_Command& Chosen) {
  CLI::App* Command =
      Program.add_subcommand("export", "Print a result as a render engine's fields take it.");
  const auto Given = std::make_shared<Typed>();
  Command->add_option("RESULT", Given->Result, "result.json of 'rigsync calibrate'")->required();
  std::vector<std::string> Names;
  for (const Engine& Known : Engines()) Names.push_back(Known.Name);
  Offer(Command->add_option("--to", Given->Engine, "ue4, ue5, ue5-xn or aximmetry"), Names)
      ->required()
      ->type_name("ENGINE");
  Command->add_option("--out", Given->Out, "folder for the run log (default: RESULT's folder)")
      ->type_name("DIR");
  Command->add_flag("--json", Given->Json,
                    "print JSON, digits in full; 'usable' tells whether the result is good");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Chosen, Given] { Chosen = [Given] { return Export(*Given); }; });
}

}  // namespace host
