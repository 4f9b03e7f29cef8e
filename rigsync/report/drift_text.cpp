// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/drift_text.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/report/heading.h"
#include "rigsync/report/lag_text.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/solve/rigid_motion.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace rigsync {
namespace {

// For a positive and for a negative number along or about each axis of Cam.
using Direction_Names = std::array<std::pair<const char*, const char*>, 3>;
constexpr Direction_Names Shift_Names = {{{"right", "left"}, {"down", "up"}, {"ahead", "back"}}};
constexpr Direction_Names Turn_Names = {{{"tilted up", "tilted down"},
                                         {"panned right", "panned left"},
                                         {"rolled clockwise", "rolled anticlockwise"}}};

// Directions that have at least a quarter of the whole, the largest first: "panned left 0.48,
// tilted up 0.15".
std::string Directions_Text(const Eigen::Vector3d& Of, const Direction_Names& Names, int Digits) {
  std::array<std::size_t, 3> Order = {0, 1, 2};
  const auto Size = [&Of](std::size_t k) { return std::abs(Of[static_cast<Eigen::Index>(k)]); };
  std::sort(Order.begin(), Order.end(),
            [&Size](std::size_t Left, std::size_t Right) { return Size(Left) > Size(Right); });
  std::string Text;
  for (const std::size_t k : Order) {
    if (Size(k) < 0.25 * Of.norm()) continue;
    const bool Is_Positive = Of[static_cast<Eigen::Index>(k)] > 0.0;
    Text += fmt::format("{}{} {:.{}f}", Text.empty() ? "" : ", ",
                        Is_Positive ? Names[k].first : Names[k].second, Size(k), Digits);
  }
  return Text;
}

std::string Size_Text(const Calibration_Result& Result) {
  return Result.Image_Size.size() == 2
             ? fmt::format("{:g}x{:g}", Result.Image_Size[0], Result.Image_Size[1])
             : "unknown";
}

std::string Board_Text(const Calibration_Result& Result) {
  return fmt::format("{}x{}", Result.Inputs.Board.Cols, Result.Inputs.Board.Rows);
}

std::string Square_Text(const Calibration_Result& Result) {
  return fmt::format("{:.6g} mm", Mm_In_Metre * Result.Inputs.Square_Size);
}

std::string Sensor_Text(const Calibration_Result& Result) {
  const auto& Sensor = Result.Inputs.Sensor_Size_Mm;
  return Sensor ? fmt::format("{:g}x{:g} mm", (*Sensor)[0], (*Sensor)[1]) : "not stated";
}

std::string Larger_Text(double Ratio) {
  return fmt::format("{:.2f} % {}", 100.0 * std::abs(Ratio - 1.0),
                     Ratio > 1.0 ? "larger" : "smaller");
}

std::string Scale_Text(const Calibration_Result& Now, const Calibration_Result& Then) {
  return fmt::format(
      "The squares of the board seem {} than then, although the same length was stated: another "
      "print, or the tracking system's metre has changed. Measure the board.",
      Larger_Text(Now.Solved->Joint.At.Square_Scale / Then.Solved->Joint.At.Square_Scale));
}

std::string Turned_Text(const Drift& Seen) {
  const Eigen::Vector3d Deg = Degrees_Per_Radian * Seen.Of_Mount.Joint_Motion->head<3>();
  return fmt::format(
      "The camera's tracker has turned on the camera by {:.2f} degrees, as the camera looks: {}. "
      "Fasten it, and use the new result.",
      Deg.norm(), Directions_Text(Deg, Turn_Names, 2));
}

std::string Shifted_Text(const Drift& Seen) {
  const Eigen::Vector3d Mm = Mm_In_Metre * Seen.Of_Mount.Joint_Motion->tail<3>();
  return fmt::format(
      "The camera's tracker has shifted on the camera by {:.1f} mm, as the camera looks: {}. "
      "Fasten it, and use the new result.",
      Mm.norm(), Directions_Text(Mm, Shift_Names, 1));
}

// A lens breathes by a few percent when it is refocused.
std::string Lens_Text(const Drift& Seen) {
  constexpr double Most_By_Focus = 0.05;
  const Lens_Drift& Of_Lens = *Seen.Of_Lens;
  const double Ratio = Of_Lens.Now.Fx / Of_Lens.Then.Fx;
  const bool Is_Zoom = std::abs(Ratio - 1.0) > Most_By_Focus;
  return fmt::format(
      "The lens {}: its focal length is {:.2f} % {}, or its distortion differs. Set it back, or "
      "use "
      "the new result as long as it stays.",
      Is_Zoom ? "was zoomed or exchanged" : "was refocused or zoomed",
      100.0 * std::abs(Ratio - 1.0), Ratio > 1.0 ? "longer" : "shorter");
}

std::string Displaced_Text(const Drift& Seen) {
  const Lens_Drift& Of_Lens = *Seen.Of_Lens;
  const Eigen::Vector3d Px(Of_Lens.Now.Cx - Of_Lens.Then.Cx, Of_Lens.Now.Cy - Of_Lens.Then.Cy, 0);
  return fmt::format(
      "The lens's axis meets the picture at another place, by {:.1f} pixels: {}. The lens was "
      "taken "
      "off, or the picture is cropped otherwise. Use the new result.",
      Px.norm(), Directions_Text(Px, Shift_Names, 1));
}

std::string Axes_Text(const Drift& Seen) {
  return fmt::format(
      "The axes of the camera's tracker were redefined in the tracking system: they are turned by "
      "{:.1f} degrees. Use the new result with the new axes.",
      Seen.Of_Mount.Deg());
}

// Which of the two has no uncertainty.
std::string Open_Text(const Calibration_Result& Now, const Calibration_Result& Then) {
  const auto Is_Known = [](const Calibration_Result& Result) {
    return Result.Solved && Result.Solved->Joint.Status == Solve_Status::Solved;
  };
  const char* const Which = Is_Known(Now)    ? "The reference has"
                            : Is_Known(Then) ? "The result has"
                                             : "Neither has";
  return fmt::format(
      "{} {} uncertainty, so noise cannot be told from a change: calibrate without --library-only.",
      Which, Is_Known(Now) || Is_Known(Then) ? "no" : "an");
}

// Of the two results, the one whose joint mount is known less.
struct Least_Known {
  const char* Name;
  double Half_Width;
};

Least_Known Least_Known_Of(double Now, double Then) {
  return Now >= Then ? Least_Known{"result", Now} : Least_Known{"reference", Then};
}

std::string Open_Shift_Text(const Calibration_Result& Now, const Calibration_Result& Then) {
  const Least_Known Least = Least_Known_Of(Now.Solved->Joint.Camera_Mount.Widest_Mm.Half_Width,
                                           Then.Solved->Joint.Camera_Mount.Widest_Mm.Half_Width);
  return fmt::format(
      "Can't tell whether the tracker shifted on the camera: the mount of the {} is known only to "
      "+- {} mm. Capture again.",
      Least.Name, Amount(Least.Half_Width));
}

std::string Open_Turn_Text(const Calibration_Result& Now, const Calibration_Result& Then) {
  const Least_Known Least = Least_Known_Of(Now.Solved->Joint.Camera_Mount.Widest_Deg.Half_Width,
                                           Then.Solved->Joint.Camera_Mount.Widest_Deg.Half_Width);
  return fmt::format(
      "Can't tell whether the tracker turned on the camera: the mount of the {} is known only to "
      "+- {} degrees. Capture again.",
      Least.Name, Amount(Least.Half_Width));
}

// The mounts that are the results, since the joint ones show nothing.
std::string Difference_Text(const Drift& Seen) {
  return fmt::format("the mounts that are the results differ by {:.1f} mm and {:.2f} degrees",
                     Seen.Of_Mount.Mm(), Seen.Of_Mount.Deg());
}

std::string Unexplained_Text(const Drift& Seen) {
  return fmt::format(
      "Can't tell what changed: {}, which is beyond a bound, and the joint solutions show no "
      "cause. Look at the verdicts of both results, or capture again.",
      Difference_Text(Seen));
}

std::string No_Cause_Text(const Drift& Seen) {
  if (Seen.Is_Within_Uncertainty) {
    return "No change: lens and mount are the same within the uncertainty of both results.";
  }
  if (Seen.Of_Mount.Mm() < Least_Drift_Mm && Seen.Of_Mount.Deg() < Least_Drift_Deg) {
    return "No change that could be seen: lens and mount differ by less than moves a picture.";
  }
  return fmt::format("No change beyond the bounds: {}, more than the uncertainty explains.",
                     Difference_Text(Seen));
}

constexpr const char* Same_Files_Text = "Both results were made from the same files.";

std::string Headline(const Drift& Seen, const Calibration_Result& Now,
                     const Calibration_Result& Then, const Drift_Bounds& Bounds) {
  if (!Seen.Causes.empty()) return Cause_Text(Seen.Causes.front(), Seen, Now, Then, Bounds);
  if (Seen.Is_Same_Capture) return Same_Files_Text;
  return Seen.Has_Uncertainty ? No_Cause_Text(Seen) : Open_Text(Now, Then);
}

// What is below the first sentence.
std::string More_Text(const Drift& Seen, const Calibration_Result& Now,
                      const Calibration_Result& Then, const Drift_Bounds& Bounds) {
  std::string Text;
  for (std::size_t i = 1; i < Seen.Causes.size(); ++i) {
    Text += Folded("Also: " + Cause_Text(Seen.Causes[i], Seen, Now, Then, Bounds), 0);
  }
  if (!Seen.Causes.empty() && Seen.Is_Same_Capture) Text += Folded(Same_Files_Text, 0);
  if (!Seen.Causes.empty() && !Seen.Has_Uncertainty) Text += Folded(Open_Text(Now, Then), 0);
  return Text;
}

// ---- Tables ------------------------------------------------------------------------------------

std::string Lens_Table(const Lens_Drift& Of_Lens, bool Colour) {
  constexpr std::array<const char*, 6> Names = {
      "focal length x", "focal length y", "principal point x", "principal point y", "k1", "k2"};
  const Vector6d Then = Lens_Numbers(Of_Lens.Then), Now = Lens_Numbers(Of_Lens.Now);
  std::string Text = Heading(fmt::format("{:<20}{:>13}{:>13}{:>13}{:>13}", "Lens, pixels", "then",
                                         "now", "difference", "+- 95 %"),
                             Colour);
  for (int k = 0; k < Lens_Parameters; ++k) {
    const int Digits = k < 4 ? 3 : 5;
    Text += fmt::format("  {:<18}{:>13}{:>13}{:>13}", Names[static_cast<std::size_t>(k)],
                        Decimals(Then[k], Digits), Decimals(Now[k], Digits),
                        Decimals(Now[k] - Then[k], Digits));
    Text += Of_Lens.Joint_Difference ? fmt::format("{:>13.{}f}\n", Of_Lens.Half_Width[k], Digits)
                                     : fmt::format("{:>13}\n", "unknown");
  }
  return Text;
}

std::string Motion_Row(const char* Name, const Eigen::Vector3d& Mm, const Eigen::Vector3d& Deg) {
  return fmt::format("  {:<10}{:>9}{:>9}{:>9}   {:>9}{:>9}{:>9}\n", Name, Decimals(Mm.x(), 2),
                     Decimals(Mm.y(), 2), Decimals(Mm.z(), 2), Decimals(Deg.x(), 3),
                     Decimals(Deg.y(), 3), Decimals(Deg.z(), 3));
}

std::string Mount_Table(const Mount_Drift& Of_Mount, bool Colour) {
  std::string Text = Heading("Mount, now less then", Colour);
  Text += fmt::format("  {:<10}{:>9}{:>9}{:>9}   {:>9}{:>9}{:>9}\n", "", "right mm", "down mm",
                      "ahead mm", "tilt deg", "pan deg", "roll deg");
  Text += Motion_Row("result", Of_Mount.Shift_Mm, Of_Mount.Turn_Deg);
  if (!Of_Mount.Joint_Motion) return Text;
  const Vector6d& Motion = *Of_Mount.Joint_Motion;
  Text +=
      Motion_Row("joint", Mm_In_Metre * Motion.tail<3>(), Degrees_Per_Radian * Motion.head<3>());
  return Text + Motion_Row("+- 95 %", Of_Mount.Uncertainty.Half_Width_Mm,
                           Of_Mount.Uncertainty.Half_Width_Deg);
}

std::string Picture_Table(const Drift& Seen, bool Colour) {
  constexpr std::array<const char*, 5> Names = {"centre", "upper left", "upper right", "lower left",
                                                "lower right"};
  std::string Text = Heading(
      fmt::format("In the picture, at {:g} m from the camera", Seen.Talent_Distance), Colour);
  Text += fmt::format("  {:<14}{:>16}{:>20}\n", "", "lens alone", "lens and mount");
  for (std::size_t i = 0; i < Seen.Shifts.size(); ++i) {
    Text +=
        fmt::format("  {:<14}{:>9.2f} pixels{:>13.2f} pixels{:>9.2f} mm\n", Names[i],
                    Seen.Of_Lens->Shifts[i].Px.norm(), Seen.Shifts[i].Px.norm(), Seen.Shifts[i].Mm);
  }
  return Text;
}

// Only where one of the results has a lag.
std::string Lag_Table(const Drift& Seen, bool Colour) {
  if (!Seen.Lag_Then && !Seen.Lag_Now) return {};
  const auto Amount_Of = [](const std::optional<Lag_Estimate>& Lag) {
    return Lag ? Lag_Amount(*Lag) : "not solved";
  };
  return Heading("Lag between pictures and samples", Colour) +
         fmt::format("  then  {}\n  now   {}\n", Amount_Of(Seen.Lag_Then), Amount_Of(Seen.Lag_Now));
}

std::string Bounds_Text(const Drift& Seen, const Drift_Bounds& Bounds, bool Colour) {
  std::string Text = Heading("Bounds", Colour);
  Text += fmt::format("  mount    {:10.3f} mm      (bound {:g})\n", Seen.Of_Mount.Mm(), Bounds.Mm);
  Text +=
      fmt::format("  mount    {:10.4f} deg     (bound {:g})\n", Seen.Of_Mount.Deg(), Bounds.Deg);
  if (Seen.Of_Lens) {
    Text += fmt::format("  picture  {:10.2f} pixels  (bound {:g}, in an image with 1080 lines)\n",
                        Largest_Shift_1080p_Px(Seen), Bounds.Px_1080p);
  }
  const bool Is_Within = Is_Within_Bounds(Seen, Bounds);
  return Text +
         Painted(Is_Within ? Style::Good : Style::Bad,
                 Is_Within ? "  Within the bounds." : "  BEYOND the bounds.", Colour) +
         "\n";
}

}  // namespace

