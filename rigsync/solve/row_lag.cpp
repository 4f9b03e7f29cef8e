// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/row_lag.h"

#include <cmath>

namespace rigsync {
namespace {

Vector6d Motion_In(const Body_Velocity& Velocity, double Seconds) {
  Vector6d Motion;
  Motion << Seconds * Velocity.Angular, Seconds * Velocity.Linear;
  return Motion;
}

// Of a point that moves with the body, whose origin is given.
Eigen::Vector3d Point_Velocity(const Body_Velocity& Velocity, const Eigen::Vector3d& Origin_Base,
                               const Eigen::Vector3d& Point_Base) {
  return Velocity.Linear + Velocity.Angular.cross(Point_Base - Origin_Base);
}

}  // namespace

Tracker_Poses Poses_At_Picture(const Observation& Seen, double Lag_Seconds) {
  if (!Seen.Motion || Lag_Seconds == 0.0) return {Seen.Transform_Tc_Base, Seen.Transform_Base_Tr};
  const Eigen::Isometry3d Transform_Base_Tc =
      Moved(Seen.Transform_Tc_Base.inverse(), Motion_In(Seen.Motion->Camera, Lag_Seconds));
  return {Transform_Base_Tc.inverse(),
          Moved(Seen.Transform_Base_Tr, Motion_In(Seen.Motion->Board, Lag_Seconds))};
}

Vector6d Motion_Seen_By_Camera(const Observation& Seen, const Tracker_Poses& At_Picture,
                               const Eigen::Vector3d& Point_Base) {
  Vector6d Motion = Vector6d::Zero();
  if (!Seen.Motion) return Motion;
  const Body_Velocity &Camera = Seen.Motion->Camera, &Board = Seen.Motion->Board;
  Motion << Board.Angular - Camera.Angular,
      Point_Velocity(Board, At_Picture.Transform_Base_Tr.translation(), Point_Base) -
          Point_Velocity(Camera, At_Picture.Transform_Tc_Base.inverse().translation(), Point_Base);
  return Motion;
}

Seen_Speed Measure_Speed(const std::vector<Observation>& Rows,
                         const Eigen::Isometry3d& Transform_Tr_Chart) {
  double Shifts = 0, Turns = 0;
  for (const Observation& Seen : Rows) {
    const Eigen::Vector3d Corner_Base = Seen.Transform_Base_Tr * Transform_Tr_Chart.translation();
    const Vector6d Motion =
        Motion_Seen_By_Camera(Seen, {Seen.Transform_Tc_Base, Seen.Transform_Base_Tr}, Corner_Base);
    Turns += Motion.head<3>().squaredNorm();
    Shifts += Motion.tail<3>().squaredNorm();
  }
  if (Rows.empty()) return {};
  const auto Count = static_cast<double>(Rows.size());
  return {std::sqrt(Shifts / Count), std::sqrt(Turns / Count)};
}

}  // namespace rigsync
