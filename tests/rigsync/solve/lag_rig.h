// SPDX-License-Identifier: Apache-2.0
//
// Captures of pose_rig.h whose bodies move while pictures are taken, and whose samples are late by
// a known lag.
#ifndef RIGSYNC_TESTS_SOLVE_LAG_RIG_H
#define RIGSYNC_TESTS_SOLVE_LAG_RIG_H

#include "tests/rigsync/solve/pose_rig.h"

namespace lag_rig {

using pose_rig::Pose;
using pose_rig::Quaterniond;
using pose_rig::Vector3d;

struct Motion {
  double Lag_Seconds = 0;
  double Speed_Mm = 10, Speed_Deg = 0.5;  // per second, of each body that moves
  double Noise_Mm = 0, Noise_Deg = 0;     // of the velocities as they were recorded, per axis
};

inline rigsync::Body_Velocity Drawn(const Motion& Of, simulate::Random& Random) {
  return {1e-3 * Of.Speed_Mm * Random.Direction(),
          pose_rig::Radians_In_Degree * Of.Speed_Deg * Random.Direction()};
}

inline rigsync::Body_Velocity Recorded(rigsync::Body_Velocity Velocity, const Motion& Of,
                                       simulate::Random& Random) {
  Velocity.Linear += 1e-3 * Of.Noise_Mm * Random.Gaussian_Vector();
  Velocity.Angular += pose_rig::Radians_In_Degree * Of.Noise_Deg * Random.Gaussian_Vector();
  return Velocity;
}

// The body the given time before: against its velocity and its turn.
inline Eigen::Isometry3d Before(const Eigen::Isometry3d& Transform_Base_Body,
                                const rigsync::Body_Velocity& Velocity, double Seconds) {
  const Pose Now{Quaterniond(Transform_Base_Body.linear()), Transform_Base_Body.translation()};
  return Pose{pose_rig::By_Turn(-Seconds * Velocity.Angular) * Now.Turn,
              Now.Shift - Seconds * Velocity.Linear}
      .As_Transform();
}

inline pose_rig::Rig Make_Rig(const pose_rig::Options& Of, const Motion& Moving) {
  pose_rig::Rig Made = pose_rig::Make_Rig(Of);
  simulate::Random Random(Of.Seed, 41);
  for (rigsync::Observation& Row : Made.Seen.Rows) {
    rigsync::Row_Motion True{Drawn(Moving, Random), Drawn(Moving, Random)};
    if (Of.Still == pose_rig::Standing::Camera) True.Camera = {};
    if (Of.Still == pose_rig::Standing::Board) True.Board = {};
    Row.Transform_Tc_Base =
        Before(Row.Transform_Tc_Base.inverse(), True.Camera, Moving.Lag_Seconds).inverse();
    Row.Transform_Base_Tr = Before(Row.Transform_Base_Tr, True.Board, Moving.Lag_Seconds);
    Row.Motion = rigsync::Row_Motion{Recorded(True.Camera, Moving, Random),
                                     Recorded(True.Board, Moving, Random)};
  }
  return Made;
}

}  // namespace lag_rig

#endif  // RIGSYNC_TESTS_SOLVE_LAG_RIG_H
