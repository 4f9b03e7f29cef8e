// SPDX-License-Identifier: Apache-2.0
//
// A tracker that slipped on its mount during the capture: from one row on, one of the two mounts is
// another. Found by a likelihood ratio over both trackers and all rows at which it may have
// happened. Rows count by a density of t, so that a few bad ones don't look like a slip.
#ifndef RIGSYNC_SOLVE_SLIP_H
#define RIGSYNC_SOLVE_SLIP_H

#include "rigsync/solve/joint_solve.h"

#include <optional>

namespace rigsync {

enum class Slipped_Tracker { Camera, Board };

enum class Slip_Evidence {
  None,
  Look,   // more than clean captures have; errors that depend on the pose can do that
  Found,  // nothing but a slip explains it
};

// Twice the logarithm of the likelihood ratio from which on a slip is worth a look, and from which
// on it is named. Clean captures stayed below the first, real ones with errors that depend on the
// pose below the second.
constexpr double Look_Gain = 35.0;
constexpr double Found_Gain = 60.0;

// On both sides of a slip there are at least this many rows.
constexpr std::size_t Least_Rows_Beside_Slip = 3;

struct Slip {
  Slip_Evidence Evidence = Slip_Evidence::None;
  Slipped_Tracker Tracker = Slipped_Tracker::Camera;
  std::size_t First_Row = 0;  // from which on the mount is another, as in its observation
  double Gain = 0;            // twice the logarithm of the likelihood ratio
  // From the mount before to the mount after: turn in radians and shift in metres of
  // Transform_Cam_Tc or Transform_Tr_Chart.
  Vector6d Motion = Vector6d::Zero();
};

// A slip below both moves no picture. In captures with very little noise, what is left of the lens
// or of the corners looks like one.
constexpr double Least_Slip_Mm = 0.5;
constexpr double Least_Slip_Deg = 0.05;

bool Is_Noticeable(const Slip& Seen);

// The likeliest slip of the capture. None when the solve left nothing to go by, or when there are
// too few rows for one.
std::optional<Slip> Find_Slip(const Joint_Solution& Solution);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_SLIP_H
