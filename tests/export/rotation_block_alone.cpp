// SPDX-License-Identifier: Apache-2.0
//
// The one function that the exports take from elsewhere: it copies nine elements and computes
// nothing. Its own file also holds a decomposition that compiles six times as long as everything
// that export_bits needs, so the comparison of compilers builds this copy instead.
#include "solver/pose_averaging.h"

int Get_Rotation_Block(std::string /*Log_Path*/, Eigen::Matrix4d Pose, Eigen::Matrix3d& Rotation) {
  Rotation = Pose.topLeftCorner<3, 3>();
  return 0;
}
