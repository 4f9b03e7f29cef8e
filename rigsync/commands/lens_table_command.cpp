// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync lens-table': the results of one zoom lens as a table by focus and zoom, checked, and as
// a lens file.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/lens_table.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/engine_output.h"
#include "rigsync/commands/output_file.h"
#include "rigsync/engine/tracker_axes.h"
#include "rigsync/exports/unreal_lens_script.h"
#include "rigsync/formats/lens_table_file.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/units.h"
#include "rigsync/report/lens_table_text.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Lens_Table_Footer =
    R"(Calibrate each position of the lens without touching the tracker on the camera,
then give all results. The mounts may differ along the optical axis only;
otherwise the tracker was moved in between. docs/lens-table.md has an example.

Without --at, zoom is the solved focal length in mm, for which the sensor's size
has to be known, and focus is 0. With --to, the file is written if the results
make one table.

Exit status: 0 when the results make one table, 1 when they don't, 2 for wrong
usage.

Example:
  rigsync lens-table wide tele --at 0.5,24 --at 0.5,70
  rigsync lens-table wide tele --to unreal-lens -o lens.py)";

// The command line as typed.
struct Table_Arguments {
  std::vector<std::string> Results, Positions;
  std::string Target, Output, Solution, Axes, Sensor;
  std::string Limits = "3mm,0.3deg";
  bool Prints_Json = false;
};

using Sensor_Size = std::optional<std::array<double, 2>>;

// ---- Results -----------------------------------------------------------------------------------

// The same file, whatever the paths.
void Refuse_Same(const fs::path& First, const fs::path& Second) {
  std::error_code Is_Missing;
  const bool Is_Same =
      First == Second || (fs::equivalent(First, Second, Is_Missing) && !Is_Missing);
  if (!Is_Same) return;
  const std::string As = First == Second ? "" : ", also as " + Second.string();
  throw Usage_Error("RESULT", fmt::format("RESULT: {} is given twice{}", First.string(), As));
}

std::vector<fs::path> Files_Of(const std::vector<std::string>& Typed) {
  if (Typed.size() < 2) {
    throw Usage_Error("RESULT",
                      "RESULT: a table needs two results or more; 'rigsync export --to "
                      "unreal-lens' writes the lens file of one");
  }
  std::vector<fs::path> Files;
  for (const std::string& Name : Typed) {
    const fs::path File = Result_File(Name);
    for (const fs::path& Earlier : Files) Refuse_Same(Earlier, File);
    Files.push_back(File);
  }
  return Files;
}

// Warns of those that are doubtful by their own verdict.
std::vector<Calibration_Result> Read_Results(const std::vector<fs::path>& Files,
                                             const std::string& Solution) {
  std::vector<Calibration_Result> Results;
  for (const fs::path& File : Files) {
    Results.push_back(Read_For_Export(File, Solution));
    const std::string Doubts = Doubts_Of(Results.back());
    if (!Doubts.empty()) Warn(File.string() + ": " + Doubts);
  }
  return Results;
}

void Require_One_Size(const std::vector<fs::path>& Files,
                      const std::vector<Calibration_Result>& Results) {
  for (std::size_t i = 1; i < Results.size(); ++i) {
    const std::vector<double>&First = Results[0].Image_Size, &Size = Results[i].Image_Size;
    if (Size == First) continue;
    throw Usage_Error(
        "RESULT",
        fmt::format("RESULT: the images of {} have {:g} x {:g} pixels and those of "
                    "{} {:g} x {:g}; one table needs one size",
                    Files[0].string(), First[0], First[1], Files[i].string(), Size[0], Size[1]));
  }
}

// The one that is stated here, or that the results know: those that know one have the same.
Sensor_Size Sensor_Of(const std::string& Typed, const std::vector<fs::path>& Files,
                      const std::vector<Calibration_Result>& Results) {
  if (!Typed.empty()) return Parse_Sensor("--sensor", Typed);
  std::optional<std::size_t> Known;
  for (std::size_t i = 0; i < Results.size(); ++i) {
    const Sensor_Size& Sensor = Results[i].Inputs.Sensor_Size_Mm;
    if (!Sensor) continue;
    if (!Known) Known = i;
    const Sensor_Size& First = Results[*Known].Inputs.Sensor_Size_Mm;
    if (*Sensor == *First) continue;
    throw Usage_Error(
        "--sensor",
        fmt::format("--sensor: {} has {:g}x{:g} mm and {} {:g}x{:g} mm; say which is right",
                    Files[*Known].string(), (*First)[0], (*First)[1], Files[i].string(),
                    (*Sensor)[0], (*Sensor)[1]));
  }
  return Known ? Results[*Known].Inputs.Sensor_Size_Mm : std::nullopt;
}

// ---- Positions ---------------------------------------------------------------------------------

