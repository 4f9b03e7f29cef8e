// SPDX-License-Identifier: Apache-2.0
//
// Whether the library's lens model fits the camera. It has two radial coefficients. A lens with
// tangential distortion, or with a third radial coefficient, is solved with a principal point and a
// focal length that make up for it as well as they can, and the mount turns with them: the corners
// fit nearly as well, and both solves of the mount agree on it.
#ifndef RIGSYNC_SOLVE_LENS_MODEL_CHECK_H
#define RIGSYNC_SOLVE_LENS_MODEL_CHECK_H

#include "rigsync/solve/joint_solve.h"

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace rigsync {

// The coefficients P1, P2 and K3 of Brown's model, beside K1 and K2.
struct Lens_Model_Check {
  Eigen::Vector3d Coefficients = Eigen::Vector3d::Zero();  // P1, P2, K3 that fit best
  // How much better the corners fit with them, as a value of F with 3 degrees of freedom above:
  // near 1 when they are 0 and the errors of the corners are independent.
  double F = 0;
  // How Transform_Cam_Tc would move: turn in radians and shift in metres.
  Vector6d Mount_Motion = Vector6d::Zero();
};

// To first order, from the derivatives at the solved lens and poses (a score test, Rao 1948). Seen
// are the observations of Facts with this lens, Joint was solved from them with Options. None when
// nothing was solved.
std::optional<Lens_Model_Check> Check_Lens_Model(const std::vector<Row_Facts>& Facts,
                                                 const Board_Size& Board, double Square_Size,
                                                 const Lens& Lens_Px, const Observations& Seen,
                                                 const Joint_Solution& Joint,
                                                 const Joint_Options& Options = {});

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_LENS_MODEL_CHECK_H
