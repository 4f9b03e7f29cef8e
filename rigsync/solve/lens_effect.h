// SPDX-License-Identifier: Apache-2.0
//
// What an error of the lens does to the solved mounts: the boards' poses follow the lens that they
// were all solved with, and the mounts follow the poses.
#ifndef RIGSYNC_SOLVE_LENS_EFFECT_H
#define RIGSYNC_SOLVE_LENS_EFFECT_H

#include "rigsync/solve/joint_fit.h"
#include "rigsync/solve/observation.h"

#include <Eigen/Core>

#include <vector>

namespace rigsync {

using Unknowns_By_Lens = Eigen::Matrix<double, Unknowns, Lens_Parameters>;

// The step of the unknowns for a change of Fx, Fy, Cx, Cy, K1 and K2. Kept are the rows of the fit.
Unknowns_By_Lens Follow_Lens(const std::vector<Observation>& Kept, const Joint_Fit& Fit);

// The same of a lag that is an unknown, seconds.
Eigen::Matrix<double, 1, Lens_Parameters> Lag_By_Lens(const std::vector<Observation>& Kept,
                                                      const Joint_Fit& Fit);

// By which the rows say that the variance of the lens is larger than the corners' scatter tells, at
// least 1. Corners whose errors move boards by more than they scatter, being alike all over an
// image, moved the lens by more too. It is the corners' factor as far as it is sure, by a standard
// deviation, so that it stays 1 where the corners are what they seem.
double Lens_Factor(const Joint_Fit& Fit);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_LENS_EFFECT_H
