// SPDX-License-Identifier: Apache-2.0
//
// The lag between picture and sample (row_lag.h) as one more unknown of the joint solve, beside
// those of joint_model.h. It is solved with them in the same steps: the normal equations have one
// more row and column, which are eliminated here, so that a solve without a lag is what it was.
//
// With D and g the derivatives of a row by the unknowns and by the lag, W its weight, and
// C the covariance of the unknowns at a known lag: the unknowns follow the lag by B = -C sum(D'Wg),
// a row by f = g + D B, the lag's variance is V = 1 / (sum(g'Wf) + prior), and the covariance of
// the unknowns is C + B V B'.
#ifndef RIGSYNC_SOLVE_LAG_SOLVE_H
#define RIGSYNC_SOLVE_LAG_SOLVE_H

#include "rigsync/solve/mount_uncertainty.h"
#include "rigsync/solve/restricted_likelihood.h"
#include "rigsync/solve/row_lag.h"

#include <vector>

namespace rigsync {

// What is known of a lag before anything was seen: one standard deviation, seconds. Cameras and
// tracking systems deliver within a few tenths of a second.
constexpr double Lag_Deviation = 0.5;

// A lag that is only known to be within more than this, seconds at 95 %, is not known: 1 mm at a
// speed of 10 mm/s.
constexpr double Widest_Told_Lag = 0.1;

enum class Lag_Evidence {
  Stated,    // nothing was solved
  Open,      // the bodies moved too little for the capture to tell it
  Not_Seen,  // no lag is as good an explanation
  Found,     // 0 is outside of the interval
};

struct Lag_Estimate {
  double Seconds = 0;
  double Half_Width_Seconds = 0;  // 95 %; 0 for a stated one
  bool Is_Stated = false;
  Seen_Speed Speed;  // of the rows that count
};

Lag_Evidence Evidence_Of(const Lag_Estimate& Lag);

// Begins the lag's part of the terms, which have the step and the weights at a known lag: the step
// becomes that of all unknowns, and the likelihood that of rows with an unknown lag.
void Add_Lag(const std::vector<Linear_Row>& Rows, const Lag_Prior& Prior, Likelihood_Terms& Terms);

// How a row's prediction follows the lag when the unknowns follow it too.
Vector6d Following(const Linear_Row& Row, const Lag_Terms& Lag);

// What the lag adds to the uncertainty of the unknowns, whose other parts are there already. The
// lag's own variance is corrected for estimated weights after Kenward and Roger (1997).
void Add_Lag_Uncertainty(const std::vector<Linear_Row>& Rows, const Likelihood_Terms& Terms,
                         Unknown_Uncertainty& Unknown);

// 95 %, seconds, by t with the freedom of the lag's variance.
double Lag_Half_Width(const Unknown_Uncertainty& Unknown);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_LAG_SOLVE_H
