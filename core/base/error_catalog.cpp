// SPDX-License-Identifier: Apache-2.0
//
// Hosts and log readers rely on these texts as they are, including the misspelt word of code 5 and
// the missing full stop of code 12.
#include "core/base/error_catalog.h"

// An allocation failure while these are built at load time is not handled.
// NOLINTNEXTLINE(cert-err58-cpp)
const std::map<int, std::string> Error_Table = {
    {0, "No error"},
    {1, "The raw data csv file path is wrong."},
    {2, "The amount of Tracker data and images do not match."},
    {3, "Encountered Gimbal lock."},
    {4, "Amount of valid images < 12."},
    {5, "Camera calibration failed, reporjection too large. (> 1.5 pixel)"},
    {6, "Camera tracker calibration failed, Translation STD too large. (> 1.5cm)"},
    {7, "Data size is not same in Cal_Reproj_Error."},
    {8, "Data size is not same in Calculate_Transform_Cam_Tc."},
    {9, "Norm_Vec size is not correct."},
    {10, "Dot_Vec size is not correct."},
    {11, "RT_Filt_Outlier output size is not same."},
    {12, "Data size is not same in Calculate_Transform_Chart_Tr"},
    {13, "Filtered data not enough (<5)"},
    {14, "Reprojection error too large (>18 pixel in 1080p)"},
    {15, "Tracker data format error in csv file. Please re-calibration again!"},
    {16, ""},
    {99, "Recalibration is recommended."},
    {100, "DoF Near calculation error, Near > ObjectDistance."},
};

// NOLINTNEXTLINE(cert-err58-cpp)
const std::string Program_Version = "v0.0.9";

std::string Error_Text(const int& Code) {
  const auto Entry = Error_Table.find(Code);
  return Entry == Error_Table.end() ? std::string() : Entry->second;
}
