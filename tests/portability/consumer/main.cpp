// SPDX-License-Identifier: Apache-2.0
//
// The smallest host: calls the installed library with a CSV that doesn't exist and expects code 1.
#include <rigsync_core.h>

int main() {
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  const int Code = Calibration("no such capture.csv", 11, 8, 0.03, {0, 0, 0}, {0, 0, 0}, Image_Size,
                               Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, "no such folder");
  return Code == 1 ? 0 : 1;
}
