// SPDX-License-Identifier: Apache-2.0
#include "core/solver/evaluate_result.h"

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"

#include <cmath>

namespace {

// Root mean square deviation of the samples from the mean on one axis, metres. Differences, sums
// and roots are in float, squares in double: double throughout would give other digits.
//
// One axis at a time: gcc 12 at -O3 vectorises a loop that computes the three sums side by side,
// and then drops the narrowing between the additions of two samples.
float Axis_Spread(const std::vector<Eigen::Vector3f>& Translation_Cam_Tc_all, int Axis,
                  float Mean_Translation) {
  float Square_Sum = 0.0f;
  for (const Eigen::Vector3f& Translation_Cam_Tc : Translation_Cam_Tc_all) {
    const float Difference = Translation_Cam_Tc(Axis) - Mean_Translation;
    Square_Sum = static_cast<float>(static_cast<double>(Square_Sum) +
                                    std::pow(static_cast<double>(Difference), 2.0));
  }
  return sqrtf(Square_Sum / static_cast<float>(Translation_Cam_Tc_all.size()));
}

Eigen::Vector3f Translation_Spread(const Eigen::Matrix4d& Mean_Transform_Cam_Tc,
                                   const std::vector<Eigen::Vector3f>& Translation_Cam_Tc_all) {
  Eigen::Vector3f T_STD;
  for (int r = 0; r < 3; ++r) {
    T_STD(r) =
        Axis_Spread(Translation_Cam_Tc_all, r, static_cast<float>(Mean_Transform_Cam_Tc(r, 3)));
  }
  return T_STD;
}

std::string Exceeds(float Value, float Limit) {
  return std::to_string(Value) + " > " + std::to_string(Limit) + " )";
}

}  // namespace

int Evaluate_Result(std::string Log_Path, float Norm_Reproj_Error, float Reproj_Warning_Limit,
                    float Reproj_Fail_Limit, Eigen::Matrix4d Mean_Transform_Cam_Tc,
                    std::vector<Eigen::Vector3f> Translation_Cam_Tc_all, float T_STD_Warning_Limit,
                    float T_STD_Fail_Limit) {
  Write_Log(Log_Path, "Norm Reprojection error : " + std::to_string(Norm_Reproj_Error));
  const Eigen::Vector3f T_STD = Translation_Spread(Mean_Transform_Cam_Tc, Translation_Cam_Tc_all);
  Write_Log(Log_Path, "T_STD : " + std::to_string(T_STD(0)) + ", " + std::to_string(T_STD(1)) +
                          ", " + std::to_string(T_STD(2)) + " meter.");
  float Max_T_STD = T_STD(1) > T_STD(0) ? T_STD(1) : T_STD(0);
  Max_T_STD = T_STD(2) > Max_T_STD ? T_STD(2) : Max_T_STD;
  Write_Log(Log_Path, "Max T_STD : " + std::to_string(Max_T_STD) + " meter.");

  // The translation spread is judged before the reprojection error, so a warning about the spread
  // hides a failure of the reprojection error.
  if (Max_T_STD > T_STD_Fail_Limit) {
    Write_Log(Log_Path, "T_STD too large. ( " + Exceeds(Max_T_STD, T_STD_Fail_Limit));
    Write_Log(Log_Path, "Error code 6: " + Error_Text(6));
    return 6;
  }
  if (Max_T_STD > T_STD_Warning_Limit) {
    Write_Log(Log_Path,
              "Recalibration recommended. ( T_STD " + Exceeds(Max_T_STD, T_STD_Warning_Limit));
    Write_Log(Log_Path, "Error code 99: " + Error_Text(99));
    return 99;
  }
  if (Norm_Reproj_Error > Reproj_Fail_Limit) {
    Write_Log(Log_Path,
              "Reprojection error too large. ( " + Exceeds(Norm_Reproj_Error, Reproj_Fail_Limit));
    Write_Log(Log_Path, "Error code 14: " + Error_Text(14));
    return 14;
  }
  if (Norm_Reproj_Error > Reproj_Warning_Limit) {
    Write_Log(Log_Path, "Recalibration recommended. ( Reprojection error " +
                            Exceeds(Norm_Reproj_Error, Reproj_Warning_Limit));
    Write_Log(Log_Path, "Error code 99: " + Error_Text(99));
    return 99;
  }
  return 0;
}
