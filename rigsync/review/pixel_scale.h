// SPDX-License-Identifier: Apache-2.0
//
// What an error in the picture is on the stage, and what an error of the mount is in the picture.
#ifndef RIGSYNC_REVIEW_PIXEL_SCALE_H
#define RIGSYNC_REVIEW_PIXEL_SCALE_H

#include "rigsync/review/corner_errors.h"

#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// Of a point on the optical axis at this distance from the camera, metres.
struct Pixel_Scale {
  double Distance = 0;
  double Mm_Per_Px = 0;         // across the view
  double Px_Per_Mm = 0;         // of a mount that is shifted across the view by a millimetre
  double Px_Per_Tenth_Deg = 0;  // of one that is turned by a tenth of a degree, at worst
  double Mm_Per_Tenth_Deg = 0;  // the same across the view
};

// With F = sqrt(Fx * Fy) and a mount Transform_Cam_Tc = (R, t), a point p in Cam that the tracker
// knows moves by turn x (p - t) + shift, to first order in the turn, when the mount does
// (rigsync/solve/talent_error.h). On the axis p = (0, 0, Distance), and across the view a shift of
// s metres is F s / Distance pixels. A turn moves the point across the view by at most its angle
// times |p - t|: about the axis through the tracker that is at right angles to p - t and to the
// direction in which p - t leans. Distance is above 0.
Pixel_Scale Scale_At(double Distance, const Eigen::Isometry3d& Transform_Cam_Tc,
                     const Lens& Lens_Px);

// Of the boards that the chosen solution uses, metres along the view.
struct Board_Distances {
  double Nearest = 0, Median = 0, Farthest = 0;
};

// None when no board's distance is known.
std::optional<Board_Distances> Find_Board_Distances(const std::vector<Row_Error>& Errors);

// The mean of the kept images' mean errors, pixels, which is how the library averages them; NaN
// without one.
double Mean_Error_Px(const std::vector<Row_Error>& Errors);

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_PIXEL_SCALE_H
