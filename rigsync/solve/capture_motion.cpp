// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/capture_motion.h"

#include "rigsync/geometry/angle.h"

#include <Eigen/Eigenvalues>

namespace rigsync {

Capture_Motion Measure_Motion(const std::vector<Observation>& Rows) {
  Capture_Motion Motion;
  if (Rows.empty()) return Motion;
  std::vector<Eigen::Matrix3d> Rotations;
  for (const Observation& Seen : Rows) Rotations.push_back(Seen.Board.Transform_Cam_Chart.linear());
  const Eigen::Matrix3d Mean = Mean_Rotation(Rotations);
  Eigen::Matrix3d Scatter = Eigen::Matrix3d::Zero();
  for (const Eigen::Matrix3d& Rotation : Rotations) {
    const Eigen::Vector3d Turn = Turn_From_Rotation(Rotation * Mean.transpose());
    Scatter += Turn * Turn.transpose() / static_cast<double>(Rotations.size());
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Solver(Scatter);
  Motion.Turns_Deg = Degrees_Per_Radian * Solver.eigenvalues().reverse().cwiseMax(0.0).cwiseSqrt();
  Motion.First_Axis_Cam = Solver.eigenvectors().col(2);
  if (Motion.Turns_Deg[1] >= Least_Second_Turn_Deg) {
    Motion.Weakness = Motion_Weakness::None;
  } else if (Motion.Turns_Deg[0] >= Least_Second_Turn_Deg) {
    Motion.Weakness = Motion_Weakness::One_Axis;
  }
  return Motion;
}

}  // namespace rigsync
