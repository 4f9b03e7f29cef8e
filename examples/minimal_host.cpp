// SPDX-License-Identifier: Apache-2.0
//
// A minimal host: one calibration, then the values for each render engine.
// minimal_host CAPTURE.csv OUTPUT_FOLDER
#include <rigsync_core.h>

#include <cstdio>
#include <exception>
#include <vector>

namespace {

void Print(const char* Name, const std::vector<double>& Values) {
  std::printf("%-22s", Name);
  for (const double Value : Values) std::printf(" %12.6f", Value);
  std::printf("\n");
}

void Export(const std::vector<double>& Transform_Cam_Tc, const std::vector<double>& Norm_Fxy,
            const std::vector<double>& Norm_Cxy, const char* Output_Dir) {
  // The library appends to output vectors, so every vector starts empty.
  std::vector<double> Euler_UE4, Cm_UE4;
  if (CamAxisToUE4(Transform_Cam_Tc, Euler_UE4, Cm_UE4, Output_Dir) == 0) {  // 3: gimbal lock
    Print("ue4 rotation, deg", Euler_UE4);
    Print("ue4 location, cm", Cm_UE4);
  }
  std::vector<double> Quat_UE5, Cm_UE5;
  CamAxisToUE5(Transform_Cam_Tc, Quat_UE5, Cm_UE5, Output_Dir);
  Print("ue5 quaternion, xyzw", Quat_UE5);
  Print("ue5 location, cm", Cm_UE5);

  std::vector<double> Quat_xN, Cm_xN;
  CamAxisToUE5_ExportxN(Transform_Cam_Tc, Quat_xN, Cm_xN, Output_Dir);
  Print("ue5-xn quaternion", Quat_xN);
  Print("ue5-xn location, cm", Cm_xN);

  std::vector<double> FoVX, Cxy, Euler_AX, Cm_AX;
  CamAxisToAximmetry(Norm_Fxy, Norm_Cxy, Transform_Cam_Tc, FoVX, Cxy, Euler_AX, Cm_AX, Output_Dir);
  Print("aximmetry view, deg", FoVX);
  Print("aximmetry centre", Cxy);
  Print("aximmetry turns, deg", Euler_AX);
  Print("aximmetry place, cm", Cm_AX);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s CAPTURE.csv OUTPUT_FOLDER\n", argv[0]);
    return 2;
  }
  try {
    std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
    const int Code =
        Calibration(argv[1], /*Board_Cols=*/11, /*Board_Rows=*/8, /*Square_Size=*/0.03,
                    /*Chart_Euler_Deg=*/{12, -20, 8}, /*Chart_Translation=*/{-0.17, 0.05, 0.04},
                    Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, argv[2]);
    // 0 is success and 99 a usable result; docs/codes.md explains the other codes.
    if (Code != 0 && Code != 99) return Code;
    Export(Transform_Cam_Tc, Norm_Fxy, Norm_Cxy, argv[2]);
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "%s\n", Error.what());
    return 70;
  }
}
