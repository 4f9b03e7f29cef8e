// SPDX-License-Identifier: Apache-2.0
//
// The Aximmetry export: the lens as a field of view and a centre shift, then angles and
// centimetres. It always returns 0: gimbal lock gives a result here.
#include <cmath>

#include "core/base/require_size.h"
#include "core/base/run_log.h"
#include "core/base/short_constants.h"
#include "core/export/axis_conversion.h"
#include "core/export/export_call.h"
#include "core/export/quat_to_euler_ax.h"
#include "rigsync_core.h"

namespace {

// FoVX = 2 * atan(1 / (2 * fx / width)), converted to degrees with Pi_Short, all in double. A focal
// length of 0 gives 180.
double Horizontal_FoV_Deg(double Norm_Fx) {
  const double Half_Width = 1.0 / (Norm_Fx + Norm_Fx);
  const double Half_FoV_Rad = std::atan(Half_Width);
  return (Half_FoV_Rad + Half_FoV_Rad) / Pi_Short * 180.0;
}

// Logs and fills the lens results, before the transform is read.
void Export_Lens(const std::string& Log_Path, const std::vector<double>& Norm_Fxy,
                 const std::vector<double>& Norm_Cxy, std::vector<double>& FoVX,
                 std::vector<double>& AximmetryCxy) {
  Require_Size("Norm_Fxy", 2, Norm_Fxy.size());
  Write_Log(Log_Path, "Norm_Fxy : " + Number_Row(Norm_Fxy, 2));
  Require_Size("Norm_Cxy", 2, Norm_Cxy.size());
  Write_Log(Log_Path, "Norm_Cxy : " + Number_Row(Norm_Cxy, 2));

  FoVX.push_back(Horizontal_FoV_Deg(Norm_Fxy[0]));
  AximmetryCxy.push_back(Norm_Cxy[0] - 0.5);
  // y points up. The sign is changed instead of computing 0.5 - cy: a centred principal point gives
  // -0.0.
  AximmetryCxy.push_back(-(Norm_Cxy[1] - 0.5));

  // Logs the front of the vectors, even if they held other values before the call.
  Write_Log(Log_Path, "FoVX : " + Number_Row(FoVX, 1));
  Write_Log(Log_Path, "AximmetryCxy : " + Number_Row(AximmetryCxy, 2));
}

}  // namespace

int CamAxisToAximmetry(std::vector<double> Norm_Fxy, std::vector<double> Norm_Cxy,
                       std::vector<double> Transform_Cam_Tc, std::vector<double>& FoVX,
                       std::vector<double>& AximmetryCxy, std::vector<double>& Rot_Tc_Cam_AX_Euler,
                       std::vector<double>& Trans_Tc_Cam_AX_cm, std::string Output_Dir) {
  const std::string Log_Path = Start_Export(Output_Dir, "CamAxisToAximmetry");
  Export_Lens(Log_Path, Norm_Fxy, Norm_Cxy, FoVX, AximmetryCxy);

  Eigen::Matrix4d Transform_Tc_Cam;
  Eigen::Quaterniond Quat_Tc_Cam;
  if (const int Code = Convert_Flat_Transform(Log_Path, Transform_Cam_Tc, Cam_Tc_To_AX,
                                              "Transform_Tc_Cam_AX", Transform_Tc_Cam, Quat_Tc_Cam);
      Code != 0) {
    return Code;
  }

  Eigen::Vector3f Euler_Deg = Eigen::Vector3f::Zero();
  if (const int Code = Quat_To_Euler_AX(Log_Path, Quat_Tc_Cam, Euler_Deg); Code != 0) return Code;
  Euler_Deg = -Euler_Deg;

  // y and z have the opposite direction in the engine's fields, so they are negated again here.
  const Eigen::Vector3f Translation_Tc_Cam(static_cast<float>(Transform_Tc_Cam(0, 3)),
                                           -static_cast<float>(Transform_Tc_Cam(1, 3)),
                                           -static_cast<float>(Transform_Tc_Cam(2, 3)));
  const Eigen::Vector3f Translation_Cm = Scale_To_Cm(Translation_Tc_Cam);

  for (int i = 0; i < 3; ++i) {
    Rot_Tc_Cam_AX_Euler.push_back(static_cast<double>(Euler_Deg[i]));
    Trans_Tc_Cam_AX_cm.push_back(static_cast<double>(Translation_Cm[i]));
  }
  // Unlike in the other exports, no "successful" line follows: the translation line is the last.
  Write_Log(Log_Path, "Rot_Tc_Cam_AX_Euler : " + Number_Row(Euler_Deg) + " deg");
  Write_Log(Log_Path, "Trans_Tc_Cam_AX_cm : " + Number_Row(Translation_Cm) + " cm");
  return 0;
}
