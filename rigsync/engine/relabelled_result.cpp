// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/relabelled_result.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/geometry/transform_list.h"

#include <cmath>
#include <cstddef>

namespace rigsync {
namespace {

// Mount * Turn, where Turn has a single 1 or -1 in each column: columns change places and signs. A
// sum would turn -0 into 0, and NaN in one column into NaN in all.
void Relabel(std::vector<double>& Mount, const Eigen::Matrix3d& Turn) {
  if (Mount.size() != 16) return;  // not solved
  const Eigen::Matrix4d Before = Matrix_From_List(Mount);
  Eigen::Matrix4d After = Before;
  for (int c = 0; c < 3; ++c) {
    for (int Source = 0; Source < 3; ++Source) {
      if (Turn(Source, c) == 0.0) continue;
      After.col(c) = Turn(Source, c) < 0.0 ? Eigen::Vector4d(-Before.col(Source))
                                           : Eigen::Vector4d(Before.col(Source));
    }
  }
  // The last row is 0, 0, 0, 1 and stays so, without a minus before a zero.
  After.row(3) = Before.row(3);
  Mount = List_From_Matrix(After);
}

}  // namespace

Calibration_Result With_Tracker_Axes(Calibration_Result Result, const Tracker_Axes& Call,
                                     const Tracker_Axes& Asked) {
  const Eigen::Matrix3d Turn =
      Rotation_Tc_Body() * Asked.transpose() * Call * Rotation_Tc_Body().transpose();
  Relabel(Result.Transform_Cam_Tc, Turn);
  Relabel(Result.Joint_Transform_Cam_Tc, Turn);
  return Result;
}

}  // namespace rigsync
