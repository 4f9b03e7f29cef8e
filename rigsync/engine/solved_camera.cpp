// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/solved_camera.h"

#include "rigsync/calibrate/result_lens.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace rigsync {

namespace {

Eigen::Isometry3d Mount_Of(const Calibration_Result& Result, const std::filesystem::path& File) {
  const std::vector<double>& Numbers = Chosen_Transform_Cam_Tc(Result);
  const bool Is_Finite = std::all_of(Numbers.begin(), Numbers.end(),
                                     [](double Value) { return std::isfinite(Value); });
  if (Numbers.size() != 16 || !Is_Finite) {
    throw Usage_Error(
        fmt::format("{}: 'transform_cam_tc' {}; expected 16 finite numbers, as "
                    "'rigsync calibrate' writes them",
                    File.string(), Is_Finite ? "is null" : "is not finite"));
  }
  return Eigen::Isometry3d(Matrix_From_List(Numbers));
}

}  // namespace

Eigen::Matrix3d Rotation_Tc_Body() {
  Eigen::Matrix3d Rotation;
  Rotation << -1, 0, 0, 0, 0, -1, 0, -1, 0;
  return Rotation;
}

Solved_Camera Solved_Camera_Of(const Calibration_Result& Result,
                               const std::filesystem::path& File) {
  const Result_Lens Lens = Lens_Of_Result(Result, File);
  const Eigen::Isometry3d Transform_Body_Tc(Rotation_Tc_Body().transpose());
  Solved_Camera Camera;
  Camera.Width = Lens.Width;
  Camera.Height = Lens.Height;
  Camera.Lens_Px = Lens.Px;
  Camera.Transform_Body_Cam = Transform_Body_Tc * Mount_Of(Result, File).inverse();
  return Camera;
}

}  // namespace rigsync
