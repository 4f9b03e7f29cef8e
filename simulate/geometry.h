// SPDX-License-Identifier: Apache-2.0
//
// Rotations, poses and the lens of the simulator, written out as matrices. Transform_A_B takes
// coordinates in B to coordinates in A; all angles here are radians unless the name says degrees.
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

// The rotation whose axis is Turn's direction and whose angle is its length.
Eigen::Matrix3d Rotation_From_Vector(const Eigen::Vector3d& Rotation_Vector);

// A pose with rotation Rx * Ry * Rz, angles in degrees, and a translation in metres.
Eigen::Matrix4d Pose_From_Euler(const Eigen::Vector3d& Euler_Deg, const Eigen::Vector3d& Offset);

Eigen::Matrix4d Pose_From(const Eigen::Matrix3d& Rotation, const Eigen::Vector3d& Translation);

// The inverse of a rigid pose: transposed rotation, translation turned back.
Eigen::Matrix4d Rigid_Inverse(const Eigen::Matrix4d& Pose);

// Where the lens draws a point in front of the camera, pixels.
Eigen::Vector2d Project(const Lens& Model, const Eigen::Vector3d& Point_Cam);

// The distance from the optical axis, in units of the focal length before distortion, up to which
// farther points are drawn farther out. Infinite for a lens that never folds back.
double Fold_Radius(const Lens& Model);

// The undistorted radius that the lens draws at radius Distorted, or NaN beyond the fold. Start is
// a guess; any value at or above 0 will do.
double Undistorted_Radius(const Lens& Model, double Distorted, double Fold, double Start);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_GEOMETRY_H
