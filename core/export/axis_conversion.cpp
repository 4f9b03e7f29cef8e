// SPDX-License-Identifier: Apache-2.0
#include "core/export/axis_conversion.h"

#include <Eigen/LU>

#include "core/base/run_log.h"

namespace {

// One of the header's tables as a matrix. The tables are written by rows; Eigen stores by columns.
Eigen::Matrix4d Axes(const double (&Rows)[4][4]) {
  Eigen::Matrix4d Matrix;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Matrix(r, c) = Rows[r][c];
  }
  return Matrix;
}

}  // namespace

int Change_Hand(std::string /*Log_Path*/, Eigen::Matrix4d Pose, Eigen::Matrix4d& Flipped) {
  // Two full products, the left one first. Negating six elements instead would not spread NaN and
  // infinity over their row and column as the products do.
  const Eigen::Matrix4d Left_Flipped = Axes(Hand_Flip) * Pose;
  Flipped = Left_Flipped * Axes(Hand_Flip);
  return 0;
}

int Cam_Tc_To_UE4(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                  Eigen::Matrix4d& Transform_Tc_Cam_UE4) {
  Eigen::Matrix4d Flipped_Cam_Tc;
  Change_Hand(Log_Path, Transform_Cam_Tc, Flipped_Cam_Tc);
  Write_Log(Log_Path, "I Change Hand.");

  const Eigen::Matrix4d Transform_UE4Cam_Tc = Axes(UE4_Inner) * Flipped_Cam_Tc;
  const Eigen::Matrix4d Transform_Tc_UE4Cam = Transform_UE4Cam_Tc.inverse();
  Write_Log(Log_Path, "I Transform_Tc_UE4Cam.");

  Transform_Tc_Cam_UE4 = Axes(UE4_Outer) * Transform_Tc_UE4Cam;
  return 0;
}

int Cam_Tc_To_UE5(std::string /*Log_Path*/, Eigen::Matrix4d Transform_Cam_Tc,
                  Eigen::Matrix4d& Transform_Tc_Cam_UE5) {
  const Eigen::Matrix4d Transform_Cam_UE5Tc = Transform_Cam_Tc * Axes(UE5_Inner);
  Transform_Tc_Cam_UE5 = Transform_Cam_UE5Tc.inverse();
  return 0;
}

int Cam_Tc_To_UE5_ExportxN(std::string /*Log_Path*/, Eigen::Matrix4d Transform_Cam_Tc,
                           Eigen::Matrix4d& Transform_Tc_Cam_UE5) {
  const Eigen::Matrix4d Transform_UE5Cam_Tc = Axes(ExportxN_Inner) * Transform_Cam_Tc;
  const Eigen::Matrix4d Transform_Tc_UE5Cam = Transform_UE5Cam_Tc.inverse();
  Transform_Tc_Cam_UE5 = Axes(ExportxN_Outer) * Transform_Tc_UE5Cam;
  return 0;
}

int Cam_Tc_To_AX(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                 Eigen::Matrix4d& Transform_Tc_Cam_AX) {
  Eigen::Matrix4d Flipped_Cam_Tc;
  if (const int Code = Change_Hand(Log_Path, Transform_Cam_Tc, Flipped_Cam_Tc); Code != 0) {
    return Code;
  }
  const Eigen::Matrix4d Transform_AXCam_Tc = Axes(AX_Inner) * Flipped_Cam_Tc;
  const Eigen::Matrix4d Transform_Tc_AXCam = Transform_AXCam_Tc.inverse();
  Transform_Tc_Cam_AX = Axes(AX_Outer) * Transform_Tc_AXCam;
  return 0;
}

Eigen::Vector3f Scale_To_Cm(Eigen::Vector3f Translation) {
  // float is intended: the exported numbers have the rounding of a single-precision product.
  constexpr float Cm_Per_Metre = 100.0f;
  return {Translation.x() * Cm_Per_Metre, Translation.y() * Cm_Per_Metre,
          Translation.z() * Cm_Per_Metre};
}
