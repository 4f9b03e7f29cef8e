// SPDX-License-Identifier: Apache-2.0
//
// Captures at the level of poses whose truth is known, made with quaternions and vectors alone: no
// matrix and no function of the room that is tested has a part in the truth.
#ifndef RIGSYNC_TESTS_SOLVE_POSE_RIG_H
#define RIGSYNC_TESTS_SOLVE_POSE_RIG_H

#include "rigsync/solve/observation.h"
#include "simulate/random.h"

#include <Eigen/Geometry>

#include <cmath>
#include <set>
#include <vector>

namespace pose_rig {

using Eigen::Quaterniond;
using Eigen::Vector3d;

constexpr double Radians_In_Degree = 3.14159265358979323846 / 180.0;

struct Pose {
  Quaterniond Turn = Quaterniond::Identity();
  Vector3d Shift = Vector3d::Zero();

  Pose operator*(const Pose& Right) const {
    return {Turn * Right.Turn, Turn * Right.Shift + Shift};
  }
  Pose Inverse() const { return {Turn.conjugate(), -(Turn.conjugate() * Shift)}; }
  Eigen::Isometry3d As_Transform() const {
    Eigen::Isometry3d Transform = Eigen::Isometry3d::Identity();
    Transform.linear() = Turn.toRotationMatrix();
    Transform.translation() = Shift;
    return Transform;
  }
};

// By half the angle's sine and cosine, w first.
inline Quaterniond By_Turn(const Vector3d& Turn_Rad) {
  const double Half = Turn_Rad.norm() / 2;
  const Vector3d Part = Turn_Rad * (Half > 0 ? std::sin(Half) / (2 * Half) : 0.5);
  return {std::cos(Half), Part.x(), Part.y(), Part.z()};
}

enum class Standing { None, Camera, Board };

struct Options {
  unsigned Seed = 1;
  int Images = 24;
  double Position_Mm = 0.3, Rotation_Deg = 0.03;  // of each tracker that moves
  double Still_Factor = 1.0;  // of this noise, for the tracker that stands still
  // Board poses: standard deviations about and along each axis of Cam, the last of the depth.
  double Pose_Deg = 0.01, Pose_Mm = 0.03, Depth_Mm = 0.1;
  double Lens_Mm = 0.0;            // what the lens's error does to a depth of one metre
  Vector3d Turns_Deg{25, 25, 60};  // RMS about Cam's axes
  double Square_Scale = 1.0;       // the true square in units of the stated one
  std::set<int> Stale;             // rows whose camera sample is 30 mm and 2 degrees off
  Standing Still = Standing::None;
  // From this row on a tracker sits elsewhere on its mount: camera or board.
  int Slipped_From = -1;
  Pose Camera_Slip, Board_Slip;
};

struct Rig {
  Pose Cam_Tc, Tr_Chart;
  rigsync::Observations Seen;
};

inline rigsync::Board_Observation Observe_Board(const Pose& Cam_Chart, const Options& Of,
                                                double Lens_Error, simulate::Random& Random) {
  rigsync::Board_Observation Board;
  rigsync::Vector6d Deviations;
  Deviations << Vector3d::Constant(Of.Pose_Deg * Radians_In_Degree), 1e-3 * Of.Pose_Mm,
      1e-3 * Of.Pose_Mm, 1e-3 * Of.Depth_Mm;
  Board.Unit_Covariance = Deviations.cwiseAbs2().asDiagonal();
  // A lens of one number: a longer focal length moves boards away, in proportion to their depth.
  Board.Lens_Sensitivity(5, 0) = 1e-3 * Cam_Chart.Shift.z();
  Pose Seen = Cam_Chart;
  Seen.Turn = By_Turn(Deviations.head<3>().cwiseProduct(Random.Gaussian_Vector())) * Seen.Turn;
  Seen.Shift += Deviations.tail<3>().cwiseProduct(Random.Gaussian_Vector());
  Seen.Shift.z() += Lens_Error * 1e-3 * Cam_Chart.Shift.z();
  Seen.Shift /= Of.Square_Scale;
  Board.Transform_Cam_Chart = Seen.As_Transform();
  return Board;
}

inline Pose Reported(const Pose& True_Pose, const Options& Of, bool Stands,
                     simulate::Random& Random) {
  const double Factor = Stands ? Of.Still_Factor : 1.0;
  return {By_Turn(Factor * Of.Rotation_Deg * Radians_In_Degree * Random.Gaussian_Vector()) *
              True_Pose.Turn,
          True_Pose.Shift + Factor * 1e-3 * Of.Position_Mm * Random.Gaussian_Vector()};
}

inline Pose Out_Of_Date(const Pose& Now, simulate::Random& Random) {
  return {By_Turn(2.0 * Radians_In_Degree * Random.Direction()) * Now.Turn,
          Now.Shift + 0.03 * Random.Direction()};
}

// The board in front of the camera, half a metre to a metre away.
inline Pose Board_In_Camera(const Options& Of, simulate::Random& Random) {
  const Vector3d Turn = Of.Turns_Deg.cwiseProduct(Random.Gaussian_Vector()) * Radians_In_Degree;
  return {By_Turn(Turn), Vector3d(Random.Between(-0.2, 0.2), Random.Between(-0.15, 0.15),
                                  Random.Between(0.5, 1.0))};
}

inline Rig Make_Rig(const Options& Of) {
  simulate::Random Random(Of.Seed, 40);
  Rig Made;
  Made.Cam_Tc = {By_Turn({0.7, -0.5, 0.4}), Vector3d(0.06, -0.14, -0.08)};
  Made.Tr_Chart = {By_Turn({0.2, -0.3, 0.1}), Vector3d(-0.17, 0.05, 0.04)};
  Made.Seen.Corner_Variance = 1.0;
  Made.Seen.Lens_Covariance(0, 0) = Of.Lens_Mm * Of.Lens_Mm;
  const double Lens_Error = Of.Lens_Mm * Random.Gaussian();
  const Pose Place{By_Turn({0.3, 1.2, -0.2}), Vector3d(0.5, 1.4, -2.0)};
  for (int i = 0; i < Of.Images; ++i) {
    const Pose Cam_Chart = Board_In_Camera(Of, Random);
    const Pose Tc_Tr = Made.Cam_Tc.Inverse() * Cam_Chart * Made.Tr_Chart.Inverse();
    Pose Base_Tc{By_Turn(0.2 * Random.Gaussian_Vector()), 0.4 * Random.Gaussian_Vector()};
    if (Of.Still == Standing::Camera) Base_Tc = Place;
    Pose Base_Tr = Base_Tc * Tc_Tr;
    if (Of.Still == Standing::Board) {
      Base_Tr = Place;
      Base_Tc = Base_Tr * Tc_Tr.Inverse();
    }
    if (Of.Slipped_From >= 0 && i >= Of.Slipped_From) {
      Base_Tc = Base_Tc * Of.Camera_Slip;
      Base_Tr = Base_Tr * Of.Board_Slip;
    }
    if (Of.Stale.count(i) > 0) Base_Tc = Out_Of_Date(Base_Tc, Random);
    rigsync::Observation Row;
    Row.Row = static_cast<std::size_t>(i);
    Row.Board = Observe_Board(Cam_Chart, Of, Lens_Error, Random);
    Row.Transform_Tc_Base =
        Reported(Base_Tc, Of, Of.Still == Standing::Camera, Random).Inverse().As_Transform();
    Row.Transform_Base_Tr =
        Reported(Base_Tr, Of, Of.Still == Standing::Board, Random).As_Transform();
    Made.Seen.Rows.push_back(Row);
  }
  return Made;
}

// The motion from a solved mount to the true one: turn in radians, shift in metres.
inline rigsync::Vector6d Error_Of(const Eigen::Isometry3d& Solved, const Pose& Truth) {
  const Quaterniond Between = Truth.Turn * Quaterniond(Solved.linear()).conjugate();
  // Twice the vector part is the turn, for turns as small as errors are.
  const double Sign = Between.w() < 0 ? -2.0 : 2.0;
  rigsync::Vector6d Error;
  Error << Sign * Between.vec(), Truth.Shift - Solved.translation();
  return Error;
}

}  // namespace pose_rig

#endif  // RIGSYNC_TESTS_SOLVE_POSE_RIG_H
