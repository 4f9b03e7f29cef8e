// SPDX-License-Identifier: Apache-2.0
//
// The Unreal Engine 4 export: angles and centimetres, in single precision. It is the only export
// that can reject a transform.

#include "core/base/run_log.h"
#include "core/export/axis_conversion.h"
#include "core/export/export_call.h"
#include "core/export/quat_to_euler_ue4.h"
#include "rigsync_core.h"

int CamAxisToUE4(std::vector<double> Transform_Cam_Tc, std::vector<double>& Rot_Tc_Cam_UE4_Euler,
                 std::vector<double>& Trans_Tc_Cam_UE4_cm, std::string Output_Dir) {
  const std::string Log_Path = Start_Export(Output_Dir, "CamAxisToUE4");

  Eigen::Matrix4d Transform_Tc_Cam;
  Eigen::Quaterniond Quat_Tc_Cam;
  if (const int Code =
          Convert_Flat_Transform(Log_Path, Transform_Cam_Tc, Cam_Tc_To_UE4, "Transform_Tc_Cam_UE4",
                                 Transform_Tc_Cam, Quat_Tc_Cam);
      Code != 0) {
    return Code;
  }

  Eigen::Vector3f Euler_Deg = Eigen::Vector3f::Zero();
  if (const int Code = Quat_To_Euler_UE4(Log_Path, Quat_Tc_Cam, Euler_Deg); Code != 0) return Code;

  const Eigen::Vector3f Translation_Tc_Cam(static_cast<float>(Transform_Tc_Cam(0, 3)),
                                           static_cast<float>(Transform_Tc_Cam(1, 3)),
                                           static_cast<float>(Transform_Tc_Cam(2, 3)));
  const Eigen::Vector3f Translation_Cm = Scale_To_Cm(Translation_Tc_Cam);

  for (int i = 0; i < 3; ++i) {
    Rot_Tc_Cam_UE4_Euler.push_back(static_cast<double>(Euler_Deg[i]));
    Trans_Tc_Cam_UE4_cm.push_back(static_cast<double>(Translation_Cm[i]));
  }
  Write_Log(Log_Path, "Rot_Tc_Cam_UE4_Euler : " + Number_Row(Euler_Deg) + " deg");
  Write_Log(Log_Path, "Trans_Tc_Cam_UE4_cm : " + Number_Row(Translation_Cm) + " cm");
  Write_Log(Log_Path, "CamAxisToUE4 successful.");
  return 0;
}