std::string Cause_Text(Drift_Cause Cause, const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then, const Drift_Bounds& Bounds) {
  switch (Cause) {
    case Drift_Cause::Resolution:
      return fmt::format(
          "The images have another size: {} then, {} now. Both lenses are compared in pixels of "
          "the new one.",
          Size_Text(Then), Size_Text(Now));
    case Drift_Cause::Sensor:
      return fmt::format("Another sensor was stated: {} then, {} now.", Sensor_Text(Then),
                         Sensor_Text(Now));
    case Drift_Cause::Board:
      return fmt::format("Another board was used: {} corners then, {} now.", Board_Text(Then),
                         Board_Text(Now));
    case Drift_Cause::Square_Typed:
      return fmt::format(
          "Another length of a square was stated: {} then, {} now. The mount's position follows "
          "it. "
          "Measure the board; if one was wrong, calibrate that capture again.",
          Square_Text(Then), Square_Text(Now));
    case Drift_Cause::Square_Scale:
      return Scale_Text(Now, Then);
    case Drift_Cause::Axes_Redefined:
      return Axes_Text(Seen);
    case Drift_Cause::Mount_Turned:
      return Turned_Text(Seen);
    case Drift_Cause::Mount_Shifted:
      return Shifted_Text(Seen);
    case Drift_Cause::Lens_Changed:
      return Lens_Text(Seen);
    case Drift_Cause::Lens_Displaced:
      return Displaced_Text(Seen);
    case Drift_Cause::Unknown:
      return Is_Shift_Open(Seen, Bounds)  ? Open_Shift_Text(Now, Then)
             : Is_Turn_Open(Seen, Bounds) ? Open_Turn_Text(Now, Then)
                                          : Unexplained_Text(Seen);
  }
  return "";
}

std::string Drift_Text(const Drift& Seen, const Calibration_Result& Now,
                       const Calibration_Result& Then, const Drift_Bounds& Bounds, bool Colour) {
  std::string Text =
      Folded(Headline(Seen, Now, Then, Bounds), 0) + More_Text(Seen, Now, Then, Bounds);
  if (Seen.Of_Lens) Text += Lens_Table(*Seen.Of_Lens, Colour);
  Text += Mount_Table(Seen.Of_Mount, Colour);
  if (Seen.Of_Lens) Text += Picture_Table(Seen, Colour);
  Text += Lag_Table(Seen, Colour);
  return Text + Bounds_Text(Seen, Bounds, Colour);
}

}  // namespace rigsync
