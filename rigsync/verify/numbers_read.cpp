// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/numbers_read.h"

#include "rigsync/geometry/transform_list.h"
#include "rigsync/verify/pixel_proof.h"

#include <Eigen/LU>

#include <limits>

namespace rigsync {

void Add_Field(Exported_Camera& To, const std::string& Name, double Value, double Size) {
  constexpr double Few_Roundings = 16.0 * std::numeric_limits<double>::epsilon();
  To.Fields.push_back({Name, Value, Few_Roundings * Size});
}

True_Pose True_Pose_Of(const Calibration_Result& Result, const Tracker_Axes& Axes) {
  const Eigen::Matrix4d Transform_Cam_Tc = Matrix_From_List(Chosen_Transform_Cam_Tc(Result));
  const Eigen::Matrix4d Transform_Tc_Cam = Transform_Cam_Tc.inverse();
  const Eigen::Matrix3d Rotation_Object_Tc = Axes * Rotation_Tc_Body().transpose();
  return {Solved_Camera_Of(Result), Rotation_Object_Tc * Transform_Tc_Cam.topLeftCorner<3, 3>(),
          Rotation_Object_Tc * Transform_Tc_Cam.topRightCorner<3, 1>(),
          Rotation_Defect(Transform_Cam_Tc)};
}

Exported_Camera Empty_Camera(const True_Pose& True, const Tracker_Axes& Axes) {
  Exported_Camera Camera;
  Camera.Axes = Axes;
  Camera.Turn_Rad = 2.0 * True.Defect;
  Camera.Shift_M = True.Defect * True.Position_Object.norm();
  return Camera;
}

Eigen::Affine3d Pose_Of(const Eigen::Vector3d& Position, const Eigen::Matrix3d& Rotation,
                        const Eigen::Matrix3d& Camera_Axes) {
  Eigen::Affine3d Pose = Eigen::Affine3d::Identity();
  Pose.linear() = Rotation * Camera_Axes;
  Pose.translation() = Position;
  return Pose;
}

}  // namespace rigsync
