// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/import/session.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

constexpr double Radians_Per_Degree = 0.017453292519943295;

// From 0 to 1, with speed and acceleration 0 at both ends.
double Minimum_Jerk(double Part) {
  return Part * Part * Part * (10.0 + Part * (6.0 * Part - 15.0));
}

Eigen::Quaterniond Turned(const Eigen::Vector3d& Turn_Rad) {
  const double Angle = Turn_Rad.norm();
  if (Angle == 0.0) return Eigen::Quaterniond::Identity();
  return Eigen::Quaterniond(Eigen::AngleAxisd(Angle, Turn_Rad / Angle));
}

Body_Pose Between(const Body_Pose& From, const Body_Pose& To, double Part) {
  const double Way = Minimum_Jerk(std::clamp(Part, 0.0, 1.0));
  return {From.Position + Way * (To.Position - From.Position),
          From.Rotation_Base_Body.slerp(Way, To.Rotation_Base_Body)};
}

Body_Pose Pose_In(const std::vector<Stand>& Stands, Body_Pose Stand::*Body, double Seconds) {
  for (std::size_t i = 0; i + 1 < Stands.size(); ++i) {
    if (Seconds <= Stands[i].End_Seconds) return Stands[i].*Body;
    const double Begin = Stands[i].End_Seconds, End = Stands[i + 1].Begin_Seconds;
    if (Seconds < End) {
      return Between(Stands[i].*Body, Stands[i + 1].*Body, (Seconds - Begin) / (End - Begin));
    }
  }
  return Stands.back().*Body;
}

Body_Pose Random_Pose(const Eigen::Vector3d& Around, Chance& By) {
  constexpr double Reach = 0.5, Largest_Deg = 25.0;
  Body_Pose Pose;
  Eigen::Vector3d Turn;
  for (Eigen::Index Axis = 0; Axis < 3; ++Axis) {
    Pose.Position[Axis] = Around[Axis] + By.Between(-Reach, Reach);
    Turn[Axis] = Radians_Per_Degree * By.Between(-Largest_Deg, Largest_Deg);
  }
  Pose.Rotation_Base_Body = Turned(Turn);
  return Pose;
}

// How far the picture moves from one time to another, pixels: a lens of a thousand pixels and a
// distance of two metres.
double Picture_Shift(const Body_Pose& Before, const Body_Pose& After) {
  constexpr double Focal_Px = 1000.0, Distance = 2.0;
  const double Shift = (After.Position - Before.Position).norm();
  const double Turn = Before.Rotation_Base_Body.angularDistance(After.Rotation_Base_Body);
  return Focal_Px * (Turn + Shift / Distance);
}

// Grey levels of a picture that moved so far: it levels off where patterns have passed.
double Change_By(double Shift_Px, double Most) {
  constexpr double Pattern_Px = 8.0;
  return Most * (1.0 - std::exp(-Shift_Px / Pattern_Px));
}

}  // namespace

double Chance::Between(double Least, double Most) {
  constexpr double Whole = 4294967296.0;
  return Least + (Most - Least) * (static_cast<double>(Engine()) + 0.5) / Whole;
}

double Chance::Normal() {
  constexpr double Turn = 6.283185307179586;
  return std::sqrt(-2.0 * std::log(Between(0.0, 1.0))) * std::cos(Between(0.0, Turn));
}

Eigen::Vector3d Chance::Normals() {
  const double X = Normal(), Y = Normal(), Z = Normal();
  return {X, Y, Z};
}

Tracker_Sample Sample_Of(const Body_Pose& Pose) {
  const Eigen::Quaterniond Body_Base = Pose.Rotation_Base_Body.conjugate();
  return {{Pose.Position.x(), Pose.Position.y(), Pose.Position.z()},
          {Body_Base.w(), Body_Base.x(), Body_Base.y(), Body_Base.z()}};
}

Body_Pose Session::Camera_At(double Seconds) const {
  return Pose_In(Stands, &Stand::Camera, Seconds);
}

Body_Pose Session::Board_At(double Seconds) const {
  return Pose_In(Stands, &Stand::Board, Seconds);
}

