// SPDX-License-Identifier: Apache-2.0
//
// Small motions of a pose and their derivatives. A pose with rotation R and translation t is moved
// by (turn, shift), six numbers in radians and metres, to exp(turn) R and t + shift. Both parts are
// along the axes of the pose's left frame.
#ifndef RIGSYNC_SOLVE_RIGID_MOTION_H
#define RIGSYNC_SOLVE_RIGID_MOTION_H

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <vector>

namespace rigsync {

using Vector6d = Eigen::Matrix<double, 6, 1>;
using Matrix6d = Eigen::Matrix<double, 6, 6>;

// Cross_Matrix(a) * b is the cross product of a and b.
Eigen::Matrix3d Cross_Matrix(const Eigen::Vector3d& Vector);

// The rotation about Turn by its length, radians, and the turn of a rotation (0 to pi).
Eigen::Matrix3d Rotation_From_Turn(const Eigen::Vector3d& Turn);
Eigen::Vector3d Turn_From_Rotation(const Eigen::Matrix3d& Rotation);

// The derivative of the turn of exp(change) * exp(Turn) by the change, at 0: the inverse of the
// left Jacobian of SO(3). For exp(Turn) * exp(change) it is the transpose. Turn is shorter than
// 2 pi.
Eigen::Matrix3d Turn_Derivative(const Eigen::Vector3d& Turn);

// The pose after the motion, and the motion that leads from one pose to another.
Eigen::Isometry3d Moved(const Eigen::Isometry3d& Pose, const Vector6d& Motion);
Vector6d Motion_Between(const Eigen::Isometry3d& From, const Eigen::Isometry3d& To);

// The rotation with the least sum of squared chordal distances. The list isn't empty.
Eigen::Matrix3d Mean_Rotation(const std::vector<Eigen::Matrix3d>& Rotations);

// The rotation nearest to any 3 by 3 matrix, in the Frobenius norm.
Eigen::Matrix3d Nearest_Rotation(const Eigen::Matrix3d& Matrix);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_RIGID_MOTION_H
