// SPDX-License-Identifier: Apache-2.0
#include "core/solver/calculate_transform_cam_tc.h"

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"
#include "core/solver/pose_averaging.h"

int Calculate_Transform_Cam_Tc(std::string Log_Path, Eigen::Matrix4d& Mean_Transform_Cam_Tc,
                               std::vector<Eigen::Matrix4d>& Transform_Cam_Tc_all,
                               std::vector<Eigen::Vector4f>& Quaternion_Cam_Tc_all,
                               std::vector<Eigen::Vector3f>& Translation_Cam_Tc_all,
                               std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all,
                               Eigen::Matrix4d Transform_Chart_Tr,
                               std::vector<Eigen::Matrix4d> Transform_Tr_Base_all,
                               std::vector<Eigen::Matrix4d> Transform_Base_Tc_all) {
  Transform_Cam_Tc_all.clear();
  Quaternion_Cam_Tc_all.clear();
  Translation_Cam_Tc_all.clear();
  if (Transform_Cam_Chart_all.size() != Transform_Tr_Base_all.size() ||
      Transform_Tr_Base_all.size() != Transform_Base_Tc_all.size()) {
    Write_Log(Log_Path, "Error code 8: " + Error_Text(8));
    return 8;
  }

  Eigen::Vector3f Translation_Sum = Eigen::Vector3f::Zero();
  for (std::size_t i = 0; i < Transform_Cam_Chart_all.size(); ++i) {
    // Each product is complete before the next one starts, so that the digits do not depend on
    // how an expression is evaluated.
    const Eigen::Matrix4d Transform_Cam_Tr = Transform_Cam_Chart_all[i] * Transform_Chart_Tr;
    const Eigen::Matrix4d Transform_Cam_Base = Transform_Cam_Tr * Transform_Tr_Base_all[i];
    const Eigen::Matrix4d Transform_Cam_Tc = Transform_Cam_Base * Transform_Base_Tc_all[i];
    Transform_Cam_Tc_all.push_back(Transform_Cam_Tc);

    Eigen::Vector3f Translation_Cam_Tc;
    if (const int Code =
            Split_Pose(Log_Path, Transform_Cam_Tc, Quaternion_Cam_Tc_all, Translation_Cam_Tc);
        Code != 0) {
      return Code;
    }
    Translation_Sum += Translation_Cam_Tc;
    Translation_Cam_Tc_all.push_back(Translation_Cam_Tc);
  }

  if (const int Code = Assemble_Mean_Pose(Log_Path, Quaternion_Cam_Tc_all, Translation_Sum,
                                          Translation_Cam_Tc_all.size(), Mean_Transform_Cam_Tc);
      Code != 0) {
    return Code;
  }
  Write_Matrix(Log_Path, "Mean_Transform_Cam_Tc", Mean_Transform_Cam_Tc);
  return 0;
}