std::vector<Lens_Position> Stated_Positions(const std::vector<std::string>& Typed,
                                            const std::vector<fs::path>& Files) {
  if (Typed.size() != Files.size()) {
    throw Usage_Error("--at", fmt::format("--at: {} for {} results; say FOCUS,ZOOM once for each, "
                                          "in their order",
                                          Typed.size(), Files.size()));
  }
  std::vector<Lens_Position> Positions;
  for (std::size_t i = 0; i < Typed.size(); ++i) {
    const std::array<double, 2> Pair = Parse_Pair("--at", Typed[i]);
    for (std::size_t k = 0; k < i; ++k) {
      if (Positions[k].Focus != Pair[0] || Positions[k].Zoom != Pair[1]) continue;
      throw Usage_Error(
          "--at", fmt::format("--at {}: {} and {} can't be at the same focus and zoom", Typed[i],
                              Files[k].string(), Files[i].string()));
    }
    Positions.push_back({Pair[0], Pair[1]});
  }
  return Positions;
}

// A lens that is refocused changes its focal length by a few percent, so two that are nearer may
// be one zoom at two focuses.
void Refuse_Near_Zooms(const std::vector<Lens_Position>& Positions,
                       const std::vector<fs::path>& Files) {
  constexpr double Most_By_Focus = 0.05;
  for (std::size_t i = 0; i < Positions.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      if (std::abs(Positions[i].Zoom / Positions[k].Zoom - 1.0) > Most_By_Focus) continue;
      throw Usage_Error(
          "--at",
          fmt::format("--at: {} and {} have nearly the same focal length, {:g} and {:g} "
                      "mm; say focus and zoom of each result, for example --at 0.5,24",
                      Files[k].string(), Files[i].string(), Positions[k].Zoom, Positions[i].Zoom));
    }
  }
}

// Zoom is the focal length in millimetres, to two decimals.
std::vector<Lens_Position> Solved_Positions(const std::vector<Calibration_Result>& Results,
                                            const std::vector<fs::path>& Files,
                                            const Sensor_Size& Sensor_Mm) {
  if (!Sensor_Mm) {
    throw Usage_Error("--at",
                      "--at: say focus and zoom of each result, for example --at 0.5,24, or the "
                      "sensor's size with --sensor: then zoom is the focal length in mm");
  }
  std::vector<Lens_Position> Positions;
  for (const Calibration_Result& Result : Results) {
    const double Focal_Mm = Result.Norm_Fxy[0] * (*Sensor_Mm)[0];
    Positions.push_back({0.0, std::round(Focal_Mm * 100.0) / 100.0});
  }
  Refuse_Near_Zooms(Positions, Files);
  return Positions;
}

// ---- The command -------------------------------------------------------------------------------

void Check_Output_Flags(const Table_Arguments& Arguments) {
  const auto Needs = [](const std::string& Flag, const std::string& Other, bool Is_Missing) {
    if (Is_Missing) throw Usage_Error(Flag, fmt::format("{} needs {}", Flag, Other));
  };
  Needs("--output", "--to, which says what file to write",
        !Arguments.Output.empty() && Arguments.Target.empty());
  Needs("--to", "--output, the file to write",
        !Arguments.Target.empty() && Arguments.Output.empty());
  Needs("--tracker-axes", "--to: the table itself has no axes",
        !Arguments.Axes.empty() && Arguments.Target.empty());
}

// Labels are known where all results know them.
Body_Labels Labels_Of(const std::vector<Calibration_Result>& Results) {
  const bool Are_Known =
      std::all_of(Results.begin(), Results.end(), [](const Calibration_Result& Result) {
        return Result.Inputs.Camera_Labels == Body_Labels::Right_Forward_Up;
      });
  return Are_Known ? Body_Labels::Right_Forward_Up : Body_Labels::Unknown;
}

std::string Script_Of(const Lens_Table& Table, const std::optional<Tracker_Axes>& Axes,
                      const Sensor_Size& Sensor_Mm) {
  std::vector<Lens_File_Point> Points;
  for (const Lens_Table_Row& Row : Table.Rows) {
    Points.push_back({Row.Of.File, *Row.Of.Result, Row.Of.At, Doubts_Of(*Row.Of.Result)});
  }
  const File_Text Written = Unreal_Lens_Script(Points, Axes, Sensor_Mm);
  for (const std::string& Warning : Written.Warnings) Warn(Warning);
  return Written.Text;
}

// The results of the command line, and what is stated of them.
struct Stated_Results {
  std::vector<fs::path> Files;
  std::vector<Calibration_Result> Results;
  Sensor_Size Sensor_Mm;
  std::optional<Tracker_Axes> Axes;
};

