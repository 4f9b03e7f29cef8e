// SPDX-License-Identifier: Apache-2.0
//
// Removes the images whose own camera mount lies too far from the mean, in one pass.
#ifndef RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H
#define RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

// Drops image i when the axis of its rotation is more than 0.5 degree from the mean's axis, or its
// translation is further from the mean's than 1.3 times the spread, on any axis. Comparisons are
// strict and in float; a NaN never marks an image.
//
// Only the direction of the rotation vector is compared: an image turned by another amount about
// the same axis counts as 0. A mount without rotation has no axis, so its deviations are NaN; a
// mount near 180 degrees can see its axis flip. The spread is the root mean square about the mean
// that the caller passes, computed before the removal and not again after it.
//
// Reads      Mean_Transform_Cam_Tc and the six lists, entry i from the same image. Their sizes
//            aren't compared at entry; the first pose pass has built them alike.
// Fills      the six lists, shortened together.
// Units      degrees; metres.
// Precision  dot products, differences and spreads in float.
// Returns    0; 13 when fewer than 5 images would remain, lists whole; 11 when the lists' sizes
//            differ after the removal, lists shortened; 9 and 10 from Norm_Vec and Dot_Vec, lists
//            whole.
// Logs       one deviation per image, both spreads, the removals; the label "Size list : (init) "
//            stands before and after the removal, and is meant to.
int RT_Filt_Outlier(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Cam_Tc_all,
                    Eigen::Matrix4d Mean_Transform_Cam_Tc,
                    std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                    std::vector<std::string>& Image_name,
                    std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
                    std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
                    std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all);

// Normalises a 3 by 1 vector of doubles in place. Its length is summed and rooted in float, so the
// result has unit length to float only. A zero vector becomes NaN.
// Returns    0, or 9 for another shape, vector untouched.
// Logs       for code 9 its one line.
int Norm_Vec(std::string Log_Path, cv::Mat& Vector);

// Result = Sample . Mean, for 3 by 1 vectors of doubles, summed in float.
// Returns    0, or 10 for another shape, Result 0.
// Logs       for code 10 its one line, which ends with the name of the vector at fault.
int Dot_Vec(std::string Log_Path, float& Result, cv::Mat Sample, cv::Mat Mean);

#endif  // RIGSYNC_CORE_SOLVER_RT_FILT_OUTLIER_H
