// SPDX-License-Identifier: Apache-2.0
//
// Most squares are what they are stated to be, and some are typed or printed wrong by a few tenths
// of a percent. A scale that is always free costs every capture a sixth of its accuracy, a scale
// that is always held costs the wrong ones 5 mm. So both are fitted and averaged by how probable
// the rows make each (Bayesian model averaging, Hoeting and others 1999).
#ifndef RIGSYNC_SOLVE_EXACT_SQUARE_H
#define RIGSYNC_SOLVE_EXACT_SQUARE_H

#include "rigsync/solve/joint_fit.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <vector>

namespace rigsync {

// What a board that was measured over its whole length is right to, one standard deviation.
constexpr double Exact_Scale_Deviation = 0.0002;

// The same rows with the square as it was stated.
struct Exact_Square {
  double Probability = 0;  // of the square being exact, by the rows
  Joint_Fit Fit;
  Unknown_Vector Motion = Unknown_Vector::Zero();  // to this fit from that with a free scale
  double Lag_Change = 0;                           // likewise, seconds
};

// Prior_Probability is that of a square being exact before anything was seen; 0 leaves the scale
// free. A fit that doesn't converge has probability 0.
Exact_Square Fit_Exact_Square(const std::vector<Observation>& Rows, const Joint_Fit& Free,
                              const Fit_Settings& Settings, double Prior_Probability);

// The uncertainty of the average, in which the difference of both has its part.
Unknown_Uncertainty Average(const Unknown_Uncertainty& Free, const Unknown_Uncertainty& Exact,
                            const Exact_Square& Square);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_EXACT_SQUARE_H
