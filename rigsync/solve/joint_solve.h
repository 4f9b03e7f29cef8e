// SPDX-License-Identifier: Apache-2.0
//
// Both mounts of a capture solved together, Transform_Cam_Tc and Transform_Tr_Chart, without a
// start and with their uncertainty. Rows that contradict the others are left out by name.
#ifndef RIGSYNC_SOLVE_JOINT_SOLVE_H
#define RIGSYNC_SOLVE_JOINT_SOLVE_H

#include "rigsync/solve/capture_motion.h"
#include "rigsync/solve/joint_fit.h"
#include "rigsync/solve/lag_solve.h"
#include "rigsync/solve/mount_uncertainty.h"
#include "rigsync/solve/observation.h"
#include "rigsync/solve/tracker_rest.h"

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

namespace rigsync {

enum class Solve_Status {
  Solved,
  Too_Few_Rows,   // fewer than Least_Rows usable ones
  No_Majority,    // no more than half of the rows agree with each other
  Not_Converged,  // the steps didn't settle: nothing about the mounts is known
};

// With fewer, nothing is left to tell noise and bad rows by.
constexpr std::size_t Least_Rows = 5;

struct Joint_Options {
  // A stated square that isn't exact is right to this part of it, one standard deviation: errors
  // of printing and typing.
  double Scale_Deviation = 0.003;
  std::optional<Board_Prior> Prior;
  // How probable it is, before anything was seen, that the stated square is exact. 0 leaves the
  // scale free.
  double Exact_Square_Probability = 0.5;
  // Needs the motion of the rows: those without are taken to stand still.
  Lag_Choice Lag = {};
};

// The noise that the capture shows, standard deviations on each axis.
struct Noise_Estimate {
  static constexpr double Unknown = std::numeric_limits<double>::quiet_NaN();

  double Corner_Factor = Unknown;  // of the corners' deviation, at least 1
  double Rotation_Rad = Unknown;   // of each tracker that moves
  double Position = Unknown;       // of both trackers together, metres
};

struct Solved_Row {
  std::size_t Row = 0;  // as in its observation
  bool Is_Kept = false;
  double F = 0;  // externally studentised squared distance, about 1 for a good row
  Vector6d Residual = Vector6d::Zero();  // radians and metres, observed less predicted
  bool Is_Cut_Off = false;               // of a board that is only partly seen
};

struct Joint_Solution {
  Solve_Status Status = Solve_Status::Too_Few_Rows;
  // Mounts, widths, noise and Rows are filled for Solved and No_Majority only; otherwise every
  // half-width is infinite and the noise is NaN. Settled is always filled, Settings unless there
  // are too few rows.
  Mounts At;
  Mount_Uncertainty Camera_Mount, Board_Mount;  // of the motions of Cam_Tc and Tr_Chart
  double Scale_Deviation = std::numeric_limits<double>::infinity();  // of Square_Scale
  double Exact_Square_Probability = 0;                               // after the rows were seen
  Noise_Estimate Noise;
  std::optional<Lag_Estimate> Lag;  // none where samples were taken as of the pictures' moments
  // Groups of neighbouring rows contradict each other by this much more than independent noise lets
  // them: all half-widths are stated this much wider, at least 1. They cover errors that are alike
  // in neighbouring poses as far as these differ within the capture, and no error that all rows
  // share, as of a tracking system whose scale is off.
  double Widening = 1;
  std::vector<Solved_Row> Rows;  // one for each usable observation, in order
  Capture_Motion Motion;
  // What a closer look at the same capture begins with.
  Fit_Settings Settings;
  Variances Variance = Variances::Ones();
  std::vector<Observation> Settled;  // the usable observations, still trackers averaged
};

// The number of rows that were kept and whose board is cut off: no other solve uses them.
std::size_t Count_Cut_Off(const Joint_Solution& Solution);

// Observations that hold NaN are left out and have no entry in Rows.
Joint_Solution Solve_Mounts(const Observations& Seen, const Joint_Options& Options = {});

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_JOINT_SOLVE_H
