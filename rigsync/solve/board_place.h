// SPDX-License-Identifier: Apache-2.0
//
// Where the board sits on its tracker, in the numbers that people type and the library takes:
// angles A, B, C of Rx(A) Ry(B) Rz(C) and the offset of the first inner corner, in the axes of Tr.
#ifndef RIGSYNC_SOLVE_BOARD_PLACE_H
#define RIGSYNC_SOLVE_BOARD_PLACE_H

#include <Eigen/Geometry>

#include <array>

namespace rigsync {

struct Board_Place {
  std::array<double, 3> Euler_Deg{};
  std::array<double, 3> Offset{};  // metres
};

// One standard deviation of a place that somebody measured, on each axis.
struct Place_Accuracy {
  double Euler_Deg = 1.0;
  double Offset = 0.005;  // metres
};

// Transform_Tr_Chart of a place, and the place of a transform: B from -90 to 90 degrees, and A is
// then in (-180, 180].
Eigen::Isometry3d Transform_From_Place(const Board_Place& Place);
Board_Place Place_From_Transform(const Eigen::Isometry3d& Transform_Tr_Chart);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_BOARD_PLACE_H
