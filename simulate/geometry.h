// SPDX-License-Identifier: Apache-2.0
//
// Rotations, poses and the lens of the simulator. Transform_A_B takes coordinates in B to
// coordinates in A. Angles are in radians unless their name ends in Deg.
#ifndef RIGSYNC_SIMULATE_GEOMETRY_H
#define RIGSYNC_SIMULATE_GEOMETRY_H

#include "simulate/simulate.h"

#include <Eigen/Core>

namespace simulate {

constexpr double Pi = 3.14159265358979323846;

inline double Radians(double Degrees) {
  return Degrees * (Pi / 180.0);
}

// Right-handed rotations of column vectors about one axis.
Eigen::Matrix3d Rotation_X(double Angle);
Eigen::Matrix3d Rotation_Y(double Angle);
Eigen::Matrix3d Rotation_Z(double Angle);

// The rotation whose axis is the vector's direction and whose angle is its length.
Eigen::Matrix3d Rotation_From_Vector(const Eigen::Vector3d& Rotation_Vector);

// The pose with rotation Rx * Ry * Rz, angles in degrees, and a translation in metres.
Eigen::Matrix4d Pose_From_Euler(const Eigen::Vector3d& Euler_Deg, const Eigen::Vector3d& Offset);

Eigen::Matrix4d Pose_From(const Eigen::Matrix3d& Rotation, const Eigen::Vector3d& Translation);

// The inverse of a rigid pose, from the transposed rotation.
Eigen::Matrix4d Rigid_Inverse(const Eigen::Matrix4d& Pose);

// The image position of a point in front of the camera, pixels.
Eigen::Vector2d Project(const Lens& Model, const Eigen::Vector3d& Point_Cam);

// The undistorted radius, in units of the focal length, up to which the distorted radius increases.
// Beyond it the lens model folds back. Infinite for a lens model that never folds back.
double Fold_Radius(const Lens& Model);

// The undistorted radius for the radius Distorted, or NaN beyond the fold. Start is an initial
// guess; any value of at least 0 works.
double Undistorted_Radius(const Lens& Model, double Distorted, double Fold, double Start);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_GEOMETRY_H
