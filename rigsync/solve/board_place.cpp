// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/board_place.h"

#include "rigsync/geometry/angle.h"

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
// cos B cos C, -cos B sin C, sin B. With B at 90 or -90 degrees only A + C or A - C shows; C is 0
// then, and the middle column is 0, cos A, sin A.
Board_Place Place_From_Transform(const Eigen::Isometry3d& Transform_Tr_Chart) {
  constexpr double Least_Cosine = 1e-9;
  const Eigen::Matrix3d Rotation = Transform_Tr_Chart.linear();
  const Eigen::Vector3d Offset = Transform_Tr_Chart.translation();
  const double Cosine_B = std::hypot(Rotation(1, 2), Rotation(2, 2));
  const bool Is_Locked = Cosine_B < Least_Cosine;
  const double A = Is_Locked ? std::atan2(Rotation(2, 1), Rotation(1, 1))
                             : std::atan2(-Rotation(1, 2), Rotation(2, 2));
  const double B = std::atan2(Rotation(0, 2), Cosine_B);
  const double C = Is_Locked ? 0.0 : std::atan2(-Rotation(0, 1), Rotation(0, 0));
  return {{A * Degrees_Per_Radian, B * Degrees_Per_Radian, C * Degrees_Per_Radian},
          {Offset.x(), Offset.y(), Offset.z()}};
}

}  // namespace rigsync
