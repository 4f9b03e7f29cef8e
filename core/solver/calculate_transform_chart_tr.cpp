// SPDX-License-Identifier: Apache-2.0
#include "core/solver/calculate_transform_chart_tr.h"

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"
#include "core/solver/pose_averaging.h"

#include <Eigen/LU>

int Calculate_Transform_Chart_Tr(std::string Log_Path, Eigen::Matrix4d& Mean_Transform_Chart_Tr,
                                 std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all,
                                 Eigen::Matrix4d Mean_Transform_Cam_Tc,
                                 std::vector<Eigen::Matrix4d> Transform_Base_Tc_all,
                                 std::vector<Eigen::Matrix4d> Transform_Tr_Base_all) {
  Mean_Transform_Chart_Tr = Eigen::Matrix4d::Identity();
  if (Transform_Cam_Chart_all.size() != Transform_Tr_Base_all.size() ||
      Transform_Tr_Base_all.size() != Transform_Base_Tc_all.size()) {
    Write_Log(Log_Path, "Size of Transform_Cam_Chart_all : " +
                            std::to_string(Transform_Cam_Chart_all.size()));
    Write_Log(Log_Path,
              "Size of Transform_Tr_Base_all : " + std::to_string(Transform_Tr_Base_all.size()));
    Write_Log(Log_Path,
              "Size of Transform_Base_Tc_all : " + std::to_string(Transform_Base_Tc_all.size()));
    Write_Log(Log_Path, "Error code 12: " + Error_Text(12));
    return 12;
  }

  std::vector<Eigen::Vector4f> Quaternion_Chart_Tr_all;
  Eigen::Vector3f Translation_Sum = Eigen::Vector3f::Zero();
  for (std::size_t i = 0; i < Transform_Cam_Chart_all.size(); ++i) {
    // The general inverse is used throughout: a transposed rotation block would give other digits.
    const Eigen::Matrix4d Transform_Chart_Cam = Transform_Cam_Chart_all[i].inverse();
    const Eigen::Matrix4d Transform_Chart_Tc = Transform_Chart_Cam * Mean_Transform_Cam_Tc;
    const Eigen::Matrix4d Transform_Tc_Base = Transform_Base_Tc_all[i].inverse();
    const Eigen::Matrix4d Transform_Chart_Base = Transform_Chart_Tc * Transform_Tc_Base;
    const Eigen::Matrix4d Transform_Base_Tr = Transform_Tr_Base_all[i].inverse();
    const Eigen::Matrix4d Transform_Chart_Tr = Transform_Chart_Base * Transform_Base_Tr;

    Eigen::Vector3f Translation_Chart_Tr;
    if (const int Code =
            Split_Pose(Log_Path, Transform_Chart_Tr, Quaternion_Chart_Tr_all, Translation_Chart_Tr);
        Code != 0) {
      return Code;
    }
    Translation_Sum += Translation_Chart_Tr;
  }

  if (const int Code = Assemble_Mean_Pose(Log_Path, Quaternion_Chart_Tr_all, Translation_Sum,
                                          Transform_Tr_Base_all.size(), Mean_Transform_Chart_Tr);
      Code != 0) {
    return Code;
  }
  Write_Matrix(Log_Path, "Mean_Transform_Chart_Tr", Mean_Transform_Chart_Tr);
  return 0;
}
