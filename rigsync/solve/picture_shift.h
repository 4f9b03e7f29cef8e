// SPDX-License-Identifier: Apache-2.0
//
// How far a picture moves when another lens and another mount take the place of those that it was
// drawn with.
#ifndef RIGSYNC_SOLVE_PICTURE_SHIFT_H
#define RIGSYNC_SOLVE_PICTURE_SHIFT_H

#include "rigsync/capture/lens.h"

#include <Eigen/Geometry>

namespace rigsync {

// Lens of another image size: its numbers in pixels times these factors.
Lens Scaled(const Lens& Lens_Px, double By_Width, double By_Height);

// The pixel of a point in Cam; NaN for one that is not in front of the camera.
Eigen::Vector2d Pixel_Of(const Lens& Lens_Px, const Eigen::Vector3d& Point_Cam);

// The point that is seen at a pixel, at this distance along the optical axis, metres. NaN where no
// point is seen at the pixel: distortion turns back before it.
Eigen::Vector3d Point_At(const Lens& Lens_Px, const Eigen::Vector2d& Pixel, double Distance);

// What draws a virtual object: the tracker's pose is multiplied by the mount, the point by the
// lens.
struct Drawing {
  Lens Lens_Px;
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
};

struct Picture_Shift {
  Eigen::Vector2d Pixel = Eigen::Vector2d::Zero();  // where the object was drawn
  Eigen::Vector2d Px = Eigen::Vector2d::Zero();     // how far from there it is drawn now
  double Mm = 0;                                    // what this is at the object's distance
};

// An object was drawn at Pixel, at this distance along the axis. With the same pose of the tracker
// it is now drawn at
//
//   Pixel_Of(Now, Now.Transform_Cam_Tc * Then.Transform_Cam_Tc^-1 * Point_At(Then, Pixel)).
//
// The millimetres are between the points that Now's lens sees at both pixels.
Picture_Shift Shift_In_Picture(const Drawing& Then, const Drawing& Now,
                               const Eigen::Vector2d& Pixel, double Distance);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_PICTURE_SHIFT_H
