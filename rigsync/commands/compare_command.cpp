// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync compare': a calibration of a simulated capture beside its truth.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/transform_difference.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/system/usage_error.h"
#include "simulate/simulate.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <stdexcept>

namespace rigsync {
namespace {

constexpr const char* Footer =
    R"(Exit status: 0 when both differences are within the bounds, 1 when one isn't,
2 for wrong usage.

Example:
  rigsync compare result/result.json capture/truth.json)";

struct Typed {
  std::string Result, Truth;
  std::string Max_Offset = "5mm", Max_Angle = "0.3";
};

// In the form that results have: row by row.
std::vector<double> Flat(const Eigen::Matrix4d& Transform) {
  std::vector<double> Elements;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Elements.push_back(Transform(r, c));
  }
  return Elements;
}

simulate::Truth Read_Truth_Of(const std::string& File) {
  try {
    return simulate::Read_Truth(File);
  } catch (const std::runtime_error&) {
    // What it says is the JSON reader's, which tells a person nothing.
    throw Usage_Error(File +
                      ": can't be read as a truth; expected a truth.json that 'rigsync simulate' "
                      "wrote");
  }
}

void Print_Lenses(const Calibration_Result& Result, const simulate::Truth& Truth) {
  if (Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty() || Result.Image_Size.empty()) return;
  const double Width = Result.Image_Size[0], Height = Result.Image_Size[1];
  const auto Line = [](const char* Name, double Solved, double True) {
    fmt::print("  {:<18}{:14.3f}{:14.3f}{:14.3f} pixels\n", Name, Solved, True, Solved - True);
  };
  fmt::print("{:<20}{:>14}{:>14}{:>14}\n", "Lens", "solved", "true", "difference");
  Line("focal length x", Result.Norm_Fxy[0] * Width, Truth.True_Lens.Fx);
  Line("focal length y", Result.Norm_Fxy[1] * Height, Truth.True_Lens.Fy);
  Line("principal point x", Result.Norm_Cxy[0] * Width, Truth.True_Lens.Cx);
  Line("principal point y", Result.Norm_Cxy[1] * Height, Truth.True_Lens.Cy);
  fmt::print("\n");
}

// The bounds. One that every result is within, as millimetres without their unit are, is refused.
double Read_Max_Mm(const Typed& Given) {
  const double Metres = Parse_Length("--max-offset", Given.Max_Offset);
  if (!(Metres >= 0.0) || Metres > 1.0) {
    Refuse("--max-offset", Given.Max_Offset,
           "a length from 0 to 1 metre, for example 5mm (a number without a unit is in metres)");
  }
  return Metres * 1000.0;
}

double Read_Max_Deg(const Typed& Given) {
  const double Degrees = Parse_Angle("--max-angle", Given.Max_Angle);
  if (!(Degrees >= 0.0) || Degrees >= 180.0) {
    Refuse("--max-angle", Given.Max_Angle, "an angle from 0 to below 180 degrees, for example 0.3");
  }
  return Degrees;
}

int Compare(const Typed& Given) {
  const double Max_Mm = Read_Max_Mm(Given);
  const double Max_Deg = Read_Max_Deg(Given);
  const Calibration_Result Result = Read_Result(Given.Result);
  const std::vector<double> True = Flat(Read_Truth_Of(Given.Truth).Transform_Cam_Tc);
  const std::vector<double>& Solved = Result.Transform_Cam_Tc;
  if (Solved.empty()) {
    throw Usage_Error(fmt::format("{} holds no transform: {}", Given.Result, Result.Message));
  }

  Print_Lenses(Result, Read_Truth_Of(Given.Truth));
  fmt::print("{:<40}{}\n", "Transform_Cam_Tc, solved", "true (translations in metres)");
  for (int r = 0; r < 3; ++r) fmt::print("{}    {}\n", Row_Text(Solved, r), Row_Text(True, r));

  const std::vector<double> Offset = Translation_Difference_Mm(Solved, True);
  const double Distance = std::hypot(Offset[0], Offset[1], Offset[2]);
  const double Angle = Rotation_Difference_Deg(Solved, True);
  fmt::print("\nDifference\n");
  fmt::print("  translation {:10.3f} mm   (x {:.3f}, y {:.3f}, z {:.3f}; bound {:g})\n", Distance,
             Offset[0], Offset[1], Offset[2], Max_Mm);
  fmt::print("  rotation    {:10.4f} deg  (bound {:g})\n", Angle, Max_Deg);
  // Written as "within", so that a difference that is no number is outside.
  const bool Within = Distance <= Max_Mm && Angle <= Max_Deg;
  fmt::print("  {}\n", Within ? "Within the bounds." : "BEYOND the bounds.");
  return Within ? Exit_Success : Exit_Beyond_Bound;
}

}  // namespace

void Add_Compare_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "compare", "Compare a calibration of a simulated capture with the truth.");
  const auto Given = std::make_shared<Typed>();
  Command->add_option("RESULT", Given->Result, "result.json of 'rigsync calibrate'")->required();
  Command->add_option("TRUTH", Given->Truth, "truth.json of 'rigsync simulate'")->required();
  Command->add_option("--max-offset", Given->Max_Offset, "bound of the translation's difference")
      ->type_name("LENGTH")
      ->capture_default_str();
  Command->add_option("--max-angle", Given->Max_Angle, "bound of the rotation's difference")
      ->type_name("DEG")
      ->capture_default_str();
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Line, Given] { Line.Action = [Given] { return Compare(*Given); }; });
}

}  // namespace rigsync
