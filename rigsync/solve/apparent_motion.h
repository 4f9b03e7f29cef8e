// SPDX-License-Identifier: Apache-2.0
//
// Turns of a tracker that are noise alone look like a motion of the capture, and seem to say where
// a mount is along directions of which the capture says nothing: the axis of turns that are all
// about one, everything when nothing turned. What they seem to say follows from the noise that was
// estimated, and is taken out of the uncertainty again.
#ifndef RIGSYNC_SOLVE_APPARENT_MOTION_H
#define RIGSYNC_SOLVE_APPARENT_MOTION_H

#include "rigsync/solve/joint_fit.h"

#include <vector>

namespace rigsync {

// The part of the unknowns' information (the inverse of a covariance) that is expected of noise
// alone: the sum over rows and sources of variance * (dD)' W (dD), dD being the derivative of the
// row's own derivative by the noise.
Unknown_Matrix Apparent_Information(const std::vector<Observation>& Rows, const Joint_Fit& Fit,
                                    const Moving_Trackers& Moving);

// What the covariance of the unknowns gains without it; zero where the capture moves well enough.
Unknown_Matrix Open_Part(const std::vector<Observation>& Rows, const Joint_Fit& Fit,
                         const Fit_Settings& Settings);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_APPARENT_MOTION_H
