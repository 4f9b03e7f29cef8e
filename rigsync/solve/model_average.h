// SPDX-License-Identifier: Apache-2.0
//
// The same rows explained in several ways, averaged by how probable the rows make each (Bayesian
// model averaging, Hoeting and others 1999). What the explanations differ by is uncertain too.
#ifndef RIGSYNC_SOLVE_MODEL_AVERAGE_H
#define RIGSYNC_SOLVE_MODEL_AVERAGE_H

#include "rigsync/solve/mount_uncertainty.h"

#include <vector>

namespace rigsync {

struct Explanation {
  double Log_Evidence = 0;  // of the rows under it, with its prior probability, up to a constant
  Unknown_Vector Motion = Unknown_Vector::Zero();  // from a point that all share to its solution
  double Lag_Change = 0;                           // likewise, seconds
  Unknown_Uncertainty Uncertainty;
};

struct Average_Explanation {
  std::vector<double> Probabilities;  // in the order given, adding up to 1
  Unknown_Vector Motion = Unknown_Vector::Zero();
  double Lag_Change = 0;
  Unknown_Uncertainty Uncertainty;
};

// Whether an explanation with that much more log evidence than the first isn't worth its time: the
// first is at least e^10 times as probable, or the evidence isn't known.
bool Is_Hopeless(double Gain);

// Of at least one. An explanation whose evidence isn't finite has no part, and the first has all of
// it when none is.
Average_Explanation Average(const std::vector<Explanation>& All);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_MODEL_AVERAGE_H
