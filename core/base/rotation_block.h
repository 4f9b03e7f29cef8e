// SPDX-License-Identifier: Apache-2.0
//
// The rotation block of a pose: rows 0 to 2, columns 0 to 2. Both functions just copy elements.
#ifndef RIGSYNC_CORE_BASE_ROTATION_BLOCK_H
#define RIGSYNC_CORE_BASE_ROTATION_BLOCK_H

#include <Eigen/Core>

#include <string>

// Copies rows 0 to 2, columns 0 to 2 of the pose to Rotation. Always returns 0.
int Get_Rotation_Block(std::string Log_Path, Eigen::Matrix4d Pose, Eigen::Matrix3d& Rotation);

// Writes the rotation to rows 0 to 2, columns 0 to 2 of the pose and leaves the other elements.
// Always returns 0.
int Set_Rotation_Block(std::string Log_Path, Eigen::Matrix3d Rotation, Eigen::Matrix4d& Pose);

#endif  // RIGSYNC_CORE_BASE_ROTATION_BLOCK_H
