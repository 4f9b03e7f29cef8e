// SPDX-License-Identifier: Apache-2.0
//
// The rotation block of a pose: rows 0 to 2, columns 0 to 2. Both calls copy nine elements and
// compute nothing.
#ifndef RIGSYNC_CORE_BASE_ROTATION_BLOCK_H
#define RIGSYNC_CORE_BASE_ROTATION_BLOCK_H

#include <Eigen/Core>

#include <string>

// Copies rows 0 to 2, columns 0 to 2 of the pose into Rotation. Returns 0, always.
int Get_Rotation_Block(std::string Log_Path, Eigen::Matrix4d Pose, Eigen::Matrix3d& Rotation);

// Writes the rotation over rows 0 to 2, columns 0 to 2 of the pose; the rest of it stays.
// Returns 0, always.
int Set_Rotation_Block(std::string Log_Path, Eigen::Matrix3d Rotation, Eigen::Matrix4d& Pose);

#endif  // RIGSYNC_CORE_BASE_ROTATION_BLOCK_H
