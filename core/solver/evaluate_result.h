// SPDX-License-Identifier: Apache-2.0
//
// The verdict on a finished calibration.
#ifndef RIGSYNC_CORE_SOLVER_EVALUATE_RESULT_H
#define RIGSYNC_CORE_SOLVER_EVALUATE_RESULT_H

#include <Eigen/Core>

#include <string>
#include <vector>

// Judges T_STD, the spread of the per-image translations about the mean on the worst axis, and then
// the reprojection error. T_STD is judged first, so a warning about it hides a failure of the
// reprojection error. Every comparison is strict: a value equal to a limit passes.
//
// Reads      Norm_Reproj_Error as a fraction of the image height; the translation of
//            Mean_Transform_Cam_Tc; Translation_Cam_Tc_all of the second pass. An empty list gives
//            NaN, which passes every comparison; the outlier filter keeps at least 5 images.
// Units      metres; fractions of the image height.
// Precision  float, with squares and their additions in double.
// Returns    0; 6 or 14 for a failure; 99 for a usable result that should be measured again.
// Logs       the three values; for a code other than 0 two more lines.
int Evaluate_Result(std::string Log_Path, float Norm_Reproj_Error, float Reproj_Warning_Limit,
                    float Reproj_Fail_Limit, Eigen::Matrix4d Mean_Transform_Cam_Tc,
                    std::vector<Eigen::Vector3f> Translation_Cam_Tc_all, float T_STD_Warning_Limit,
                    float T_STD_Fail_Limit);

#endif  // RIGSYNC_CORE_SOLVER_EVALUATE_RESULT_H
