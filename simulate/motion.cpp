// SPDX-License-Identifier: Apache-2.0
//
// A move blends the poses of the holds on both sides. Both go on drifting meanwhile, so that the
// velocity of a drift has no step at the ends of a hold.
#include "simulate/motion.h"

#include "simulate/geometry.h"
#include "simulate/random.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace simulate {

namespace {

// Streams of random numbers, different from those of plan.cpp, render.cpp and take.cpp.
enum Stream : unsigned { Timing = 201, Drifts };

double Mean(double A, double B) {
  return 0.5 * (A + B);
}

Velocity Draw_Drift(const Recording_Options& Recording, Random& Generator) {
  Velocity Drift;
  Drift.Linear = Recording.Drift_Mm_Per_Second * 1e-3 * Generator.Direction();
  Drift.Angular = Radians(Recording.Drift_Deg_Per_Second) * Generator.Direction();
  return Drift;
}

// The part of a way that is done after a part U of the time, with the least mean square jerk from
// rest to rest: 10 u^3 - 15 u^4 + 6 u^5.
double Least_Jerk(double U) {
  return U * U * U * (10.0 + U * (-15.0 + 6.0 * U));
}

Eigen::Matrix4d Blend(const Eigen::Matrix4d& From, const Eigen::Matrix4d& To, double Part) {
  const Eigen::Matrix3d Rotation_From = From.topLeftCorner<3, 3>();
  const Eigen::Matrix3d Rotation_To = To.topLeftCorner<3, 3>();
  const Eigen::Quaterniond Rotation =
      Eigen::Quaterniond(Rotation_From).slerp(Part, Eigen::Quaterniond(Rotation_To));
  const Eigen::Vector3d Position =
      (1.0 - Part) * From.topRightCorner<3, 1>() + Part * To.topRightCorner<3, 1>();
  return Pose_From(Rotation.normalized().toRotationMatrix(), Position);
}

// The rig in the hold of an image, however long before or after it.
Rig_Pose Held_Pose(const Image_Truth& Image, double Seconds) {
  const double Since = Seconds - Image.Still.Picture;
  return {Drifted(Image.Transform_Base_Tc, Image.Still.Camera, Since),
          Drifted(Image.Transform_Base_Tr, Image.Still.Board, Since)};
}

}  // namespace

std::vector<Hold> Draw_Holds(const Options& Settings) {
  const Recording_Options& Recording = Settings.Recording;
  Random Times(Settings.Seed, Timing), Speeds(Settings.Seed, Drifts);
  std::vector<Hold> Holds;
  double Begin = 0.0;
  for (int i = 0; i < Settings.Image_Count; ++i) {
    double Length = Times.Between(Recording.Shortest_Hold, Recording.Longest_Hold);
    double Part = Times.Between(0.4, 0.6);
    double Move = Times.Between(Recording.Shortest_Move, Recording.Longest_Move);
    if (Recording.Regular_Holds) {
      Length = Mean(Recording.Shortest_Hold, Recording.Longest_Hold);
      Part = 0.5;
      Move = Mean(Recording.Shortest_Move, Recording.Longest_Move);
    }
    Hold Next;
    Next.Begin = Begin;
    Next.End = Begin + Length;
    Next.Picture = Begin + Part * Length;
    Next.Camera = Draw_Drift(Recording, Speeds);
    const Velocity Board = Draw_Drift(Recording, Speeds);
    if (!Recording.One_Body) Next.Board = Board;
    Holds.push_back(Next);
    Begin = Next.End + Move;
  }
  return Holds;
}

Eigen::Matrix4d Drifted(const Eigen::Matrix4d& Transform_Base_Body, const Velocity& Speed,
                        double Seconds) {
  if (Speed.Linear.isZero(0.0) && Speed.Angular.isZero(0.0)) return Transform_Base_Body;
  // Turned along the axes of Base, so the turn is applied last.
  const Eigen::Matrix3d Rotation =
      Rotation_From_Vector(Speed.Angular * Seconds) * Transform_Base_Body.topLeftCorner<3, 3>();
  const Eigen::Vector3d Position =
      Transform_Base_Body.topRightCorner<3, 1>() + Speed.Linear * Seconds;
  return Pose_From(Rotation, Position);
}

std::size_t Image_At(const Plan& Capture, double Seconds) {
  const auto Later = std::upper_bound(
      Capture.Images.begin(), Capture.Images.end(), Seconds,
      [](double Time, const Image_Truth& Image) { return Time < Image.Still.Begin; });
  const auto Begun = static_cast<std::size_t>(Later - Capture.Images.begin());
  return Begun == 0 ? 0 : Begun - 1;
}

double Progress_At(const Plan& Capture, double Seconds) {
  const std::size_t Index = Image_At(Capture, Seconds);
  if (Index + 1 == Capture.Images.size()) return 0.0;
  const double From = Capture.Images[Index].Still.End, To = Capture.Images[Index + 1].Still.Begin;
  if (Seconds <= From) return 0.0;
  return Least_Jerk((Seconds - From) / (To - From));
}

Rig_Pose Pose_At(const Plan& Capture, double Seconds) {
  const std::size_t Index = Image_At(Capture, Seconds);
  const Rig_Pose Here = Held_Pose(Capture.Images.at(Index), Seconds);
  const double Part = Progress_At(Capture, Seconds);
  if (Part <= 0.0) return Here;
  const Rig_Pose There = Held_Pose(Capture.Images[Index + 1], Seconds);
  Rig_Pose Between = {Blend(Here.Transform_Base_Tc, There.Transform_Base_Tc, Part),
                      Here.Transform_Base_Tr};
  // A board that stands still keeps every bit of its pose.
  if (Here.Transform_Base_Tr != There.Transform_Base_Tr) {
    Between.Transform_Base_Tr = Blend(Here.Transform_Base_Tr, There.Transform_Base_Tr, Part);
  }
  return Between;
}

Eigen::Matrix4d Transform_Cam_Chart_Of(const Plan& Capture, const Rig_Pose& Pose) {
  return Capture.Transform_Cam_Tc * Rigid_Inverse(Pose.Transform_Base_Tc) * Pose.Transform_Base_Tr *
         Rigid_Inverse(Capture.Transform_Chart_Tr);
}

bool Is_Timed(const Recording_Options& Recording) {
  return Recording.Format != Take_Format::None || Recording.Clip || Recording.Is_Streamed ||
         Recording.Drift_Mm_Per_Second > 0.0 || Recording.Drift_Deg_Per_Second > 0.0 ||
         Recording.Lag_Ms != 0.0;
}

double Duration(const Plan& Capture) {
  return Capture.Images.empty() ? 0.0 : Capture.Images.back().Still.End;
}

}  // namespace simulate
