// SPDX-License-Identifier: Apache-2.0
//
// The library's mount beside the jointly solved one: whether a stage can rely on it.
#ifndef RIGSYNC_SOLVE_SECOND_OPINION_H
#define RIGSYNC_SOLVE_SECOND_OPINION_H

#include "rigsync/solve/joint_solve.h"
#include "rigsync/solve/lens_model_check.h"
#include "rigsync/solve/slip.h"

#include <optional>
#include <vector>

namespace rigsync {

enum class Verdict { Agree, Look, Dont_Use };

// Which of the two solved mounts is the result.
enum class Solution_Choice { Library, Joint };

// How far off a mount may be.
struct Accuracy_Limits {
  double Mm = 3.0, Deg = 0.3;
};

enum class Verdict_Reason {
  // The chosen mount has no good answer:
  No_Library_Transform,     // it holds NaN or infinity, or is no pose
  Library_Code,             // the library's own limits refuse it
  Not_Solved,               // the joint solve has no answer of its own
  Difference_Beyond_Limit,  // between the two
  Width_Beyond_Limit,       // the joint solve can't tell the mount to the limit
  Slip_Found,
  // Worth a look:
  Difference_Unlikely,   // outside 99 % of what its uncertainty allows, and not negligible
  Difference_And_Width,  // together beyond the limit, the width taken at 99 %
  Slip_Suspected,
  Last_Rows_Left_Out,  // a slip before them would look the same, and the mount would be the old one
  Lens_Does_Not_Fit,   // what the lens model leaves out moves the mount, together beyond the limit
  Capture_Faulty,      // an inspection finds an error that spoils both solves alike
  Place_Contradicted,  // the stated place of the board is not what the capture says
};

// What else counts for the judgement.
struct Judged_Result {
  Solution_Choice Choice = Solution_Choice::Library;
  bool Has_Usable_Code = true;         // the library's
  bool Is_Place_Contradicted = false;  // Place_Comparison has a place that is no prior
  bool Is_Capture_Faulty = false;      // its likeliest cause of doubt is an error
  std::optional<Lens_Model_Check> Lens_Check;
};

struct Second_Opinion {
  Verdict Judgement = Verdict::Dont_Use;
  std::vector<Verdict_Reason> Reasons;  // gravest first; empty when both agree
  // Of the library's mount from the joint one: NaN where either is missing.
  double Difference_Mm = 0, Difference_Deg = 0;
  double Probability_Nearer = 0;  // 0 to 1: the part of captures in which the truth is nearer
  // The joint solve's half-widths at 95 %, in their widest direction.
  double Half_Width_Mm = 0, Half_Width_Deg = 0;
};

// The joint mount, where it is the chosen one, needs no agreement: a library's run that is off, as
// stale rows make it, or that has no answer, is worth a look only. Everything else is judged alike.
//
// Wrong mounts that both solves share stay unseen: a square that is off by a known amount, samples
// that belong to other images throughout.
Second_Opinion Judge_Mount(const Eigen::Matrix4d& Library_Transform_Cam_Tc,
                           const Joint_Solution& Joint, const std::optional<Slip>& Likeliest_Slip,
                           const Accuracy_Limits& Limits = {}, const Judged_Result& Result = {});

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_SECOND_OPINION_H
