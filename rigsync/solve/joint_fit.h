// SPDX-License-Identifier: Apache-2.0
//
// Both mounts and the square's scale from given rows, all of which count, with the weights that the
// rows themselves ask for: steps of Gauss and Newton, damped where they overshoot, and of Fisher's
// scoring in turn.
#ifndef RIGSYNC_SOLVE_JOINT_FIT_H
#define RIGSYNC_SOLVE_JOINT_FIT_H

#include "rigsync/solve/restricted_likelihood.h"

#include <optional>
#include <vector>

namespace rigsync {

// Where the board sits on its tracker as somebody measured it, with the standard deviation of the
// rotation on each axis, radians, and of the offset on each axis, metres.
struct Board_Prior {
  Eigen::Isometry3d Transform_Tr_Chart = Eigen::Isometry3d::Identity();
  double Rotation_Deviation_Rad = 0, Offset_Deviation = 0;
};

// What is known of a mount before anything was seen: a tracker sits within a few metres of what it
// tracks. One standard deviation, metres and radians. It keeps every matrix regular, and what the
// rows leave open is stated to be open by twice that.
constexpr double Open_Deviation = 2.0;

struct Fit_Settings {
  double Corner_Variance = 0;  // square pixels
  Moving_Trackers Moving;
  double Scale_Deviation = 0;  // of the stated square, as a part of it
  std::optional<Board_Prior> Prior;
  bool Solves_Lag = false;  // otherwise it stays where the fit starts
};

struct Joint_Fit {
  Mounts At;
  Variances Variance = Variances::Ones();
  bool Has_Converged = false;
  Likelihood_Terms Terms;        // at the solution, of the rows that were fitted
  std::vector<Linear_Row> Rows;  // likewise
};

std::vector<Linear_Row> Linearise_Rows(const std::vector<Observation>& Rows, const Mounts& At,
                                       const Fit_Settings& Settings);

Linear_Prior Linearise_Prior(const Mounts& At, const Fit_Settings& Settings);

// Variances to begin with: what the median residuals of the rows come to when one source has made
// them all.
Variances First_Variances(const std::vector<Linear_Row>& Rows);

Joint_Fit Fit_Rows(const std::vector<Observation>& Rows, const Mounts& Start,
                   const Variances& Start_Variances, const Fit_Settings& Settings);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_JOINT_FIT_H
