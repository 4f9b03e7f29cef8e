// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync compare': compares the calibration of a simulated capture with ground truth.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_difference.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/solve/rigid_motion.h"
#include "rigsync/system/usage_error.h"
#include "simulate/simulate.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <stdexcept>

namespace rigsync {
namespace {

constexpr const char* Footer =
    R"(Exit status: 0 when both differences are within their bounds, 1 when one is
beyond, 2 for wrong usage. The last line says whether the truth is inside the
uncertainty of the joint solution; it has no status of its own.

Example:
  rigsync compare result/result.json capture/truth.json)";

// The command line as typed.
struct Compare_Arguments {
  std::string Result_File, Truth_File;
  std::string Max_Offset = "5mm", Max_Angle = "0.3";
};

// The exception's text comes from the JSON library and would not help the user.
simulate::Truth Read_Truth_File(const std::string& File) {
  try {
    return simulate::Read_Truth(File);
  } catch (const std::runtime_error&) {
    throw Usage_Error(
        File +
        ": can't be read as ground truth; expected a truth.json that 'rigsync simulate' wrote");
  }
}

void Print_Lens_Comparison(const Calibration_Result& Result, const simulate::Truth& Truth) {
  if (Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty() || Result.Image_Size.empty()) return;
  const double Width = Result.Image_Size[0], Height = Result.Image_Size[1];
  const auto Print_Line = [](const char* Name, double Solved, double Truth_Value) {
    fmt::print("  {:<18}{:14.3f}{:14.3f}{:14.3f} pixels\n", Name, Solved, Truth_Value,
               Solved - Truth_Value);
  };
  fmt::print("{:<20}{:>14}{:>14}{:>14}\n", "Lens", "solved", "true", "difference");
  Print_Line("focal length x", Result.Norm_Fxy[0] * Width, Truth.True_Lens.Fx);
  Print_Line("focal length y", Result.Norm_Fxy[1] * Height, Truth.True_Lens.Fy);
  Print_Line("principal point x", Result.Norm_Cxy[0] * Width, Truth.True_Lens.Cx);
  Print_Line("principal point y", Result.Norm_Cxy[1] * Height, Truth.True_Lens.Cy);
  fmt::print("\n");
}

// The limit of 1 m catches millimetres without their unit, which no difference would exceed.
double Read_Max_Mm(const std::string& Text) {
  const double Metres = Parse_Length("--max-offset", Text);
  if (!(Metres >= 0.0) || Metres > 1.0) {
    Refuse("--max-offset", Text,
           "a length from 0 to 1 metre, for example 5mm (a number without a unit is in metres)");
  }
  return Metres * 1000.0;
}

double Read_Max_Deg(const std::string& Text) {
  const double Degrees = Parse_Angle("--max-angle", Text);
  if (!(Degrees >= 0.0) || Degrees >= 180.0) {
    Refuse("--max-angle", Text, "an angle from 0 to below 180 degrees, for example 0.3");
  }
  return Degrees;
}

// Prints the two transforms and their differences. Returns whether these are within the bounds.
bool Print_Transform_Comparison(const std::vector<double>& Solved,
                                const std::vector<double>& True_Transform, double Max_Mm,
                                double Max_Deg) {
  fmt::print("{:<40}{}\n", "Transform_Cam_Tc, solved", "true (translations in metres)");
  for (int r = 0; r < 3; ++r) {
    fmt::print("{}    {}\n", Transform_Row_Text(Solved, r), Transform_Row_Text(True_Transform, r));
  }
  const std::vector<double> Offset_Mm = Translation_Difference_Mm(Solved, True_Transform);
  const double Distance_Mm = std::hypot(Offset_Mm[0], Offset_Mm[1], Offset_Mm[2]);
  const double Angle_Deg = Rotation_Difference_Deg(Solved, True_Transform);
  fmt::print("\nDifference\n");
  fmt::print("  translation {:10.3f} mm   (x {:.3f}, y {:.3f}, z {:.3f}; bound {:g})\n",
             Distance_Mm, Offset_Mm[0], Offset_Mm[1], Offset_Mm[2], Max_Mm);
  fmt::print("  rotation    {:10.4f} deg  (bound {:g})\n", Angle_Deg, Max_Deg);
  // Compared with <= so that NaN is beyond the bounds.
  const bool Is_Within_Bounds = Distance_Mm <= Max_Mm && Angle_Deg <= Max_Deg;
  fmt::print("  {}\n", Is_Within_Bounds ? "Within the bounds." : "BEYOND the bounds.");
  return Is_Within_Bounds;
}

// Whether the stated uncertainty of the joint mount holds the truth: its 95 % region, of all six
// numbers together.
void Print_Uncertainty_Comparison(const Calibration_Result& Result, const simulate::Truth& Truth) {
  if (!Result.Solved || Result.Solved->Joint.Status != Solve_Status::Solved) return;
  const Joint_Solution& Joint = Result.Solved->Joint;
  constexpr double Stated_Part = 0.95;
  const Vector6d Motion =
      Motion_Between(Joint.At.Transform_Cam_Tc, Eigen::Isometry3d(Truth.Transform_Cam_Tc));
  const bool Is_Within = Joint.Camera_Mount.Probability_Nearer(Motion) <= Stated_Part;
  fmt::print("  Joint solution: {:.3f} mm and {:.4f} deg off, {} its 95 % uncertainty.\n",
             1000.0 * Motion.tail<3>().norm(), Degrees_Per_Radian * Motion.head<3>().norm(),
             Is_Within ? "within" : "BEYOND");
}

int Compare(const Compare_Arguments& Arguments) {
  const double Max_Mm = Read_Max_Mm(Arguments.Max_Offset);
  const double Max_Deg = Read_Max_Deg(Arguments.Max_Angle);
  const Calibration_Result Result = Read_Result(Arguments.Result_File);
  const simulate::Truth Truth = Read_Truth_File(Arguments.Truth_File);
  const std::vector<double>& Transform_Cam_Tc = Chosen_Transform_Cam_Tc(Result);
  if (Transform_Cam_Tc.empty()) {
    throw Usage_Error(
        fmt::format("{} has no transform: {}", Arguments.Result_File, Result.Message));
  }
  Require_Finite_Mount(Arguments.Result_File, Transform_Cam_Tc);
  Print_Lens_Comparison(Result, Truth);
  const bool Is_Within_Bounds = Print_Transform_Comparison(
      Transform_Cam_Tc, List_From_Matrix(Truth.Transform_Cam_Tc), Max_Mm, Max_Deg);
  Print_Uncertainty_Comparison(Result, Truth);
  return Is_Within_Bounds ? Exit_Success : Exit_Beyond_Bound;
}

}  // namespace

void Add_Compare_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "compare", "Compare a calibration of a simulated capture with ground truth.");
  const auto Arguments = std::make_shared<Compare_Arguments>();
  Command->add_option("RESULT", Arguments->Result_File, "result.json of 'rigsync calibrate'")
      ->required();
  Command->add_option("TRUTH", Arguments->Truth_File, "truth.json of 'rigsync simulate'")
      ->required();
  Command->add_option("--max-offset", Arguments->Max_Offset, "bound of the translation difference")
      ->type_name("LENGTH")
      ->capture_default_str();
  Command->add_option("--max-angle", Arguments->Max_Angle, "bound of the rotation difference")
      ->type_name("DEG")
      ->capture_default_str();
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Compare(*Arguments); }; });
}

}  // namespace rigsync
