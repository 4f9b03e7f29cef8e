// SPDX-License-Identifier: Apache-2.0
//
// Whether parts of the capture contradict each other by more than their noise. Errors that depend
// on the pose, as of a tracking system whose field is bent or of a lens that doesn't fit at the
// border, are alike in neighbouring rows: the mount of the rows on one side of the room is another
// than that of the rows on the other side, and more rows of the same kind don't average it out.
#ifndef RIGSYNC_SOLVE_DISAGREEMENT_H
#define RIGSYNC_SOLVE_DISAGREEMENT_H

#include "rigsync/solve/joint_fit.h"

#include <vector>

namespace rigsync {

using Row_Group = std::vector<std::size_t>;  // indices

// Rows that are near each other in where camera and board were, about Rows_In_Group in a group and
// at most Most_Groups; one group for less than twice as many rows.
constexpr std::size_t Rows_In_Group = 5;
constexpr std::size_t Most_Groups = 8;
std::vector<Row_Group> Neighbouring_Rows(const std::vector<Observation>& Rows);

// The mean square of what each group pulls the unknowns to, in units of what the fit's covariance
// expects, and the degrees of freedom that the mean is over (Satterthwaite 1946). About 1 when the
// noise of the rows is independent.
struct Disagreement {
  double Mean_Square = 1;
  double Freedom = 0;
};

Disagreement Measure_Disagreement(const Joint_Fit& Fit, const std::vector<Row_Group>& Groups);

// The factor of all standard deviations with which the groups agree; 1 as long as chance makes a
// disagreement as large in more than Chance of all captures.
constexpr double Chance = 0.005;
double Widening(const Disagreement& Of, std::size_t Rows);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_DISAGREEMENT_H
