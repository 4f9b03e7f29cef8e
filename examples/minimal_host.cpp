// SPDX-License-Identifier: Apache-2.0
//
// The smallest host: one calibration, one export. minimal_host CAPTURE.csv OUTPUT_DIR
#include <rigsync_core.h>

#include <cstdio>
#include <exception>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  try {
    // The library appends to what it is given, so every vector starts empty.
    std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
    const int Code =
        Calibration(argv[1], /*Board_Cols=*/11, /*Board_Rows=*/8, /*Square_Size=*/0.03,
                    /*Chart_Euler_Deg=*/{12, -20, 8}, /*Chart_Translation=*/{-0.17, 0.05, 0.04},
                    Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, argv[2]);
    // 0 is good and 99 usable; docs/codes.md tells the others.
    if (Code != 0 && Code != 99) return Code;

    std::vector<double> Quaternion, Centimetres;
    CamAxisToUE5(Transform_Cam_Tc, Quaternion, Centimetres, argv[2]);
    std::printf("quaternion %f %f %f %f, location %f %f %f cm\n", Quaternion[0], Quaternion[1],
                Quaternion[2], Quaternion[3], Centimetres[0], Centimetres[1], Centimetres[2]);
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "%s\n", Error.what());
    return 70;
  }
}
