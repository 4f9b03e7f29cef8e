// SPDX-License-Identifier: Apache-2.0
//
// The board's mount on its tracker, re-estimated from the images that the outlier filter kept.
#ifndef RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CHART_TR_H
#define RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CHART_TR_H

#include <Eigen/Core>

#include <string>
#include <vector>

// The chain of poses solved for the board's mount, per image and averaged:
//
//   Transform_Chart_Tr = inverse(Transform_Cam_Chart) * Mean_Transform_Cam_Tc
//                      * inverse(Transform_Base_Tc) * inverse(Transform_Tr_Base)
//
// Reads      three pose lists, entry i from the same image. Mean_Transform_Cam_Tc is the mean of
//            the first pass over all images: the filter shortens the lists but does not change
//            the mean. This is intended.
// Fills      Mean_Transform_Chart_Tr, set to the identity first.
// Precision  products and general inverses in double, samples and sums in float.
// Returns    0, or 12 when the list sizes differ: the mean is then the identity. A singular pose
//            is not detected and makes the mean non-finite. Three empty lists pass and give NaN;
//            the outlier filter keeps at least 5 images.
// Logs       the mean, label and four rows; for code 12 three sizes and the error line.
int Calculate_Transform_Chart_Tr(std::string Log_Path, Eigen::Matrix4d& Mean_Transform_Chart_Tr,
                                 std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all,
                                 Eigen::Matrix4d Mean_Transform_Cam_Tc,
                                 std::vector<Eigen::Matrix4d> Transform_Base_Tc_all,
                                 std::vector<Eigen::Matrix4d> Transform_Tr_Base_all);

#endif  // RIGSYNC_CORE_SOLVER_CALCULATE_TRANSFORM_CHART_TR_H
