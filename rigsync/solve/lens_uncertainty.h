// SPDX-License-Identifier: Apache-2.0
//
// How far off each number of a solved lens may be.
#ifndef RIGSYNC_SOLVE_LENS_UNCERTAINTY_H
#define RIGSYNC_SOLVE_LENS_UNCERTAINTY_H

#include "rigsync/solve/observation.h"

namespace rigsync {

// Half-widths of the 95 % intervals of Fx, Fy, Cx, Cy (pixels), K1 and K2, from the covariance of
// Observations. Thousands of corners give it, so they are those of a normal distribution. Infinite
// where the covariance is not that of a lens that was solved.
Vector6d Lens_Half_Widths(const Matrix6d& Lens_Covariance);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_LENS_UNCERTAINTY_H
