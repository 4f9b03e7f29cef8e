// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/mount_findings.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/solve/second_opinion.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace rigsync {
namespace {

// The axes of Cam point right, down and along the view.
constexpr std::array<const char*, 3> Shift_Names = {"right or left", "up or down",
                                                    "along the view"};
constexpr std::array<const char*, 3> Turn_Names = {"tilt", "pan", "roll"};
// Turns about them, as something to do.
constexpr std::array<const char*, 3> Turn_Advice = {"tilt the board or the camera up and down",
                                                    "turn it right and left",
                                                    "roll it about the direction of view"};

// A direction is called by one axis up to this angle, degrees, and by two beyond.
constexpr double One_Axis_Deg = 30.0;

// Beyond these a half-width says no more than that a mount is open.
constexpr double Widest_Told_Mm = 1000.0, Widest_Told_Deg = 10.0;

double Shift_Of(const Slip& Likeliest) {
  return Likeliest.Motion.tail<3>().norm();
}

double Turn_Deg_Of(const Slip& Likeliest) {
  return Degrees_Per_Radian * Likeliest.Motion.head<3>().norm();
}

bool Is_Told(const Slip& Likeliest) {
  return Likeliest.Evidence != Slip_Evidence::None && Is_Noticeable(Likeliest);
}

std::string Width(double Half_Width, double Widest_Told) {
  return Half_Width <= Widest_Told ? Amount(Half_Width)
                                   : fmt::format("more than {:g}", Widest_Told);
}

std::string Direction_Text(const Eigen::Vector3d& Direction,
                           const std::array<const char*, 3>& Names) {
  Eigen::Vector3d Parts = Direction.cwiseAbs();
  Eigen::Index Main = 0, Second = 0;
  const double Largest = Parts.maxCoeff(&Main);
  const std::string Text = Names[static_cast<std::size_t>(Main)];
  if (Largest >= std::cos(One_Axis_Deg / Degrees_Per_Radian) * Direction.norm()) return Text;
  Parts[Main] = 0.0;
  Parts.maxCoeff(&Second);
  return Text + " and " + Names[static_cast<std::size_t>(Second)];
}

std::string Width_Text(const Mount_Uncertainty& Mount) {
  const Widest &Mm = Mount.Widest_Mm, &Deg = Mount.Widest_Deg;
  return fmt::format(
      "The position of the camera's tracker on the camera is known to +- {} mm ({}, as the camera "
      "looks), its rotation to +- {} degrees ({}), at 95 percent.",
      Width(Mm.Half_Width, Widest_Told_Mm), Direction_Text(Mm.Direction, Shift_Names),
      Width(Deg.Half_Width, Widest_Told_Deg), Direction_Text(Deg.Direction, Turn_Names));
}

bool Is_Wide(const Mount_Uncertainty& Mount, const Accuracy_Limits& Limits) {
  return !(Mount.Widest_Mm.Half_Width <= Limits.Mm && Mount.Widest_Deg.Half_Width <= Limits.Deg);
}

std::string Limits_Text(const Accuracy_Limits& Limits) {
  return fmt::format("{:g} mm and {:g} degrees are the limit.", Limits.Mm, Limits.Deg);
}

// The turns that are missing when there are only those about one axis of Cam.
std::string Missing_Turns(const Eigen::Vector3d& First_Axis_Cam) {
  Eigen::Index Main = 0;
  First_Axis_Cam.cwiseAbs().maxCoeff(&Main);
  std::string Text;
  for (std::size_t k = 0; k < Turn_Advice.size(); ++k) {
    if (k == static_cast<std::size_t>(Main)) continue;
    Text += (Text.empty() ? "" : ", and ") + std::string(Turn_Advice[k]);
  }
  return Text;
}

void Add_Small_Turns(const Joint_Solution& Joint, Findings& List) {
  List.Add({"turns_too_small",
            Level::Warning,
            fmt::format("Camera and board turn relative to each other by {:.1f} degrees only (RMS "
                        "from the mean), so the mounts are hardly determined. From {:g} degrees on "
                        "about two axes they are.",
                        Joint.Motion.Turns_Deg[0], Least_Second_Turn_Deg),
            Width_Text(Joint.Camera_Mount),
            fmt::format("Between the images {}, {}, and {}, by 20 to 45 degrees each.",
                        Turn_Advice[0], Turn_Advice[1], Turn_Advice[2]),
            {}});
}

void Add_One_Axis(const Joint_Solution& Joint, Findings& List) {
  List.Add({"turns_about_one_axis",
            Level::Warning,
            fmt::format("Camera and board turn relative to each other about nearly one axis ({}): "
                        "by {:.1f} degrees about it and by {:.1f} about any other (RMS from the "
                        "mean). Along that axis the mounts are not determined.",
                        Direction_Text(Joint.Motion.First_Axis_Cam, Turn_Names),
                        Joint.Motion.Turns_Deg[0], Joint.Motion.Turns_Deg[1]),
            Width_Text(Joint.Camera_Mount),
            fmt::format("Between the images also {}, by 20 to 45 degrees each.",
                        Missing_Turns(Joint.Motion.First_Axis_Cam)),
            {}});
}

void Add_Wide(const Joint_Solution& Joint, const Accuracy_Limits& Limits, Findings& List) {
  const Noise_Estimate& Noise = Joint.Noise;
  List.Add(
      {"mount_undetermined",
       Level::Warning,
       "The capture does not determine the mount well enough. " + Limits_Text(Limits),
       Width_Text(Joint.Camera_Mount),
       fmt::format("Capture more images, near the camera, and turn the board or the camera by "
                   "30 to 45 degrees about every axis between them. Check the trackers too: "
                   "their samples scatter by {} and {}.",
                   Amount_Mm(Noise.Position), Amount_Deg(Degrees_Per_Radian * Noise.Rotation_Rad)),
       {}});
}

std::vector<std::size_t> Lines_From(const std::vector<Capture_Row>& Rows,
                                    const Joint_Solution& Joint, std::size_t First_Row) {
  std::vector<std::size_t> Lines;
  for (const Solved_Row& Row : Joint.Rows) {
    if (Row.Row >= First_Row) Lines.push_back(Rows[Row.Row].Line);
  }
  return Lines;
}

// Either part shows the camera's mount when the board's tracker slipped. When the camera's slipped,
// the mount before it no longer exists.
std::string Slip_Advice(Slipped_Tracker Tracker, std::size_t First_Line) {
  if (Tracker == Slipped_Tracker::Board) {
    return "Fix the mount and capture again, or calibrate the longer part alone: the camera's "
           "mount "
           "is the same in both.";
  }
  return fmt::format(
      "Fix the mount and capture again. The lines before line {0} show a mount that no longer "
      "exists; those from line {0} on can be calibrated alone if they are enough and nothing was "
      "touched since.",
      First_Line);
}

}  // namespace

