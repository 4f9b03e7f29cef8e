// SPDX-License-Identifier: Apache-2.0
//
// The two Unreal Engine 5 exports: a quaternion and centimetres, in double precision throughout.
// They differ in their axes; their logs differ only in the start line and the end line.
#include "core/base/run_log.h"
#include "core/export/axis_conversion.h"
#include "core/export/export_call.h"
#include "rigsync_core.h"

namespace {

// Runs the export of this name with this conversion. Both exports log the label
// "Transform_Tc_Cam_UE5" and result lines without the export's name: tools that read run logs find
// the same texts for both.
int Export_To_UE5(const std::string& Export_Name, Axis_Conversion Convert,
                  const std::vector<double>& Transform_Cam_Tc, std::vector<double>& Quat_Tc_Cam,
                  std::vector<double>& Trans_Tc_Cam_cm, const std::string& Output_Dir) {
  const std::string Log_Path = Start_Export(Output_Dir, Export_Name);

  Eigen::Matrix4d Transform_Tc_Cam;
  Eigen::Quaterniond Quat;
  if (const int Code = Convert_Flat_Transform(Log_Path, Transform_Cam_Tc, Convert,
                                              "Transform_Tc_Cam_UE5", Transform_Tc_Cam, Quat);
      Code != 0) {
    return Code;
  }

  Quat_Tc_Cam.push_back(Quat.x());
  Quat_Tc_Cam.push_back(Quat.y());
  Quat_Tc_Cam.push_back(Quat.z());
  Quat_Tc_Cam.push_back(Quat.w());
  for (int r = 0; r < 3; ++r) Trans_Tc_Cam_cm.push_back(Transform_Tc_Cam(r, 3) * 100.0);

  // The front of the vectors is logged, not the values above: if a host passes a vector with values
  // in it, those are logged. Readers of run logs rely on this.
  Write_Log(Log_Path, "UE5 Quat_Tc_Cam (xyzw): " + Number_Row(Quat_Tc_Cam, 4));
  Write_Log(Log_Path, "UE5 Trans_Tc_Cam_cm (xyz): " + Number_Row(Trans_Tc_Cam_cm, 3) + " cm");
  Write_Log(Log_Path, Export_Name + " successful.");
  return 0;
}

}  // namespace

int CamAxisToUE5(std::vector<double> Transform_Cam_Tc, std::vector<double>& Quat_Tc_Cam,
                 std::vector<double>& Trans_Tc_Cam_cm, std::string Output_Dir) {
  return Export_To_UE5("CamAxisToUE5", Cam_Tc_To_UE5, Transform_Cam_Tc, Quat_Tc_Cam,
                       Trans_Tc_Cam_cm, Output_Dir);
}

int CamAxisToUE5_ExportxN(std::vector<double> Transform_Cam_Tc, std::vector<double>& Quat_Tc_Cam,
                          std::vector<double>& Trans_Tc_Cam_cm, std::string Output_Dir) {
  return Export_To_UE5("CamAxisToUE5_ExportxN", Cam_Tc_To_UE5_ExportxN, Transform_Cam_Tc,
                       Quat_Tc_Cam, Trans_Tc_Cam_cm, Output_Dir);
}
