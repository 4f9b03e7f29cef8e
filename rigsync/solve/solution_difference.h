// SPDX-License-Identifier: Apache-2.0
//
// Whether two solutions that were made apart differ by more than their uncertainties explain.
//
// Covariances add. The degrees of freedom of the sum are those of Welch and Satterthwaite (1946)
// for one axis, and of Krishnamoorthy and Yu (2004) for all six numbers together.
#ifndef RIGSYNC_SOLVE_SOLUTION_DIFFERENCE_H
#define RIGSYNC_SOLVE_SOLUTION_DIFFERENCE_H

#include "rigsync/capture/lens.h"
#include "rigsync/solve/mount_uncertainty.h"

namespace rigsync {

// Of the motion from one mount to another that is nearly the same.
Mount_Uncertainty Uncertainty_Of_Difference(const Mount_Uncertainty& One,
                                            const Mount_Uncertainty& Other);

// The part of all pairs of captures (0 to 1) of an unchanged mount that differ by less than this.
// The first takes all six numbers, the next two the turn or the shift alone, the last all but the
// shift along z of Cam, which is the optical axis. NaN where nothing is known.
double Probability_Of_Less(const Mount_Uncertainty& Difference, const Vector6d& Motion);
double Probability_Of_Less_Turn(const Mount_Uncertainty& Difference, const Vector6d& Motion);
double Probability_Of_Less_Shift(const Mount_Uncertainty& Difference, const Vector6d& Motion);
double Probability_Of_Less_Beside_Axis(const Mount_Uncertainty& Difference, const Vector6d& Motion);

// The same for a lens that was solved from thousands of corners each time, so that its covariance
// is known. In the order of the lens's covariance, pixels and coefficients.
Vector6d Lens_Numbers(const Lens& Lens_Px);
double Probability_Of_Less_Lens(const Matrix6d& Covariance, const Vector6d& Difference);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_SOLUTION_DIFFERENCE_H
