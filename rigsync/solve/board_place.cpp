// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/board_place.h"

#include "rigsync/geometry/angle.h"

#include <algorithm>
#include <cmath>

namespace rigsync {

Eigen::Isometry3d Transform_From_Place(const Board_Place& Place) {
  using Eigen::AngleAxisd;
  using Eigen::Vector3d;
  Eigen::Isometry3d Transform = Eigen::Isometry3d::Identity();
  Transform.linear() = (AngleAxisd(Place.Euler_Deg[0] / Degrees_Per_Radian, Vector3d::UnitX()) *
                        AngleAxisd(Place.Euler_Deg[1] / Degrees_Per_Radian, Vector3d::UnitY()) *
                        AngleAxisd(Place.Euler_Deg[2] / Degrees_Per_Radian, Vector3d::UnitZ()))
                           .toRotationMatrix();
  Transform.translation() = Vector3d(Place.Offset.data());
  return Transform;
}

// The last column of Rx(A) Ry(B) Rz(C) is sin B, -sin A cos B, cos A cos B, and its first row
// cos B cos C, -cos B sin C, sin B.
Board_Place Place_From_Transform(const Eigen::Isometry3d& Transform_Tr_Chart) {
  const Eigen::Matrix3d Rotation = Transform_Tr_Chart.linear();
  const Eigen::Vector3d Offset = Transform_Tr_Chart.translation();
  const double A = std::atan2(-Rotation(1, 2), Rotation(2, 2));
  const double B = std::asin(std::clamp(Rotation(0, 2), -1.0, 1.0));
  const double C = std::atan2(-Rotation(0, 1), Rotation(0, 0));
  return {{A * Degrees_Per_Radian, B * Degrees_Per_Radian, C * Degrees_Per_Radian},
          {Offset.x(), Offset.y(), Offset.z()}};
}

}  // namespace rigsync
