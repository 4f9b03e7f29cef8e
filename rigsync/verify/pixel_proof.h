// SPDX-License-Identifier: Apache-2.0
//
// Whether what was exported to a target shows the same pixels as the solved camera. Both see the
// same points of the stage: the solved camera along the chain of the library, Transform_Cam_Tc and
// the sample as the library reads it; the target through its own scene, in which the sample, the
// points and the exported camera have the target's axes.
#ifndef RIGSYNC_VERIFY_PIXEL_PROOF_H
#define RIGSYNC_VERIFY_PIXEL_PROOF_H

#include "rigsync/verify/exported_camera.h"
#include "rigsync/verify/proof_points.h"

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace rigsync {

// One comparison: a difference in pixels and the bound of it at the same point.
struct Compared_Pixel {
  double Px = -1, Allowed_Px = 0;  // nothing compared yet
  std::size_t Sample = 0;          // index; the number of samples for the target's own one
  Eigen::Vector2d Pixel = Eigen::Vector2d::Zero();

  // False for a difference that is NaN, as of a point behind the target's camera.
  bool Is_Within() const { return Px <= Allowed_Px; }
};

// The comparison of all points at all samples.
struct Compared_Pixels {
  Compared_Pixel Worst;                  // the largest difference
  std::optional<Compared_Pixel> Beyond;  // the one furthest beyond its bound; none when all hold
};

struct Pixel_Proof {
  Compared_Pixels Mount;                    // the target's pose, the solved lens
  std::optional<Compared_Pixels> Own_Lens;  // the target's pose and its own lens

  bool Holds() const;
};

// The solved camera: a pose as the library gave it, which may be no exact rotation, and the lens.
struct Reference_Camera {
  Eigen::Matrix4d Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  Lens Lens_Px;
};

// The bound of each pixel is the sum of what each field's rounding moves it by, of the turn and the
// shift that Target allows, of the library's relabelling of the tracker's axes (1.4e-10 rad) and of
// the arithmetic of the comparison itself.
Pixel_Proof Prove_Pixels(const Reference_Camera& Reference, const Exported_Camera& Target,
                         const std::vector<Tracker_Sample>& Samples,
                         const std::vector<Eigen::Vector3d>& Points_Cam);

// How far the columns of a pose's rotation are from being perpendicular and of length 1.
double Rotation_Defect(const Eigen::Matrix4d& Transform);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_PIXEL_PROOF_H
