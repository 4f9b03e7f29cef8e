// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/solved_camera.h"

#include "rigsync/geometry/transform_list.h"

#include <cmath>

namespace rigsync {

Eigen::Matrix3d Rotation_Tc_Body() {
  Eigen::Matrix3d Rotation;
  Rotation << -1, 0, 0, 0, 0, -1, 0, -1, 0;
  return Rotation;
}

Solved_Camera Solved_Camera_Of(const Calibration_Result& Result) {
  Solved_Camera Camera;
  Camera.Width = static_cast<int>(std::lround(Result.Image_Size[0]));
  Camera.Height = static_cast<int>(std::lround(Result.Image_Size[1]));
  Camera.Lens_Px = {Result.Norm_Fxy[0] * Camera.Width,
                    Result.Norm_Fxy[1] * Camera.Height,
                    Result.Norm_Cxy[0] * Camera.Width,
                    Result.Norm_Cxy[1] * Camera.Height,
                    Result.Distortion[0],
                    Result.Distortion[1]};
  const Eigen::Isometry3d Transform_Cam_Tc(Matrix_From_List(Chosen_Transform_Cam_Tc(Result)));
  Camera.Transform_Body_Cam =
      Eigen::Isometry3d(Rotation_Tc_Body().transpose()) * Transform_Cam_Tc.inverse();
  return Camera;
}

}  // namespace rigsync