Stated_Results Read_Stated(const Table_Arguments& Arguments) {
  Stated_Results Stated;
  Stated.Files = Files_Of(Arguments.Results);
  Stated.Results = Read_Results(Stated.Files, Arguments.Solution);
  Require_One_Size(Stated.Files, Stated.Results);
  Stated.Sensor_Mm = Sensor_Of(Arguments.Sensor, Stated.Files, Stated.Results);
  if (!Arguments.Axes.empty()) {
    Stated.Axes = Parse_Tracker_Axes("--tracker-axes", Arguments.Axes,
                                     Engine_Space::Left_Handed_Z_Up, Labels_Of(Stated.Results));
  }
  return Stated;
}

// Refers to the results of Stated.
Lens_Table Table_Of(const Table_Arguments& Arguments, const Stated_Results& Stated) {
  const Length_And_Angle Limits = Parse_Length_And_Angle("--limits", Arguments.Limits);
  const std::vector<Lens_Position> Positions =
      Arguments.Positions.empty() ? Solved_Positions(Stated.Results, Stated.Files, Stated.Sensor_Mm)
                                  : Stated_Positions(Arguments.Positions, Stated.Files);
  std::vector<Lens_Table_Input> Inputs;
  for (std::size_t i = 0; i < Stated.Files.size(); ++i) {
    Inputs.push_back({Stated.Files[i], &Stated.Results[i], Positions[i]});
  }
  const double Sensor_Width_Mm =
      Stated.Sensor_Mm ? (*Stated.Sensor_Mm)[0] : std::numeric_limits<double>::quiet_NaN();
  return Make_Lens_Table(Inputs, Sensor_Width_Mm, {Mm_In_Metre * Limits.Length, Limits.Angle_Deg});
}

int Print_Table(const Table_Arguments& Arguments) {
  Check_Output_Flags(Arguments);
  const Stated_Results Stated = Read_Stated(Arguments);
  for (std::size_t i = 0; i < Stated.Files.size() && !Arguments.Output.empty(); ++i) {
    Refuse_Result_As_Output(Arguments.Output, Stated.Files[i], Stated.Results[i]);
  }
  const Lens_Table Table = Table_Of(Arguments, Stated);
  const bool Is_Good = Agrees(Table), Has_Target = !Arguments.Target.empty();
  if (Has_Target && Is_Good) {
    Write_Output(Arguments.Output, Script_Of(Table, Stated.Axes, Stated.Sensor_Mm));
  }
  Print(Arguments.Prints_Json ? Lens_Table_Json(Table, Disagreement_Texts(Table))
                              : Lens_Table_Text(Table, Uses_Colour(stdout)));
  if (Has_Target && Is_Good && !Arguments.Prints_Json) {
    Print(fmt::format("\nUnreal Engine, LensFile: {}\n", Arguments.Output));
  }
  if (Has_Target && !Is_Good) {
    Complain(fmt::format("--output: {} is not written", Arguments.Output));
  }
  return Is_Good ? Exit_Success : Exit_Beyond_Bound;
}

}  // namespace

void Add_Lens_Table_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("lens-table", "Make one table of the results of a zoom lens.");
  const auto Arguments = std::make_shared<Table_Arguments>();
  Command
      ->add_option("RESULT", Arguments->Results,
                   "result.json of each position of the lens, or the folder that has it")
      ->required();
  Command
      ->add_option("--at", Arguments->Positions,
                   "focus and zoom of a result; once for each, in their order (default: zoom is "
                   "the focal length in mm)")
      ->type_name("FOCUS,ZOOM")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  Require_Choice(
      Line,
      Command->add_option("--to", Arguments->Target, "write the table as a file too: unreal-lens"),
      {"unreal-lens"})
      ->type_name("TARGET");
  Require_Value(Command->add_option("-o,--output", Arguments->Output, "the file to write"))
      ->type_name("FILE");
  Require_Value(
      Command->add_option("--tracker-axes", Arguments->Axes,
                          "axes of the engine's tracker object: as-tracked, z-up, y-up or z,-x,y"))
      ->type_name("AXES");
  Require_Value(Command->add_option("--sensor", Arguments->Sensor,
                                    "sensor size in mm (default: that of the calibrations)"))
      ->type_name("WxH");
  Require_Choice(Line,
                 Command->add_option("--solution", Arguments->Solution,
                                     "library or joint: whose mounts to take (default: those that "
                                     "are the results)"),
                 {"library", "joint"})
      ->type_name("SOLUTION");
  Command
      ->add_option("--limits", Arguments->Limits,
                   "how far the mounts may differ across the optical axis, and in rotation")
      ->type_name("LENGTH,DEG")
      ->capture_default_str();
  Command->add_flag("--json", Arguments->Prints_Json, "print the table as JSON");
  Command->group("Commands");
  Command->footer(Lens_Table_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Print_Table(*Arguments); }; });
}

}  // namespace rigsync
