// SPDX-License-Identifier: Apache-2.0
//
// The solve for the camera mount: one estimate per image from the chain of poses, and their mean.
// It runs twice, the second time on the images that the outlier filter kept and with the board's
// re-estimated mount.
#ifndef RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CAM_TC_H
#define RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CAM_TC_H

#include <Eigen/Core>

#include <string>
#include <vector>

// The pose of the camera's tracker in the camera frame, per image and averaged:
//
//   Transform_Cam_Tc = Transform_Cam_Chart * Transform_Chart_Tr
//                    * Transform_Tr_Base * Transform_Base_Tc
//
// Reads      three pose lists, entry i from the same image, and one shared Transform_Chart_Tr.
// Fills      the three _all lists (cleared first), and rotation and translation of
//            Mean_Transform_Cam_Tc. Row 3 of the mean stays as the caller set it, to the identity.
// Units      metres; quaternion samples are x, y, z, w.
// Precision  products in double, from the left. Samples are narrowed to float before they are
//            summed, so near 1 m the mean resolves about 1e-7 m.
// Returns    0, or 8 when the list sizes differ, with the _all lists empty and the mean unchanged.
//            Three empty lists pass and give NaN; earlier stages guarantee at least 5 images.
// Logs       the mean, label and four rows; for code 8 its one line.
int Calculate_Transform_Cam_Tc(std::string Log_Path, Eigen::Matrix4d& Mean_Transform_Cam_Tc,
                               std::vector<Eigen::Matrix4d>& Transform_Cam_Tc_all,
                               std::vector<Eigen::Vector4f>& Quaternion_Cam_Tc_all,
                               std::vector<Eigen::Vector3f>& Translation_Cam_Tc_all,
                               std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all,
                               Eigen::Matrix4d Transform_Chart_Tr,
                               std::vector<Eigen::Matrix4d> Transform_Tr_Base_all,
                               std::vector<Eigen::Matrix4d> Transform_Base_Tc_all);

#endif  // RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CAM_TC_H
