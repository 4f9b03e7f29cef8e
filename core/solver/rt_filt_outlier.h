// SPDX-License-Identifier: Apache-2.0
//
// Removes the images whose camera mount is too far from the mean, in one pass.
#ifndef RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H
#define RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

// Removes image i when its rotation axis is more than 0.5 degrees from the mean's axis, or when its
// translation differs from the mean's by more than 1.3 times the spread on any axis. Comparisons
// are strict and in float; a NaN value never marks an image as an outlier.
//
// Only the direction of the rotation vector is compared: a mount rotated by another angle about the
// same axis has deviation 0. A mount without rotation has no axis, so its deviations are NaN; for a
// mount near 180 degrees the axis can change sign. The spread is the root mean square about the
// mean that the caller passes. It is computed once, before the removal.
//
// Reads      Mean_Transform_Cam_Tc and the six lists, entry i from the same image. Their sizes are
//            not compared at entry; the first pass has built them with equal sizes.
// Fills      the six lists, shortened together.
// Units      degrees; metres.
// Precision  dot products, differences and spreads in float.
// Returns    0; 13 when fewer than 5 images would remain, with the lists unchanged; 11 when the
//            lists' sizes differ after the removal, with the lists shortened; 9 and 10 from
//            Norm_Vec and Dot_Vec, with the lists unchanged.
// Logs       one deviation per image, both spreads, the removals. The label "Size list : (init) "
//            is logged before and after the removal; this is intended.
int RT_Filt_Outlier(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Cam_Tc_all,
                    Eigen::Matrix4d Mean_Transform_Cam_Tc,
                    std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                    std::vector<std::string>& Image_name,
                    std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
                    std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
                    std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all);

// Normalises a 3 by 1 vector of doubles in place. Its length is computed in float, so the result
// has length 1 only to float precision. A zero vector becomes NaN.
// Returns    0, or 9 for another shape, with the vector unchanged.
// Logs       for code 9 one line.
int Norm_Vec(std::string Log_Path, cv::Mat& Vector);

// Result = Sample . Mean, for 3 by 1 vectors of doubles, summed in float.
// Returns    0, or 10 for another shape, with Result 0.
// Logs       for code 10 one line, which ends with the name of the vector at fault.
int Dot_Vec(std::string Log_Path, float& Result, cv::Mat Sample, cv::Mat Mean);

#endif  // RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H
