// SPDX-License-Identifier: Apache-2.0
#include "bench/fault_study.h"

#include "bench/columns.h"
#include "bench/compared_solvers.h"
#include "simulate/random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>

namespace bench {
namespace {

using simulate::Random;

enum Stream : unsigned { Fault_Draws = 401 };

enum Fault {
  Estimate_Off,
  Tracker_Slipped,
  Rows_Stale,
  Square_Off,
  Unit_Off,
  Lens_Misfit,
  One_Axis,
  Small_Turns,
  Few_Images,
  Fault_Kinds
};

constexpr std::array<const char*, Fault_Kinds> Fault_Names = {
    "estimate", "slip", "stale", "square", "unit", "lens", "one-axis", "small-turns", "few-images"};

// Of all captures this part has no fault, and this part has two or three.
constexpr double Clean_Part = 0.15, Several_Part = 0.30;

double Log_Between(Random& Generator, double Low, double High) {
  return Low * std::pow(High / Low, Generator.Unit());
}

double Signed(Random& Generator, double Size) {
  return Generator.Index(2) == 0 ? Size : -Size;
}

// ---- What a capture is like ------------------------------------------------------------------

struct Fault_Setting {
  std::array<bool, Fault_Kinds> Has{};
  View_Setting View;
  Tracker_Setting Trackers;
  bool Is_Square_Mount = false;
};

// A tracker that is mounted square with the camera, within a few degrees or exactly.
Eigen::Matrix3d Square_Mount(Random& Generator) {
  constexpr double Half_Pi = 1.57079632679489661923;
  Eigen::Matrix3d Rotation = Eigen::Matrix3d::Identity();
  for (int Axis = 0; Axis < 3; ++Axis) {
    const double Turn = Half_Pi * Generator.Index(4);
    Rotation = (Rotation * Eigen::AngleAxisd(Turn, Eigen::Vector3d::Unit(Axis))).eval();
  }
  const double Off_Rad = Generator.Index(2) == 0 ? 0.0 : 0.05 * Generator.Unit();
  return rigsync::Rotation_From_Turn(Off_Rad * Generator.Direction()) * Rotation;
}

Eigen::Matrix3d Any_Mount(Random& Generator) {
  const Eigen::Vector3d Half(Generator.Gaussian_Vector());
  return Eigen::Quaterniond(Generator.Gaussian(), Half.x(), Half.y(), Half.z())
      .normalized()
      .toRotationMatrix();
}

void Draw_Surroundings(Random& Generator, Fault_Setting& Setting) {
  Tracker_Setting& Trackers = Setting.Trackers;
  Trackers.Position_Mm = Log_Between(Generator, 0.05, 2.0);
  Trackers.Rotation_Deg = Trackers.Position_Mm * Log_Between(Generator, 0.03, 0.3);
  Trackers.Board_Factor = Generator.Index(3) == 0 ? Generator.Between(1.0, 3.0) : 1.0;
  Trackers.Has_Heavy_Tails = Generator.Index(4) == 0;
  Trackers.Field_Mm = Generator.Index(3) == 0 ? Generator.Between(0.0, 1.0) : 0.0;
  const int Still = Generator.Index(6);
  if (Still == 0) Trackers.Still = Standing::Camera;
  if (Still == 1) Trackers.Still = Standing::Board;
  Setting.View.Images = 12 + Generator.Index(25);
  Setting.Is_Square_Mount = Generator.Index(2) == 0;
  Trackers.Mount_Rotation =
      Setting.Is_Square_Mount ? Square_Mount(Generator) : Any_Mount(Generator);
  // Nobody measures the board's place exactly.
  Trackers.Estimate = {Generator.Between(0.0, 1.0), Generator.Between(0.0, 0.1)};
}

void Draw_Lens_Fault(Random& Generator, Lens_Fault& Lens) {
  const int Kind = Generator.Index(3);
  Lens.Is_Fisheye = Kind == 0;
  if (Kind == 1) Lens.K3 = Signed(Generator, Log_Between(Generator, 0.05, 2.0));
  if (Kind != 2) return;
  Lens.P1 = Signed(Generator, Log_Between(Generator, 3e-4, 1e-2));
  Lens.P2 = Signed(Generator, Log_Between(Generator, 3e-4, 1e-2));
}

// Factors between what was printed and what was typed: millimetres for an inch's parts,
// centimetres, one square size for another.
double Unit_Factor(Random& Generator) {
  constexpr std::array<double, 6> Factors = {10.0, 0.1, 2.54, 1.0 / 2.54, 0.8, 1.25};
  return Factors[static_cast<std::size_t>(Generator.Index(static_cast<int>(Factors.size())))];
}

void Draw_Strength(Fault Kind, Random& Generator, Fault_Setting& Setting) {
  Tracker_Setting& Trackers = Setting.Trackers;
  switch (Kind) {
    case Estimate_Off:
      Trackers.Estimate = {Generator.Between(0.0, 30.0), Generator.Between(0.0, 5.0)};
      break;
    case Tracker_Slipped:
      Trackers.Slip = {Log_Between(Generator, 0.5, 20.0), Log_Between(Generator, 0.05, 2.0)};
      Trackers.Least_Beside_Slip = 1;
      break;
    case Rows_Stale:
      Trackers.Stale_Rows = 1 + Generator.Index(Setting.View.Images / 2 + 2);
      Trackers.Staleness = {Log_Between(Generator, 3.0, 300.0), Log_Between(Generator, 0.2, 20.0)};
      break;
    case Square_Off:
      Setting.View.Square_Factor *= 1.0 + Signed(Generator, Log_Between(Generator, 1e-3, 3e-2));
      break;
    case Unit_Off:
      Setting.View.Square_Factor *= Unit_Factor(Generator);
      break;
    case Lens_Misfit:
      Draw_Lens_Fault(Generator, Setting.View.Lens);
      break;
    case One_Axis:
      Setting.View.Turns_About_One_Axis = true;
      break;
    case Small_Turns:
      Setting.View.Turn_Part = Log_Between(Generator, 0.02, 0.4);
      break;
    case Few_Images:
      Setting.View.Images = 5 + Generator.Index(8);
      break;
    case Fault_Kinds:
      break;
  }
}

Fault_Setting Draw_Setting(unsigned Seed) {
  Random Generator(Seed, Fault_Draws);
  Fault_Setting Setting;
  Draw_Surroundings(Generator, Setting);
  const double Share = Generator.Unit();
  int Count = Share < Clean_Part ? 0 : 1;
  if (Share > 1.0 - Several_Part) Count = 2 + Generator.Index(2);
  for (; Count > 0; --Count) {
    Setting.Has[static_cast<std::size_t>(Generator.Index(Fault_Kinds))] = true;
  }
  // From the last kind to the first: the number of images is drawn before the stale ones.
  for (std::size_t Kind = Fault_Kinds; Kind-- > 0;) {
    if (Setting.Has[Kind]) Draw_Strength(static_cast<Fault>(Kind), Generator, Setting);
  }
  return Setting;
}

// ---- What becomes of it ----------------------------------------------------------------------

std::string Kinds_Of(const Fault_Setting& Setting) {
  std::string Names;
  for (std::size_t Kind = 0; Kind < Fault_Kinds; ++Kind) {
    if (!Setting.Has[Kind]) continue;
    Names += (Names.empty() ? "" : "+") + std::string(Fault_Names[Kind]);
  }
  return Names.empty() ? "clean" : Names;
}

const char* Name_Of(rigsync::Verdict Judgement) {
  switch (Judgement) {
    case rigsync::Verdict::Agree:
      return "agree";
    case rigsync::Verdict::Look:
      return "look";
    case rigsync::Verdict::Dont_Use:
      break;
  }
  return "dont-use";
}

void Add_Setting(const Fault_Setting& Setting, const Corner_Capture& Capture, const Views& Seen,
                 Columns& Line) {
  const Tracker_Setting& Trackers = Setting.Trackers;
  Line.Add("kinds", Kinds_Of(Setting));
  Line.Add("images", Setting.View.Images);
  Line.Add("noise_mm", Trackers.Position_Mm);
  Line.Add("noise_deg", Trackers.Rotation_Deg);
  Line.Add("board_factor", Trackers.Board_Factor);
  Line.Add("tails", Trackers.Has_Heavy_Tails ? 1 : 0);
  Line.Add("field_mm", Trackers.Field_Mm);
  Line.Add("still", static_cast<double>(Trackers.Still));
  Line.Add("square_mount", Setting.Is_Square_Mount ? 1 : 0);
  Line.Add("estimate_mm", Trackers.Estimate.Mm);
  Line.Add("estimate_deg", Trackers.Estimate.Deg);
  Line.Add("stale", Trackers.Stale_Rows);
  Line.Add("stale_mm", Trackers.Stale_Rows > 0 ? Trackers.Staleness.Mm : 0);
  Line.Add("square", Setting.View.Square_Factor);
  Line.Add("slip_mm", Trackers.Slip.Mm);
  Line.Add("slip_deg", Trackers.Slip.Deg);
  Line.Add("slip_row", Capture.Slip ? static_cast<double>(Capture.Slip->First_Row) : -1);
  Line.Add("slip_camera", Capture.Slip && Capture.Slip->Is_Camera ? 1 : 0);
  Line.Add("turn_part", Setting.View.Turn_Part);
  Line.Add("k3", Setting.View.Lens.K3);
  Line.Add("p1", Setting.View.Lens.P1);
  Line.Add("p2", Setting.View.Lens.P2);
  Line.Add("fisheye", Setting.View.Lens.Is_Fisheye ? 1 : 0);
  Line.Add("lens_rms", Seen.Lens ? Seen.Lens->Rms : NAN);
}

void Add_Library(const std::string& Name, const Library_Result& Result,
                 const Corner_Capture& Capture, Columns& Line) {
  const Mount_Error Error = Error_Of(Capture.Transform_Cam_Tc, Result.Transform_Cam_Tc);
  Line.Add(Name + "_code", Result.Code);
  Line.Add(Name + "_kept", static_cast<double>(Result.Kept));
  Line.Add(Name + "_mm", Error.Mm);
  Line.Add(Name + "_deg", Error.Deg);
}

std::string Reasons_Of(const rigsync::Second_Opinion& Opinion) {
  std::string Text;
  for (const rigsync::Verdict_Reason Reason : Opinion.Reasons) {
    Text += static_cast<char>('a' + static_cast<int>(Reason));
  }
  return Text;
}

// The joint solve with the library after it, and what both together say.
void Add_Second_Opinion(const std::string& Name, const Views& Seen, const Corner_Capture& Capture,
                        const std::optional<rigsync::Stated_Place>& Stated, Columns& Line) {
  const rigsync::Capture_Solution Solution = Run_Joint(Seen, Capture, Stated);
  const rigsync::Joint_Solution& Joint = Solution.Joint;
  const Guided_Library Guided = Run_Guided_Library(Seen, Capture, Joint);
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  const rigsync::Second_Opinion Opinion =
      Judge(Guided, Solution, rigsync::Solution_Choice::Library);
  const rigsync::Second_Opinion Of_Joint = Judge(Guided, Solution, rigsync::Solution_Choice::Joint);
  const std::optional<Eigen::Matrix4d> Solved = Joint_Mount(Joint);
  const Mount_Error Joint_Error = Error_Of(Capture.Transform_Cam_Tc, Solved);
  std::size_t Kept = 0;
  for (const rigsync::Solved_Row& Row : Joint.Rows) Kept += Row.Is_Kept ? 1 : 0;
  const auto Last_Kept = std::find_if(Joint.Rows.rbegin(), Joint.Rows.rend(),
                                      [](const auto& Row) { return Row.Is_Kept; });
  Line.Add(Name + "_dropped_last", static_cast<double>(Last_Kept - Joint.Rows.rbegin()));
  Line.Add(Name + "_verdict", std::string(Name_Of(Opinion.Judgement)));
  Line.Add(Name + "_reasons", "r" + Reasons_Of(Opinion));
  Add_Library(Name, Guided.Result, Capture, Line);
  Line.Add(Name + "_picture_px",
           Picture_Error_Px(Seen, Capture.Transform_Cam_Tc, Guided.Result.Transform_Cam_Tc));
  Line.Add(Name + "_turned", Guided.Axes.Is_Turned ? 1 : 0);
  Line.Add(Name + "_status", static_cast<double>(Joint.Status));
  Line.Add(Name + "_joint_verdict", std::string(Name_Of(Of_Joint.Judgement)));
  Line.Add(Name + "_joint_reasons", "r" + Reasons_Of(Of_Joint));
  Line.Add(Name + "_joint_picture_px", Picture_Error_Px(Seen, Capture.Transform_Cam_Tc, Solved));
  Line.Add(Name + "_lens_f", Solution.Lens_Check ? Solution.Lens_Check->F : NaN);
  Line.Add(Name + "_joint_kept", static_cast<double>(Kept));
  Line.Add(Name + "_joint_mm", Joint_Error.Mm);
  Line.Add(Name + "_joint_deg", Joint_Error.Deg);
  Line.Add(Name + "_half_mm", Opinion.Half_Width_Mm);
  Line.Add(Name + "_half_deg", Opinion.Half_Width_Deg);
  Line.Add(Name + "_diff_mm", Opinion.Difference_Mm);
  Line.Add(Name + "_diff_deg", Opinion.Difference_Deg);
  Line.Add(Name + "_nearer", Opinion.Probability_Nearer);
  Line.Add(Name + "_gain", Solution.Likeliest_Slip ? Solution.Likeliest_Slip->Gain : NaN);
  Line.Add(Name + "_scale", Joint.At.Square_Scale);
  Line.Add(Name + "_scale_sd", Joint.Scale_Deviation);
  Line.Add(Name + "_exact", Joint.Exact_Square_Probability);
  Line.Add(Name + "_corner_factor", Joint.Noise.Corner_Factor);
  Line.Add(Name + "_corner_px", std::sqrt(Solution.Seen.Corner_Variance));
  Line.Add(Name + "_turn1", Joint.Motion.Turns_Deg[0]);
  Line.Add(Name + "_turn2", Joint.Motion.Turns_Deg[1]);
  Line.Add(Name + "_weakness", static_cast<double>(Joint.Motion.Weakness));
}

Columns Study(unsigned Seed) {
  const Fault_Setting Setting = Draw_Setting(Seed);
  const Views Seen = Make_Views(Setting.View, Seed);
  const Corner_Capture Capture = Make_Capture(Seen, Setting.Trackers, Seed);
  Columns Line;
  Line.Add("seed", Seed);
  Add_Setting(Setting, Capture, Seen, Line);
  Add_Library("before", Run_Library(Seen, Capture, Capture.Estimate), Capture, Line);
  Add_Second_Opinion("after", Seen, Capture, {}, Line);
  Add_Second_Opinion("given", Seen, Capture, rigsync::Stated_Place{Capture.Estimate, {}}, Line);
  return Line;
}

}  // namespace

std::string Fault_Study_Header() {
  return Study(1).Header() + "\n";
}

std::string Fault_Study_Line(unsigned Seed) {
  return Study(Seed).Line() + "\n";
}

}  // namespace bench
