// SPDX-License-Identifier: Apache-2.0
//
// A solved lens and how sure it is: which numbers can't be told apart, and its distortion.
#ifndef RIGSYNC_REVIEW_LENS_SHAPE_H
#define RIGSYNC_REVIEW_LENS_SHAPE_H

#include "rigsync/capture/lens.h"
#include "rigsync/solve/lens_model_check.h"
#include "rigsync/solve/observation.h"

#include <vector>

namespace rigsync {

// Whether the covariance of Observations is that of a lens that was solved: all finite, all
// variances above 0.
bool Is_Known(const Matrix6d& Lens_Covariance);

// From -1 to 1, with ones on the diagonal. The covariance is known.
Matrix6d Correlation_Of(const Matrix6d& Lens_Covariance);

// Whether the corners ask for coefficients that the lens model leaves out: F is above what it is in
// one of a thousand captures that don't.
bool Asks_For_More(const Lens_Model_Check& Check);

struct Distortion_Point {
  double Radius_Px = 0;      // of the drawn point, from the principal point
  double Shift_Px = 0;       // outwards, from where a lens without distortion draws it
  double Half_Width_Px = 0;  // 95 %; 0 without a covariance
};

// From the principal point to the radius, evenly in the undistorted radius. With f the root of
// Fx Fy and r the undistorted radius over f, a point is drawn at f r (1 + K1 r^2 + K2 r^4). The
// curve ends earlier where that no longer grows: beyond, the model means nothing.
std::vector<Distortion_Point> Distortion_Curve(const Lens& Lens_Px, const Matrix6d& Lens_Covariance,
                                               double To_Radius_Px);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_LENS_SHAPE_H
