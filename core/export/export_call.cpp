// SPDX-License-Identifier: Apache-2.0
#include "core/export/export_call.h"

#include "core/base/error_catalog.h"
#include "core/base/require_size.h"
#include "core/base/rotation_block.h"
#include "core/base/run_log.h"

std::string Start_Export(const std::string& Output_Dir, const std::string& Export_Name) {
  std::string Log_Path;
  Make_Log_Path(Log_Path, Output_Dir);
  Write_Log(Log_Path, "Version : " + Program_Version);
  Write_Log(Log_Path, Export_Name + " start.");
  return Log_Path;
}

Eigen::Matrix4d Decode_Flat_Transform(const std::vector<double>& Transform_Cam_Tc) {
  Require_Size("Transform_Cam_Tc", 16, Transform_Cam_Tc.size());
  Eigen::Matrix4d Pose;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Pose(r, c) = Transform_Cam_Tc[static_cast<std::size_t>(4 * r + c)];
  }
  return Pose;
}

int Convert_Flat_Transform(const std::string& Log_Path,
                           const std::vector<double>& Flat_Transform_Cam_Tc,
                           Axis_Conversion Convert, const std::string& Result_Label,
                           Eigen::Matrix4d& Transform_Tc_Cam, Eigen::Quaterniond& Quat_Tc_Cam) {
  const Eigen::Matrix4d Transform_Cam_Tc = Decode_Flat_Transform(Flat_Transform_Cam_Tc);
  Write_Matrix(Log_Path, "Transform_Cam_Tc", Transform_Cam_Tc);

  if (const int Code = Convert(Log_Path, Transform_Cam_Tc, Transform_Tc_Cam); Code != 0) {
    return Code;
  }
  Write_Matrix(Log_Path, Result_Label, Transform_Tc_Cam);

  Eigen::Matrix3d Rotation_Tc_Cam;
  if (const int Code = Get_Rotation_Block(Log_Path, Transform_Tc_Cam, Rotation_Tc_Cam); Code != 0) {
    return Code;
  }
  Quat_Tc_Cam = Eigen::Quaterniond(Rotation_Tc_Cam);
  return 0;
}

std::string Number_Row(const std::vector<double>& Values, std::size_t Count) {
  std::string Row;
  for (std::size_t i = 0; i < Count; ++i) {
    if (i > 0) Row += ", ";
    Row += std::to_string(Values[i]);
  }
  return Row;
}

std::string Number_Row(const Eigen::Vector3f& Values) {
  return std::to_string(Values.x()) + ", " + std::to_string(Values.y()) + ", " +
         std::to_string(Values.z());
}
