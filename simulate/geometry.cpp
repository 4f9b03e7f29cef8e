// SPDX-License-Identifier: Apache-2.0
//
// Rotations are written element by element, so that their direction can be checked against a
// drawing: a positive angle about z takes x to y, about x takes y to z, about y takes z to x.
#include "simulate/geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulate {

Eigen::Matrix3d Rotation_X(double Angle) {
  const double C = std::cos(Angle), S = std::sin(Angle);
  Eigen::Matrix3d Rotation;
  Rotation << 1, 0, 0,  //
      0, C, -S,         //
      0, S, C;
  return Rotation;
}

Eigen::Matrix3d Rotation_Y(double Angle) {
  const double C = std::cos(Angle), S = std::sin(Angle);
  Eigen::Matrix3d Rotation;
  Rotation << C, 0, S,  //
      0, 1, 0,          //
      -S, 0, C;
  return Rotation;
}

Eigen::Matrix3d Rotation_Z(double Angle) {
  const double C = std::cos(Angle), S = std::sin(Angle);
  Eigen::Matrix3d Rotation;
  Rotation << C, -S, 0,  //
      S, C, 0,           //
      0, 0, 1;
  return Rotation;
}

Eigen::Matrix3d Rotation_From_Vector(const Eigen::Vector3d& Rotation_Vector) {
  const double Angle = Rotation_Vector.norm();
  if (!(Angle > 0.0)) return Eigen::Matrix3d::Identity();
  // Rodrigues' formula: I + sin(a) K + (1 - cos(a)) K^2, where K is the cross-product matrix of the
  // unit axis.
  const Eigen::Vector3d Axis = Rotation_Vector / Angle;
  Eigen::Matrix3d Cross;
  Cross << 0, -Axis.z(), Axis.y(),  //
      Axis.z(), 0, -Axis.x(),       //
      -Axis.y(), Axis.x(), 0;
  return Eigen::Matrix3d::Identity() + std::sin(Angle) * Cross +
         (1.0 - std::cos(Angle)) * Cross * Cross;
}

Eigen::Matrix4d Pose_From(const Eigen::Matrix3d& Rotation, const Eigen::Vector3d& Translation) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topLeftCorner<3, 3>() = Rotation;
  Pose.topRightCorner<3, 1>() = Translation;
  return Pose;
}

Eigen::Matrix4d Pose_From_Euler(const Eigen::Vector3d& Euler_Deg, const Eigen::Vector3d& Offset) {
  return Pose_From(Rotation_X(Radians(Euler_Deg.x())) * Rotation_Y(Radians(Euler_Deg.y())) *
                       Rotation_Z(Radians(Euler_Deg.z())),
                   Offset);
}

Eigen::Matrix4d Rigid_Inverse(const Eigen::Matrix4d& Pose) {
  const Eigen::Matrix3d Inverse_Rotation = Pose.topLeftCorner<3, 3>().transpose();
  return Pose_From(Inverse_Rotation, -(Inverse_Rotation * Pose.topRightCorner<3, 1>()));
}

Eigen::Vector2d Project(const Lens& Model, const Eigen::Vector3d& Point_Cam) {
  const double X = Point_Cam.x() / Point_Cam.z(), Y = Point_Cam.y() / Point_Cam.z();
  const double Square = X * X + Y * Y;
  const double Gain = 1.0 + Square * (Model.K1 + Square * Model.K2);
  return {Model.Fx * X * Gain + Model.Cx, Model.Fy * Y * Gain + Model.Cy};
}

double Fold_Radius(const Lens& Model) {
  // The distorted radius r + K1 r^3 + K2 r^5 increases while 1 + 3 K1 s + 5 K2 s^2 > 0, s = r^2.
  // The fold is the smaller positive root, in the form that stays accurate when K2 is near 0.
  const double Half_B = 1.5 * Model.K1, A = 5.0 * Model.K2;
  const double Discriminant = Half_B * Half_B - A;
  if (Discriminant < 0.0) return std::numeric_limits<double>::infinity();
  // Infinite where this is 0: without a positive root nothing folds.
  const double Denominator = std::max(0.0, -Half_B + std::sqrt(Discriminant));
  return std::sqrt(1.0 / Denominator);
}

double Undistorted_Radius(const Lens& Model, double Distorted, double Fold, double Start) {
  const auto Distort = [&](double R) { return R * (1.0 + R * R * (Model.K1 + R * R * Model.K2)); };
  if (std::isfinite(Fold) && !(Distorted < Distort(Fold))) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  // Newton steps inside a bracket that every step narrows. A step that leaves the bracket is
  // replaced by its midpoint.
  double Low = 0.0, High = Fold;
  double Radius = Start < Fold ? Start : 0.5 * Fold;
  for (int Step = 0; Step < 100; ++Step) {
    const double Residual = Distort(Radius) - Distorted;
    (Residual > 0.0 ? High : Low) = Radius;
    const double Square = Radius * Radius;
    double Next = Radius - Residual / (1.0 + Square * (3.0 * Model.K1 + Square * 5.0 * Model.K2));
    if (!(Next >= Low && Next <= High)) {
      Next = std::isfinite(High) ? 0.5 * (Low + High) : 2.0 * Radius + 1.0;
    }
    const double Change = std::abs(Next - Radius);
    Radius = Next;
    if (Change <= 1e-13) break;
  }
  return Radius;
}

}  // namespace simulate
