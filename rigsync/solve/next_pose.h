// SPDX-License-Identifier: Apache-2.0
//
// Which pose of the board in front of the camera to photograph next, and whether the capture has
// enough. Said for a board that is held in front of the camera; only the pose of one against the
// other counts, so the camera may be the one that moves.
//
// Optimal design of experiments: a row's information about the unknowns doesn't depend on what is
// measured in it, so it is known before the photograph is taken. Of all poses that a person can be
// asked for, the one is advised after which the sum of the variances of Transform_Cam_Tc, each in
// units of its limit, is least: the A-criterion, one row at a time (Fedorov 1972; Pukelsheim 1993).
// The variance of the widest direction, the E-criterion, would be nearer to what is judged, but
// where two directions are equally wide no single row lessens it.
#ifndef RIGSYNC_SOLVE_NEXT_POSE_H
#define RIGSYNC_SOLVE_NEXT_POSE_H

#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/held_pose.h"
#include "rigsync/solve/second_opinion.h"

#include <optional>
#include <vector>

namespace rigsync {

// A capture as far as it was taken.
struct Unfinished_Capture {
  Board_Size Board;
  double Square_Size = 0;        // metres, as stated
  int Width = 0, Height = 0;     // of the frame, pixels; both above 0
  std::vector<Row_Facts> Facts;  // the rows with a board, in order
  // Boards of later images whose samples aren't known yet. They count for the next pose, as if they
  // were rows, and for nothing else.
  std::vector<Corner_List> Without_Samples;
  std::optional<Lens> Lens_Px;                 // none before it could be fitted
  const Capture_Solution* Solution = nullptr;  // of these rows; null before it could be solved
  bool Is_Faulty = false;  // an inspection finds an error that more images don't mend
  Accuracy_Limits Limits;
};

// Half-widths at 95 % of Transform_Cam_Tc, in the widest direction.
struct Mount_Widths {
  double Mm = 0, Deg = 0;
};

struct Next_Pose {
  Pose_Parts Parts;
  Eigen::Isometry3d Transform_Cam_Chart = Eigen::Isometry3d::Identity();
  // With this pose added; none as long as the mount is not solved.
  std::optional<Mount_Widths> After;
};

// What a capture is short of.
enum class Shortage {
  Boards,     // fewer than the library needs
  Mount,      // nothing could be solved
  Certainty,  // the mount is not known well enough
  Soundness   // the solved mount would be refused or doubted: a slip, the lens, an error
};

struct Capture_Advice {
  bool Is_Enough = false;
  std::vector<Shortage> Short_Of;          // empty when there is enough
  std::vector<Verdict_Reason> Doubts;      // of Shortage::Soundness
  std::optional<Next_Pose> Pose;           // none only where the board fits the frame in no pose
  std::optional<Mount_Widths> Widths_Now;  // as solved
};

// A half-width at 99 % may take this part of the limit. The rest is for the difference between the
// two solves, which a verdict adds to it.
constexpr double Enough_Part = 2.0 / 3.0;

// The half-widths at 95 % with which that is so.
Mount_Widths Enough_Widths(const Accuracy_Limits& Limits);

// Where the mount isn't solved, or is hardly known, the advice reckons with usual places of the
// trackers; without a lens, with a usual lens.
Capture_Advice Advise(const Unfinished_Capture& Capture);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_NEXT_POSE_H
