// SPDX-License-Identifier: Apache-2.0
//
// The equation that both mounts have to meet in every image, its derivatives, and what each source
// of noise does to it:
//
//   Transform_Cam_Chart = Transform_Cam_Tc * Transform_Tc_Base * Transform_Base_Tr
//                       * Transform_Tr_Chart
//
// The left side comes from the image, with lengths that grow with the board's square. The trackers'
// poses are those of the samples, moved on by the lag (row_lag.h).
#ifndef RIGSYNC_SOLVE_JOINT_MODEL_H
#define RIGSYNC_SOLVE_JOINT_MODEL_H

#include "rigsync/solve/observation.h"
#include "rigsync/solve/rigid_motion.h"
#include "rigsync/solve/row_lag.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <array>
#include <optional>

namespace rigsync {

struct Mounts {
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
  Eigen::Isometry3d Transform_Tr_Chart = Eigen::Isometry3d::Identity();
  double Square_Scale = 1.0;  // the true square in units of the one that was stated
  double Lag_Seconds = 0.0;   // of the samples behind their pictures
};

// The unknowns: the motion of Transform_Cam_Tc, that of Transform_Tr_Chart, and the logarithm of
// the square's scale. A lag that is solved has a place of its own (lag_solve.h).
constexpr int Unknowns = 13;
constexpr int Camera_Mount = 0, Board_Mount = 6, Scale_Unknown = 12;  // where each begins
using Unknown_Vector = Eigen::Matrix<double, Unknowns, 1>;
using Unknown_Matrix = Eigen::Matrix<double, Unknowns, Unknowns>;
using Row_Derivative = Eigen::Matrix<double, 6, Unknowns>;

// The lag stays.
Mounts Moved(const Mounts& At, const Unknown_Vector& Step);

// The step that takes one to the other, whatever their lags.
Unknown_Vector Step_Between(const Mounts& From, const Mounts& To);

// The board's pose as the mounts and the trackers predict it.
Eigen::Isometry3d Predicted_Transform_Cam_Chart(const Observation& Seen, const Mounts& At);

// The motion from the predicted pose to the observed one, and the derivative of the difference
// predicted less observed: a step changes the residual by -Derivative * step, a longer lag by
// -By_Lag times the seconds.
struct Row_Model {
  Vector6d Residual = Vector6d::Zero();
  Row_Derivative Derivative = Row_Derivative::Zero();
  Vector6d By_Lag = Vector6d::Zero();
};

Row_Model Linearise(const Observation& Seen, const Mounts& At);

// The sources of noise, and the covariance that each gives a residual per unit of its variance:
// the corners' own by their stated variance (unit: 1), the rotation of each tracker that moves
// (rad^2 on each axis), which acts at the end of its lever arm, and the positions of both trackers
// together (m^2 on each axis).
enum Noise_Source { Corner_Noise, Rotation_Noise, Position_Noise };
constexpr int Noise_Sources = 3;
using Noise_Shapes = std::array<Matrix6d, Noise_Sources>;
using Variances = Eigen::Vector3d;

// Nine times in variance is three times in standard deviation: a camera of a tracking system sees
// depth that much worse than what is across.
constexpr double Noisy_Axis_Factor = 9.0;

// Which trackers move, and how their noise is shared out. One that stands still was averaged
// and brings no noise of its own.
struct Moving_Trackers {
  bool Camera = true, Board = true;
  // By this part the rotation variance of the board's tracker is above that of both together, and
  // the camera's below it: -1 to 1.
  double Rotation_Balance = 0;
  // Along this axis of Base positions have Noisy_Axis_Factor times the variance of the two others.
  std::optional<int> Noisy_Axis;

  double Camera_Part() const { return Camera ? 1.0 - Rotation_Balance : 0.0; }
  double Board_Part() const { return Board ? 1.0 + Rotation_Balance : 0.0; }
};

Noise_Shapes Shape_Noise(const Observation& Seen, const Mounts& At, double Corner_Variance,
                         const Moving_Trackers& Moving);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_JOINT_MODEL_H
