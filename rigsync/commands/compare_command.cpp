// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync compare': compares a result with an earlier one of the same rig, or the result of a
// simulated capture with ground truth.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/drift.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/formats/drift_file.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_difference.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/report/drift_text.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/solve/rigid_motion.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/usage_error.h"
#include "simulate/simulate.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <stdexcept>

namespace rigsync {
namespace {

constexpr const char* Compare_Footer =
    R"(With the result.json of an earlier day as reference: how lens and mount differ,
in millimetres, degrees and pixels, whether the uncertainty of both explains it,
and what probably happened. With the truth.json of 'rigsync simulate': how far
the result is from the truth, and whether that is inside the uncertainty of the
joint solution.

Exit status: 0 when the differences of the mount are within --max-offset and
--max-angle, and for two results the picture within --max-pixels; 1 when one is
beyond; 2 for wrong usage. The uncertainty has no status of its own.

Example:
  rigsync compare today yesterday
  rigsync compare result/result.json capture/truth.json)";

// The command line as typed.
struct Compare_Arguments {
  std::string Result_File, Reference_File;
  std::string Max_Offset = "5mm", Max_Angle = "0.3", Max_Pixels = "8";
  bool Is_Json = false;
};

// The exception's text comes from the JSON library and would not help the user.
simulate::Truth Read_Truth_File(const std::string& File) {
  try {
    return simulate::Read_Truth(File);
  } catch (const std::runtime_error&) {
    throw Usage_Error(
        File +
        ": can't be read as ground truth; expected a truth.json that 'rigsync simulate' wrote, or "
        "an earlier result.json");
  }
}

void Print_Lens_Comparison(const Calibration_Result& Result, const simulate::Truth& Truth) {
  if (Result.Norm_Fxy.empty() || Result.Norm_Cxy.empty() || Result.Image_Size.empty()) return;
  const double Width = Result.Image_Size[0], Height = Result.Image_Size[1];
  const auto Print_Line = [](const char* Name, double Solved, double Truth_Value) {
    fmt::print("  {:<18}{:>14}{:>14}{:>14} pixels\n", Name, Decimals(Solved, 3),
               Decimals(Truth_Value, 3), Decimals(Solved - Truth_Value, 3));
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

double Read_Max_Pixels(const std::string& Text) {
  const double Pixels = Parse_Number("--max-pixels", Text);
  if (!(Pixels >= 0.0)) Refuse("--max-pixels", Text, "a number of pixels from 0, for example 8");
  return Pixels;
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
  fmt::print("  translation {:10.3f} mm   (x {}, y {}, z {}; bound {:g})\n", Distance_Mm,
             Decimals(Offset_Mm[0], 3), Decimals(Offset_Mm[1], 3), Decimals(Offset_Mm[2], 3),
             Max_Mm);
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

int Compare_With_Truth(const Compare_Arguments& Arguments, const Calibration_Result& Result,
                       const Drift_Bounds& Bounds) {
  const simulate::Truth Truth = Read_Truth_File(Arguments.Reference_File);
  if (Arguments.Is_Json) {
    throw Usage_Error(Arguments.Reference_File +
                      ": is a ground truth; --json is for the comparison of two results");
  }
  Print_Lens_Comparison(Result, Truth);
  const bool Is_Within =
      Print_Transform_Comparison(Chosen_Transform_Cam_Tc(Result),
                                 List_From_Matrix(Truth.Transform_Cam_Tc), Bounds.Mm, Bounds.Deg);
  Print_Uncertainty_Comparison(Result, Truth);
  return Is_Within ? Exit_Success : Exit_Beyond_Bound;
}

// With a mount of finite numbers.
Calibration_Result Read_Mounted_Result(const std::string& File) {
  Calibration_Result Result = Read_Result(File);
  const std::vector<double>& Transform_Cam_Tc = Chosen_Transform_Cam_Tc(Result);
  if (Transform_Cam_Tc.empty()) {
    throw Usage_Error(fmt::format("{} has no transform: {}", File, Result.Message));
  }
  Require_Mount(File, Transform_Cam_Tc);
  // Refuses a lens that no run writes, whose differences would be no numbers.
  if (!Result.Norm_Fxy.empty() && !Result.Norm_Cxy.empty()) Solved_Camera_Of(Result, File);
  return Result;
}

// A wrong result differs from a good one, and the rig may be as it was.
void Warn_If_Unusable(const std::string& File, const Calibration_Result& Result) {
  if (!Is_Usable(Result)) Warn(File + " is not usable by its own verdict");
}

int Compare_With_Result(const Compare_Arguments& Arguments, const Calibration_Result& Now,
                        const Drift_Bounds& Bounds) {
  const Calibration_Result Then = Read_Mounted_Result(Arguments.Reference_File);
  Warn_If_Unusable(Arguments.Result_File, Now);
  Warn_If_Unusable(Arguments.Reference_File, Then);
  const Drift Seen = Compare_Results(Now, Then, Bounds);
  const bool Is_Within = Is_Within_Bounds(Seen, Bounds);
  std::vector<std::string> Texts;
  for (const Drift_Cause Cause : Seen.Causes) {
    Texts.push_back(Cause_Text(Cause, Seen, Now, Then, Bounds));
  }
  Print(Arguments.Is_Json ? Drift_Json(Seen, Texts, Is_Within)
                          : Drift_Text(Seen, Now, Then, Bounds, Uses_Colour(stdout)));
  return Is_Within ? Exit_Success : Exit_Beyond_Bound;
}

int Compare(const Compare_Arguments& Typed) {
  Compare_Arguments Arguments = Typed;
  Arguments.Result_File = Result_File(Typed.Result_File).string();
  Arguments.Reference_File = Result_File(Typed.Reference_File).string();
  const Drift_Bounds Bounds = {Read_Max_Mm(Arguments.Max_Offset), Read_Max_Deg(Arguments.Max_Angle),
                               Read_Max_Pixels(Arguments.Max_Pixels)};
  const Calibration_Result Result = Read_Mounted_Result(Arguments.Result_File);
  return Is_Result_File(Arguments.Reference_File) ? Compare_With_Result(Arguments, Result, Bounds)
                                                  : Compare_With_Truth(Arguments, Result, Bounds);
}

}  // namespace

void Add_Compare_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "compare", "Compare a result with an earlier one, or with the truth.");
  const auto Arguments = std::make_shared<Compare_Arguments>();
  Command
      ->add_option("RESULT", Arguments->Result_File,
                   "result.json of 'rigsync calibrate', or the folder that has it")
      ->required();
  Command
      ->add_option(
          "REFERENCE", Arguments->Reference_File,
          "result.json of an earlier day or its folder, or truth.json of 'rigsync simulate'")
      ->required();
  Command->add_option("--max-offset", Arguments->Max_Offset, "bound of the translation difference")
      ->type_name("LENGTH")
      ->capture_default_str();
  Command->add_option("--max-angle", Arguments->Max_Angle, "bound of the rotation difference")
      ->type_name("DEG")
      ->capture_default_str();
  Command
      ->add_option("--max-pixels", Arguments->Max_Pixels,
                   "bound of the shift in the picture, for two results: pixels of an image with "
                   "1080 lines")
      ->type_name("PX")
      ->capture_default_str();
  Command->add_flag("--json", Arguments->Is_Json, "print the comparison of two results as JSON");
  Command->group("Commands");
  Command->footer(Compare_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Compare(*Arguments); }; });
}

}  // namespace rigsync
