// SPDX-License-Identifier: Apache-2.0
#include "core/base/rotation_block.h"

int Get_Rotation_Block(std::string /*Log_Path*/, Eigen::Matrix4d Pose, Eigen::Matrix3d& Rotation) {
  Rotation = Pose.topLeftCorner<3, 3>();
  return 0;
}

int Set_Rotation_Block(std::string /*Log_Path*/, Eigen::Matrix3d Rotation, Eigen::Matrix4d& Pose) {
  Pose.topLeftCorner<3, 3>() = Rotation;
  return 0;
}
