// SPDX-License-Identifier: Apache-2.0
//
// The mean of a list of poses. Poses are double, but every sample is narrowed to float before it is
// summed, and the decomposition runs in float. Logged numbers, outlier limits and verdicts depend
// on this, so do not change it to double.
#ifndef RIGSYNC_CORE_SOLVER_POSE_AVERAGING_H
#define RIGSYNC_CORE_SOLVER_POSE_AVERAGING_H

#include <Eigen/Core>

#include <cstddef>
#include <string>
#include <vector>

// The mean rotation of quaternion samples: the dominant eigenvector of the mean of q * q^T, taken
// as the first column of U (Markley, Cheng, Crassidis, Oshman 2007, Averaging Quaternions, with
// equal weights). q and -q count alike, so signs need no alignment.
//
// Reads      samples and their order; x, y, z, w.
// Precision  float throughout, in list order; widened at the end. The length is 1 only to float
//            precision.
// Returns    x, y, z, w. The sign is that of the decomposition and has no meaning. Four NaN values
//            for non-finite samples and for an empty list; earlier stages guarantee at least 5
//            images.
Eigen::Vector4d Calculate_Mean_Quaternion(std::string Log_Path,
                                          std::vector<Eigen::Vector4f> Quaternion_all);

// Splits one pose into samples: its rotation as a quaternion x, y, z, w of either sign, appended to
// Quaternion_all, and its translation, both narrowed component by component.
// Returns    what Get_Rotation_Block returns.
int Split_Pose(const std::string& Log_Path, const Eigen::Matrix4d& Pose,
               std::vector<Eigen::Vector4f>& Quaternion_all, Eigen::Vector3f& Translation);

// Writes the mean of Count samples to the rotation block and the translation of Mean_Pose. Row 3 is
// left as the caller set it. The quaternion is not normalised again, so the block is orthonormal
// only to float precision.
// Returns    what Set_Rotation_Block returns.
int Assemble_Mean_Pose(const std::string& Log_Path,
                       const std::vector<Eigen::Vector4f>& Quaternion_all,
                       const Eigen::Vector3f& Translation_Sum, std::size_t Count,
                       Eigen::Matrix4d& Mean_Pose);

#endif  // RIGSYNC_CORE_SOLVER_POSE_AVERAGING_H
