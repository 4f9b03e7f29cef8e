// SPDX-License-Identifier: Apache-2.0
//
// Whether a row belongs to the others: its squared distance to what the other rows predict, in
// units of the covariance of that difference, over six and over the same measure of the rows
// themselves. For a good row this externally studentised distance is a value of F; a row that is
// stale, jumped or belongs to another image is far beyond.
#ifndef RIGSYNC_SOLVE_ROW_TEST_H
#define RIGSYNC_SOLVE_ROW_TEST_H

#include "rigsync/solve/joint_fit.h"

#include <vector>

namespace rigsync {

// The probability that a good row is beyond the limit.
constexpr double Good_Row_Dropped = 1e-4;

struct Row_Distance {
  double F = 0;
  bool Is_Outlier = false;
};

// Row by row, for all of them; Is_Kept tells which of them were fitted, in their order.
std::vector<Row_Distance> Test_Rows(const std::vector<Observation>& Rows,
                                    const std::vector<bool>& Is_Kept, const Joint_Fit& Fit,
                                    const Fit_Settings& Settings);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_ROW_TEST_H