Session Make_Session(const Session_Plan& Plan, Chance& By) {
  const Eigen::Vector3d Camera_Place(0.0, 0.0, 1.5), Board_Place(2.0, 0.0, 1.5);
  Session Made;
  Stand Now;
  Now.Camera = Random_Pose(Camera_Place, By);
  Now.Board = Random_Pose(Board_Place, By);
  for (std::size_t i = 0; i < Plan.Holds; ++i) {
    Now.End_Seconds = Now.Begin_Seconds + By.Between(Plan.Least_Hold, Plan.Longest_Hold);
    Made.Stands.push_back(Now);
    Now.Begin_Seconds = Now.End_Seconds + By.Between(Plan.Least_Move, Plan.Longest_Move);
    // Sometimes one of them stays.
    const double Which = By.Between(0.0, 1.0);
    if (Which < 0.7) Now.Camera = Random_Pose(Camera_Place, By);
    if (Which > 0.3) Now.Board = Random_Pose(Board_Place, By);
  }
  return Made;
}

Body_Track Track(const std::string& Name, const Pose_At& Pose, const Tracker_Plan& Plan,
                 Chance& By) {
  Body_Track Body;
  Body.Name = Name;
  const auto Count =
      static_cast<std::size_t>((Plan.End_Seconds - Plan.Begin_Seconds) * Plan.Rate_Hz) + 1;
  for (std::size_t i = 0; i < Count; ++i) {
    const double Seconds = Plan.Begin_Seconds + static_cast<double>(i) / Plan.Rate_Hz;
    Body_Pose Seen = Pose(Seconds);
    Seen.Position += 0.001 * Plan.Noise_Mm * By.Normals();
    Seen.Rotation_Base_Body =
        Turned(Radians_Per_Degree * Plan.Noise_Deg * By.Normals()) * Seen.Rotation_Base_Body;
    Body.Samples.push_back({Seconds, true, Sample_Of(Seen)});
  }
  return Body;
}

Clip Film(const Session& Of, const Clip_Plan& Plan, Chance& By) {
  constexpr double Noise = 0.8, Most_Of_Camera = 12.0, Most_Of_Board = 3.0, Key_Frame = 1.0;
  const auto Frames_Of_Group = static_cast<std::size_t>(By.Between(12.0, 50.0));
  Clip Made;
  Made.File = "clip.mp4";
  Made.Rate_Hz = Plan.Rate_Hz;
  const auto Count =
      static_cast<std::size_t>((Plan.End_Seconds - Plan.Begin_Seconds) * Plan.Rate_Hz);
  double Walk_End = 0, Walk_Change = 0;
  for (std::size_t i = 0; i < Count; ++i) {
    const double Seconds = static_cast<double>(i) / Plan.Rate_Hz;
    const double Now = Plan.Begin_Seconds + Seconds, Before = Now - 1.0 / Plan.Rate_Hz;
    // Somebody walks through every half minute or so.
    if (By.Between(0.0, 1.0) < 1.0 / (30.0 * Plan.Rate_Hz)) {
      Walk_End = Seconds + By.Between(0.5, 2.0);
      Walk_Change = By.Between(0.5, 4.0);
    }
    double Change = Noise;
    Change += Change_By(Picture_Shift(Of.Camera_At(Before), Of.Camera_At(Now)), Most_Of_Camera);
    Change += Change_By(Picture_Shift(Of.Board_At(Before), Of.Board_At(Now)), Most_Of_Board);
    if (Seconds < Walk_End) Change += Walk_Change;
    if (i % Frames_Of_Group == 0) Change += Key_Frame;
    Change *= std::exp(0.1 * By.Normal());
    const double Shift = Picture_Shift(Of.Camera_At(Before), Of.Camera_At(Now));
    Made.Frames.push_back({Seconds, i == 0 ? 0.0F : static_cast<float>(Change),
                           static_cast<float>((100.0 + By.Normal()) / (1.0 + Shift))});
  }
  return Made;
}

Photographs Photograph_Holds(const Session& Of, double Offset_Seconds, Chance& By) {
  constexpr double From_End = 0.3;
  Photographs Made;
  for (const Stand& One : Of.Stands) {
    const double Seconds = By.Between(One.Begin_Seconds + From_End, One.End_Seconds - From_End);
    Made.Pictures.push_back(
        {"IMG_" + std::to_string(Made.Pictures.size()) + ".jpg", Seconds - Offset_Seconds});
  }
  return Made;
}

}  // namespace rigsync
