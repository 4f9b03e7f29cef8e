// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/rigid_motion.h"

#include <Eigen/SVD>

#include <cmath>

namespace rigsync {

Eigen::Matrix3d Cross_Matrix(const Eigen::Vector3d& Vector) {
  Eigen::Matrix3d Cross;
  Cross << 0, -Vector.z(), Vector.y(), Vector.z(), 0, -Vector.x(), -Vector.y(), Vector.x(), 0;
  return Cross;
}

Eigen::Matrix3d Rotation_From_Turn(const Eigen::Vector3d& Turn) {
  const double Angle_Rad = Turn.norm();
  if (Angle_Rad == 0.0) return Eigen::Matrix3d::Identity();
  return Eigen::AngleAxisd(Angle_Rad, Turn / Angle_Rad).toRotationMatrix();
}

Eigen::Vector3d Turn_From_Rotation(const Eigen::Matrix3d& Rotation) {
  const Eigen::AngleAxisd Angle_Axis(Rotation);
  return Angle_Axis.angle() * Angle_Axis.axis();
}

Eigen::Matrix3d Turn_Derivative(const Eigen::Vector3d& Turn) {
  const double Angle_Rad = Turn.norm();
  // The closed form is 0/0 at 0; below this angle its series is exact to 1e-12.
  const double Second_Order =
      Angle_Rad < 1e-3
          ? 1.0 / 12.0 + Angle_Rad * Angle_Rad / 720.0
          : (1.0 - 0.5 * Angle_Rad / std::tan(0.5 * Angle_Rad)) / (Angle_Rad * Angle_Rad);
  const Eigen::Matrix3d Cross = Cross_Matrix(Turn);
  return Eigen::Matrix3d::Identity() - 0.5 * Cross + Second_Order * Cross * Cross;
}

Eigen::Isometry3d Moved(const Eigen::Isometry3d& Pose, const Vector6d& Motion) {
  Eigen::Isometry3d After = Eigen::Isometry3d::Identity();
  After.linear() = Rotation_From_Turn(Motion.head<3>()) * Pose.linear();
  After.translation() = Pose.translation() + Motion.tail<3>();
  return After;
}

Vector6d Motion_Between(const Eigen::Isometry3d& From, const Eigen::Isometry3d& To) {
  Vector6d Motion;
  Motion << Turn_From_Rotation(To.linear() * From.linear().transpose()),
      To.translation() - From.translation();
  return Motion;
}

Eigen::Matrix3d Mean_Rotation(const std::vector<Eigen::Matrix3d>& Rotations) {
  Eigen::Matrix3d Sum = Eigen::Matrix3d::Zero();
  for (const Eigen::Matrix3d& Rotation : Rotations) Sum += Rotation;
  return Nearest_Rotation(Sum);
}

Eigen::Matrix3d Nearest_Rotation(const Eigen::Matrix3d& Matrix) {
  const Eigen::JacobiSVD<Eigen::Matrix3d> Svd(Matrix, Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Vector3d Signs(1, 1, 1);
  if (Svd.matrixU().determinant() * Svd.matrixV().determinant() < 0.0) Signs.z() = -1;
  return Svd.matrixU() * Signs.asDiagonal() * Svd.matrixV().transpose();
}

}  // namespace rigsync
