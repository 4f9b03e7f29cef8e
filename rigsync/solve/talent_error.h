// SPDX-License-Identifier: Apache-2.0
//
// What the uncertainty of the camera's mount comes to in the picture: how far a virtual object at
// the talent's distance may be from where it belongs.
#ifndef RIGSYNC_SOLVE_TALENT_ERROR_H
#define RIGSYNC_SOLVE_TALENT_ERROR_H

#include "rigsync/capture/lens.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/Geometry>

namespace rigsync {

// Half-widths at 95 %, each in its widest direction across the view.
struct Talent_Error {
  double Distance = 0;  // metres from the camera
  double Half_Width_Mm = 0;
  double Half_Width_Px = 0;
};

// Of a point on the optical axis, with the mount's uncertainty alone: the lens counts as far as it
// moves the mount. What a principal point that is off does to the mount, the same lens undoes when
// it draws the picture, so the figure is on the safe side where the lens is what is known least.
// With a mount (R, t), a point p in Cam comes from R^T (p - t) in Tc, which the tracker knows. With
// the mount moved to (exp(turn) R, t + shift) it is seen at
//
//   exp(turn) (p - t) + t + shift = p + turn x (p - t) + shift,   to first order in the turn.
//
// On the axis a shift across the view by one metre is Fx or Fy over the distance in pixels.
// Intervals are those of t with the fewest degrees of freedom of the mount's six numbers. Distance
// is above 0. NaN in the uncertainty makes both half-widths NaN.
Talent_Error Error_At_Talent(const Mount_Uncertainty& Uncertainty,
                             const Eigen::Isometry3d& Transform_Cam_Tc, const Lens& Lens_Px,
                             double Distance);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_TALENT_ERROR_H