bool Is_Slip_Found(const std::optional<Slip>& Likeliest) {
  return Likeliest && Is_Told(*Likeliest) && Likeliest->Evidence == Slip_Evidence::Found;
}

void Judge_Slip(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint,
                const std::optional<Slip>& Likeliest, Findings& List) {
  if (!Likeliest || !Is_Told(*Likeliest)) return;
  const bool Is_Sure = Is_Slip_Found(Likeliest);
  const char* Name = Likeliest->Tracker == Slipped_Tracker::Camera ? "camera" : "board";
  List.Add(
      {"tracker_slipped", Is_Sure ? Level::Error : Level::Warning,
       fmt::format("The {}'s tracker {} during the capture: from line {} on it sits elsewhere "
                   "on its mount.",
                   Name, Is_Sure ? "slipped" : "may have slipped", Rows[Likeliest->First_Row].Line),
       fmt::format("The lines before and after it differ by {} and {}.",
                   Amount_Mm(Shift_Of(*Likeliest)), Amount_Deg(Turn_Deg_Of(*Likeliest))),
       Slip_Advice(Likeliest->Tracker, Rows[Likeliest->First_Row].Line),
       Lines_From(Rows, Joint, Likeliest->First_Row)});
}

void Judge_Mount_Uncertainty(const Joint_Solution& Joint, const Accuracy_Limits& Limits,
                             Findings& List) {
  if (Joint.Status != Solve_Status::Solved) return;
  switch (Joint.Motion.Weakness) {
    case Motion_Weakness::Turns_Too_Small:
      return Add_Small_Turns(Joint, List);
    case Motion_Weakness::One_Axis:
      return Add_One_Axis(Joint, List);
    case Motion_Weakness::None:
      break;
  }
  if (Is_Wide(Joint.Camera_Mount, Limits)) Add_Wide(Joint, Limits, List);
}

}  // namespace rigsync
