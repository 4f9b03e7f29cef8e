// SPDX-License-Identifier: Apache-2.0
#include "core/solver/pose_averaging.h"

#include "core/base/rotation_block.h"

#include <Eigen/Geometry>
#include <Eigen/SVD>

#include <limits>

Eigen::Vector4d Calculate_Mean_Quaternion(std::string /*Log_Path*/,
                                          std::vector<Eigen::Vector4f> Quaternion_all) {
  Eigen::Matrix4f Sum = Eigen::Matrix4f::Zero();
  for (const Eigen::Vector4f& Quaternion : Quaternion_all) {
    const Eigen::Matrix4f Outer = Quaternion * Quaternion.transpose();
    Sum += Outer;
  }
  const float Count = static_cast<float>(Quaternion_all.size());
  const Eigen::Matrix4f Mean = Sum / Count;

  const Eigen::MatrixXf Decomposed = Mean;
  const Eigen::JacobiSVD<Eigen::MatrixXf> Svd(Decomposed,
                                              Eigen::ComputeThinU | Eigen::ComputeThinV);
  if (Svd.info() != Eigen::Success) {
    // With non-finite samples the decomposition stops before it writes U.
    return Eigen::Vector4d::Constant(std::numeric_limits<double>::quiet_NaN());
  }
  // Singular values are sorted in decreasing order, so column 0 is the dominant one.
  const Eigen::Vector4f Dominant = Svd.matrixU().col(0);
  return Dominant.cast<double>();
}

int Split_Pose(const std::string& Log_Path, const Eigen::Matrix4d& Pose,
               std::vector<Eigen::Vector4f>& Quaternion_all, Eigen::Vector3f& Translation) {
  Eigen::Matrix3d Rotation;
  if (const int Code = Get_Rotation_Block(Log_Path, Pose, Rotation); Code != 0) return Code;
  const Eigen::Quaterniond Quaternion(Rotation);
  Quaternion_all.emplace_back(
      static_cast<float>(Quaternion.x()), static_cast<float>(Quaternion.y()),
      static_cast<float>(Quaternion.z()), static_cast<float>(Quaternion.w()));
  for (int r = 0; r < 3; ++r) Translation(r) = static_cast<float>(Pose(r, 3));
  return 0;
}

int Assemble_Mean_Pose(const std::string& Log_Path,
                       const std::vector<Eigen::Vector4f>& Quaternion_all,
                       const Eigen::Vector3f& Translation_Sum, std::size_t Count,
                       Eigen::Matrix4d& Mean_Pose) {
  const Eigen::Vector4d Mean = Calculate_Mean_Quaternion(Log_Path, Quaternion_all);
  const Eigen::Quaterniond Mean_Quaternion(Mean(3), Mean(0), Mean(1), Mean(2));  // w first
  if (const int Code = Set_Rotation_Block(Log_Path, Mean_Quaternion.toRotationMatrix(), Mean_Pose);
      Code != 0) {
    return Code;
  }
  for (int r = 0; r < 3; ++r) {
    const float Mean_Translation = Translation_Sum(r) / static_cast<float>(Count);
    Mean_Pose(r, 3) = static_cast<double>(Mean_Translation);
  }
  return 0;
}
